// SPDX-License-Identifier: MIT
#include "month.h"

#include "support/test_main.h"

#include <QTest>

using namespace velmora;
using namespace velmora::testing;

/// A simulated day of the whole program. VELMORA_MONTH_SEED sets another seed; a failure names the one to replay it
/// with.
class SimulatedDayTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void exactlyTheNewsIsAnnouncedWhateverFails()
    {
        MonthOptions options;
        options.seed = 101;
        options.repositories = 48;
        options.spells = 3;
        options.spell = std::chrono::minutes(30);
        options.deploymentPause = std::chrono::minutes(2);
        options.nightPause = std::chrono::minutes(2);
        options.calm = std::chrono::minutes(6);
        Month month(MonthOptions::fromEnvironment(options));
        try {
            month.pass();
        } catch (const Violation &broken) {
            QFAIL(broken.what());
        }
        qInfo().noquote() << month.report();
    }
};

VELMORA_TEST(SimulatedDayTest)
#include "day_test.moc"
