// SPDX-License-Identifier: MIT
#pragma once

#include "platform/status_notifier_types.h"

#include <QDBusAbstractAdaptor>
#include <QDBusObjectPath>
#include <QPoint>

#include <functional>

namespace velmora
{

/// The properties of an item that a host can read.
struct StatusNotifierContent {
    QString id; ///< the same in every run
    QString title;
    QString status; ///< "Passive", "Active" or "NeedsAttention"
    QString accessibleName;
    QList<StatusNotifierPixmap> icon;
    StatusNotifierToolTip toolTip;
};

/// The D-Bus interface of a tray item: org.kde.StatusNotifierItem. The names are the protocol's.
class StatusNotifierAdaptor final : public QDBusAbstractAdaptor
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierItem")
    Q_PROPERTY(QString Id READ id)
    Q_PROPERTY(QString Category READ category)
    Q_PROPERTY(QString Title READ title)
    Q_PROPERTY(QString Status READ status)
    Q_PROPERTY(int WindowId READ windowID)
    Q_PROPERTY(QString IconName READ iconName)
    Q_PROPERTY(QList<velmora::StatusNotifierPixmap> IconPixmap READ iconPixmap)
    Q_PROPERTY(QString IconAccessibleDesc READ accessibleName)
    Q_PROPERTY(QString AttentionIconName READ iconName)
    Q_PROPERTY(QList<velmora::StatusNotifierPixmap> AttentionIconPixmap READ iconPixmap)
    Q_PROPERTY(QString AttentionAccessibleDesc READ accessibleName)
    Q_PROPERTY(velmora::StatusNotifierToolTip ToolTip READ toolTip)
    Q_PROPERTY(bool ItemIsMenu READ isMenu)
    Q_PROPERTY(QDBusObjectPath Menu READ menu)
    Q_PROPERTY(QString XAyatanaLabel READ label)
    Q_PROPERTY(QString XAyatanaLabelGuide READ label)

public:
    /// The calls of a host.
    struct Requests {
        std::function<void(QPoint)> activate;
        std::function<void(const QString &)> provideToken;
    };

    /// Owned by the exported object. `content` must outlive it.
    StatusNotifierAdaptor(
        QObject *exported, const StatusNotifierContent *content, QDBusObjectPath menu, Requests requests);

    [[nodiscard]] QString id() const { return m_content->id; }
    [[nodiscard]] QString category() const { return QStringLiteral("ApplicationStatus"); }
    [[nodiscard]] QString title() const { return m_content->title; }
    [[nodiscard]] QString status() const { return m_content->status; }
    [[nodiscard]] int windowID() const { return 0; }
    [[nodiscard]] QString iconName() const { return {}; }
    [[nodiscard]] QList<StatusNotifierPixmap> iconPixmap() const { return m_content->icon; }
    [[nodiscard]] QString accessibleName() const { return m_content->accessibleName; }
    [[nodiscard]] StatusNotifierToolTip toolTip() const { return m_content->toolTip; }
    [[nodiscard]] bool isMenu() const { return false; }
    [[nodiscard]] QDBusObjectPath menu() const { return m_menu; }
    [[nodiscard]] QString label() const { return m_content->title; }

public Q_SLOTS:
    void Activate(int x, int y);
    void SecondaryActivate(int x, int y);
    /// Called by a host that cannot show the menu.
    void ContextMenu(int x, int y);
    void Scroll(int delta, const QString &orientation);
    void ProvideXdgActivationToken(const QString &token);

Q_SIGNALS:
    void NewTitle();
    void NewIcon();
    void NewAttentionIcon();
    void NewToolTip();
    void NewStatus(const QString &status);
    void XAyatanaNewLabel(const QString &label, const QString &guide);

private:
    const StatusNotifierContent *m_content;
    QDBusObjectPath m_menu;
    Requests m_requests;
};

} // namespace velmora
