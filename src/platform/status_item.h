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
/// Shows the last values set, also in a host that appears later. Never waits for the desktop. Without a host the item
/// is invisible, and the user must be reached in another way. Texts are plain; adapters escape them for hosts that
/// interpret markup.
class StatusItem : public QObject
{
    Q_OBJECT

public:
    enum class Status {
        Passive, ///< not interesting now; a host may hide it
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
    /// The text for hovering over the item and for assistive technology.
    virtual void setToolTip(const QString &title, const QString &text) = 0;
    /// The same picture as square images, one for each size that hosts may need.
    virtual void setIcon(const QList<QImage> &images) = 0;
    /// A short text beside the icon, on the few desktops that show one.
    virtual void setLabel(const QString &label) = 0;
    /// Some desktops open the menu on every click, so its first entry should do the same as a click.
    virtual void setMenu(const QList<MenuEntry> &entries) = 0;
    virtual void setStatus(Status status) = 0;

    /// Whether a host shows the item, as far as known. False at first.
    [[nodiscard]] virtual bool isAvailable() const = 0;

Q_SIGNALS:
    /// The user clicked the item or chose it by key. `position` is the place of the click on the screens, if the
    /// desktop reports a meaningful one. `activationToken` is the desktop's permission to take the focus, valid for one
    /// window; often empty.
    void activated(std::optional<QPoint> position, const QString &activationToken);
    /// The user chose an enabled entry of the menu.
    void menuTriggered(int id, const QString &activationToken);
    void availabilityChanged(bool isAvailable);
};

} // namespace velmora
