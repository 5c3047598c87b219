// SPDX-License-Identifier: MIT
#include "platform/preferences.h"

namespace velmora
{

bool Preferences::boolean(const QString &key) const
{
    const auto stored = value(key);
    const auto *boolean = stored ? std::get_if<bool>(&*stored) : nullptr;
    return boolean && *boolean;
}

QStringList Preferences::stringList(const QString &key) const
{
    const auto stored = value(key);
    const auto *list = stored ? std::get_if<QStringList>(&*stored) : nullptr;
    return list ? *list : QStringList();
}

std::optional<QByteArray> Preferences::data(const QString &key) const
{
    const auto stored = value(key);
    const auto *data = stored ? std::get_if<QByteArray>(&*stored) : nullptr;
    return data ? std::optional(*data) : std::nullopt;
}

} // namespace velmora
