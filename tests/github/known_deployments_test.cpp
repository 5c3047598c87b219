// SPDX-License-Identifier: MIT
#include "github/wire/known_deployments.h"
#include "support/error.h"

#include "client_fixture.h"
#include "support/test_main.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRandomGenerator>
#include <QTest>

using namespace velmora;
using namespace velmora::testing;
using namespace Qt::Literals::StringLiterals;

namespace
{

/// Turns single quotation marks into double ones: moc does not understand raw strings.
QByteArray quoted(const char *text)
{
    return QByteArray(text).replace('\'', '"');
}

/// Repositories at GitHub that change at random, and answers about them that arrive damaged now and then.
class World
{
public:
    explicit World(quint32 seed)
        : m_random(seed)
    {
        for (auto &repository : m_repositories)
            repository = newRepository();
    }

    [[nodiscard]] int upTo(int most) { return int(m_random.bounded(most)); }

    void change()
    {
        QJsonObject &repository = m_repositories.at(std::size_t(upTo(kRepositories)));
        if (auto *const broken = std::exchange(m_broken, nullptr))
            *broken = newRepository();
        switch (upTo(8)) {
        case 0:
            repository = upTo(2) == 0 ? QJsonObject() : newRepository();
            break;
        case 1:
            repository[u"nameWithOwner"] = text();
            break;
        case 2:
            m_repositories.at(0) = repository;
            break;
        case 3:
            repository.remove(upTo(2) == 0 ? u"url"_s : u"deployments"_s);
            m_broken = &repository;
            break;
        default:
            changeDeployments(repository);
        }
        m_withErrors = upTo(6) == 0;
        m_remaining = upTo(5000);
        m_limit = upTo(20);
        m_damage = upTo(8) == 0 ? upTo(4) : -1;
        m_damageAt = m_random.generateDouble();
    }

    /// The same for the same question until the next change().
    [[nodiscard]] QByteArray answer(const QStringList &ids) const
    {
        QByteArrayList nodes;
        for (const auto &id : ids) {
            const auto &node = m_repositories.at(std::size_t(id.toInt()));
            nodes.append(node.isEmpty() ? "null" : QJsonDocument(node).toJson(QJsonDocument::Compact));
        }
        QByteArray limit = quoted("{'cost':1,'remaining':") + QByteArray::number(m_remaining)
            + quoted(",'resetAt':'2024-05-01T13:00:00Z'}");
        if (m_limit < 3)
            limit = QByteArrayList{"null", "5", quoted("{'cost':1,'remaining':2,'resetAt':'?'}")}.at(m_limit);
        const QByteArray errors = quoted(",'errors':[{'message':'no','path':['nodes',1],'type':'NOT_FOUND'}]");
        return damaged(quoted("{'data':{'nodes':[") + nodes.join(',') + quoted("],'rateLimit':") + limit + "}"
            + (m_withErrors ? errors : "") + "}");
    }

    static constexpr int kRepositories = 25;

private:
    QString text()
    {
        const QStringList texts{u"a"_s, u"ü{[\"]}\\"_s, u"\\\\\""_s, u"],\"rateLimit\":{"_s, u""_s, u"\n\u2028"_s};
        return texts.at(upTo(int(texts.size()))) + QString::number(upTo(10));
    }

    QJsonObject newDeployment()
    {
        const QString time = u"2024-05-01T12:%1:00%2"_s.arg(upTo(50) + 10).arg(upTo(9) == 0 ? u"" : u"Z");
        QJsonObject made{{u"id"_s, text()}, {u"commitOid"_s, text()}, {u"createdAt"_s, time}, {u"updatedAt"_s, time}};
        if (upTo(2) == 0) {
            made[u"latestStatus"] = QJsonObject{{u"state"_s, u"SUCCESS"_s}, {u"description"_s, text()},
                {u"logUrl"_s, u"https://g/"_s + text()}, {u"updatedAt"_s, time}};
        }
        return made;
    }

    QJsonObject newRepository()
    {
        QJsonArray deployments;
        for (int i = upTo(4); i > 0; --i)
            deployments.append(newDeployment());
        return {{u"id"_s, text()}, {u"nameWithOwner"_s, text()}, {u"url"_s, u"https://g/o/r"_s},
            {u"deployments"_s, QJsonObject{{u"nodes"_s, deployments}}}};
    }

    void changeDeployments(QJsonObject &repository)
    {
        if (repository.isEmpty())
            return;
        auto deployments = repository[u"deployments"][u"nodes"].toArray();
        if (deployments.isEmpty() || upTo(3) == 0)
            deployments.prepend(upTo(4) == 0 ? QJsonValue() : QJsonValue(newDeployment()));
        else if (upTo(2) == 0)
            deployments.removeAt(upTo(int(deployments.size())));
        else
            deployments[upTo(int(deployments.size()))] = newDeployment();
        repository[u"deployments"] = QJsonObject{{u"nodes"_s, deployments}};
    }

