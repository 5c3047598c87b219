// SPDX-License-Identifier: MIT
#pragma once

#include "simulator/http_message.h"
#include "simulator/misbehaviour.h"

#include <QAbstractHttpServer>
#include <QPointer>
#include <QTcpSocket>

#include <functional>
#include <memory>

namespace velmora::simulator
{

/// What to do with one request.
struct Reply {
    Response response;
    Delivery delivery;
    std::function<void(int status)> finished; ///< called once: with the status, or 0 when the answer never left whole
};

/// Takes requests on the loopback address and sends answers, faultless or faulty. It knows nothing of what
/// it serves.
class HTTPServer final : public QAbstractHttpServer
{
public:
    using Handler = std::function<Reply(const Request &)>;

    explicit HTTPServer(Handler handler, QObject *parent = nullptr);
    /// The port it listens on, 0 when that failed. Port 0 asks for a free one.
    [[nodiscard]] quint16 start(quint16 port);
    /// How many requests hang: their clients are still there, and wait.
    [[nodiscard]] qsizetype hangingCount() const;
    /// Sends the answers to the requests that hang.
    void answerHanging();

protected:
    bool handleRequest(const QHttpServerRequest &request, QTcpSocket *socket) override;
    void missingHandler(const QHttpServerRequest &request, QTcpSocket *socket) override;

private:
    struct Exchange;
    static void send(const std::shared_ptr<Exchange> &exchange);
    static void sendEndlessly(const std::shared_ptr<Exchange> &exchange);

    Handler m_handler;
    QList<std::shared_ptr<Exchange>> m_hanging;
};

} // namespace velmora::simulator
