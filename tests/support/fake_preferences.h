// SPDX-License-Identifier: MIT
#pragma once

#include "platform/preferences.h"

#include <QMap>

namespace velmora::testing
{

/// Preferences in memory that count what is written.
class FakePreferences final : public Preferences
{
public:
    [[nodiscard]] std::optional<Value> value(const QString &key) const override
    {
        const auto found = values.find(key);
        return found == values.end() ? std::nullopt : std::optional(*found);
    }
    void setValue(const QString &key, const Value &value) override
    {
        writes.append(key);
        if (const auto found = values.find(key); found != values.end() && *found == value)
            return;
        values.insert(key, value);
        Q_EMIT changed(key);
    }
    void remove(const QString &key) override
    {
        if (values.remove(key) > 0)
            Q_EMIT changed(key);
    }

    QMap<QString, Value> values;
    QStringList writes; ///< the key of every setValue(), in order
};

} // namespace velmora::testing
