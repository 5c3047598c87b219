// SPDX-License-Identifier: MIT
#include "household.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QUrlQuery>

namespace velmora::testing
{

namespace
{

simulator::SimulatorOptions simulatorOptions()
{
    simulator::SimulatorOptions options;
    options.playsStory = false;
    options.oauth.interval = 1;
    options.oauth.autoApproveAfter = 0;
    return options;
}

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QByteArray ofProcess(qint64 process, const char *name)
{
    return contentOf(QStringLiteral("/proc/%1/%2").arg(process).arg(QString::fromLatin1(name)));
}

/// The fields of /proc/PID/stat from the state on; the name before them may contain spaces.
QList<QByteArray> statusFields(qint64 process)
{
    const QByteArray line = ofProcess(process, "stat");
    return line.mid(line.lastIndexOf(')') + 2).split(' ');
}

/// Whether the mask with this label in /proc/PID/status contains the signal.
bool isInMask(qint64 process, const QByteArray &label, int number)
{
    const QByteArray status = ofProcess(process, "status");
    const qsizetype start = status.indexOf(label);
    if (start < 0)
        return false;
    const QByteArray mask = status.mid(start + label.size(), 17).trimmed();
    return (mask.toULongLong(nullptr, 16) >> (number - 1) & 1) != 0;
}

std::optional<QJsonObject> objectIn(const QString &path)
{
    const QJsonDocument document = QJsonDocument::fromJson(contentOf(path));
    return document.isObject() ? std::optional(document.object()) : std::nullopt;
}

} // namespace

PrivateBus::PrivateBus()
{
    m_process.setProgram(QStringLiteral("dbus-daemon"));
    m_process.setArguments({QStringLiteral("--nofork"), QStringLiteral("--nopidfile"),
        QStringLiteral("--config-file=" VELMORA_BUS_CONFIGURATION), QStringLiteral("--address=") + address(),
        QStringLiteral("--print-address")});
    m_process.setStandardErrorFile(QProcess::nullDevice());
}

QString PrivateBus::address() const
{
    return QStringLiteral("unix:path=%1/bus").arg(m_folder.path());
}

bool PrivateBus::start()
{
    QFile::remove(m_folder.filePath(QStringLiteral("bus")));
    m_process.start();
    // It prints its address once it is listening.
    return waitUntil([this] { return m_process.canReadLine(); });
}

void PrivateBus::end()
{
    if (m_process.state() == QProcess::NotRunning)
        return;
    m_process.kill();
    m_process.waitForFinished();
}

Household::Household()
    : simulator(simulatorOptions())
{
}

QProcessEnvironment Household::environment() const
{
    QProcessEnvironment result = QProcessEnvironment::systemEnvironment();
    const QString address = simulator.url().toString(QUrl::StripTrailingSlash);
    result.insert(QStringLiteral("HOME"), m_home.path());
    result.insert(QStringLiteral("PATH"), QStringLiteral("/nowhere")); // no browser is found
    result.insert(QStringLiteral("GITHUB_CLIENT_ID"), QStringLiteral("Iv23liVelmoraDemo001"));
    result.insert(QStringLiteral("VELMORA_API_URL"), address);
    result.insert(QStringLiteral("VELMORA_WEB_URL"), address);
    result.insert(QStringLiteral("VELMORA_LOGIN_URL"), address + QStringLiteral("/login"));
    result.remove(QStringLiteral("QT_LOGGING_RULES"));
    for (const char *name : {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME", "DISPLAY", "WAYLAND_DISPLAY"})
        result.remove(QString::fromLatin1(name));
    return result;
}

std::unique_ptr<ProgramRun> Household::started(const QStringList &arguments) const
{
    auto run = std::make_unique<ProgramRun>(arguments, environment());
    run->start();
    return run;
}

std::unique_ptr<ProgramRun> Household::finished(const QStringList &arguments) const
{
    auto run = started(arguments);
    if (!run->ends())
        qWarning("%s did not end", qPrintable(arguments.join(QLatin1Char(' '))));
    return run;
}

bool Household::connectAccount() const
{
    return finished({QStringLiteral("connect")})->code() == 0;
}

QString Household::firstLogin()
{
    const auto &world = simulator.world();
    return world.owners().at(world.identities().first()).login;
}

bool Household::connectFirstAccount()
{
    auto &oauth = simulator.oauth();
    const auto automatic = std::exchange(oauth.settings().autoApproveAfter, std::nullopt);
    const auto run = started({QStringLiteral("connect")});
    const bool isApproved = waitUntil([&] { return !oauth.pendingUserCodes().isEmpty(); })
        && oauth.approve(oauth.pendingUserCodes().first(), firstLogin());
    oauth.settings().autoApproveAfter = automatic;
    return isApproved && run->ends() && run->code() == 0;
}

bool Household::keepAccounts(const QByteArray &accounts) const
{
    const QJsonObject value{{QStringLiteral("data"), QString::fromLatin1(accounts.toBase64())}};
    const QJsonObject preferences{{QStringLiteral("github.accounts") + keySuffix(), value}};
    const QDir folder(m_home.filePath(QStringLiteral(".config/velmora")));
    QFile file(folder.filePath(QStringLiteral("preferences.json")));
    return folder.mkpath(QStringLiteral(".")) && file.open(QIODevice::WriteOnly)
        && file.write(QJsonDocument(preferences).toJson()) > 0;
}

QString Household::keySuffix() const
{
    return QLatin1Char('@') + simulator.url().toString(QUrl::RemovePath);
}

QString Household::cachePath() const
{
    const QUrl url = simulator.url();
    return m_home.filePath(
        QStringLiteral(".cache/velmora/http+%1+%2/deployments.json").arg(url.host()).arg(url.port()));
}

void Household::silence(const QByteArray &path)
{
    simulator::MisbehaviourRule rule;
    rule.path = path;
    rule.delivery.hang = true;
    simulator.misbehaviour().add(rule);
}

bool Household::isAsked(const QByteArray &path)
{
    return waitUntil([&] {
        return std::ranges::any_of(
            simulator.log().entries(), [&](const auto &entry) { return entry.isOpen && entry.request.path == path; });
    });
}

QStringList Household::refreshTokens()
{
    QStringList tokens;
    for (const auto &entry : simulator.log().entries()) {
        const QUrlQuery form(QString::fromUtf8(entry.request.body));
        if (entry.request.path == kTokens && form.hasQueryItem(QStringLiteral("refresh_token")))
            tokens.append(form.queryItemValue(QStringLiteral("refresh_token")));
    }
    return tokens;
}

std::optional<QJsonObject> Household::preferences() const
{
    const auto stored = objectIn(m_home.filePath(QStringLiteral(".config/velmora/preferences.json")));
    if (!stored)
        return std::nullopt;
    QJsonObject preferences;
    for (auto value = stored->begin(); value != stored->end(); ++value) {
        const QString key = value.key();
        preferences.insert(key.endsWith(keySuffix()) ? key.chopped(keySuffix().size()) : key, *value);
    }
    return preferences;
}

std::optional<QJsonObject> Household::cache() const
{
    return objectIn(cachePath());
}

bool Household::isCachePresent() const
{
    return QFile::exists(cachePath());
}

qint64 ownerOnBus(const QDBusConnection &bus, const QString &name)
{
    const QDBusReply<uint> owner = bus.interface()->servicePid(name);
    return owner.isValid() ? owner.value() : 0;
}

void askRunning(const QDBusConnection &bus, const QString &action)
{
    QDBusMessage call
        = QDBusMessage::createMethodCall(QStringLiteral("com.tarvik.Velmora"), QStringLiteral("/com/tarvik/Velmora"),
            QStringLiteral("org.freedesktop.Application"), QStringLiteral("ActivateAction"));
    call << action << QVariantList() << QVariantMap();
    bus.call(call);
}

bool heeds(qint64 process, int number)
{
    return isInMask(process, "SigCgt:", number);
}

bool isPending(qint64 process, int number)
{
    return isInMask(process, "ShdPnd:", number);
}

QList<qint64> childrenOf(qint64 process)
{
    QList<qint64> children;
    const QDir threads(QStringLiteral("/proc/%1/task").arg(process));
    const auto names = threads.entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QString &thread : names) {
        const auto words = contentOf(threads.filePath(thread + QStringLiteral("/children"))).simplified().split(' ');
        for (const QByteArray &word : words) {
            if (!word.isEmpty())
                children.append(word.toLongLong());
        }
    }
    return children;
}

bool isAlive(qint64 process)
{
    const QByteArray state = statusFields(process).value(0);
    return !state.isEmpty() && state != "Z" && state != "X";
}

qint64 processorTime(qint64 process)
{
    const auto fields = statusFields(process);
    const qint64 ticks = fields.value(11).toLongLong() + fields.value(12).toLongLong();
    return ticks * 1000 / ::sysconf(_SC_CLK_TCK);
}

bool comesToRest(qint64 process)
{
    constexpr qint64 kMoment = 300; // milliseconds
    QElapsedTimer rest;
    rest.start();
    qint64 before = -1;
    return waitUntil([&] {
        const qint64 used = processorTime(process);
        if (std::exchange(before, used) != used)
            rest.restart();
        return rest.hasExpired(kMoment);
    });
}

} // namespace velmora::testing
