// SPDX-License-Identifier: MIT
#include "http/network_exchange.h"

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

/// The transfers whose connections the request uses.
std::shared_ptr<Transfers> transfersFor(NetworkSession::State &state)
{
    if (!state.transfers)
        state.transfers = std::make_shared<Transfers>();
    return state.transfers;
}

} // namespace

NetworkExchange::NetworkExchange(
    std::shared_ptr<NetworkSession::State> state, HTTPRequest request, std::chrono::milliseconds deadline)
    : m_state(std::move(state))
    , m_request(std::move(request))
    , m_host(m_request.url.host())
    , m_proxy(m_state->proxies.lastKnown(m_request.url))
    , m_headerLines(headerLines(m_request))
    , m_transfers(transfersFor(*m_state))
    , m_transfer(makeTransfer(m_request, m_headerLines, m_proxy, m_state->limits.bodySize))
{
    m_state->open.append(this);
    if (m_state->names == NetworkSession::Names::Hidden) {
        m_host = QStringLiteral("the host");
        m_proxy.host.clear();
    }
    CURL *const transfer = m_transfer.get();
    ::curl_easy_setopt(transfer, CURLOPT_HEADERFUNCTION, &NetworkExchange::takeHead);
    ::curl_easy_setopt(transfer, CURLOPT_HEADERDATA, this);
    ::curl_easy_setopt(transfer, CURLOPT_WRITEFUNCTION, &NetworkExchange::takeBody);
    ::curl_easy_setopt(transfer, CURLOPT_WRITEDATA, this);
    ::curl_easy_setopt(transfer, CURLOPT_ERRORBUFFER, m_error.data());
    ::curl_easy_setopt(transfer, CURLOPT_NOPROGRESS, 0L);
    ::curl_easy_setopt(transfer, CURLOPT_XFERINFOFUNCTION, &NetworkExchange::lookAtProgress);
    ::curl_easy_setopt(transfer, CURLOPT_XFERINFODATA, this);
    m_deadline.setSingleShot(true);
    connect(&m_deadline, &QTimer::timeout, this, &NetworkExchange::expire);
    m_deadline.start(deadline);
    m_silence.setSingleShot(true);
    connect(&m_silence, &QTimer::timeout, this, &NetworkExchange::lookForSilence);
    m_silence.start(m_state->limits.silence);
    m_sinceLastByte.start();
    m_transfers->add(transfer, [this](CURLcode result) { finish(result); });
}

NetworkExchange::~NetworkExchange()
{
    m_state->open.removeOne(this);
    m_transfers->remove(m_transfer.get());
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
    m_transfers->remove(m_transfer.get());
}

void NetworkExchange::dropNow()
{
    drop();
    settle();
}

std::size_t NetworkExchange::takeHead(char *data, std::size_t, std::size_t size, void *self)
{
    auto *const exchange = static_cast<NetworkExchange *>(self);
    exchange->readHeadLine(QByteArrayView(data, static_cast<qsizetype>(size)));
    return exchange->m_isEnded ? 0 : size;
}

/// Also called for the trailers of a body in chunks.
void NetworkExchange::readHeadLine(QByteArrayView line)
{
    m_sinceLastByte.start();
    m_headSize += line.size();
    if (line.startsWith("HTTP/"))
        beginHead();
    else if (line.trimmed().isEmpty())
        beginBody();
    else if (const qsizetype colon = line.indexOf(':'); colon > 0 && !m_hasHead)
        m_response.headers.append({line.first(colon).toByteArray(), line.sliced(colon + 1).trimmed().toByteArray()});
    if (m_headSize > kLargestHead || m_response.headers.size() > kMostHeaders)
        failAsTooLarge();
}

/// An answer may begin with heads that say only that the server goes on.
void NetworkExchange::beginHead()
{
    m_response.headers.clear();
}

