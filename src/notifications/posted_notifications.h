// SPDX-License-Identifier: MIT
#pragma once

#include "notifications/notification_server.h"
#include "support/web_address.h"

#include <QList>

#include <optional>

namespace velmora
{

/// Velmora's notifications that the server still knows: maps identifiers to handles for replacing, and handles to what
/// clicks do. Holds the latest ones up to its capacity.
class PostedNotifications
{
public:
    static constexpr qsizetype kCapacity = 500;

    /// What clicks on a notification do.
    struct Targets {
        WebAddress url; ///< the page that opens; empty for the window
        QString repositoryNodeID; ///< of the repository that is muted

        friend bool operator==(const Targets &, const Targets &) = default;
    };
    /// The effect of a click.
    struct Click {
        Targets targets;
        QString activationToken; ///< empty if none came

        friend bool operator==(const Click &, const Click &) = default;
    };

    explicit PostedNotifications(qsizetype capacity = kCapacity)
        : m_capacity(capacity)
    {
    }

    [[nodiscard]] qsizetype count() const { return m_entries.size(); }
    /// The handle that shows the identifier, empty if there is none.
    [[nodiscard]] QString handleOf(const QString &identifier) const;
    /// Records that the server shows the identifier under the handle, as a new revision that has not been clicked.
    /// Returns the handle of another notification that still shows the same identifier, else empty.
    QString note(const QString &identifier, const QString &handle, const Targets &targets);
    void recordActivationToken(const QString &handle, const QString &token);
    /// The first click of this kind on a revision; nullopt for later ones and unknown handles.
    [[nodiscard]] std::optional<Click> takeClick(const QString &handle, NotificationAction action);
    void forget(const QString &handle);
    void clear() { m_entries.clear(); }

private:
    struct Entry {
        QString identifier;
        QString handle;
        Targets targets;
        QString activationToken;
        QList<NotificationAction> taken; ///< the clicks that came
    };

    [[nodiscard]] Entry *entryWith(const QString &handle);

    qsizetype m_capacity;
    QList<Entry> m_entries; ///< oldest first
};

} // namespace velmora
