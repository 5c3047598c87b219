// SPDX-License-Identifier: MIT
// Sequences of answers: the real stores and monitor over a day, with a GitHub in memory whose deployments change and
// whose answers fail as the input says. The oracle of the simulated month says which notifications must come.
#include "fuzz/fuzz_target.h"
#include "model/deployment_state.h"
#include "month/month_oracle.h"
#include "support/monitor_fixture.h"

#include <QCoreApplication>
#include <QHashSeed>
#include <QLoggingCategory>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;
using namespace Qt::Literals::StringLiterals;

namespace
{

// QT_LOGGING_RULES="fuzz.*=true;month.*=true;velmora.*=true" tells what a run is made of.
Q_LOGGING_CATEGORY(fuzzLog, "fuzz.answers", QtWarningMsg)

const QString kLogin = u"mira"_s;
constexpr int kRepositories = 3;
constexpr qsizetype kMostDeployments = 3;
/// A run is over after this many steps, or this time.
constexpr int kMostSteps = 40;
constexpr auto kLongest = 30h;
/// After each step the monitor asks again.
constexpr auto kPoll = 31s;

/// The rest of the input, zeros after its end.
class Choices
{
public:
    explicit Choices(QByteArrayView input)
        : m_input(input)
    {
    }
    [[nodiscard]] bool isEmpty() const { return m_input.isEmpty(); }
    int upTo(int most)
    {
        if (m_input.isEmpty())
            return 0;
        const auto byte = static_cast<std::uint8_t>(m_input.front());
        m_input = m_input.sliced(1);
        return byte % (most + 1);
    }
    QByteArray bytes(qsizetype most)
    {
        const QByteArray taken = m_input.first(std::min(most, m_input.size())).toByteArray();
        m_input = m_input.sliced(taken.size());
        return taken;
    }
    template <typename Value, std::size_t count>
    Value oneOf(const std::array<Value, count> &values)
    {
        return values[static_cast<std::size_t>(upTo(int(count) - 1))];
    }

private:
    QByteArrayView m_input;
};

/// What happens to an answer.
struct Fault {
    enum class Kind { Status, Paused, Lost, Truncated, Damaged, Foreign };

    Kind kind = Kind::Status;
    int number = 0; ///< the status, the seconds of a pause, or a place in the body, in 256ths
    QByteArray body; ///< of a foreign answer
};

class Run
{
public:
    explicit Run(QByteArrayView input)
        : m_choices(input)
    {
        FakeGitHub::Identity &identity = m_fixture.connect(1, kLogin);
        identity.isInstalled = true;
        for (int number = 0; number < kRepositories; ++number)
            m_repositories.append({u"R_%1"_s.arg(number), u"mira/r%1"_s.arg(number), {}, {}, {}});
        m_github = m_fixture.github.session->handler;
        m_fixture.github.session->handler = [this](const HTTPRequest &request) {
            return answer(request);
        };
        start();
    }

    void pass()
    {
        const Instant latest = m_fixture.clock.now() + kLongest;
        for (int step = 0; step < kMostSteps && !m_choices.isEmpty() && m_fixture.clock.now() < latest; ++step)
            take();
        // All is well again, so whatever is still owed must come. No pause is longer than an hour.
        m_faults.clear();
        for (const auto duration : {61min, 1min, 1min, 5min})
            let(duration);
    }

private:
    [[nodiscard]] FakeGitHub::Identity &identity() { return m_fixture.github.identities[kLogin]; }
    [[nodiscard]] Instant second() const { return std::chrono::floor<std::chrono::seconds>(m_fixture.clock.now()); }

    void start()
    {
        m_fixture.build();
        m_oracle.programStarted(m_fixture.clock.now());
        m_awakeSince = m_fixture.clock.now();
    }

    void restart(std::chrono::seconds pause)
    {
        m_oracle.programEnded(MonthOracle::End::Orderly);
        m_fixture.monitor.reset();
        m_fixture.installations.reset();
        m_fixture.authentication.reset();
        // Pauses are kept in memory only.
        m_fixture.ledger = std::make_shared<RateLimitLedger>();
        m_pausedUntil = Instant::min();
        m_fixture.clock.setNow(m_fixture.clock.now() + pause);
        start();
    }

