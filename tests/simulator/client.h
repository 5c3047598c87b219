// SPDX-License-Identifier: MIT
#pragma once

#include "simulator/simulator.h"
#include "support/await.h"

#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QTest>

namespace velmora::testing
{

/// The answer to a request.
struct Answered {
    int status = 0;
    QByteArray body;
    QNetworkReply::NetworkError error = QNetworkReply::NoError;
    qint64 milliseconds = 0;
    QHash<QByteArray, QByteArray> headers; ///< names in lower case

    [[nodiscard]] QJsonObject json() const { return QJsonDocument::fromJson(body).object(); }
};

/// An HTTP client for a running simulator.
class Client
{
public:
    explicit Client(const simulator::Simulator &simulator)
        : m_base(simulator.url())
    {
    }

    Answered send(const QByteArray &method, const QString &path, const QByteArray &body = {}, const QString &token = {})
    {
        const std::unique_ptr<QNetworkReply> reply(begin(method, path, body, token));
        QElapsedTimer timer;
        timer.start();
        if (!waitUntil([&] { return reply->isFinished(); }))
            return {};
        return finished(*reply, timer.elapsed());
    }

    Answered get(const QString &path, const QString &token = {}) { return send("GET", path, {}, token); }

    Answered control(const QString &what, const QJsonObject &body)
    {
        return send("POST", QStringLiteral("/_control/") + what, QJsonDocument(body).toJson());
    }

    [[nodiscard]] QNetworkReply *begin(
        const QByteArray &method, const QString &path, const QByteArray &body = {}, const QString &token = {})
    {
        QNetworkRequest request(QUrl(m_base.toString() + path));
        request.setHeader(QNetworkRequest::UserAgentHeader, QStringLiteral("test"));
        if (!token.isEmpty())
            request.setRawHeader("Authorization", "Bearer " + token.toUtf8());
        if (!body.isEmpty())
            request.setHeader(QNetworkRequest::ContentTypeHeader,
                body.startsWith('{') ? QStringLiteral("application/json")
                                     : QStringLiteral("application/x-www-form-urlencoded"));
        return m_network.sendCustomRequest(request, method, body);
    }

private:
    static Answered finished(QNetworkReply &reply, qint64 milliseconds)
    {
        Answered answered{reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt(), reply.readAll(),
            reply.error(), milliseconds, {}};
        const auto headers = reply.rawHeaderPairs();
        for (const auto &[name, value] : headers)
            answered.headers.insert(name.toLower(), value);
        return answered;
    }

    QUrl m_base;
    QNetworkAccessManager m_network;
};

/// Options for a simulator without a story.
[[nodiscard]] inline simulator::SimulatorOptions quiet()
{
    simulator::SimulatorOptions options;
    options.playsStory = false;
    return options;
}

} // namespace velmora::testing
