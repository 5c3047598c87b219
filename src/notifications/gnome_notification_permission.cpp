// SPDX-License-Identifier: MIT
// Before Qt's headers, since GIO uses the identifier `signals`, a macro of Qt.
#include <gio/gio.h>

#include "notifications/gnome_notification_permission.h"

#include "support/background.h"
#include "support/with_deadline.h"

#include <memory>

namespace velmora
{

namespace
{

constexpr auto kSchema = "org.gnome.desktop.notifications.application";
constexpr auto kKey = "enable";

struct SchemaDeleter {
    void operator()(GSettingsSchema *schema) const { g_settings_schema_unref(schema); }
};
struct SettingsDeleter {
    void operator()(GSettings *settings) const { g_object_unref(settings); }
};
using Schema = std::unique_ptr<GSettingsSchema, SchemaDeleter>;
using Settings = std::unique_ptr<GSettings, SettingsDeleter>;

/// Checks the schema before using it, since GLib ends the process if the schema or key is missing.
bool isEnabled(const QByteArray &path)
{
    GSettingsSchemaSource *const source = g_settings_schema_source_get_default();
    const Schema schema(source ? g_settings_schema_source_lookup(source, kSchema, TRUE) : nullptr);
    if (!schema || g_settings_schema_get_path(schema.get()) || !g_settings_schema_has_key(schema.get(), kKey))
        return true;
    const Settings settings(g_settings_new_full(schema.get(), nullptr, path.constData()));
    GVariant *const value = g_settings_get_value(settings.get(), kKey);
    const bool isOff = g_variant_is_of_type(value, G_VARIANT_TYPE_BOOLEAN) && !g_variant_get_boolean(value);
    g_variant_unref(value);
    return !isOff;
}

} // namespace

QCoro::Task<bool> GnomeNotificationPermission::isGranted(QDeadlineTimer deadline)
{
    // The backend of the settings may be a slow disk or a service, so do not read on the main thread.
    auto read = [path = settingsPath(m_desktopEntry).toLatin1()] {
        return isEnabled(path);
    };
    const auto reading = startInBackground(QThreadPool::globalInstance(), std::move(read));
    const std::optional<bool> isGranted = co_await withDeadline(reading, deadline);
    co_return isGranted.value_or(true);
}

QString GnomeNotificationPermission::settingsPath(const QString &desktopEntry)
{
    QString name;
    for (const QChar character : desktopEntry.toLower()) {
        const char16_t unit = character.unicode();
        const bool isKept = (unit >= u'a' && unit <= u'z') || (unit >= u'0' && unit <= u'9');
        if (isKept)
            name += character;
        else if (!name.endsWith(QLatin1Char('-')))
            name += QLatin1Char('-');
    }
    return QStringLiteral("/org/gnome/desktop/notifications/application/%1/").arg(name);
}

} // namespace velmora
