// SPDX-License-Identifier: MIT
#include "http/proxy_lookup.h"

#include "http/host_address.h"
#include "http/proxy_environment.h"
#include "http/system_proxy.h"
#include "support/background.h"
#include "support/error.h"
#include "support/task_scope.h"
#include "support/with_deadline.h"

#include <QDeadlineTimer>
#include <QHash>

#include <atomic>

namespace velmora
{

namespace
{

std::atomic<int> s_openQuestions = 0;

using Answer = OneShot<Proxy>;

struct Remembered {
    Proxy proxy;
    QDeadlineTimer end;
};

/// A query to the system, and the callers that wait for its answer.
struct Question {
    QList<Answer> waiting;
};

/// One thread asks for all lookups, and stays: the system's resolver does not run in several threads, and keeps the
/// script that it has loaded.
QThreadPool *askingThread()
{
    static QThreadPool pool;
    pool.setMaxThreadCount(1);
    pool.setExpiryTimeout(-1);
    return &pool;
}

/// The system's proxy script gets only this part of an address, never a path or query. The default port is removed,
/// since a redirect to the same origin may name it.
QString originOf(QUrl url)
{
    const int port = portOf(url);
    url.setPort(-1);
    if (portOf(url) != port)
        url.setPort(port);
    return url.toString(QUrl::RemovePath | QUrl::RemoveQuery | QUrl::RemoveFragment | QUrl::RemoveUserInfo);
}

} // namespace

struct ProxyLookup::State {
    SystemQuery systemQuery;
    std::chrono::milliseconds rememberedFor{};
    QHash<QString, Remembered> remembered;
    QHash<QString, std::shared_ptr<Question>> questions;

    void remember(const QString &origin, const Proxy &proxy)
    {
        remembered.insert(origin, Remembered{proxy, QDeadlineTimer(rememberedFor)});
    }
};

ProxyLookup::ProxyLookup()
    : ProxyLookup(&systemProxy)
{
}

ProxyLookup::ProxyLookup(SystemQuery systemQuery, std::chrono::milliseconds rememberedFor)
    : m_state(std::make_shared<State>())
{
    m_state->systemQuery = std::move(systemQuery);
    m_state->rememberedFor = rememberedFor;
}

ProxyLookup::~ProxyLookup()
{
    abandon();
}

QCoro::Task<Proxy> ProxyLookup::proxyFor(QUrl url, std::chrono::milliseconds patience, std::stop_token stop) const
{
    // The lookup may end before its answer.
    const auto state = m_state;
    throwIfStopped(stop);
    const QString origin = originOf(url);
    const auto named = environmentProxy(url, QProcessEnvironment::systemEnvironment());
    if (named) {
        state->remember(origin, *named);
        co_return *named;
    }
    const Remembered known = state->remembered.value(origin);
    if (state->remembered.contains(origin) && !known.end.hasExpired())
        co_return known.proxy;
    const Answer mine;
    auto &question = state->questions[origin];
    const bool isFirst = !question;
    if (isFirst)
        question = std::make_shared<Question>();
    question->waiting.removeIf([](const Answer &one) { return one.isSettled(); });
    question->waiting.append(mine);
    if (isFirst)
        launch(ask(state, origin), "asking the system for its proxy");
    const std::optional<Proxy> proxy = co_await withDeadline(mine, patience, stop);
    if (!proxy)
        throw TransportError(
            TransportError::Kind::TimedOut, QStringLiteral("The system's proxy settings did not answer in time."));
    co_return Proxy(*proxy);
}

QCoro::Task<> ProxyLookup::ask(std::shared_ptr<State> state, QString origin)
{
    const auto question = state->questions.value(origin);
    auto work = [query = state->systemQuery, url = QUrl(origin)] {
        ++s_openQuestions;
        Proxy found = query(url);
        --s_openQuestions;
        return found;
    };
    const Proxy proxy = co_await runInBackground(askingThread(), std::move(work));
    if (state->questions.value(origin) == question) {
        state->questions.remove(origin);
        state->remember(origin, proxy);
    }
    const auto waiting = std::exchange(question->waiting, {});
    for (const Answer &one : waiting)
        one.resolve(proxy);
}

Proxy ProxyLookup::lastKnown(const QUrl &url) const
{
    return m_state->remembered.value(originOf(url)).proxy;
}

bool ProxyLookup::isAskingSystem()
{
    return s_openQuestions > 0;
}

void ProxyLookup::abandon()
{
    // Requests under way keep their proxy (lastKnown()), so expire the entries instead of removing them.
    for (Remembered &one : m_state->remembered)
        one.end = QDeadlineTimer();
    const auto questions = std::exchange(m_state->questions, {});
    const auto givenUp = std::make_exception_ptr(TransportError(
        TransportError::Kind::Network, QStringLiteral("The connection was closed before the answer arrived.")));
    for (const auto &question : questions) {
        const auto waiting = std::exchange(question->waiting, {});
        for (const Answer &one : waiting)
            one.fail(givenUp);
    }
}

} // namespace velmora
