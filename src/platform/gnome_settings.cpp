// SPDX-License-Identifier: MIT
#include "platform/gnome_settings.h"

// GLib has a parameter with the name of one of Qt's macros.
#undef signals
#include <gio/gio.h>

namespace velmora
{

namespace
{

/// The value of the types that these settings have; invalid for others.
QVariant toQt(GVariant *value)
{
    if (g_variant_is_of_type(value, G_VARIANT_TYPE_STRING))
        return QString::fromUtf8(g_variant_get_string(value, nullptr));
    if (g_variant_is_of_type(value, G_VARIANT_TYPE_DOUBLE))
        return g_variant_get_double(value);
    if (g_variant_is_of_type(value, G_VARIANT_TYPE_BOOLEAN))
        return g_variant_get_boolean(value) != FALSE;
    return {};
}

} // namespace

/// Some keys of one schema, each as far as the installed schema has it: GLib ends the process when asked for another.
class GNOMESettings::Schema
{
public:
    Schema(const char *name, const QList<const char *> &keys, GNOMESettings *owner)
        : m_name(QLatin1String(name))
    {
        GSettingsSchemaSource *source = g_settings_schema_source_get_default();
        GSettingsSchema *schema = source ? g_settings_schema_source_lookup(source, name, TRUE) : nullptr;
        if (!schema)
            return;
        m_settings = g_settings_new_full(schema, nullptr, nullptr);
        for (const char *key : keys) {
            if (g_settings_schema_has_key(schema, key))
                m_keys.append(key);
        }
        g_settings_schema_unref(schema);
        m_handler = g_signal_connect(m_settings, "changed", G_CALLBACK(&Schema::forward), owner);
    }
    ~Schema()
    {
        if (!m_settings)
            return;
        g_signal_handler_disconnect(m_settings, m_handler);
        g_object_unref(m_settings);
    }
    Schema(const Schema &) = delete;
    Schema &operator=(const Schema &) = delete;

    void read(DesktopSettings *all) const
    {
        for (const char *key : m_keys) {
            GVariant *value = g_settings_get_value(m_settings, key);
            all->insert(m_name + QLatin1Char('/') + QLatin1String(key), toQt(value));
            g_variant_unref(value);
        }
    }

private:
    static void forward(GSettings *, const char *, gpointer owner)
    {
        Q_EMIT static_cast<GNOMESettings *>(owner)->changed();
    }

    QString m_name;
    GSettings *m_settings = nullptr; ///< null without the schema
    gulong m_handler = 0;
    QList<const char *> m_keys;
};

GNOMESettings::GNOMESettings(QObject *parent)
    : QObject(parent)
    , m_schemas{std::make_shared<Schema>(
                    "org.gnome.desktop.interface", QList{"color-scheme", "font-name", "text-scaling-factor"}, this),
          std::make_shared<Schema>("org.gnome.desktop.a11y.interface", QList{"high-contrast"}, this)}
{
}

GNOMESettings::~GNOMESettings() = default;

DesktopSettings GNOMESettings::read() const
{
    DesktopSettings settings;
    for (const auto &schema : m_schemas)
        schema->read(&settings);
    return settings;
}

} // namespace velmora
