// SPDX-License-Identifier: MIT
#pragma once

#include "support/web_address.h"

#include <QList>

#include <optional>

namespace velmora
{

/// Which notifications of ours the server still knows: what a later one replaces, and what a click opens.
/// Holds the most recently posted ones up to its capacity.
class PostedNotifications
{
public:
    static constexpr qsizetype kCapacity = 500;

    /// What a click leads to.
    struct Click {
        WebAddress url;
        QString activationToken; ///< empty when none came

        friend bool operator==(const Click &, const Click &) = default;
    };

    explicit PostedNotifications(qsizetype capacity = kCapacity)
        : m_capacity(capacity)
    {
    }

    [[nodiscard]] qsizetype count() const { return m_entries.size(); }
    /// The handle that shows the identifier; empty when there is none.
    [[nodiscard]] QString handleOf(const QString &identifier) const;
    /// Notes that the server shows the identifier under the handle: a new revision that has not been clicked.
    /// Returns the handle of another notification that still shows the same identifier; empty when there is none.
    QString note(const QString &identifier, const QString &handle, const WebAddress &url);
    void noteActivationToken(const QString &handle, const QString &token);
    /// The first click on a revision; none for later ones and for what is not ours.
    [[nodiscard]] std::optional<Click> takeClick(const QString &handle);
    void forget(const QString &handle);
    void clear() { m_entries.clear(); }

private:
    struct Entry {
        QString identifier;
        QString handle;
        WebAddress url;
        QString activationToken;
        bool isClicked = false;
    };

    [[nodiscard]] Entry *entryWith(const QString &handle);

    qsizetype m_capacity;
    QList<Entry> m_entries; ///< the latest last
};

} // namespace velmora
