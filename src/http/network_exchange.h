// SPDX-License-Identifier: MIT
#pragma once

#include "http/connection_failure.h"
#include "http/network_session.h"
#include "http/proxy_lookup.h"
#include "http/transfer.h"
#include "http/transfers.h"
#include "support/error.h"
#include "support/one_shot.h"
#include "support/task_scope.h"

#include <QElapsedTimer>
#include <QTimer>

#include <array>

namespace velmora
{

class Clock;
class NetworkExchange;

struct NetworkSession::State {
    Limits limits;
    Names names = Names::Shown;
    Clock *clock = nullptr;
    /// Holds the connections. Created on demand, released when its connections may be dead.
    std::shared_ptr<Transfers> transfers;
    QList<NetworkExchange *> open;
    ProxyLookup proxies;
    bool isClosed = false;
};

/// One request and its response, through the known proxy for its address. Lives in the frame of the coroutine that
/// awaits done(), which resumes from the event loop, never inside the call that ended the exchange.
class NetworkExchange final : public QObject
{
public:
    NetworkExchange(
        std::shared_ptr<NetworkSession::State> state, HTTPRequest request, std::chrono::milliseconds deadline);
    ~NetworkExchange() override;

    [[nodiscard]] const OneShot<HTTPResponse> &done() const { return m_done; }
    /// Whether the request is unrepeatable. The exchange then has a connection of its own.
    [[nodiscard]] bool isUnrepeatable() const { return m_request.isUnrepeatable; }

    /// Ends the exchange with a CancellationError.
    void cancel();
    /// Ends the exchange with a TransportError and drops its connection.
    void drop();
    /// Like drop(), but resumes the awaiting coroutine at once, since there may be no event loop any more. May destroy
    /// `this`.
    void dropNow();

private:
    static std::size_t takeHead(char *data, std::size_t, std::size_t size, void *self);
    static std::size_t takeBody(char *data, std::size_t, std::size_t size, void *self);
    static int lookAtProgress(void *self, curl_off_t, curl_off_t received, curl_off_t, curl_off_t sent);

    void readHeadLine(QByteArrayView line);
    void beginHead();
    void beginBody();
    [[nodiscard]] QCoro::Task<> requireProgress(std::stop_token stop);
    void lookForSilence();
    void finish(CURLcode result);
    [[nodiscard]] ConnectionFailure failure(CURLcode result) const;
    [[nodiscard]] long detail(CURLINFO which) const;
    void failAsTooLarge();
    void fail(TransportError::Kind kind, const QString &text);
    void end(std::exception_ptr failure);
    void expire();
    void abandonConnections();
    void settle();

    std::shared_ptr<NetworkSession::State> m_state;
    HTTPRequest m_request;
    QString m_host; ///< for texts
    Proxy m_proxy; ///< for texts; nameless if names are hidden
    HeaderLines m_headerLines;
    std::array<char, CURL_ERROR_SIZE> m_error{}; ///< curl's own words
    std::shared_ptr<Transfers> m_transfers;
    Transfer m_transfer;
    OneShot<HTTPResponse> m_done;
    QTimer m_deadline;
    QTimer m_silence;
    QElapsedTimer m_sinceLastByte;
    curl_off_t m_bytes = 0; ///< of both bodies, as transferred
    qsizetype m_headSize = 0;
    bool m_hasHead = false;
    HTTPResponse m_response;
    std::exception_ptr m_failure;
    bool m_isEnded = false;
    TaskScope m_scope;
};

} // namespace velmora