    [[nodiscard]] QByteArray damaged(QByteArray body) const
    {
        const auto at = qsizetype(m_damageAt * double(body.size()));
        switch (m_damage) {
        case 0:
            return body.left(at);
        case 1:
            body[at] = char(body.at(at) ^ 1);
            return body;
        case 2:
            return body.replace(",\"", ", \"");
        case 3:
            return body.insert(at, "}");
        default:
            return body;
        }
    }

    QRandomGenerator m_random;
    std::array<QJsonObject, kRepositories> m_repositories; ///< an empty one is answered with null
    QJsonObject *m_broken = nullptr; ///< lacks a required field
    bool m_withErrors = false;
    int m_remaining = 5000;
    int m_limit = 3; ///< below 3: an unusual rate limit
    int m_damage = -1; ///< none
    double m_damageAt = 0;
};

QByteArray node(const char *id, const char *commit)
{
    return quoted("{'id':'") + id + quoted("','nameWithOwner':'o/r','url':'https://g/o/r','deployments':{'nodes':[")
        + quoted("{'id':'D") + id + quoted("','commitOid':'") + commit
        + quoted("','createdAt':'2024-05-01T12:00:00Z','updatedAt':'2024-05-01T12:00:00Z'}]}}");
}

QByteArray answer(const QByteArrayList &nodes, int remaining = 1)
{
    return quoted("{'data':{'nodes':[") + nodes.join(',') + quoted("],'rateLimit':{'cost':1,'remaining':")
        + QByteArray::number(remaining) + quoted(",'resetAt':'2024-05-01T13:00:00Z'}}}");
}

QString failureOf(KnownDeployments &known, const QByteArray &body, const QStringList &ids)
{
    try {
        std::ignore = known.decoded(body, ids);
        return {};
    } catch (const Error &error) {
        return error.description();
    }
}

} // namespace

class KnownDeploymentsTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void whatComesAgainIsTheSameListAndTheLimitIsNew()
    {
        KnownDeployments known;
        const auto first = known.decoded(answer({node("A", "1"), node("B", "1")}, 7), m_ids);
        const auto second = known.decoded(answer({node("A", "1"), node("B", "2")}, 6), m_ids);
        QCOMPARE(first.rateLimit.remaining, 7);
        QCOMPARE(second.rateLimit.remaining, 6);
        QVERIFY(second.repositories.at(0).isSharedWith(first.repositories.at(0)));
        QCOMPARE(second.repositories.at(0).first()->commitOID, u"1"_s);
        QCOMPARE(second.repositories.at(1).first()->commitOID, u"2"_s);
    }

    void aQuestionForOtherRepositoriesUsesWhatIsKnownOfThem()
    {
        KnownDeployments known;
        const auto first = known.decoded(answer({node("A", "1"), node("B", "1")}), m_ids);
        const auto second = known.decoded(answer({node("B", "1")}), {u"B"_s});
        QVERIFY(second.repositories.first().isSharedWith(first.repositories.at(1)));
    }

    void aFetchOfFewerBetweenTwoEqualOnesLeavesTheirRecords()
    {
        ClientFixture fixture;
        fixture.client.remember();
        World world(1);
        fixture.session->handler = [&](const HTTPRequest &request) {
            const auto ids = QJsonDocument::fromJson(*request.body)[u"variables"][u"ids"].toVariant().toStringList();
            return FakeHTTPSession::response(200, world.answer(ids));
        };
        QList<RepositoryRecord> all(World::kRepositories);
        for (int number = 0; number < World::kRepositories; ++number)
            all[number].repository.nodeID = QString::number(number);
        const auto first = awaitValue(fixture.client.fetchDeployments(all, u"t"_s));
        const auto fewer = awaitValue(fixture.client.fetchDeployments(all.sliced(3, 5), u"t"_s));
        const auto second = awaitValue(fixture.client.fetchDeployments(all, u"t"_s));
        QCOMPARE(second, first);
        QVERIFY(!fewer.deployments.isEmpty() && fewer.deployments.size() < first.deployments.size());
        for (qsizetype i = 0; i < first.deployments.size(); ++i)
            QVERIFY(second.deployments.at(i).isSharedWith(first.deployments.at(i)));
        const auto isOfTheFirst = [&](const SharedDeployment &deployment) {
            return std::ranges::any_of(
                first.deployments, [&](const auto &other) { return other.isSharedWith(deployment); });
        };
        QVERIFY(std::ranges::all_of(fewer.deployments, isOfTheFirst));
    }

    void whatIsForgottenIsDecodedAgain()
    {
        KnownDeployments known;
        const auto body = answer({node("A", "1"), node("B", "1")});
        const auto first = known.decoded(body, m_ids);
        known.retain({u"B"_s});
        const auto second = known.decoded(body, m_ids);
        QCOMPARE(second, first);
        QVERIFY(!second.repositories.at(0).isSharedWith(first.repositories.at(0)));
        QVERIFY(second.repositories.at(1).isSharedWith(first.repositories.at(1)));
    }

    void oneIdentifierTwiceHasTwoAnswers()
    {
        KnownDeployments known;
        const QStringList twice{u"A"_s, u"A"_s};
        const auto body = answer({node("A", "1"), node("A", "2")});
        for (int i = 0; i < 3; ++i)
            QCOMPARE(known.decoded(body, twice), decodedBatch(body, twice, RateLimitUse::Always));
    }

    void anAnswerInAnotherFormIsDecodedAndLaterOnesAreToo()
    {
        KnownDeployments known;
        const QByteArray usual = answer({node("A", "1"), node("B", "1")});
        const QByteArray withBlank = answer({node("A", "1") + " ", node("B", "1")});
        for (const QByteArray &body : {withBlank, usual, withBlank, withBlank, usual})
            QCOMPARE(known.decoded(body, m_ids), decodedBatch(body, m_ids, RateLimitUse::Always));
    }

    void damageIsFoundBesideWhatIsKnown_data()
    {
        QTest::addColumn<QByteArray>("body");
        const QByteArray a = node("A", "1");
        QTest::newRow("cut off") << answer({a, node("B", "1")}).chopped(1);
        QTest::newRow("followed by more") << answer({a, node("B", "1")}) + "}";
        QTest::newRow("no comma") << answer({a + node("B", "1")});
        QTest::newRow("two commas") << answer({a, "", node("B", "1")});
        QTest::newRow("a comma behind") << answer({a, ""});
        QTest::newRow("a comma before") << answer({"", a});
        QTest::newRow("brackets that cross") << answer({a, quoted("{'id':[}]")});
        QTest::newRow("a text that does not end") << answer({a, quoted("{'id':'B")});
        QTest::newRow("more behind a known one") << answer({a + "1", node("B", "1")});
        QTest::newRow("a bad limit") << QByteArray(answer({a, node("B", "1")})).replace("\"cost\":1", "\"cost\":");
        QTest::newRow("a field is missing") << answer({a, quoted("{'id':'B'}")});
        QTest::newRow("not UTF-8") << answer({a, node("B", "\xff")});
    }
    void damageIsFoundBesideWhatIsKnown()
    {
        QFETCH(QByteArray, body);
        KnownDeployments known;
        std::ignore = known.decoded(answer({node("A", "1"), node("B", "1")}), m_ids);
        KnownDeployments none;
        QVERIFY(!failureOf(known, body, m_ids).isEmpty());
        QCOMPARE(failureOf(known, body, m_ids), failureOf(none, body, m_ids));
        QVERIFY_THROWS_EXCEPTION(Error, std::ignore = decodedBatch(body, m_ids, RateLimitUse::Always));
    }

    void aThousandRandomChangesAreFetchedAsWithoutAMemory()
    {
        const quint32 seed = QRandomGenerator::global()->generate();
        qInfo("seed %u", seed);
        World world(seed);
        ClientFixture plain;
        ClientFixture remembering;
        remembering.client.remember();
        const auto handler = [&](const HTTPRequest &request) {
            const auto ids = QJsonDocument::fromJson(*request.body)[u"variables"][u"ids"].toVariant().toStringList();
            return FakeHTTPSession::response(200, world.answer(ids));
        };
        plain.session->handler = handler;
        remembering.session->handler = handler;
        int succeeded = 0;
        for (int i = 0; i < 1000; ++i) {
            world.change();
            QList<RepositoryRecord> asked;
            const bool isAll = world.upTo(3) > 0;
            for (int number = 0; number < World::kRepositories; ++number) {
                if (isAll || world.upTo(4) == 0)
                    asked.emplaceBack().repository.nodeID = QString::number(number);
            }
            const auto expected = await(plain.client.fetchDeployments(asked, u"t"_s));
            const auto found = await(remembering.client.fetchDeployments(asked, u"t"_s));
            QCOMPARE(found.value, expected.value);
            QCOMPARE(found.description(), expected.description());
            succeeded += expected.value.has_value() ? 1 : 0;
        }
        QVERIFY2(succeeded > 100 && succeeded < 1000, qPrintable(QString::number(succeeded)));
    }

private:
    const QStringList m_ids{u"A"_s, u"B"_s};
};

VELMORA_TEST(KnownDeploymentsTest)
#include "known_deployments_test.moc"
