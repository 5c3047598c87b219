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
constexpr auto kFarFuture = "32472144000"; ///< the year 2999

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
    QSet<int> nullPlaces; ///< of repositories that are null in the answer
    QList<int> installations; ///< that the login sees
    bool hasToken = false;
    bool isOwnerKnown = true; ///< to the program, from an earlier answer to the same token
    bool hasEnded = false;
    bool isSpoiled = false;
    bool isFollowed = false; ///< a redirect, after which the same is asked elsewhere
};

MonthGitHub::MonthGitHub(MonthClock *clock, MonthOracle *oracle, quint64 seed, int repositories, int kept)
    : simulator(optionsWith(clock, seed))
    , m_clock(clock)
    , m_oracle(oracle)
    , m_kept(kept)
    , m_team(seed + 1)
    , m_weather(seed + 2)
{
    if (!simulator.start())
        throw std::runtime_error("the stand-in for GitHub cannot listen");
    simulator::World &world = simulator.world();
    world = simulator::World();
    simulator.setBystander(this);
    // Each user has a few repositories, and an organisation with many.
    for (const QString &login : logins()) {
        const int user = world.addOwner(login, login, false);
        const int organisation = world.addOwner(login + "-works"_L1, login, true);
        QList<int> own;
        QList<int> shared;
        for (int number = 0; number < repositories / int(logins().size()); ++number) {
            const bool isOwn = number % 4 == 0;
            const int repository = world.addRepository(isOwn ? user : organisation, u"service-%1"_s.arg(number));
            (isOwn ? own : shared).append(repository);
        }
        world.addInstallation(user, {user}, own);
        world.addInstallation(organisation, {user}, shared);
    }
    addHistory();
}

/// Deployments of the weeks before, as many as are kept, so that the first day takes as much memory as the last.
void MonthGitHub::addHistory()
{
    for (int repository = 0; repository < repositoryCount(); ++repository) {
        for (int age = m_kept; age > 0; --age) {
            const auto script = makeScript(m_team, simulator.world(), repository, simulator.url());
            const auto end = simulator.now() - std::chrono::milliseconds(age * 48h).count();
            const QString id = beginDeployment(simulator.world(), script, end);
            applyStep(simulator.world(), script, id, script.steps.last(), end);
        }
    }
}

QStringList MonthGitHub::logins()
{
    return {u"mira"_s, u"tobias"_s, u"yuna"_s};
}

void MonthGitHub::beginDeployments(std::chrono::seconds longestPause, std::chrono::seconds longestAtNight)
{
    m_longestPause = longestPause;
    m_longestAtNight = longestAtNight;
    deployNext();
}

