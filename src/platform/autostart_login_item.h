// SPDX-License-Identifier: MIT
#pragma once

#include "platform/login_item.h"
#include "support/async_mutex.h"

#include <QString>
#include <QStringList>

namespace velmora
{

struct XDGDirectories;

/// An entry in the autostart folder of the XDG desktops.
///
/// The user's entry overrides the system's entry of the same name. It counts as enabled if every session manager would
/// start it: it is readable, not hidden, not switched off by the desktop's own tool, meant for this desktop, and its
/// program exists. Some session managers ignore the key by which GNOME disables an entry, so Velmora does not disable
/// an entry by that key.
class AutostartLoginItem final : public LoginItem
{
public:
    struct Options {
        QString executable; ///< absolute path of this program
        QString userFolder; ///< the autostart folder of the user, empty if unknown
        QStringList systemFolders; ///< the system's autostart folders, in order of precedence
        QStringList desktops; ///< the desktops of the session, the most specific first
    };

    /// The autostart folders are siblings of the configuration folders. The desktops come from the environment.
    [[nodiscard]] static Options optionsFor(const XDGDirectories &directories, const QString &executable);

    explicit AutostartLoginItem(Options options);

    /// NeedsRepair: the user's entry is enabled, but starts another program file or none.
    [[nodiscard]] LoginItemStatus status() const override;
    [[nodiscard]] QCoro::Task<> registerItem() override;
    /// Deletes the user's entry. If the system has an entry, writes one for the user that hides it.
    [[nodiscard]] QCoro::Task<> unregisterItem() override;

private:
    Options m_options;
    AsyncMutex m_turn; ///< keeps the operations in the order of their calls
};

} // namespace velmora
