// SPDX-License-Identifier: MIT
#include "monitor/failure_choices.h"

#include "support/builders.h"
#include "support/fake_preferences.h"
#include "support/test_main.h"

#include <QTest>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;
using namespace Qt::Literals::StringLiterals;

class FailureChoicesTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_defaults.values.clear(); }

    void atFirstEverythingCounts() { QCOMPARE(failureChoices(m_defaults), FailureChoices()); }

    void aDismissalIsKeptUntilItIsTakenBack()
    {
        const DeploymentList both{failure(u"a"_s), failure(u"b"_s)};
        dismiss(both, both);
        dismiss(both, both);
        QCOMPARE(failureChoices(m_defaults).dismissed, (QSet<QString>{u"a:failure"_s, u"b:failure"_s}));
        QCOMPARE(stored(), (QStringList{u"2026-05-01 a:failure"_s, u"2026-05-01 b:failure"_s}));
        setDismissed(&m_defaults, {failure(u"a"_s)}, false, both, noon());
        QCOMPARE(failureChoices(m_defaults).dismissed, QSet<QString>{u"b:failure"_s});
        const auto writes = m_defaults.writes.size();
        setDismissed(&m_defaults, {failure(u"a"_s)}, false, both, noon());
        setDismissed(&m_defaults, {}, true, both, noon());
        QCOMPARE(m_defaults.writes.size(), writes);
    }

    void itHoldsForTheStateInWhichItWasMade()
    {
        const DeploymentList all{failure(u"a"_s), failure(u"b:c"_s), failure(u"unlisted"_s)};
        dismiss(all, all);
        auto again = failure(u"a"_s);
        again.updatedAt += 1min;
        forgetChanged(&m_defaults, {again, failure(u"b:c"_s)});
        QCOMPARE(failureChoices(m_defaults).dismissed.size(), 3);
        auto other = failure(u"b:c"_s);
        other.state = DeploymentState::InProgress;
        forgetChanged(&m_defaults, {again, other});
        QCOMPARE(failureChoices(m_defaults).dismissed, (QSet<QString>{u"a:failure"_s, u"unlisted:failure"_s}));
    }

    void whatCannotBeListedAgainIsForgottenWithTheNextDismissal()
    {
        dismiss({failure(u"listed"_s), failure(u"gone"_s)}, {});
        dismiss({failure(u"next"_s)}, {failure(u"listed"_s)}, noon() + 24h);
        QCOMPARE(failureChoices(m_defaults).dismissed.size(), 3);
        dismiss({failure(u"last"_s)}, {failure(u"listed"_s)}, noon() + 48h);
        QCOMPARE(failureChoices(m_defaults).dismissed,
            (QSet<QString>{u"listed:failure"_s, u"next:failure"_s, u"last:failure"_s}));
    }

    void theOldestOfTooManyAreForgotten()
    {
        DeploymentList many;
        for (int i = 0; i < 10'000; ++i)
            many.append(failure(QString::number(i)));
        dismiss({failure(u"old"_s)}, many, noon() - 24h);
        dismiss(many, many);
        const auto dismissed = failureChoices(m_defaults).dismissed;
        QCOMPARE(dismissed.size(), 10'000);
        QVERIFY(!dismissed.contains(u"old:failure"_s));
    }

    void whatOthersHaveWrittenThereIsNoTrouble()
    {
        m_defaults.values[u"deployments.dismissedFailures"_s] = QStringList{u""_s, u"x"_s, u"2026-05-01"_s, u"y z:"_s};
        std::ignore = failureChoices(m_defaults);
        forgetChanged(&m_defaults, {failure(u"z"_s), failure(u""_s)});
        dismiss({failure(u"a"_s)}, {});
        QVERIFY(failureChoices(m_defaults).dismissed.contains(u"a:failure"_s));
        QVERIFY(!stored().contains(u"x"_s));
    }

private:
    static DeploymentSnapshot failure(const QString &id) { return makeSnapshot(id, DeploymentState::Failure, noon()); }

    void dismiss(const DeploymentList &failures, const DeploymentList &listed, Instant now = noon())
    {
        setDismissed(&m_defaults, failures, true, listed, now);
    }
    [[nodiscard]] QStringList stored() const { return m_defaults.stringList(u"deployments.dismissedFailures"_s); }

    FakePreferences m_defaults;
};

VELMORA_TEST(FailureChoicesTest)
#include "failure_choices_test.moc"
