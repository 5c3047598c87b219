// SPDX-License-Identifier: MIT
#pragma once

#include "program_run.h"

#include "simulator/simulator.h"

#include <QDir>
#include <QDirIterator>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QTest>

namespace velmora::testing
{

using simulator::Simulator;
using simulator::SimulatorOptions;

/// A GitHub without a story, which approves codes at once.
inline SimulatorOptions quietSimulator()
{
    SimulatorOptions options;
    options.playsStory = false;
    options.oauth.interval = 1;
    options.oauth.autoApproveAfter = 0;
    return options;
}

inline QStringList words(const char *text)
{
    return QString::fromUtf8(text).split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

inline QJsonArray array(const QByteArray &json)
{
    return QJsonDocument::fromJson(json).array();
}

/// The deployments of a report without the seconds that depend on the time of printing.
inline QJsonArray withoutElapsed(const QJsonObject &report)
{
    QJsonArray timeless;
    for (const auto &value : report.value(QLatin1String("deployments")).toArray()) {
        QJsonObject deployment = value.toObject();
        deployment.remove(QLatin1String("elapsedSeconds"));
        timeless.append(deployment);
    }
    return timeless;
}

inline QList<QJsonObject> jsonLines(const QByteArray &text)
{
    QList<QJsonObject> objects;
    const QList<QByteArray> lines = text.trimmed().split('\n');
    for (const QByteArray &line : lines)
        objects.append(QJsonDocument::fromJson(line).object());
    return objects;
}

/// A GitHub and a home for the real program, with helpers for tests.
class ProgramWorld
{
protected:
    Simulator m_simulator{quietSimulator()};
    std::unique_ptr<QTemporaryDir> m_home;
    QList<QByteArray> m_connected; ///< logins, in the order of connecting

    [[nodiscard]] QProcessEnvironment environment() const
    {
        QProcessEnvironment result = QProcessEnvironment::systemEnvironment();
        const QString address = m_simulator.url().toString(QUrl::StripTrailingSlash);
        result.insert(QStringLiteral("HOME"), m_home->path());
        result.insert(QStringLiteral("PATH"), QStringLiteral("/nowhere")); // no browser is found
        result.insert(QStringLiteral("GITHUB_CLIENT_ID"), QStringLiteral("Iv23liVelmoraDemo001"));
        result.insert(QStringLiteral("VELMORA_API_URL"), address);
        result.insert(QStringLiteral("VELMORA_WEB_URL"), address);
        result.insert(QStringLiteral("VELMORA_LOGIN_URL"), address + QStringLiteral("/login"));
        result.remove(QStringLiteral("QT_LOGGING_RULES"));
        return result;
    }

    [[nodiscard]] std::unique_ptr<ProgramRun> started(const char *arguments) const
    {
        auto run = std::make_unique<ProgramRun>(words(arguments), environment());
        run->start();
        return run;
    }

    [[nodiscard]] std::unique_ptr<ProgramRun> finished(const char *arguments) const
    {
        auto run = started(arguments);
        if (!run->ends())
            qWarning("%s did not end: %s%s", arguments, run->out().constData(), run->err().constData());
        return run;
    }

    void addRule(const char *rule)
    {
        QString reason;
        const auto parsed = velmora::simulator::MisbehaviourRule::fromJSON(
            QJsonDocument::fromJson(QByteArray(rule).replace('\'', '"')).object(), &reason);
        QVERIFY2(parsed, qPrintable(reason));
        m_simulator.misbehaviour().add(*parsed);
    }

    [[nodiscard]] QStringList filesOfHome() const
    {
        QStringList files;
        QDirIterator iterator(m_home->path(), QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
        while (iterator.hasNext())
            files.append(iterator.next());
        return files;
    }

    /// Waits until exactly `count` requests for the path are open.
    [[nodiscard]] bool areOpen(const QByteArray &path, qsizetype count)
    {
        return waitUntil([&] {
            return std::ranges::count_if(m_simulator.log().entries(), [&](const auto &entry) {
                return entry.isOpen && entry.request.path == path;
            }) == count;
        });
    }

    /// The answer of the simulator's control endpoint to a change of its world.
    QJsonObject changeWorld(const QJsonObject &change)
    {
        velmora::simulator::Request request;
        request.method = "POST";
        request.path = "/_control/world";
        request.body = QJsonDocument(change).toJson();
        return QJsonDocument::fromJson(m_simulator.answer(request).body).object();
    }

    /// Sets the status of a deployment, which is created if `id` is empty; returns its id.
    QString deploy(const QString &repository, const QString &id, const char *state)
    {
        QJsonObject deployment{{QStringLiteral("repository"), repository}, {QStringLiteral("ageSeconds"), 0},
            {QStringLiteral("state"), QString::fromUtf8(state)}};
        if (!id.isEmpty())
            deployment.insert(QStringLiteral("id"), id);
        return changeWorld({{QStringLiteral("deployment"), deployment}}).value(QLatin1String("id")).toString();
    }

    /// Connects the next identity of the simulator.
    void connectFirst()
    {
        const auto connection = finished("connect");
        QVERIFY2(connection->code() == 0, connection->out() + connection->err());
        const QByteArray before = "Connected as ";
        const QByteArray rest = connection->out().mid(connection->out().indexOf(before) + before.size());
        m_connected.append(rest.first(rest.indexOf('\n')));
    }

    /// Connects this identity of the simulator; again if it is already connected.
    [[nodiscard]] bool connectsAs(const QString &login)
    {
        auto &oauth = m_simulator.oauth();
        const auto automatic = std::exchange(oauth.settings().autoApproveAfter, std::nullopt);
        const auto connection = started("connect");
        const bool isApproved = waitUntil([&] { return !oauth.pendingUserCodes().isEmpty(); })
            && oauth.approve(oauth.pendingUserCodes().first(), login);
        oauth.settings().autoApproveAfter = automatic;
        return isApproved && connection->ends() && connection->code() == 0;
    }

    /// The ids of the saved deployments.
    [[nodiscard]] QSet<QString> savedDeployments() const
    {
        QSet<QString> ids;
        const QJsonObject saved = jsonLines(finished("status --json")->out()).last();
        const auto deployments = saved.value(QLatin1String("deployments")).toArray();
        for (const auto &deployment : deployments)
            ids.insert(deployment.toObject().value(QLatin1String("id")).toString());
        return ids;
    }
};

} // namespace velmora::testing
