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

/// How to answer a request.
struct Reply {
    Response response;
    Delivery delivery;
    std::function<void(int status)> finished; ///< called once; status 0: not sent completely
};

/// Receives requests on the loopback address and delivers answers, with faults if so requested. Independent of what it
/// serves.
class HTTPServer final : public QAbstractHttpServer
{
public:
    using Handler = std::function<Reply(const Request &)>;

    explicit HTTPServer(Handler handler, QObject *parent = nullptr);
    /// Returns the port, or 0 if listening failed. Port 0 picks a free one.
    [[nodiscard]] quint16 start(quint16 port);
    /// The number of hanging requests whose clients still wait.
    [[nodiscard]] qsizetype hangingCount() const;
    /// Sends the answers to all hanging requests.
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
