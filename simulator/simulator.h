// SPDX-License-Identifier: MIT
#pragma once

#include "simulator/api.h"
#include "simulator/demo_world.h"
#include "simulator/http_server.h"
#include "simulator/misbehaviour.h"
#include "simulator/oauth.h"
#include "simulator/rate_limits.h"
#include "simulator/request_log.h"
#include "simulator/story.h"
#include "simulator/world.h"

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>
#include <QUrl>

#include <functional>
#include <memory>

namespace velmora::simulator
{

struct SimulatorOptions {
    quint16 port = 0; ///< 0: a free port
    quint64 seed = 1;
    double speed = 1; ///< of the story
    bool playsStory = true;
    OAuthSettings oauth;
    std::function<Milliseconds()> clock; ///< the wall clock; by default that of the machine
};

/// Sees every request but those to the control endpoint, and may change how it is answered.
class Bystander
{
public:
    virtual ~Bystander() = default;
    /// A rule for this request, for which the rules in force have none. `login` is empty without a valid token.
    [[nodiscard]] virtual std::optional<MisbehaviourRule> rule(const Request &request, const QString &login) = 0;
    /// The request will be answered like this, unless the bystander changes it.
    virtual void answering(const Request &request, const QString &login, Reply &reply) = 0;
};

/// A stand-in for GitHub that listens on the loopback address. Its destruction closes all connections.
class Simulator final : public QObject
{
    Q_OBJECT
public:
    explicit Simulator(SimulatorOptions options = {}, QObject *parent = nullptr);
    ~Simulator() override;

    /// Creates the world and listens; false if the port is taken.
    [[nodiscard]] bool start();
    /// The base address of API and pages; login addresses are below "login". Valid after start().
    [[nodiscard]] QUrl url() const { return m_url; }

    [[nodiscard]] World &world() { return m_world; }
    [[nodiscard]] OAuth &oauth() { return m_oauth; }
    [[nodiscard]] RateLimits &limits() { return m_limits; }
    [[nodiscard]] RequestLog &log() { return m_log; }
    [[nodiscard]] const RequestLog &log() const { return m_log; }
    [[nodiscard]] Misbehaviour &misbehaviour() { return m_misbehaviour; }
    /// The bystander is not owned and outlives the requests; null: none.
    void setBystander(Bystander *bystander) { m_bystander = bystander; }

    /// The number of requests that hang because of a rule.
    [[nodiscard]] qsizetype hangingCount() const { return m_server ? m_server->hangingCount() : 0; }
    /// Answers the hanging requests with what was determined on their arrival, modified by their rule.
    void answerHanging();

    /// A token of the login, without the device flow.
    [[nodiscard]] QString issueAccessToken(const QString &login) { return m_oauth.issueAccessToken(login, now()); }
    /// Replaces the world by an artificial one and ends the story. Tokens stay valid for logins that exist in both.
    void replaceWorld(const WorldSize &size);
    /// Restores the world of the story and restarts it.
    void restoreWorld();
    void pauseStory(bool isPaused);
    [[nodiscard]] bool isStoryPaused() const { return m_isPaused || !m_story; }

    /// The wall clock of the stand-in.
    [[nodiscard]] Milliseconds now() const;
    /// Advances the wall clock, which governs token lifetimes and rate limits. The story is not affected.
    void advanceClock(Milliseconds by) { m_clockOffset += by; }

    /// The answer to a request as if it had come over the network, without rules.
    [[nodiscard]] Response answer(const Request &request);

private:
    [[nodiscard]] Reply reply(const Request &request);
    void tellStory();
    void spendPoints();

    SimulatorOptions m_options;
    QUrl m_url;
    World m_world;
    Random m_random;
    OAuth m_oauth;
    RateLimits m_limits;
    RequestLog m_log;
    Misbehaviour m_misbehaviour;
    Bystander *m_bystander = nullptr;
    std::unique_ptr<Story> m_story;
    bool m_isPaused = false;
    QElapsedTimer m_sinceStory;
    QTimer m_storyTimer;
    Milliseconds m_clockOffset = 0;
    std::unique_ptr<HTTPServer> m_server;
};

} // namespace velmora::simulator
