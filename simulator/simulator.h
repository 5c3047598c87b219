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
    quint16 port = 0; ///< 0: a free one
    quint64 seed = 1;
    double speed = 1; ///< of the story
    bool playsStory = true;
    OAuthSettings oauth;
    std::function<Milliseconds()> clock; ///< the wall clock; without one, that of the machine
};

/// A stand-in for GitHub that listens on the loopback address. It ends, with every connection, when destroyed.
class Simulator final : public QObject
{
    Q_OBJECT
public:
    explicit Simulator(SimulatorOptions options = {}, QObject *parent = nullptr);
    ~Simulator() override;

    /// Makes the world and listens; false when the port is taken.
    [[nodiscard]] bool start();
    /// The base of the API and of every page; the login addresses lie below "login". Valid after start().
    [[nodiscard]] QUrl url() const { return m_url; }

    [[nodiscard]] World &world() { return m_world; }
    [[nodiscard]] OAuth &oauth() { return m_oauth; }
    [[nodiscard]] RateLimits &limits() { return m_limits; }
    [[nodiscard]] RequestLog &log() { return m_log; }
    [[nodiscard]] const RequestLog &log() const { return m_log; }
    [[nodiscard]] Misbehaviour &misbehaviour() { return m_misbehaviour; }

    /// How many requests wait because a rule has them hang.
    [[nodiscard]] qsizetype hangingCount() const { return m_server ? m_server->hangingCount() : 0; }
    /// Answers the requests that a rule has hang, as the rule says otherwise and with what was true when they came.
    void answerHanging();

    /// A token of that person, without the device flow.
    [[nodiscard]] QString issueAccessToken(const QString &login) { return m_oauth.issueAccessToken(login, now()); }
    /// Puts an artificial world in the place of the present one and ends the story. Tokens stay, for the logins
    /// that exist in both.
    void replaceWorld(const WorldSize &size);
    /// Back to the story's world, from its beginning.
    void restoreWorld();
    void pauseStory(bool isPaused);
    [[nodiscard]] bool isStoryPaused() const { return m_isPaused || !m_story; }

    /// The wall clock as the stand-in sees it.
    [[nodiscard]] Milliseconds now() const;
    /// Moves that clock, for token lifetimes and rate limits; the story does not notice.
    void advanceClock(Milliseconds by) { m_clockOffset += by; }

    /// The answer to one request, as if it had come over the network.
    [[nodiscard]] Response answer(const Request &request);

private:
    [[nodiscard]] Reply reply(const Request &request);
    void tellStory();

    SimulatorOptions m_options;
    QUrl m_url;
    World m_world;
    Random m_random;
    OAuth m_oauth;
    RateLimits m_limits;
    RequestLog m_log;
    Misbehaviour m_misbehaviour;
    std::unique_ptr<Story> m_story;
    bool m_isPaused = false;
    QElapsedTimer m_sinceStory;
    QTimer m_storyTimer;
    Milliseconds m_clockOffset = 0;
    std::unique_ptr<HTTPServer> m_server;
};

} // namespace velmora::simulator