void MonthGitHub::deployNext()
{
    const auto sinceMidnight = m_clock->truth() - std::chrono::floor<std::chrono::days>(m_clock->truth());
    const std::chrono::weekday day(std::chrono::floor<std::chrono::days>(m_clock->truth()));
    const bool isAtWork
        = day != std::chrono::Saturday && day != std::chrono::Sunday && sinceMidnight > 8h && sinceMidnight < 19h;
    const auto longest = isAtWork ? m_longestPause : m_longestAtNight;
    const std::chrono::seconds pause(m_team.between(1, longest.count()));
    m_clock->inWorld(pause, [this] {
        const int repository = int(m_team.between(0, repositoryCount() - 1));
        simulator::Script script = makeScript(m_team, simulator.world(), repository, simulator.url());
        if (m_team.chance(3)) // a deployment that waits for days
            script.steps.insert(script.steps.size() - 1, {m_team.between(1, 300'000'000), u"WAITING"_s, std::nullopt});
        if (m_team.chance(10)) // one that is run again
            script.steps += {{m_team.between(1'000, 3'000'000), u"IN_PROGRESS"_s, std::nullopt}, script.steps.last()};
        if (m_team.chance(5)) // one whose result changes
            script.steps.append({m_team.between(1'000, 600'000),
                m_team.pick(QList<QString>{u"ERROR"_s, u"FAILURE"_s, u"SUCCESS"_s, u"INACTIVE"_s}), std::nullopt});
        const QString id = beginDeployment(simulator.world(), script, simulator.now());
        ++m_deployments;
        touch(repository);
        play(script, id, 0);
        deployNext();
    });
}

void MonthGitHub::play(const simulator::Script &script, const QString &id, qsizetype step)
{
    if (step == script.steps.size()) {
        auto &deployments = simulator.world().change(script.repository).deployments;
        while (deployments.size() > std::size_t(m_kept) && !isUnderWay(deployments.back()))
            deployments.pop_back();
        touch(script.repository);
        return;
    }
    m_clock->inWorld(std::chrono::milliseconds(script.steps[step].after), [this, script, id, step] {
        applyStep(simulator.world(), script, id, script.steps[step], simulator.now());
        touch(script.repository);
        play(script, id, step + 1);
    });
}

void MonthGitHub::useUp(const QString &login, int remaining, std::chrono::seconds resetAfter)
{
    const auto reset = simulator.now() + std::chrono::milliseconds(resetAfter).count();
    simulator.limits().set(login, remaining, reset - reset % 1'000);
}

void MonthGitHub::setSuspended(int installation, bool isSuspended)
{
    simulator.world().changeInstallation(installation).isSuspended = isSuspended;
}

void MonthGitHub::setInstalled(int installation, bool isInstalled)
{
    const int user = installation / 2 * 2; // each user comes before the organisation
    QSet<int> identities;
    if (isInstalled)
        identities.insert(user);
    simulator.world().changeInstallation(installation).identities = identities;
}

void MonthGitHub::rename(int repository)
{
    simulator.world().change(repository).name = u"renamed-%1"_s.arg(++m_renamed);
}

/// From the user to the organisation, or back.
void MonthGitHub::transfer(int repository)
{
    const auto &installations = simulator.world().installations();
    for (int from = 0; from < installations.size(); ++from) {
        if (!installations[from].repositories.contains(repository))
            continue;
        simulator.world().moveRepository(repository, from, from % 2 == 0 ? from + 1 : from - 1);
        rename(repository);
        return;
    }
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

std::optional<simulator::MisbehaviourRule> MonthGitHub::rule(const simulator::Request &request, const QString &login)
{
    m_current.reset();
    m_faults.removeIf([this](const MonthFault &fault) { return fault.times == 0 || fault.until < m_clock->truth(); });
    for (MonthFault &fault : m_faults) {
        if (!request.path.startsWith(fault.path) || (!fault.login.isEmpty() && fault.login != login))
            continue;
        --fault.times;
        m_current = fault.fault;
        switch (fault.fault) {
        case AnswerFault::Status:
        case AnswerFault::Unauthorized:
        case AnswerFault::Refused:
        case AnswerFault::Page:
        case AnswerFault::Redirected:
        case AnswerFault::Limited:
            return refusal(fault.fault, request);
        case AnswerFault::Absurd:
            if (request.path == kGraphQL && m_weather.chance(50))
                return std::nullopt;
            return refusal(fault.fault, request);
        default:
            return std::nullopt;
        }
    }
    return std::nullopt;
}

/// The rule for an answer whose request has no effect.
simulator::MisbehaviourRule MonthGitHub::refusal(AnswerFault fault, const simulator::Request &request)
{
    static const QList<int> statuses{
        204, 400, 402, 403, 404, 406, 408, 409, 410, 418, 422, 429, 451, 500, 501, 502, 503, 504, 520, 599};
    simulator::MisbehaviourRule rule;
    rule.status = m_weather.pick(statuses);
    if (fault == AnswerFault::Unauthorized) {
        rule.status = 401;
    } else if (fault == AnswerFault::Refused) {
        rule.delivery.close = simulator::Delivery::Close::Before;
    } else if (fault == AnswerFault::Page) {
        rule.status = m_weather.chance(70) ? 200 : 511;
        rule.headers = {{"Content-Type", "text/html"}};
        rule.body = "<html><body>Welcome to the hotel. Please accept our terms.</body></html>";
    } else if (fault == AnswerFault::Redirected) {
        const bool isElsewhere = m_weather.chance(50);
        const QByteArray origin = isElsewhere ? "http://localhost:" + QByteArray::number(simulator.url().port()) : "";
        rule.status = m_weather.pick(QList<int>{301, 302, 303, 307, 308});
        rule.headers = {{"Location", origin + request.path + "?moved=1"}};
    } else if (fault == AnswerFault::Limited) {
        rule.status = m_weather.pick(QList<int>{403, 429});
        if (m_weather.chance(50)) {
            rule.headers = {{"Retry-After", QByteArray::number(m_weather.between(1, 1'800))}};
        } else {
            const qint64 reset = simulator.now() / 1'000 + m_weather.between(1, 3'000);
            rule.headers = {{"X-RateLimit-Remaining", "0"}, {"X-RateLimit-Reset", QByteArray::number(reset)}};
        }
    } else if (fault == AnswerFault::Absurd) {
        rule.status = m_weather.pick(QList<int>{403, 429});
        if (m_weather.chance(50))
            rule.headers = {{"Retry-After", "1000000000000"}};
        else
            rule.headers = {{"X-RateLimit-Remaining", "0"}, {"X-RateLimit-Reset", kFarFuture}};
    }
    return rule;
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
    if (m_current)
        spoil(reply, *exchange);
    exchange->response = reply.response;
    m_corpus.add(request.path, reply.response);
    const bool isRedirect = reply.response.status >= 301 && reply.response.status <= 308;
    exchange->isFollowed = isRedirect && m_current == AnswerFault::Redirected && !hasOrigin(reply.response);
    if (request.path == kGraphQL)
        exchange->told = asked(request, login, exchange->nullPlaces);
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
    const auto wait = delay(*exchange);
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

/// Applies the fault to an answer that the request has earned.
void MonthGitHub::spoil(simulator::Reply &reply, Exchange &exchange)
{
    simulator::Response &response = reply.response;
    const bool isAnswer = *m_current == AnswerFault::Absurd && response.status == 200;
    exchange.isSpoiled = *m_current != AnswerFault::Slow && !isAnswer;
    switch (*m_current) {
    case AnswerFault::Lost:
    case AnswerFault::Stalled:
        reply.delivery.close = simulator::Delivery::Close::Before;
        break;
    case AnswerFault::Cut:
        reply.delivery.truncateAfter = m_weather.between(0, std::max<qint64>(0, response.body.size() - 1));
        break;
    case AnswerFault::Dripped:
        if (response.status == 401) // Qt tells of it when all has come; what ends it is a limit in real time
            break;
        reply.delivery.truncateAfter = m_weather.between(0, std::min<qint64>(900, response.body.size() - 1));
        reply.delivery.keepsRest = true;
        break;
    case AnswerFault::Absurd:
        removePoints(response);
        break;
    case AnswerFault::Truncated:
        response.body.truncate(m_weather.between(0, std::max<qint64>(0, response.body.size() - 1)));
        break;
    case AnswerFault::Damaged:
        // Damage that leaves a valid answer with other content cannot be noticed.
        for (qint64 left = m_weather.between(1, 8); left > 0; --left) {
            const qsizetype place = response.body.indexOf('"', m_weather.between(0, response.body.size()));
            response.body.replace(std::max<qsizetype>(0, place), 1, "\x01");
        }
        break;
    case AnswerFault::NullNodes: {
        exchange.isSpoiled = false;
        QJsonObject body = QJsonDocument::fromJson(response.body).object();
        QJsonObject data = body["data"_L1].toObject();
        QJsonArray nodes = data["nodes"_L1].toArray();
        for (int place = 0; place < nodes.size(); ++place) {
            if (!m_weather.chance(50))
                continue;
            nodes[place] = QJsonValue::Null;
            exchange.nullPlaces.insert(place);
        }
        if (exchange.nullPlaces.isEmpty())
            break;
        QJsonArray errors = body["errors"_L1].toArray();
        for (const int place : std::as_const(exchange.nullPlaces)) {
            errors.append(QJsonObject{{u"type"_s, u"FORBIDDEN"_s}, {u"path"_s, QJsonArray{u"nodes"_s, place}},
                {u"message"_s, u"Resource not accessible by integration"_s}});
        }
        data["nodes"_L1] = nodes;
        body["data"_L1] = data;
        body["errors"_L1] = errors;
        response.body = QJsonDocument(body).toJson(QJsonDocument::Compact);
        break;
    }
    default:
        break;
    }
}

/// Makes the answer say that less than nothing is left of the quota, for ages.
void MonthGitHub::removePoints(simulator::Response &response) const
{
    const qsizetype begin = response.body.lastIndexOf(R"("rateLimit":{)");
    if (response.status != 200 || begin < 0)
        return;
    const qsizetype end = response.body.indexOf('}', begin) + 1;
    response.body.replace(
        begin, end - begin, R"("rateLimit":{"cost":1,"remaining":-5,"resetAt":"2999-01-01T00:00:00Z"})");
    response.headers.removeIf([](const simulator::Header &header) { return header.name.startsWith("X-RateLimit"); });
    response.headers.append({{"X-RateLimit-Remaining", "-5"}, {"X-RateLimit-Reset", kFarFuture}});
}

std::chrono::milliseconds MonthGitHub::delay(const Exchange &exchange)
{
    if (m_current == AnswerFault::Stalled)
        return std::chrono::milliseconds(m_weather.between(60'000, 90'000));
    if (m_current == AnswerFault::Slow)
        return std::chrono::milliseconds(m_weather.between(4'000, 25'000));
    return std::chrono::milliseconds(
        exchange.path == kGraphQL ? m_weather.between(90, 700) : m_weather.between(60, 400));
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
