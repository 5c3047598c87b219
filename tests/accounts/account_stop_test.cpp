// SPDX-License-Identifier: MIT
#include "accounts/account_stop.h"

#include "support/monitor_fixture.h"
#include "support/test_main.h"

#include <QTest>

using namespace velmora;
using namespace velmora::testing;

class AccountStopTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        f = std::make_unique<MonitorFixture>();
        f->connect(1, QStringLiteral("alice"));
        f->connect(2, QStringLiteral("bob"));
        f->build();
    }
    void cleanup() { f.reset(); }

    void itIsRequestedWhenTheAccountIsRemoved()
    {
        const AccountStop stop(f->authentication.get(), 2, {});
        QVERIFY(!stop.token().stop_requested());
        std::ignore = start(f->authentication->remove(1));
        QVERIFY(!stop.token().stop_requested());
        std::ignore = start(f->authentication->remove(2));
        QVERIFY(stop.token().stop_requested());
    }

    void itIsRequestedFromTheBeginningForAnAccountThatIsNotThere()
    {
        QVERIFY(AccountStop(f->authentication.get(), 3, {}).token().stop_requested());
    }

    void itIsRequestedWithTheStopThatItWasMadeFrom()
    {
        std::stop_source source;
        const AccountStop stop(f->authentication.get(), 1, source.get_token());
        source.request_stop();
        QVERIFY(stop.token().stop_requested());
    }

    void afterItNothingRequestsItsToken()
    {
        std::stop_source source;
        std::stop_token token;
        {
            const AccountStop stop(f->authentication.get(), 1, source.get_token());
            token = stop.token();
        }
        source.request_stop();
        std::ignore = start(f->authentication->remove(1));
        QVERIFY(!token.stop_requested());
    }

    void theStoreMayGoFirst()
    {
        const AccountStop stop(f->authentication.get(), 1, {});
        f->monitor.reset();
        f->installations.reset();
        f->authentication.reset();
        QVERIFY(!stop.token().stop_requested());
    }

private:
    std::unique_ptr<MonitorFixture> f;
};

VELMORA_TEST(AccountStopTest)
#include "account_stop_test.moc"
