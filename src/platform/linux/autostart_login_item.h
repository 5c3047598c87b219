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
/// The person's entry masks the one of the same name that an administrator has put up for everybody. It counts
/// as enabled when every session manager would start it: it can be read, is not hidden, not switched off by
/// the desktop's own tool, meant for this desktop, and its program is there. A session manager may pay no heed to
/// the key by which GNOME switches an entry off, so it is never switched off that way here.
class AutostartLoginItem final : public LoginItem
{
public:
    struct Options {
        QString executable; ///< absolute path of this program
        QString userFolder; ///< the autostart folder of the person; empty when it cannot be told
        QStringList systemFolders; ///< those of the machine, the most important first
        QStringList desktops; ///< the desktops of the session, the most specific first
    };

    /// The autostart folders are beside the folders of the configuration; the desktops come from the environment.
    [[nodiscard]] static Options optionsFor(const XDGDirectories &directories, const QString &executable);

    explicit AutostartLoginItem(Options options);

    /// NeedsRepair is an enabled entry of the person's that starts another program file than this, or none.
    [[nodiscard]] LoginItemStatus status() const override;
    [[nodiscard]] QCoro::Task<> registerItem() override;
    /// Deletes the person's entry; hides that of the machine by one of the person's.
    [[nodiscard]] QCoro::Task<> unregisterItem() override;

private:
    Options m_options;
    AsyncMutex m_turn; ///< what was asked last is done last
};

} // namespace velmora
