// SPDX-License-Identifier: MIT
#pragma once

#include <QDBusVirtualObject>
#include <QList>
#include <QMap>
#include <QStringList>
#include <QVariantMap>

namespace velmora::testing
{

/// The notification portal and the permission store behind it, with a bus connection of their own.
class FakePortal final : public QDBusVirtualObject
{
public:
    FakePortal();
    ~FakePortal() override;

    /// Simulates a click; `parameters` differ between versions of the portal.
    void activate(const QString &name, const QString &action, const QVariantList &parameters);

    [[nodiscard]] QString introspect(const QString &) const override { return {}; }
    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override;

    uint version = 1;
    bool isHanging = false;
    QMap<QString, QStringList> permissions;
    bool storesPermissions = true; ///< otherwise no permission was ever stored
    bool storeHangs = false;

    struct Added {
        QString name;
        QVariantMap properties;
    };
    QList<Added> added;
    QStringList removed;
    QList<QVariantList> lookups;
};

} // namespace velmora::testing
