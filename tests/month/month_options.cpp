// SPDX-License-Identifier: MIT
#include "month_options.h"

#include <QRandomGenerator>

namespace velmora::testing
{

using namespace Qt::Literals::StringLiterals;

namespace
{

qint64 numberFrom(const char *variable, qint64 otherwise)
{
    bool isNumber = false;
    const qint64 number = qEnvironmentVariable(variable).toLongLong(&isNumber);
    return isNumber ? number : otherwise;
}

} // namespace

MonthOptions MonthOptions::fromEnvironment(MonthOptions defaults)
{
    constexpr int kSeeds = 1'000'000;
    if (defaults.seed == 0)
        defaults.seed = quint64(QRandomGenerator::system()->bounded(1, kSeeds));
    defaults.seed = quint64(numberFrom("VELMORA_MONTH_SEED", qint64(defaults.seed)));
    defaults.days = int(numberFrom("VELMORA_MONTH_DAYS", defaults.days));
    defaults.repositories = int(numberFrom("VELMORA_MONTH_REPOSITORIES", defaults.repositories));
    defaults.kept = int(numberFrom("VELMORA_MONTH_KEPT", defaults.kept));
    return defaults;
}

QString MonthOptions::asVariables() const
{
    return u"VELMORA_MONTH_SEED=%1 VELMORA_MONTH_DAYS=%2 VELMORA_MONTH_REPOSITORIES=%3 VELMORA_MONTH_KEPT=%4"_s
        .arg(seed)
        .arg(days)
        .arg(repositories)
        .arg(kept);
}

} // namespace velmora::testing