void NetworkExchange::beginBody()
{
    constexpr long kFirstFinal = 200;
    if (m_hasHead || detail(CURLINFO_RESPONSE_CODE) < kFirstFinal)
        return;
    m_hasHead = true;
    curl_off_t length = 0;
    ::curl_easy_getinfo(m_transfer.get(), CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &length);
    m_response.body.reserve(std::clamp<qint64>(length, 0, m_state->limits.bodySize));
    m_scope.launch(requireProgress(m_scope.stopToken()), "the watch over a body");
}

std::size_t NetworkExchange::takeBody(char *data, std::size_t, std::size_t size, void *self)
{
    auto *const exchange = static_cast<NetworkExchange *>(self);
    QByteArray &body = exchange->m_response.body;
    exchange->m_sinceLastByte.start();
    body.append(data, static_cast<qsizetype>(size));
    if (body.size() > exchange->m_state->limits.bodySize)
        exchange->failAsTooLarge();
    return exchange->m_isEnded ? 0 : size;
}

/// Bytes that unpack to nothing reach only this.
int NetworkExchange::lookAtProgress(void *self, curl_off_t, curl_off_t received, curl_off_t, curl_off_t sent)
{
    auto *const exchange = static_cast<NetworkExchange *>(self);
    if (exchange->m_bytes != received + sent)
        exchange->m_sinceLastByte.start();
    exchange->m_bytes = received + sent;
    if (received > exchange->m_state->limits.bodySize)
        exchange->failAsTooLarge();
    return exchange->m_isEnded ? 1 : 0;
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

void NetworkExchange::lookForSilence()
{
    const std::chrono::milliseconds left
        = m_state->limits.silence - std::chrono::milliseconds(m_sinceLastByte.elapsed());
    if (left > 0ms)
        m_silence.start(left);
    else
        expire();
}

void NetworkExchange::finish(CURLcode result)
{
    if (m_isEnded)
        return;
    if (result == CURLE_OK && !m_hasHead) {
        fail(TransportError::Kind::Network, closedEarlyText(m_host));
    } else if (result == CURLE_OK) {
        m_response.statusCode = static_cast<int>(detail(CURLINFO_RESPONSE_CODE));
        end(nullptr);
    } else if (result == CURLE_FILESIZE_EXCEEDED || (result == CURLE_OUT_OF_MEMORY && !m_hasHead)) {
        // The second: a line of the head is longer than curl accepts.
        failAsTooLarge();
    } else if (result == CURLE_OPERATION_TIMEDOUT) {
        expire();
    } else {
        fail(TransportError::Kind::Network, connectionFailureText(m_host, failure(result), m_proxy));
    }
}

ConnectionFailure NetworkExchange::failure(CURLcode result) const
{
    constexpr long kFirstRefusal = 300;
    const long ofProxy = detail(CURLINFO_HTTP_CONNECTCODE);
    // curl reports a broken chunk like a broken connection.
    const bool isDamaged = QByteArrayView(m_error.data()).contains("chunked-encoding");
    return {result, detail(CURLINFO_OS_ERRNO), detail(CURLINFO_SSL_VERIFYRESULT), ofProxy < kFirstRefusal ? 0 : ofProxy,
        isDamaged};
}

long NetworkExchange::detail(CURLINFO which) const
{
    long value = 0;
    ::curl_easy_getinfo(m_transfer.get(), which, &value);
    return value;
}

void NetworkExchange::failAsTooLarge()
{
    fail(TransportError::Kind::BodyTooLarge, QStringLiteral("The answer of %1 is too large.").arg(m_host));
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
    m_silence.stop();
    m_scope.cancelAll();
    QMetaObject::invokeMethod(
        this, [this] { settle(); }, Qt::QueuedConnection);
}

void NetworkExchange::expire()
{
    abandonConnections();
    fail(TransportError::Kind::TimedOut, timeoutText(m_host, m_proxy));
}

/// Makes later requests use new connections, since all may be dead; those under way keep theirs.
void NetworkExchange::abandonConnections()
{
    if (m_state->transfers == m_transfers)
        m_state->transfers.reset();
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
