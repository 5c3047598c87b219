// SPDX-License-Identifier: MIT
#pragma once

#include "accounts/login_origin.h"
#include "platform/preferences.h"

namespace velmora
{

/// The preferences for the accounts of one origin.
///
/// Keys of accounts (those that begin with "github." or "deployments.") are stored under the key of the origin. All
/// other keys belong to the user and are shared. Signals use the callers' keys, and omit other origins. The underlying
/// preferences are not owned and outlive this object.
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
