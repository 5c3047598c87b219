// SPDX-License-Identifier: MIT
#include "month.h"

#include <QCoreApplication>

#include <cstdio>

using namespace velmora::testing;

/// Simulates a month; see MonthOptions::fromEnvironment().
int main(int argc, char **argv)
{
    constexpr double kMostGrowth = 1.1;
    const QCoreApplication application(argc, argv);
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
    const bool hasGrown = double(month.memoryAtEnd()) > kMostGrowth * double(month.memoryAfterFirstDay());
    if (hasGrown)
        std::fprintf(stderr, "the memory has grown\n");
    return hasGrown ? 1 : 0;
}
