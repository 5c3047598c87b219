// SPDX-License-Identifier: MIT
#pragma once

#include <QImage>
#include <QList>
#include <QObject>
#include <QPoint>
#include <QString>

#include <optional>

namespace velmora
{

/// The item in the desktop's tray.
///
/// Shows the last content, also in a host that appears later. Never waits for the desktop. Without a host the item
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

    struct Content {
        QString title; ///< stands beside the icon as well, on the few desktops that show a text there
        QString detail; ///< follows the title for hovering over the item and for assistive technology; may be empty
        QList<QImage> icon; ///< the same picture as square images, one for each size that hosts may need
        /// Some desktops open the menu on every click, so its first entry should do the same as a click.
        QList<MenuEntry> menu;
        Status status = Status::Active;

        friend bool operator==(const Content &, const Content &) = default;
    };

    using QObject::QObject;

    virtual void show(const Content &content) = 0;

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
