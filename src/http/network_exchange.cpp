// SPDX-License-Identifier: MIT
#include "http/network_exchange.h"

#include "http/connection_failure.h"
#include "http/proxy_environment.h"
#include "http/reply_start.h"
#include "support/clock.h"

namespace velmora
{

namespace
{

using namespace std::chrono_literals;

/// In bytes.
constexpr qsizetype kLargestHead = 64 * 1024;
constexpr qsizetype kMostHeaders = 100;
/// A body slower than this would only hold its account up.
constexpr auto kProgressTime = 30s;
constexpr qsizetype kLeastProgress = 1024;

/// Whether the error only reports a status of 400 or above, so that the response is complete.
bool isStatusError(QNetworkReply::NetworkError error)
{
    return (error >= QNetworkReply::ContentAccessDenied && error <= QNetworkReply::UnknownContentError)
        || (error >= QNetworkReply::InternalServerError && error <= QNetworkReply::UnknownServerError)
        || error == QNetworkReply::ProtocolInvalidOperationError;
}

bool isAnswer(const QNetworkReply &reply, const std::optional<int> &status)
{
    return reply.error() == QNetworkReply::NoError || (status && *status >= 400 && isStatusError(reply.error()));
}

/// Gives Qt the proxies found before. Without it Qt would ask the system and block until the answer.
class KnownProxies final : public QNetworkProxyFactory
{
public:
    explicit KnownProxies(std::weak_ptr<NetworkSession::State> state)
        : m_state(std::move(state))
    {
    }
    QList<QNetworkProxy> queryProxy(const QNetworkProxyQuery &query) override
    {
        const auto state = m_state.lock();
        return {state ? state->proxies.lastKnown(query.url()) : QNetworkProxy(QNetworkProxy::NoProxy)};
    }

private:
    std::weak_ptr<NetworkSession::State> m_state;
};

std::shared_ptr<QNetworkAccessManager> makeManager(const std::shared_ptr<NetworkSession::State> &state)
{
    auto manager = std::make_shared<QNetworkAccessManager>();
    manager->setProxyFactory(new KnownProxies(state));
    return manager;
}

/// The manager whose connections the request uses. An unrepeatable request gets a new one, since the server may be
/// about to close a connection that was used before.
std::shared_ptr<QNetworkAccessManager> managerFor(
    const std::shared_ptr<NetworkSession::State> &state, const HTTPRequest &request)
{
    if (request.isUnrepeatable)
        return makeManager(state);
    if (!state->manager)
        state->manager = makeManager(state);
    return state->manager;
}

bool isTooLarge(const QList<QNetworkReply::RawHeaderPair> &headers)
{
    // Of more headers than it accepts Qt gives none.
    if (headers.isEmpty())
        return true;
    qsizetype size = 0;
    for (const auto &[name, value] : headers)
        size += name.size() + value.size();
    return headers.size() > kMostHeaders || size > kLargestHead;
}

/// The port to which the connection is made.
quint16 portFor(const QUrl &url, const QNetworkProxy &proxy)
{
    return proxy.type() == QNetworkProxy::NoProxy ? static_cast<quint16>(portOf(url)) : proxy.port();
}

} // namespace

NetworkExchange::NetworkExchange(
    std::shared_ptr<NetworkSession::State> state, const HTTPRequest &request, std::chrono::milliseconds deadline)
    : m_state(std::move(state))
    , m_isUnrepeatable(request.isUnrepeatable)
    , m_manager(managerFor(m_state, request))
    , m_host(request.url.host())
    , m_proxy(m_state->proxies.lastKnown(request.url))
    , m_reply(startReply(*m_manager, request, m_state->limits))
    , m_connections(portFor(request.url, m_proxy))
{
    m_state->open.append(this);
    if (m_state->names == NetworkSession::Names::Hidden) {
        m_host = QStringLiteral("the host");
        m_proxy.setHostName(QString());
    }
    connect(m_reply, &QNetworkReply::sslErrors, this, &NetworkExchange::recordCertificateErrors);
    connect(m_reply, &QNetworkReply::metaDataChanged, this, &NetworkExchange::readHeaders);
    connect(m_reply, &QNetworkReply::readyRead, this, &NetworkExchange::readBody);
    connect(m_reply, &QNetworkReply::finished, this, &NetworkExchange::finishReply);
    m_deadline.setSingleShot(true);
    connect(&m_deadline, &QTimer::timeout, this, &NetworkExchange::expire);
    m_deadline.start(deadline);
    connect(&m_floodTimer, &QTimer::timeout, this, &NetworkExchange::endFlood);
    m_floodTimer.start(m_state->limits.betweenLooks);
}

NetworkExchange::~NetworkExchange()
{
    m_state->open.removeOne(this);
    abortReply();
}

void NetworkExchange::cancel()
{
    abandonConnections();
    end(std::make_exception_ptr(CancellationError()));
}

void NetworkExchange::drop()
{
    fail(TransportError::Kind::Network,
        QStringLiteral("The connection to %1 was closed before the answer arrived.").arg(m_host));
    abandonConnections();
    abortReply();
}

void NetworkExchange::dropNow()
{
    drop();
    settle();
}

/// Remembers the errors for failureText(); never ignores them.
void NetworkExchange::recordCertificateErrors(const QList<QSslError> &errors)
{
    m_certificateErrors = errors;
}

void NetworkExchange::readHeaders()
{
    const qint64 length = announcedLength();
    if (length > m_state->limits.bodySize || isTooLarge(m_reply->rawHeaderPairs())) {
        failAsTooLarge();
        return;
    }
    m_response.body.reserve(std::max<qsizetype>(length, 0));
    m_scope.launch(requireProgress(m_scope.stopToken()), "the watch over a body");
}

QCoro::Task<> NetworkExchange::requireProgress(std::stop_token stop)
{
    qsizetype before = 0;
    do {
        before = m_response.body.size();
        co_await m_state->clock->sleep(kProgressTime, stop);
    } while (m_response.body.size() - before >= kLeastProgress);
    fail(TransportError::Kind::TimedOut, QStringLiteral("The answer of %1 came too slowly.").arg(m_host));
}

void NetworkExchange::readBody()
{
    constexpr qint64 kLeastChunk = 4096;
    // Qt closes a reply that it aborts.
    while (!m_isEnded && m_reply->isOpen()) {
        // Reading one byte beyond the limit reveals a body that is too large.
        const qint64 room = m_state->limits.bodySize - m_response.body.size() + 1;
        const QByteArray chunk = m_reply->read(std::min(room, std::max(m_reply->bytesAvailable(), kLeastChunk)));
        if (chunk.isEmpty())
            return;
        m_response.body += chunk;
        ConnectionWatch::countBody(chunk.size());
        if (m_response.body.size() > m_state->limits.bodySize)
            failAsTooLarge();
    }
}

void NetworkExchange::finishReply()
{
    readBody();
    if (m_isEnded)
        return;
    const auto status = m_reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    if (status.isValid())
        m_response.statusCode = status.toInt();
    const auto error = m_reply->error();
    if (isAnswer(*m_reply, m_response.statusCode) && isCutOff()) {
        fail(TransportError::Kind::Network, closedEarlyText(m_host));
    } else if (isAnswer(*m_reply, m_response.statusCode)) {
        m_response.headers = m_reply->rawHeaderPairs();
        end(nullptr);
    } else if (error == QNetworkReply::OperationCanceledError || error == QNetworkReply::TimeoutError) {
        // Own aborts disconnect the reply first, so this is Qt's transfer time-out.
        expire();
    } else {
        fail(TransportError::Kind::Network, failureText());
    }
}

/// Whether the body is shorter than announced. Qt does not report this if the connection closes together with the last
/// bytes.
bool NetworkExchange::isCutOff() const
{
    constexpr int kNotModified = 304; // may announce the length of the body that it omits
    return m_response.statusCode != kNotModified && m_response.body.size() < announcedLength();
}

/// The Content-Length, 0 if there is none. Qt removes the header if it decompresses the body.
qint64 NetworkExchange::announcedLength() const
{
    bool isNumber = false;
    const qint64 length = m_reply->rawHeader("content-length").trimmed().toLongLong(&isNumber);
    return isNumber ? length : 0;
}

QString NetworkExchange::failureText() const
{
    if (!m_certificateErrors.isEmpty())
        return certificateFailureText(m_host, m_certificateErrors);
    const bool isHidden = m_state->names == NetworkSession::Names::Hidden;
    const QString text = m_reply->errorString();
    const QString cause = isHidden ? connectionFailureKind(m_reply->error(), text) : text;
    return connectionFailureText(m_host, m_reply->error(), cause, m_proxy);
}

void NetworkExchange::failAsTooLarge()
{
    fail(TransportError::Kind::BodyTooLarge, QStringLiteral("The answer of %1 is too large.").arg(m_host));
}

void NetworkExchange::endFlood()
{
    if (!m_connections.isFlooded())
        return;
    failAsTooLarge();
    abortReply();
    m_connections.endLargerThan(m_connections.allowed());
}

void NetworkExchange::fail(TransportError::Kind kind, const QString &text)
{
    end(std::make_exception_ptr(TransportError(kind, text)));
}

void NetworkExchange::end(std::exception_ptr failure)
{
    if (m_isEnded)
        return;
    m_isEnded = true;
    m_failure = std::move(failure);
    m_deadline.stop();
    m_floodTimer.stop();
    m_scope.cancelAll();
    m_reply->disconnect(this);
    QMetaObject::invokeMethod(
        this, [this] { settle(); }, Qt::QueuedConnection);
}

void NetworkExchange::expire()
{
    abandonConnections();
    fail(TransportError::Kind::TimedOut, timeoutText(m_host, m_proxy));
}

/// Makes later requests use new connections; those under way keep theirs. Aborting a reply does not close a connection
/// that is still being made, and later requests would wait for it, for ever if the server is unreachable.
void NetworkExchange::abandonConnections()
{
    if (m_state->manager == m_manager)
        m_state->manager.reset();
}

void NetworkExchange::abortReply()
{
    if (!m_reply)
        return;
    m_reply->disconnect(this);
    if (m_reply->isRunning()) {
        m_reply->abort();
        const bool isAlone = std::all_of(m_state->open.begin(), m_state->open.end(),
            [this](const NetworkExchange *other) { return other == this || other->m_isEnded; });
        if (isAlone)
            m_connections.endLargerThan(kLargestHead);
    }
    m_reply->deleteLater();
    m_reply = nullptr;
}

void NetworkExchange::settle()
{
    const OneShot<HTTPResponse> done = m_done;
    if (m_failure)
        done.fail(m_failure);
    else
        done.resolve(std::move(m_response));
}

} // namespace velmora
