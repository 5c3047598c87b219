// SPDX-License-Identifier: MIT
#pragma once

#include "http/connection_watch.h"
#include "http/network_session.h"
#include "http/proxy_lookup.h"
#include "support/error.h"
#include "support/one_shot.h"
#include "support/task_scope.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QSslError>
#include <QTimer>

namespace velmora
{

class Clock;
class NetworkExchange;

struct NetworkSession::State {
    Limits limits;
    Names names = Names::Shown;
    Clock *clock = nullptr;
    /// Holds the connections. Created on demand, released when its connections may be dead.
    std::shared_ptr<QNetworkAccessManager> manager;
    QList<NetworkExchange *> open;
    ProxyLookup proxies;
    bool isClosed = false;
};

/// One request and its response, through the known proxy for its address. Owns the reply. Lives in the frame of the
/// coroutine that awaits done(), which resumes from the event loop, never inside the call that ended the exchange.
class NetworkExchange final : public QObject
{
public:
    NetworkExchange(
        std::shared_ptr<NetworkSession::State> state, const HTTPRequest &request, std::chrono::milliseconds deadline);
    ~NetworkExchange() override;

    [[nodiscard]] const OneShot<HTTPResponse> &done() const { return m_done; }
    /// Whether the request is unrepeatable. The exchange then has a connection of its own.
    [[nodiscard]] bool isUnrepeatable() const { return m_isUnrepeatable; }

    /// Ends the exchange with a CancellationError.
    void cancel();
    /// Ends the exchange with a TransportError and drops its connection.
    void drop();
    /// Like drop(), but resumes the awaiting coroutine at once, since there may be no event loop any more. May destroy
    /// `this`.
    void dropNow();

private:
    void recordCertificateErrors(const QList<QSslError> &errors);
    void readHeaders();
    [[nodiscard]] QCoro::Task<> requireProgress(std::stop_token stop);
    void readBody();
    void finishReply();
    [[nodiscard]] bool isCutOff() const;
    [[nodiscard]] qint64 announcedLength() const;
    [[nodiscard]] QString failureText() const;
    void fail(TransportError::Kind kind, const QString &text);
    void end(std::exception_ptr failure);
    void failAsTooLarge();
    void endFlood();
    void expire();
    void abandonConnections();
    void abortReply();
    void settle();

    std::shared_ptr<NetworkSession::State> m_state;
    bool m_isUnrepeatable;
    std::shared_ptr<QNetworkAccessManager> m_manager;
    QString m_host; ///< for texts
    QNetworkProxy m_proxy; ///< for texts; nameless if names are hidden
    OneShot<HTTPResponse> m_done;
    QNetworkReply *m_reply = nullptr;
    QTimer m_deadline;
    QTimer m_floodTimer;
    ConnectionWatch m_connections;
    QList<QSslError> m_certificateErrors;
    HTTPResponse m_response;
    std::exception_ptr m_failure;
    bool m_isEnded = false;
    TaskScope m_scope;
};

} // namespace velmora
