// SPDX-License-Identifier: MIT
#include "support/monitor_fixture.h"
#include "support/test_main.h"

#include <QRandomGenerator>
#include <QTest>

#include <ctime>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;
using namespace Qt::Literals::StringLiterals;

namespace
{

/// Answers in GitHub's compact form, of which the client remembers the repositories. FakeGitHub's own form has line
/// breaks and is decoded as a whole each time.
void answerInGitHubsForm(FakeGitHub &github)
{
    github.session->handler = [plain = github.session->handler](const HTTPRequest &request) {
        HTTPResponse response = plain(request);
        if (request.url.path().endsWith(u"/graphql"_s) && response.statusCode == 200)
            response.body = QJsonDocument::fromJson(response.body).toJson(QJsonDocument::Compact);
        return response;
    };
}

/// How many records of the list are those of the list before.
qsizetype sharedRecords(const DeploymentList &before, const DeploymentList &list)
{
    return std::ranges::count_if(list, [&](const SharedDeployment &deployment) {
        return std::ranges::any_of(
            before, [&](const SharedDeployment &earlier) { return earlier.isSharedWith(deployment); });
    });
}

/// What alice and bob reach, changing at random.
class World
{
public:
    explicit World(QRandomGenerator &random)
        : m_random(random)
    {
        for (const QString &login : {u"alice"_s, u"bob"_s}) {
            for (int i = 0; i < 4; ++i)
                identities[login].repositories.append(
                    {u"R_%1%2"_s.arg(login).arg(i), u"%1/%2"_s.arg(login).arg(i), {}, {}});
        }
    }

    void change(Instant now)
    {
        auto &identity = identities[upTo(2) == 0 ? u"alice"_s : u"bob"_s];
        auto &repository = identity.repositories[upTo(int(identity.repositories.size()))];
        auto &deployments = repository.deployments;
        identity.remaining = 4000 + upTo(1000);
        switch (upTo(12)) {
        case 0:
        case 1:
        case 2:
            deployments.prepend({u"D%1"_s.arg(upTo(40)), state(), now - std::chrono::hours(upTo(30)), {}, {}, {}});
            break;
        case 3:
        case 4:
            if (!deployments.isEmpty())
                deployments[upTo(int(deployments.size()))].state = state();
            break;
        case 5:
            if (!deployments.isEmpty())
                deployments.removeAt(upTo(int(deployments.size())));
            break;
        case 6:
            repository.graphqlError = repository.graphqlError.isEmpty() ? u"NOT_FOUND"_s : QString();
            break;
        case 7:
            identity.graphqlFailure
                = identity.graphqlFailure ? std::nullopt : std::optional(FakeHTTPSession::response(502, ""));
            break;
        case 8:
            repository.graphqlID = repository.graphqlID.isEmpty() ? u"another-"_s + repository.nodeID : QString();
            break;
        default:
            break;
        }
    }

    QMap<QString, FakeGitHub::Identity> identities;

private:
    int upTo(int most) { return int(m_random.bounded(most)); }
    QString state()
    {
        const QStringList states{u"SUCCESS"_s, u"FAILURE"_s, u"ERROR"_s, u"QUEUED"_s, u"IN_PROGRESS"_s, u"INACTIVE"_s};
        return states.at(upTo(int(states.size())));
    }

    QRandomGenerator &m_random;
};

constexpr int kRepositories = 40;
constexpr int kDeploymentsEach = 60;

/// An answer about these repositories. `turn` makes its deployments others than those of another turn.
QByteArray answerAbout(const QStringList &ids, const QByteArray &turn)
{
    const QByteArray time = toISO8601(noon()).toUtf8();
    QByteArrayList nodes;
    for (const QString &id : ids) {
        QByteArrayList deployments;
        for (int i = 0; i < kDeploymentsEach; ++i) {
            deployments.append(R"({"id":"D)" + id.toUtf8() + '-' + QByteArray::number(i) + R"(","commitOid":")" + turn
                + R"(","createdAt":")" + time + R"(","updatedAt":")" + time + R"(","state":"QUEUED"})");
        }
        nodes.append(R"({"id":")" + id.toUtf8() + R"(","nameWithOwner":"o/)" + id.toUtf8()
            + R"(","url":"https://github.com/o","deployments":{"nodes":[)" + deployments.join(',') + "]}}");
    }
    return R"({"data":{"nodes":[)" + nodes.join(',') + R"(],"rateLimit":{"cost":1,"remaining":5000,"resetAt":")" + time
        + R"("}}})";
}

double processorTimeOf(const std::function<void()> &work)
{
    const std::clock_t begin = std::clock();
    work();
    return double(std::clock() - begin);
}

} // namespace

