// SPDX-License-Identifier: MIT
#include "month.h"

#include "support/freed_memory.h"

#include <QCoreApplication>
#include <QLoggingCategory>

#include <cstdio>

using namespace velmora::testing;

/// Simulates a month; see MonthOptions::fromEnvironment(). Ends with 1 if a rule was broken or the memory grew.
int main(int argc, char **argv)
{
    constexpr double kMostGrowth = 1.1;
    velmora::keepLittleFreedMemory(); // as the program does
    const QCoreApplication application(argc, argv);
    // The program warns of every fault. QT_LOGGING_RULES has the last word.
    QLoggingCategory::setFilterRules(QStringLiteral("velmora.*=false"));
    MonthOptions options;
    options.days = 30;
    Month month(MonthOptions::fromEnvironment(options));
    try {
        month.pass();
    } catch (const Violation &broken) {
        std::fprintf(stderr, "%s\n", broken.what());
        return 1;
    }
    std::printf("%s", qPrintable(month.report()));
    return month.memoryGrowth() > kMostGrowth ? 1 : 0;
}