    void take()
    {
        switch (m_choices.upTo(6)) {
        case 0:
            let(m_choices.oneOf(std::array<std::chrono::seconds, 8>{5s, 10s, 30s, 31s, 5min, 20min, 1h, 5h}));
            break;
        case 1:
        case 2:
            change();
            break;
        case 3:
            m_faults.append(fault());
            break;
        case 4:
            withhold();
            break;
        case 5:
            restart(m_choices.oneOf(std::array<std::chrono::seconds, 4>{2s, 10min, 50min, 3h}));
            break;
        default:
            identity().remaining = m_choices.upTo(3);
            identity().resetAt = second() + std::chrono::minutes(m_choices.upTo(59));
        }
        let(kPoll);
    }

    /// A deployment begins, or one of the latest goes on.
    void change()
    {
        static const std::array<QString, 10> states{u"QUEUED"_s, u"IN_PROGRESS"_s, u"SUCCESS"_s, u"FAILURE"_s,
            u"PENDING"_s, u"WAITING"_s, u"ACTIVE"_s, u"ABANDONED"_s, u"INACTIVE"_s, u"DESTROYED"_s};
        auto &deployments = m_repositories[m_choices.upTo(kRepositories - 1)].deployments;
        const int place = m_choices.upTo(int(kMostDeployments));
        if (place >= deployments.size()) {
            deployments.prepend(
                {u"D%1"_s.arg(++m_lastDeployment), m_choices.oneOf(states), second(), u"production"_s, {}, {}});
            deployments.resize(std::min(deployments.size(), kMostDeployments));
        } else {
            deployments[place].state = m_choices.oneOf(states);
            deployments[place].updatedAt = second();
        }
    }

    /// A repository is taken from the account or given back, or GitHub cannot answer for it.
    void withhold()
    {
        static const std::array<QString, 4> errors{QString(), u"NOT_FOUND"_s, u"FORBIDDEN"_s, u"SERVICE_UNAVAILABLE"_s};
        const int number = m_choices.upTo(kRepositories - 1);
        if (m_choices.upTo(1) == 0)
            m_repositories[number].graphqlError = m_choices.oneOf(errors);
        else if (!m_taken.remove(number))
            m_taken.insert(number);
    }

    /// Lists leave out what was taken; answers to queries say that they do not find it.
    void publish(bool isQuery)
    {
        identity().repositories.clear();
        for (int number = 0; number < kRepositories; ++number) {
            FakeGitHub::Repository repository = m_repositories[number];
            const bool isTaken = m_taken.contains(number);
            if (isTaken)
                repository.graphqlError = u"NOT_FOUND"_s;
            if (isQuery || !isTaken)
                identity().repositories.append(repository);
        }
    }

    Fault fault()
    {
        constexpr int kWaste = 60; // not enough for a deployment
        Fault fault;
        fault.kind = Fault::Kind(m_choices.upTo(int(Fault::Kind::Foreign)));
        if (fault.kind == Fault::Kind::Status)
            fault.number = m_choices.oneOf(std::array{204, 302, 400, 403, 404, 422, 429, 500, 502, 503, 504, 599});
        else if (fault.kind == Fault::Kind::Foreign)
            fault.body = m_choices.bytes(kWaste);
        else
            fault.number = m_choices.upTo(255);
        return fault;
    }

    HTTPResponse answer(const HTTPRequest &request)
    {
        fuzz::require(m_fixture.clock.now() >= m_pausedUntil, "no request is sent while GitHub wants none");
        const bool isQuery = request.url.path().endsWith("/graphql"_L1);
        const bool isList = request.url.path().endsWith("/repositories"_L1);
        publish(isQuery);
        const HTTPResponse honest = m_github(request);
        qCDebug(fuzzLog) << m_fixture.clock.now().time_since_epoch() / 1s << request.url.path() << m_faults.size();
        if (m_faults.isEmpty()) {
            if (isQuery)
                m_oracle.told(kLogin, asked(*request.body));
            if (isList)
                m_oracle.listed(kLogin, listed());
            return honest;
        }
        if (isQuery)
            m_oracle.spoiled(kLogin);
        HTTPResponse response = spoilt(honest, m_faults.takeFirst());
        qCDebug(fuzzLog) << *response.statusCode << response.body;
        return response;
    }

