// SPDX-License-Identifier: MIT
#include "http/reply_start.h"

#include "support/erased.h"

#include <QNetworkAccessManager>

namespace velmora
{

namespace
{

/// How many bytes Qt reads ahead. Without a limit it would read as fast as the server sends, and keep all that.
constexpr qint64 kReadAhead = 128 * 1024;

QNetworkRequest networkRequest(const HTTPRequest &request, const NetworkSession::Limits &limits)
{
    QNetworkRequest made(request.url);
    for (const auto &[name, value] : request.headers)
        made.setRawHeader(name, value);
    made.setAttribute(QNetworkRequest::Http2AllowedAttribute, false);
    made.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    made.setAttribute(QNetworkRequest::CacheLoadControlAttribute, QNetworkRequest::AlwaysNetwork);
    made.setAttribute(QNetworkRequest::CacheSaveControlAttribute, false);
    made.setAttribute(QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::Manual);
    made.setAttribute(QNetworkRequest::CookieSaveControlAttribute, QNetworkRequest::Manual);
    made.setAttribute(QNetworkRequest::AuthenticationReuseAttribute, QNetworkRequest::Manual);
    made.setTransferTimeout(static_cast<int>(limits.silence.count()));
    return made;
}

/// A body that cannot be read again. Otherwise Qt sends a request again, up to three times, when its connection breaks
/// before the response.
class UnrepeatableBody final : public QIODevice
{
public:
    explicit UnrepeatableBody(QByteArray content)
        : m_content(std::move(content))
    {
        open(QIODevice::ReadOnly | QIODevice::Unbuffered);
    }

    /// The request has ended, so this erases the last copy.
    ~UnrepeatableBody() override { erase(m_content); }
    UnrepeatableBody(const UnrepeatableBody &) = delete;
    UnrepeatableBody &operator=(const UnrepeatableBody &) = delete;

    [[nodiscard]] qint64 size() const override { return m_content.size(); }
    bool seek(qint64) override { return false; }

protected:
    qint64 readData(char *data, qint64 limit) override
    {
        const auto count = std::min<qint64>(limit, m_content.size() - m_position);
        std::copy_n(m_content.constData() + m_position, count, data);
        m_position += count;
        return count;
    }
    qint64 writeData(const char *, qint64) override { return -1; }

private:
    QByteArray m_content;
    qint64 m_position = 0;
};

QNetworkReply *postOnce(QNetworkAccessManager &manager, const QNetworkRequest &made, const QByteArray &content)
{
    auto body = std::make_unique<UnrepeatableBody>(content);
    QNetworkReply *const reply = manager.post(made, body.get());
    body.release()->setParent(reply);
    return reply;
}

QNetworkReply *send(QNetworkAccessManager &manager, const HTTPRequest &request, const QNetworkRequest &made)
{
    if (request.method == "GET" && !request.body)
        return manager.get(made);
    if (request.method == "POST" && request.isUnrepeatable)
        return postOnce(manager, made, request.body.value_or(QByteArray()));
    if (request.method == "POST")
        return manager.post(made, request.body.value_or(QByteArray()));
    return manager.sendCustomRequest(made, request.method, request.body.value_or(QByteArray()));
}

} // namespace

QNetworkReply *startReply(
    QNetworkAccessManager &manager, const HTTPRequest &request, const NetworkSession::Limits &limits)
{
    QNetworkReply *const reply = send(manager, request, networkRequest(request, limits));
    reply->setReadBufferSize(kReadAhead);
    return reply;
}

} // namespace velmora
