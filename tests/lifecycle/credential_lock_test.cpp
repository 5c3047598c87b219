// SPDX-License-Identifier: MIT
// Two programs share the accounts, and one of them stops.
#include "household.h"

#include "support/test_main.h"

#include <QTest>

using namespace velmora::testing;

class CredentialLockTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_household.start());
        // With this lifetime every use of a token renews it.
        m_household.simulator.oauth().settings().accessTokenSeconds = 200;
        QVERIFY(m_household.connectAccount());
        QVERIFY(m_household.connectAccount());
    }

    void init()
    {
        m_household.simulator.misbehaviour().clear();
        m_household.simulator.log().clear();
    }

    void aProgramThatIsStoppedInTheMiddleOfARenewalCostsTheOthersThatAccountAlone()
    {
        const auto stopped = renewing();
        QVERIFY(stopped);
        stopped->signal(SIGSTOP);
        const auto other = m_household.finished(kOnce);
        QCOMPARE(other->code(), 1);
        const QList<QByteArray> failures = other->err().trimmed().split('\n');
        QCOMPARE(failures.size(), 1);
        const bool isReasonTold = failures.first().endsWith(": Another Velmora program keeps the token of this account "
                                                            "locked. If it is stopped, let it go on, or end it.");
        QVERIFY2(isReasonTold, other->err());
        expectEachTokenOnceAndTheOtherAccountServed();
        const auto diagnosis = m_household.finished({QStringLiteral("diagnose")});
        QVERIFY2(
            diagnosis->out().contains("another Velmora program is renewing its token, or is stopped while it does"),
            diagnosis->out());
        stopped->signal(SIGCONT);
        m_household.simulator.answerHanging();
        QVERIFY(stopped->ends());
        expectBothWell();
    }

    void aProgramThatIsKilledInTheMiddleOfARenewalHoldsNothing()
    {
        const auto killed = renewing();
        QVERIFY(killed);
        killed->signal(SIGKILL);
        QVERIFY(killed->ends());
        m_household.simulator.misbehaviour().clear();
        m_household.simulator.answerHanging();
        const auto other = m_household.finished(kOnce);
        QVERIFY2(other->err().contains(": GitHub did not return an access token. Connect "), other->err());
        // The token that the killed program sent is not sent again, since it may be used up.
        expectEachTokenOnceAndTheOtherAccountServed();
        const auto diagnosis = m_household.finished({QStringLiteral("diagnose")});
        QVERIFY2(diagnosis->out().contains("to be connected again"), diagnosis->out());
        QVERIFY(m_household.connectFirstAccount());
        expectBothWell();
    }

private:
    static inline const QStringList kOnce{QStringLiteral("watch"), QStringLiteral("--once")};

    /// A program whose refresh token of the first account GitHub has received without answering.
    [[nodiscard]] std::unique_ptr<ProgramRun> renewing()
    {
        velmora::simulator::MisbehaviourRule rule;
        rule.path = Household::kTokens;
        rule.times = 1;
        rule.delivery.hang = true;
        m_household.simulator.misbehaviour().add(rule);
        auto run = m_household.started(kOnce);
        return m_household.isAsked(Household::kTokens) ? std::move(run) : nullptr;
    }

    /// The sent tokens are the unanswered one and those of the other account, each sent once.
    void expectEachTokenOnceAndTheOtherAccountServed()
    {
        const QStringList sent = m_household.refreshTokens();
        QVERIFY(sent.size() > 1);
        QCOMPARE(QSet<QString>(sent.begin(), sent.end()).size(), sent.size());
    }

    void expectBothWell()
    {
        const auto watched = m_household.finished(kOnce);
        QCOMPARE(watched->err(), QByteArray());
        QCOMPARE(watched->code(), 0);
    }

    Household m_household;
};

VELMORA_TEST(CredentialLockTest)
#include "credential_lock_test.moc"
