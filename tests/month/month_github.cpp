// SPDX-License-Identifier: MIT
#include "month_github.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QLoggingCategory>

#include <stdexcept>

namespace velmora::testing
{

using namespace std::chrono_literals;
using namespace Qt::Literals::StringLiterals;

namespace
{

Q_LOGGING_CATEGORY(trafficLog, "month.traffic", QtWarningMsg)

constexpr auto kTokens = "/login/oauth/access_token";
constexpr auto kGraphQL = "/graphql";
constexpr auto kInstallations = "/user/installations";
constexpr int kMostSpent = 5'000;

simulator::SimulatorOptions optionsWith(const MonthClock *clock, quint64 seed)
{
    simulator::SimulatorOptions options;
    options.seed = seed;
    options.playsStory = false;
    options.clock = [clock] {
        return std::chrono::floor<std::chrono::milliseconds>(clock->truth()).time_since_epoch().count();
    };
    return options;
}

Instant instantOf(simulator::Milliseconds time)
{
    return Instant(std::chrono::milliseconds(time));
}

std::optional<qint64> numberIn(const simulator::Response &response, const QByteArray &name)
{
    for (const simulator::Header &header : response.headers) {
        if (header.name.compare(name, Qt::CaseInsensitive) == 0)
            return header.value.toLongLong();
    }
    return std::nullopt;
}

/// Whether the answer redirects to an address with an origin.
bool hasOrigin(const simulator::Response &response)
{
    return std::any_of(response.headers.begin(), response.headers.end(),
        [](const simulator::Header &header) { return header.name == "Location" && header.value.startsWith("http"); });
}

QString refreshTokenIn(const simulator::Request &request)
{
    const auto values = simulator::decodeForm(request.body);
    for (const auto &[name, value] : values) {
        if (name == "refresh_token"_L1)
            return value;
    }
    return {};
}

} // namespace

/// A request and its answer.
struct MonthGitHub::Exchange {
    QByteArray path;
    QString login; ///< of the token, even if it has expired; empty for one that was never issued
    QString refreshToken;
    simulator::Response response;
    QList<ToldRepository> told;
    QList<int> installations; ///< that the login sees
    bool hasToken = false;
    bool isOwnerKnown = true; ///< to the program, from an earlier answer to the same token
    bool hasEnded = false;
    bool isSpoiled = false;
    bool isFollowed = false; ///< a redirect, after which the same is asked elsewhere
};

MonthGitHub::MonthGitHub(MonthClock *clock, MonthOracle *oracle, quint64 seed, int repositories, int kept)
    : simulator(optionsWith(clock, seed))
    , team(clock, &simulator, seed + 1, kept, [this](int repository) { m_told.remove(repository); })
    , faults(clock, &simulator, seed + 2)
    , m_clock(clock)
    , m_oracle(oracle)
{
    if (!simulator.start())
        throw std::runtime_error("the stand-in for GitHub cannot listen");
    simulator.setBystander(this);
    team.found(logins(), repositories);
}

QStringList MonthGitHub::logins()
{
    return {u"mira"_s, u"tobias"_s, u"yuna"_s};
}

void MonthGitHub::useUp(const QString &login, int remaining, std::chrono::seconds resetAfter)
{
    const auto reset = simulator.now() + std::chrono::milliseconds(resetAfter).count();
    simulator.limits().set(login, remaining, reset - reset % 1'000);
}

bool MonthGitHub::approve(const QString &userCode, const QString &login)
{
    m_connecting = login;
    return simulator.oauth().approve(userCode, login);
}

bool MonthGitHub::isDripNews() const
{
    static constexpr qint64 kPatience = 2'000; // milliseconds of real time; for a program that has just given up
    return std::any_of(m_drips.begin(), m_drips.end(), [this](const Drip &drip) {
        const bool isNoticed = m_clock->bodyWatches() > drip.watchesBefore || drip.age.hasExpired(kPatience);
        return !isNoticed || m_clock->awake() - drip.sentAt >= MonthClock::kBodyPause;
    });
}

void MonthGitHub::throwIfViolated() const
{
    if (!m_violation.isEmpty())
        throw Violation(m_violation);
}

void MonthGitHub::violate(const QString &text)
{
    if (m_violation.isEmpty())
        m_violation = text;
}

void MonthGitHub::answering(const simulator::Request &request, const QString &login, simulator::Reply &reply)
{
    const auto exchange = std::make_shared<Exchange>();
    exchange->path = request.path;
    exchange->hasToken = !request.token().isEmpty();
    exchange->login = m_accessTokens.value(request.token());
    if (request.path == kTokens)
        exchange->refreshToken = refreshTokenIn(request);
    checkArrival(*exchange, request);
    const AnswerFaults::Damage damage = faults.spoil(reply);
    exchange->isSpoiled = damage.isSpoiled;
    exchange->response = reply.response;
    m_corpus.add(request.path, reply.response);
    const bool isRedirect = reply.response.status >= 301 && reply.response.status <= 308;
    exchange->isFollowed = isRedirect && faults.current() == AnswerFault::Redirected && !hasOrigin(reply.response);
    if (request.path == kGraphQL)
        exchange->told = asked(request, login, damage.nullPlaces);
    if (const auto identity = simulator.world().ownerWithLogin(login); identity && request.path == kInstallations)
        exchange->installations = simulator.world().installationsOf(*identity);
    ++m_openCount;
    if (exchange->hasToken)
        ++m_openQuestions;
    ++m_requests;
    reply.finished = [this, exchange, logged = reply.finished](int status) {
        logged(status);
        finished(*exchange, status);
    };
    const auto wait = faults.delay(request.path == kGraphQL);
    const auto beginDrip = [this, exchange, drips = reply.delivery.keepsRest] {
        if (!drips || exchange->hasEnded)
            return;
        m_drips.append({exchange.get(), m_clock->awake(), m_clock->bodyWatches(), {}});
        m_drips.last().age.start();
        qCDebug(trafficLog) << toISO8601(m_clock->truth()) << exchange->login << exchange->path << "drips";
    };
    reply.delivery.defer = [this, wait, beginDrip](const std::function<void()> &send) {
        m_clock->onMachine(wait, [send, beginDrip] {
            beginDrip();
            send();
        });
    };
}

void MonthGitHub::checkArrival(Exchange &exchange, const simulator::Request &request)
{
    if (!exchange.refreshToken.isEmpty()) {
        if (m_usedTokens.contains(exchange.refreshToken) || m_openTokens.contains(exchange.refreshToken))
            violate(u"a refresh token was used twice"_s);
        m_openTokens.insert(exchange.refreshToken);
        ++m_questions[m_refreshTokens.value(exchange.refreshToken)];
    }
    if (exchange.login.isEmpty())
        return;
    ++m_questions[exchange.login];
    const QString what = u"%1 for %2"_s.arg(QString::fromUtf8(request.path), exchange.login);
    if (m_open[exchange.login]++ > 0)
        violate(what + u": another request was open"_s);
    // Whose a new token is turns out with the first answer.
    exchange.isOwnerKnown = !m_newTokens.remove(request.token());
    if (exchange.isOwnerKnown && m_clock->truth() + 1s < m_pausedUntil.value(exchange.login))
        violate(what + u": GitHub had told the program to wait"_s);
    const auto hour = std::chrono::floor<std::chrono::hours>(m_clock->truth()).time_since_epoch().count();
    if (++m_spent[{exchange.login, hour}] > kMostSpent)
        violate(what + u": more requests than the quota has"_s);
    if (m_spent.size() > 100)
        m_spent.erase(m_spent.begin());
}

void MonthGitHub::finished(Exchange &exchange, int status)
{
    exchange.hasEnded = true;
    m_drips.removeIf([&](const Drip &drip) { return drip.exchange == &exchange; });
    if (--m_openCount == 0)
        simulator.log().clear(); // a search of a long one costs more than the answer
    m_openTokens.remove(exchange.refreshToken);
    if (exchange.hasToken)
        --m_openQuestions;
    if (!exchange.login.isEmpty())
        --m_open[exchange.login];
    const bool hasArrived = status != 0 && status == exchange.response.status;
    if (hasArrived)
        notePause(exchange);
    // Tokens that were issued are valid, whether or not the program has received them.
    if (exchange.path == kTokens)
        adoptTokens(exchange);
    if (exchange.path == kTokens && hasArrived && !exchange.isSpoiled && !exchange.refreshToken.isEmpty())
        m_usedTokens.insert(exchange.refreshToken);
    qCDebug(trafficLog) << toISO8601(m_clock->truth()) << exchange.login << exchange.path << status
                        << (exchange.isSpoiled ? "spoiled" : "");
    tellOracle(exchange, hasArrived && !exchange.isSpoiled && (status == 200 || status == 304));
}

void MonthGitHub::adoptTokens(const Exchange &exchange)
{
    if (exchange.isSpoiled)
        return;
    const QJsonObject body = QJsonDocument::fromJson(exchange.response.body).object();
    const QString access = body["access_token"_L1].toString();
    if (access.isEmpty())
        return;
    const QString login = exchange.refreshToken.isEmpty() ? m_connecting : m_refreshTokens.value(exchange.refreshToken);
    if (exchange.refreshToken.isEmpty())
        m_newTokens.insert(access);
    m_accessTokens.insert(access, login);
    m_refreshTokens.insert(body["refresh_token"_L1].toString(), login);
}

void MonthGitHub::tellOracle(const Exchange &exchange, bool isWhole)
{
    if (exchange.login.isEmpty())
        return;
    if (exchange.path.startsWith(kInstallations))
        return list(exchange, isWhole);
    if (exchange.path != kGraphQL)
        return;
    if (exchange.isFollowed)
        return;
    const bool isAnswer = isWhole && exchange.response.body.startsWith(R"({"data")");
    if (isAnswer)
        m_oracle->told(exchange.login, exchange.told);
    // Without a point left the program asks no more, so its fetch stays in pieces unless this was the last of it.
    if (!isAnswer || numberIn(exchange.response, "X-RateLimit-Remaining").value_or(1) <= 0)
        m_oracle->spoiled(exchange.login);
}

void MonthGitHub::list(const Exchange &exchange, bool isWhole)
{
    Listing &listing = m_listings[exchange.login];
    if (!isWhole) {
        listing.awaited = {0};
        return;
    }
    const auto &installations = simulator.world().installations();
    if (exchange.path == kInstallations) {
        listing = {};
        for (const int installation : exchange.installations) {
            if (!installations[installation].isSuspended)
                listing.awaited.insert(installations[installation].id);
        }
    } else {
        const qint64 id = exchange.path.mid(qstrlen(kInstallations) + 1).split('/').first().toLongLong();
        listing.awaited.remove(id);
        for (const auto &installation : installations) {
            if (installation.id == id)
                listing.repositories += QSet<int>(installation.repositories.begin(), installation.repositories.end());
        }
    }
    if (listing.awaited.isEmpty())
        m_oracle->listed(exchange.login, listing.repositories);
}

/// Remembers until when GitHub wants no request, if the machine's clock is right enough to know.
void MonthGitHub::notePause(const Exchange &exchange)
{
    const simulator::Response &response = exchange.response;
    const bool isRefused = response.status == 403 || response.status == 429;
    // The program does not learn from a refusal whose new token it has.
    const bool isForNobody = exchange.login.isEmpty() || (isRefused && !exchange.isOwnerKnown);
    if (isForNobody || m_clock->skew() != 0s)
        return;
    const bool isQuery = exchange.path == kGraphQL && response.status == 200 && !exchange.isSpoiled;
    if (!isRefused && !isQuery)
        return;
    std::optional<Instant> until;
    if (const auto seconds = numberIn(response, "Retry-After"); seconds && isRefused)
        until = m_clock->truth() + std::chrono::seconds(*seconds);
    else if (numberIn(response, "X-RateLimit-Remaining").value_or(1) <= 0)
        until = instantOf(numberIn(response, "X-RateLimit-Reset").value_or(0) * 1'000);
    if (until)
        m_pausedUntil[exchange.login] = std::min(*until, m_clock->truth() + 1h);
}

QList<ToldRepository> MonthGitHub::asked(
    const simulator::Request &request, const QString &login, const QSet<int> &nullPlaces)
{
    const auto identity = simulator.world().ownerWithLogin(login);
    if (!identity)
        return {};
    QList<ToldRepository> told;
    const QJsonArray ids
        = QJsonDocument::fromJson(request.body).object()["variables"_L1].toObject()["ids"_L1].toArray();
    for (int place = 0; place < ids.size(); ++place) {
        const auto repository = simulator.world().repositoryWithNodeID(ids[place].toString());
        if (repository && !nullPlaces.contains(place) && simulator.world().isVisible(*repository, *identity))
            told.append({*repository, deploymentsOf(*repository)});
    }
    return told;
}

std::shared_ptr<const QList<ToldDeployment>> MonthGitHub::deploymentsOf(int repository)
{
    constexpr std::size_t kAnswered = 20;
    auto &known = m_told[repository];
    if (known)
        return known;
    QList<ToldDeployment> told;
    const auto &deployments = simulator.world().repositories()[repository].deployments;
    for (std::size_t place = 0; place < std::min(deployments.size(), kAnswered); ++place) {
        const simulator::Deployment &deployment = deployments[place];
        told.append({deployment.id, deployment.state.value_or(QString()),
            std::chrono::floor<std::chrono::seconds>(instantOf(deployment.updatedAt))});
    }
    known = std::make_shared<const QList<ToldDeployment>>(told);
    return known;
}

} // namespace velmora::testing
