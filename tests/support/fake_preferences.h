// SPDX-License-Identifier: MIT
#pragma once

#include "platform/preferences.h"

#include <QMap>

namespace velmora::testing
{

/// Preferences in memory that record writes.
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

    [[nodiscard]] QString failure() const override { return currentFailure; }
    /// Makes saving fail from now on; an empty reason makes it succeed again.
    void setFailure(const QString &failure)
    {
        currentFailure = failure;
        Q_EMIT failureChanged();
    }

    [[nodiscard]] bool isSaving() const override { return saving; }
    /// Ends saving: the outcome of all writes is known.
    void settle()
    {
        saving = false;
        Q_EMIT settled();
    }

    QMap<QString, Value> values;
    QString currentFailure;
    bool saving = false;
    QStringList writes; ///< the key of every setValue(), in order
};

} // namespace velmora::testing
