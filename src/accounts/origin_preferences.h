// SPDX-License-Identifier: MIT
#pragma once

#include "accounts/login_origin.h"
#include "platform/preferences.h"

namespace velmora
{

/// The preferences as the accounts of one origin see them.
///
/// What belongs to accounts (keys that begin with "github." or "deployments.") is read and written under the key of
/// the origin; what belongs to the user (all other keys) is shared. Signals name the keys as callers know them, and
/// say nothing of other origins. The preferences behind are not owned and outlive these.
class OriginPreferences final : public Preferences
{
    Q_OBJECT

public:
    OriginPreferences(Preferences *preferences, LoginOrigin origin, QObject *parent = nullptr);

    [[nodiscard]] std::optional<Value> value(const QString &key) const override;
    void setValue(const QString &key, const Value &value) override;
    void remove(const QString &key) override;
    [[nodiscard]] QCoro::Task<ListChanges> changeLists(ListChanges changes) override;
    [[nodiscard]] QString failure() const override { return m_preferences->failure(); }
    [[nodiscard]] bool isSaving() const override { return m_preferences->isSaving(); }

private:
    void settleOwnerOf(const QString &key);
    [[nodiscard]] QString storedKey(const QString &key) const;
    void announce(const QString &stored);

    Preferences *m_preferences;
    LoginOrigin m_origin;
};

} // namespace velmora
