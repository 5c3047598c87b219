// SPDX-License-Identifier: MIT
#include "http/network_session.h"

#include "http/host_address.h"
#include "http/network_exchange.h"
#include "support/clock.h"
#include "support/erased.h"
#include "support/task_scope.h"

#include <QDeadlineTimer>
#include <QLoggingCategory>

namespace velmora
{

namespace
{

Q_LOGGING_CATEGORY(githubLog, "velmora.github", QtWarningMsg)

using State = NetworkSession::State;

constexpr int kMostRedirects = 3;

bool isSameOrigin(const QUrl &left, const QUrl &right)
{
    return left.scheme() == right.scheme() && left.host() == right.host() && portOf(left) == portOf(right);
}

bool isRedirect(int status)
{
    return status == 301 || status == 302 || status == 303 || status == 307 || status == 308;
}

/// The request to follow the redirect, nullopt if there is none to follow.
std::optional<HTTPRequest> redirected(const HTTPRequest &request, const HTTPResponse &response)
{
    const int status = response.statusCode.value_or(0);
    const auto location = response.header("location");
    if (!isRedirect(status) || !location)
        return std::nullopt;
    const QUrl target = request.url.resolved(QUrl::fromEncoded(*location, QUrl::StrictMode));
    if (!target.isValid() || !isSameOrigin(request.url, target) || !target.userInfo().isEmpty())
        return std::nullopt;
    HTTPRequest next = request;
    next.url = target;
    if (status == 303) {
        next.method = "GET";
        next.body.reset();
        next.headers.removeIf(
            [](const auto &header) { return header.first.compare("content-type", Qt::CaseInsensitive) == 0; });
    }
    return next;
}

bool hasLineBreak(const QByteArray &text)
{
    return text.contains('\r') || text.contains('\n');
}

/// The request may hold data from the configuration or the network. Allows only HTTP, and no line break, which could
/// inject a header.
void requireSendable(const HTTPRequest &request)
{
    const QString scheme = request.url.scheme();
    const bool isHTTP = scheme == QLatin1String("https") || scheme == QLatin1String("http");
    if (!request.url.isValid() || !isHTTP || request.url.host().isEmpty())
        throw TransportError(TransportError::Kind::Network, QStringLiteral("The address to ask is not a web address."));
    const bool isBroken = std::any_of(request.headers.begin(), request.headers.end(),
        [](const auto &header) { return hasLineBreak(header.first) || hasLineBreak(header.second); });
    if (isBroken)
        throw TransportError(TransportError::Kind::Network, QStringLiteral("The request cannot be sent."));
}

/// Overwrites the body of an unrepeatable request, which holds a token, when the request has ended.
class BodyEraser
{
public:
    explicit BodyEraser(HTTPRequest &request)
        : m_request(request)
    {
    }
    ~BodyEraser()
    {
        if (m_request.isUnrepeatable && m_request.body)
            erase(*m_request.body);
    }
    BodyEraser(const BodyEraser &) = delete;
    BodyEraser &operator=(const BodyEraser &) = delete;

private:
    HTTPRequest &m_request;
};

void requireOpen(const State &state)
{
    if (state.isClosed)
        throw TransportError(TransportError::Kind::Network, QStringLiteral("The connection is closed."));
}

void drop(State &state, const QList<NetworkExchange *> &exchanges)
{
    for (auto *exchange : exchanges)
        exchange->drop();
    state.proxies.abandon();
    state.transfers.reset();
}

QCoro::Task<HTTPResponse> sendOnce(
    std::shared_ptr<State> state, HTTPRequest request, std::chrono::milliseconds deadline, std::stop_token stop)
{
    throwIfStopped(stop);
    requireSendable(request);
    requireOpen(*state);
    NetworkExchange exchange(state, request, deadline);
    const auto interrupt = [&exchange] {
        exchange.cancel();
    };
    const std::stop_callback onStop(stop, interrupt);
    HTTPResponse response = co_await exchange.done();
    qCDebug(githubLog).noquote() << request.method << request.url.path() << response.statusCode.value_or(0);
    co_return response;
}

Clock *machineClock()
{
    static SystemClock clock;
    return &clock;
}

} // namespace

NetworkSession::NetworkSession()
    : NetworkSession(Limits())
{
}

NetworkSession::NetworkSession(Limits limits, Names names, Clock *clock)
    : m_state(std::make_shared<State>())
{
    m_state->limits = limits;
    m_state->names = names;
    m_state->clock = clock ? clock : machineClock();
}

NetworkSession::~NetworkSession()
{
    m_state->isClosed = true;
    m_state->proxies.abandon();
    // dropNow() may destroy any of the exchanges, which then leave the list: take one at a time.
    while (!m_state->open.isEmpty())
        m_state->open.takeFirst()->dropNow();
}

QCoro::Task<HTTPResponse> NetworkSession::send(HTTPRequest request, std::stop_token stop)
{
    // The session may end before the request.
    const auto state = m_state;
    const BodyEraser eraser(request);
    const QDeadlineTimer end(state->limits.total);
    requireSendable(request);
    requireOpen(*state);
    const auto patience = std::min(state->limits.silence, state->limits.total);
    // Redirects stay on the same origin, so the proxy stays the same too.
    co_await state->proxies.proxyFor(request.url, patience, stop);
    int redirects = 0;
    while (true) {
        const std::chrono::milliseconds left(std::max<qint64>(end.remainingTime(), 0));
        HTTPResponse response = co_await sendOnce(state, request, left, stop);
        auto next = redirected(request, response);
        if (!next || redirects == kMostRedirects)
            co_return response;
        request = std::move(*next);
        ++redirects;
    }
}

void NetworkSession::dropConnections()
{
    auto repeatable = m_state->open;
    repeatable.removeIf([](const NetworkExchange *exchange) { return exchange->isUnrepeatable(); });
    drop(*m_state, repeatable);
}

qsizetype NetworkSession::openRequests() const
{
    return m_state->open.size();
}

QString NetworkSession::library()
{
    const auto *const versions = ::curl_version_info(CURLVERSION_NOW);
    return QStringLiteral("libcurl %1, %2").arg(QLatin1String(versions->version), QLatin1String(versions->ssl_version));
}

void NetworkSession::close()
{
    m_state->isClosed = true;
    drop(*m_state, m_state->open);
}

} // namespace velmora