    HTTPResponse spoilt(HTTPResponse response, const Fault &fault)
    {
        switch (fault.kind) {
        case Fault::Kind::Status:
            return FakeHTTPSession::response(fault.number, {});
        case Fault::Kind::Paused:
            m_pausedUntil = m_fixture.clock.now() + std::chrono::seconds(fault.number);
            return FakeHTTPSession::response(
                fault.number % 2 == 0 ? 403 : 429, {}, {{"Retry-After", QByteArray::number(fault.number)}});
        case Fault::Kind::Lost:
            throw TransportError(TransportError::Kind::Network, u"lost"_s);
        case Fault::Kind::Truncated:
            response.body = response.body.trimmed();
            response.body.truncate(std::max<qsizetype>(0, response.body.size() - 1) * fault.number / 255);
            return response;
        case Fault::Kind::Damaged: {
            const qsizetype place = response.body.indexOf('"', response.body.size() * fault.number / 256);
            response.body.replace(place < 0 ? response.body.indexOf('"') : place, 1, "\x01");
            return response;
        }
        case Fault::Kind::Foreign:
            return FakeHTTPSession::response(200, fault.body);
        }
        return response;
    }

    [[nodiscard]] QSet<int> listed() const
    {
        QSet<int> numbers;
        for (int number = 0; number < kRepositories; ++number) {
            if (!m_taken.contains(number))
                numbers.insert(number);
        }
        return numbers;
    }

    [[nodiscard]] QList<ToldRepository> asked(const QByteArray &query) const
    {
        QList<ToldRepository> told;
        const auto numbers = listed();
        for (const int number : numbers) {
            const FakeGitHub::Repository &repository = m_repositories[number];
            if (!repository.graphqlError.isEmpty() || !query.contains('"' + repository.nodeID.toUtf8() + '"'))
                continue;
            QList<ToldDeployment> deployments;
            for (const FakeGitHub::Deployment &deployment : repository.deployments)
                deployments.append({deployment.id, deployment.state, deployment.updatedAt});
            told.append({number, std::make_shared<const QList<ToldDeployment>>(deployments)});
        }
        return told;
    }

    /// Lets time pass, after which the monitor decides what to ask for. All answers arrive at once.
    void let(std::chrono::seconds duration)
    {
        m_fixture.tickAfter(duration);
        judge();
    }

    void judge()
    {
        m_oracle.roundEnded(kLogin, m_fixture.clock.now(), true);
        const QStringList announced = std::exchange(m_fixture.notifier.announced, {});
        for (const QString &announcement : announced) {
            const QStringList words = announcement.split(u' ');
            m_oracle.announced(words.value(1) + u':' + words.value(0));
        }
        m_oracle.rested();
        m_oracle.waited(m_fixture.clock.now() - std::exchange(m_awakeSince, m_fixture.clock.now()));
    }

    Choices m_choices;
    MonthOracle m_oracle;
    FakeHTTPSession::Handler m_github;
    QList<FakeGitHub::Repository> m_repositories;
    QSet<int> m_taken;
    QList<Fault> m_faults; ///< of the next answers
    Instant m_pausedUntil = Instant::min();
    Instant m_awakeSince;
    int m_lastDeployment = 0;
    MonitorFixture m_fixture; // last, since what it ends may ask the others
};

} // namespace

/// A monitor allocates from many places. To tell them all apart takes a quarter of the time; ASAN_OPTIONS may ask for
/// it.
extern "C" const char *__asan_default_options()
{
    return "malloc_context_size=6";
}

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    // A run depends on its input alone.
    static const bool isSeedSet = [] {
        QHashSeed::setDeterministicGlobalSeed();
        return true;
    }();
    Q_UNUSED(isSeedSet)
    static int argumentCount = 0;
    static const QCoreApplication application(argumentCount, nullptr);
    try {
        Run(fuzz::bytes(data, size)).pass();
    } catch (const Violation &broken) {
        fuzz::require(false, broken.what());
    }
    drainEvents(); // what the run has left to delete
    return 0;
}
