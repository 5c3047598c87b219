// SPDX-License-Identifier: MIT
#include "monitor/identity_follower.h"

#include "support/monitor_fixture.h"
#include "support/test_main.h"

#include <QTest>

using namespace velmora;
using namespace velmora::testing;
using namespace Qt::Literals::StringLiterals;

/// Alice is connected when the follower begins.
class IdentityFollowerTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        f = std::make_unique<MonitorFixture>();
        f->connect(1, u"alice"_s);
        f->build();
        m_follower = std::make_unique<IdentityFollower>();
        m_told.clear();
        connect(m_follower.get(), &IdentityFollower::reconnected, this,
            [this](qint64 identityID) { m_told.append(u"reconnected %1"_s.arg(identityID)); });
        connect(m_follower.get(), &IdentityFollower::left, this, [this] { m_told.append(u"left"_s); });
        connect(m_follower.get(), &IdentityFollower::joined, this, [this] { m_told.append(u"joined"_s); });
        m_follower->follow(f->authentication.get());
        // With the first change every connected identity counts as reconnected.
        f->accounts[0].login = u"alison"_s;
        storeAccounts();
        QCOMPARE(m_told, QStringList(u"reconnected 1"_s));
        m_told.clear();
    }
    void cleanup()
    {
        m_follower.reset();
        f.reset();
    }

    void anAccountThatJoinsIsTold()
    {
        f->connect(2, u"bob"_s);
        storeAccounts();
        QVERIFY(m_told.contains(u"joined"_s));
        QVERIFY(m_told.contains(u"reconnected 2"_s));
        QVERIFY(!m_told.contains(u"reconnected 1"_s));
        QVERIFY(!m_told.contains(u"left"_s));
    }

    void anAccountThatLeavesIsTold()
    {
        awaitValue(f->authentication->remove(1));
        QCOMPARE(m_told, QStringList(u"left"_s));
    }

    void aChangeOfAnAccountThatStaysIsNotTold()
    {
        f->accounts[0].login = u"alicia"_s;
        storeAccounts();
        QCOMPARE(f->authentication->sessions().first().account.login, u"alicia"_s);
        QCOMPARE(m_told, QStringList());
    }

    void ofTwoThatChangePlacesTheOneThatLeavesIsToldFirst()
    {
        f->accounts.clear();
        f->connect(2, u"bob"_s);
        storeAccounts();
        QVERIFY(m_told.indexOf(u"left"_s) >= 0);
        QVERIFY(m_told.indexOf(u"left"_s) < m_told.indexOf(u"joined"_s));
    }

private:
    /// Accounts that another process connects arrive with the preferences.
    void storeAccounts()
    {
        f->defaults.setValue(u"github.accounts"_s, encodeJSON(f->accounts));
        drainEvents();
    }

    std::unique_ptr<MonitorFixture> f;
    std::unique_ptr<IdentityFollower> m_follower;
    QStringList m_told;
};

VELMORA_TEST(IdentityFollowerTest)
#include "identity_follower_test.moc"
