// SPDX-License-Identifier: MIT
#pragma once

#include "http/http_session.h"
#include "support/error.h"
#include "support/one_shot.h"

#include <QList>

#include <deque>
#include <functional>

namespace velmora::testing
{

/// Answers requests from a queue or by a handler, and records them. A request without an answer waits for answerNext(),
/// resume() or its stop.
class FakeHTTPSession final : public HTTPSession
{
public:
    using Handler = std::function<HTTPResponse(const HTTPRequest &)>;

    [[nodiscard]] QCoro::Task<HTTPResponse> send(HTTPRequest request, std::stop_token stop) override
    {
        if (stop.stop_requested())
            throw CancellationError();
        requests.append(request);
        ++openRequests;
        mostOpenRequests = std::max(mostOpenRequests, openRequests);
        if (!m_queue.empty()) {
            const auto answer = m_queue.front();
            m_queue.pop_front();
            --openRequests;
            co_return answer(request);
        }
        if (handler) {
            --openRequests;
            co_return handler(request);
        }
        const OneShot<Handler> pending;
        m_pending.push_back(pending);
        const auto interrupt = [pending] {
            pending.resolve([](const HTTPRequest &) -> HTTPResponse { throw CancellationError(); });
        };
        const std::stop_callback onStop(stop, interrupt);
        const Handler answer = co_await pending;
        --openRequests;
        co_return answer(request);
    }

    static HTTPResponse response(int statusCode, const QByteArray &body, const HTTPHeaders &headers = {})
    {
        return HTTPResponse{statusCode, headers, body};
    }

    void enqueue(const HTTPResponse &answer)
    {
        m_queue.push_back([answer](const HTTPRequest &) { return answer; });
    }
    void enqueue(int statusCode, const QByteArray &body, const HTTPHeaders &headers = {})
    {
        enqueue(response(statusCode, body, headers));
    }
    void enqueueFailure(std::exception_ptr failure)
    {
        m_queue.push_back([failure](const HTTPRequest &) -> HTTPResponse { std::rethrow_exception(failure); });
    }

    /// Answers waiting and future requests by the handler.
    void resume(const Handler &resumed)
    {
        handler = resumed;
        const auto waiting = std::exchange(m_pending, {});
        for (const auto &pending : waiting)
            pending.resolve(resumed);
    }

    /// Answers the oldest waiting request; false if none waits.
    bool answerNext(const HTTPResponse &answer)
    {
        while (!m_pending.empty()) {
            const auto pending = m_pending.front();
            m_pending.pop_front();
            if (pending.isSettled())
                continue;
            pending.resolve([answer](const HTTPRequest &) { return answer; });
            return true;
        }
        return false;
    }

    Handler handler; ///< used when the queue is empty
    QList<HTTPRequest> requests;
    int openRequests = 0;
    int mostOpenRequests = 0;

private:
    std::deque<Handler> m_queue;
    std::deque<OneShot<Handler>> m_pending;
};

} // namespace velmora::testing
