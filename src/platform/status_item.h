// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QObject>
#include <QPoint>
#include <QString>

#include <optional>

class QImage;

namespace velmora
{

/// The item in the desktop's tray.
///
/// It shows what it was last told, also to a host that comes or comes back later. Nothing here waits for the desktop;
/// without a host the item is invisible and its person has to be reached in another way. Texts are plain; whoever
/// takes them for markup is kept from it.
class StatusItem : public QObject
{
    Q_OBJECT

public:
    enum class Status {
        Passive, ///< of no interest now; a host may hide it
        Active,
        NeedsAttention,
    };

    /// One line of the menu. Ids are above 0 and unique within a menu.
    struct MenuEntry {
        int id = 0;
        QString label; ///< without mnemonics
        bool isEnabled = true;
        bool isSeparator = false; ///< a line; label and isEnabled are not used

        friend bool operator==(const MenuEntry &, const MenuEntry &) = default;
    };

    using QObject::QObject;

    virtual void setTitle(const QString &title) = 0;
    /// What a host shows when the pointer rests on the item, and what assistive technology reads.
    virtual void setToolTip(const QString &title, const QString &text) = 0;
    /// The same picture as square images, one of each size that hosts may want.
    virtual void setIcon(const QList<QImage> &images) = 0;
    /// A short text beside the icon, on the few desktops that show one.
    virtual void setLabel(const QString &label) = 0;
    /// Some desktops open the menu on every click, so the first entry does what a click would.
    virtual void setMenu(const QList<MenuEntry> &entries) = 0;
    virtual void setStatus(Status status) = 0;

    /// Whether a host shows the item, as far as is known. False at first.
    [[nodiscard]] virtual bool isAvailable() const = 0;

Q_SIGNALS:
    /// The item was clicked or chosen by key. `position` is the place of the click on the screens, where the desktop
    /// tells one that means something. `activationToken` is the desktop's leave to take the focus, good for one
    /// window; mostly empty.
    void activated(std::optional<QPoint> position, const QString &activationToken);
    /// An enabled entry of the menu was chosen.
    void menuTriggered(int id, const QString &activationToken);
    void availabilityChanged(bool isAvailable);
};

} // namespace velmora
