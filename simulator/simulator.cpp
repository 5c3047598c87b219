// SPDX-License-Identifier: MIT
#include "simulator/simulator.h"

#include "simulator/control.h"
#include "simulator/pages.h"

#include <QDateTime>

namespace velmora::simulator
{

using namespace Qt::Literals::StringLiterals;

namespace
{

/// When in the story another tool has spent nearly all points of GraphQL, and what it leaves until the reset.
constexpr Milliseconds kOtherTool = 180'000;
constexpr int kLeftByOtherTool = 8;
constexpr Milliseconds kUntilReset = 300'000;

} // namespace

Simulator::Simulator(SimulatorOptions options, QObject *parent)
    : QObject(parent)
    , m_options(std::move(options))
    , m_random(m_options.seed)
    , m_oauth(m_options.oauth, m_options.seed)
{
    m_isPaused = !m_options.playsStory;
    m_storyTimer.setInterval(100);
    connect(&m_storyTimer, &QTimer::timeout, this, &Simulator::tellStory);
}

Simulator::~Simulator() = default;

bool Simulator::start()
{
    m_server = std::make_unique<HTTPServer>([this](const Request &request) { return reply(request); });
    const quint16 port = m_server->start(m_options.port);
    if (port == 0)
        return false;
    m_url = QUrl(u"http://127.0.0.1:%1"_s.arg(port));
    restoreWorld();
    m_storyTimer.start();
    return true;
}

void Simulator::restoreWorld()
{
    m_random = Random(m_options.seed);
    m_world = demoWorld(m_random, now(), m_url);
    m_story = std::make_unique<Story>(&m_world, &m_random, m_url);
    m_sinceStory.start();
}

void Simulator::replaceWorld(const WorldSize &size)
{
    m_story.reset();
    m_world = artificialWorld(size, now(), m_url);
}

void Simulator::pauseStory(bool isPaused)
{
    tellStory();
    m_isPaused = isPaused;
}

void Simulator::tellStory()
{
    // Restarted in each call, so that the story does not catch up after a pause.
    const Milliseconds elapsed = m_sinceStory.isValid() ? m_sinceStory.restart() : 0;
    if (isStoryPaused())
        return;
    const Milliseconds before = m_story->time();
    m_story->advance(Milliseconds(double(elapsed) * m_options.speed), now(), m_options.speed);
    // Not in a story that is told faster than the points come back.
    if (m_options.speed == 1 && before < kOtherTool && m_story->time() >= kOtherTool)
        spendPoints();
}

/// Another tool leaves so few points to each identity that Velmora has to ask less often until the reset.
void Simulator::spendPoints()
{
    for (const int identity : m_world.identities())
        m_limits.set(m_world.owners().at(identity).login, "graphql", kLeftByOtherTool, now() + kUntilReset);
}

void Simulator::answerHanging()
{
    if (m_server)
        m_server->answerHanging();
}

Milliseconds Simulator::now() const
{
    return (m_options.clock ? m_options.clock() : QDateTime::currentMSecsSinceEpoch()) + m_clockOffset;
}

Response Simulator::answer(const Request &request)
{
    if (isControl(request))
        return answerControl(*this, request);
    const APIContext context{m_world, m_oauth, m_limits, m_url, now()};
    if (request.path == "/login/device/code" && request.method == "POST")
        return m_oauth.deviceCode(request, m_url, context.now);
    if (request.path == "/login/oauth/access_token" && request.method == "POST")
        return m_oauth.accessToken(request, m_world, context.now);
    if (request.path == "/graphql" && request.method == "POST")
        return answerGraphQL(context, request);
    if (auto page = answerPage(m_world, request))
        return *page;
    return answerREST(context, request);
}

Reply Simulator::reply(const Request &request)
{
    if (isControl(request))
        return {answer(request), {}, {}};
    const quint64 number = m_log.begin(request);
    Reply reply;
    // A rule with a status replaces the answer; the request then has no effect.
    const QString login = m_oauth.loginOf(request.token(), now());
    auto rule = m_misbehaviour.take(request, login);
    if (!rule && m_bystander)
        rule = m_bystander->rule(request, login);
    if (!rule || !rule->status)
        reply.response = answer(request);
    if (rule) {
        reply.response = rule->apply(std::move(reply.response));
        reply.delivery = rule->delivery;
    }
    reply.finished = [this, number](int status) {
        m_log.finish(number, status);
    };
    if (m_bystander)
        m_bystander->answering(request, login, reply);
    return reply;
}

} // namespace velmora::simulator