/// What the monitor saves itself when GitHub repeats its answers, and that nobody can tell.
class DeploymentMonitorMemoryTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void randomChangesAreShownAnnouncedAndSavedAsWithoutAMemory()
    {
        const quint32 seed = QRandomGenerator::global()->generate();
        qInfo("seed %u", seed);
        QRandomGenerator random(seed);
        qsizetype shared = 0;
        qsizetype announced = 0;
        // Some runs keep no record and announce nothing.
        constexpr int kRuns = 5;
        constexpr int kMostRuns = 50;
        for (int run = 0; run < kRuns || (run < kMostRuns && (shared == 0 || announced == 0)); ++run) {
            World world(random);
            MonitorFixture plain;
            MonitorFixture remembering;
            for (auto *const f : {&plain, &remembering}) {
                f->connect(1, u"alice"_s);
                f->connect(2, u"bob"_s);
                f->build();
            }
            answerInGitHubsForm(remembering.github);
            const auto isSame = [&] {
                return plain.monitor->deployments() == remembering.monitor->deployments()
                    && plain.monitor->state() == remembering.monitor->state()
                    && plain.monitor->message() == remembering.monitor->message()
                    && plain.notifier.announced == remembering.notifier.announced
                    && plain.cache.payload == remembering.cache.payload && plain.cache.saves == remembering.cache.saves
                    && plain.github.queries == remembering.github.queries;
            };
            constexpr std::array kPauses{5s, 5s, 5s, 30s, 30s, 30s, 3600s, 90000s};
            for (int i = 0; i < 40; ++i) {
                world.change(plain.clock.now());
                const auto pause = kPauses.at(random.bounded(quint32(kPauses.size())));
                for (auto *const f : {&plain, &remembering}) {
                    const auto before = f->monitor->deployments();
                    f->github.identities = world.identities;
                    f->tickAfter(pause);
                    if (f == &remembering && !f->monitor->deployments().isSharedWith(before))
                        shared += sharedRecords(before, f->monitor->deployments());
                }
                QVERIFY2(isSame(), qPrintable(u"change %1 of run %2"_s.arg(i).arg(run)));
            }
            // Whose the rows are is seen when an account leaves.
            const qint64 leaving = 1 + random.bounded(2);
            for (auto *const f : {&plain, &remembering}) {
                awaitValue(f->authentication->remove(leaving));
                awaitValue(f->monitor->forgetRemoved(f->authentication.get(), f->installations.get(), f->clock.now()));
            }
            QVERIFY2(isSame(), qPrintable(u"the end of run %1"_s.arg(run)));
            announced += plain.notifier.announced.size();
        }
        QVERIFY(shared > 0);
        QVERIFY(announced > 0);
    }

    /// Compares the cheapest of several refreshes of each kind by processor time, with room for other load.
    void aRefreshThatBringsNothingNewCostsAFractionOfOneThatBringsEverything()
    {
        MonitorFixture f;
        auto &alice = f.connect(1, u"alice"_s);
        for (int i = 0; i < kRepositories; ++i)
            alice.repositories.append({u"R%1"_s.arg(i), u"o/R%1"_s.arg(i), {}, {}});
        f.build();
        f.tick();
        QHash<QByteArray, QByteArray> answers;
        QByteArray turn;
        f.github.session->handler = [&](const HTTPRequest &request) {
            return FakeHTTPSession::response(200, answers.value(*request.body));
        };
        const auto refresh = [&](const QByteArray &nextTurn) {
            if (std::exchange(turn, nextTurn) != nextTurn) {
                answers.clear();
                for (const auto &request : std::as_const(f.github.session->requests)) {
                    if (!request.body)
                        continue;
                    const auto ids = QJsonDocument::fromJson(*request.body)[u"variables"][u"ids"].toVariant();
                    answers.insert(*request.body, answerAbout(ids.toStringList(), turn));
                }
            }
            const auto before = f.monitor->deployments();
            const double time = processorTimeOf([&] { f.tickAfter(30s); });
            return std::pair(
                time, sharedRecords(before.first(std::min<qsizetype>(before.size(), 20)), f.monitor->deployments()));
        };
        double changed = std::numeric_limits<double>::max();
        double steady = std::numeric_limits<double>::max();
        for (const char *const next : {"a", "b", "c"}) {
            const auto [whole, sharedByWhole] = refresh(next);
            QCOMPARE(f.monitor->deployments().size(), kRepositories * kDeploymentsEach);
            QCOMPARE(sharedByWhole, 0);
            changed = std::min(changed, whole);
            for (int i = 0; i < 5; ++i) {
                const auto [repeated, sharedByRepeated] = refresh(next);
                QCOMPARE(sharedByRepeated, 20);
                steady = std::min(steady, repeated);
            }
        }
        qInfo("%.0f times", changed / steady);
        QVERIFY2(steady * 2 < changed, qPrintable(u"%1, of %2"_s.arg(steady).arg(changed)));
    }
};

VELMORA_TEST(DeploymentMonitorMemoryTest)
#include "deployment_monitor_memory_test.moc"
