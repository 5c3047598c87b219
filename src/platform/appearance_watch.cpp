// SPDX-License-Identifier: MIT
#include "platform/appearance_watch.h"

#include "platform/flatpak.h"

#include "support/task_scope.h"

#include <QPointer>

namespace velmora
{

namespace
{

/// Desktops write their settings one after the other. Short enough that the windows change with the others.
constexpr std::chrono::milliseconds kSettling{50};
/// At login the portal is started by the question, on a busy machine.
constexpr std::chrono::seconds kPortalPatience{60};

} // namespace

AppearanceWatch::AppearanceWatch(const QDBusConnection &bus, QStringList desktops, QObject *parent)
    : QObject(parent)
    , m_desktops(std::move(desktops))
    , m_portal(bus)
{
    m_settling.setSingleShot(true);
    m_settling.setInterval(kSettling);
    const auto settle = [this] {
        m_settling.start();
    };
    connect(&m_settling, &QTimer::timeout, this, &AppearanceWatch::publish);
    connect(&m_portal, &SettingsPortal::changed, this, &AppearanceWatch::recordChange);
    if (isPlasma(m_desktops))
        connect(&m_plasma.emplace(bus), &PlasmaSettings::changed, this, settle);
    else
        connect(&m_gnome.emplace(), &GNOMESettings::changed, this, settle);
}

void AppearanceWatch::start()
{
    publish();
    launch(readPortal(), "reading the appearance of the desktop");
}

QCoro::Task<> AppearanceWatch::readPortal()
{
    const QPointer<AppearanceWatch> self(this);
    const DesktopSettings settings = co_await m_portal.read(QDeadlineTimer(kPortalPatience));
    if (!self)
        co_return;
    // A change that was announced meanwhile is newer.
    DesktopSettings all = settings;
    all.insert(m_fromPortal);
    m_fromPortal = all;
    publish();
}

void AppearanceWatch::recordChange(const QString &name, const QVariant &value)
{
    m_fromPortal.insert(name, value);
    m_settling.start();
}

DesktopSettings AppearanceWatch::ownSettings() const
{
    return m_plasma ? PlasmaSettings::read() : m_gnome->read();
}

void AppearanceWatch::publish()
{
    DesktopSettings settings = m_fromPortal;
    // They are always up to date, except in a sandbox, which has settings of its own.
    if (!isInsideFlatpak())
        settings.insert(ownSettings());
    const Appearance appearance = appearanceFrom(settings, m_desktops);
    if (m_published == appearance)
        return;
    m_published = appearance;
    Q_EMIT changed(appearance);
}

} // namespace velmora
