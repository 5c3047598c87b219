// SPDX-License-Identifier: MIT
#include "settings/general_settings_store.h"

#include "model/failure_preferences.h"
#include "platform/login_item.h"
#include "platform/preferences.h"
#include "support/error.h"

#include <QPointer>

#include <algorithm>

namespace velmora
{

namespace
{

QString permissionMessage()
{
    return QStringLiteral("Notifications are disabled for Velmora in System Settings.");
}

QString onlyMineKey()
{
    return QString::fromLatin1(kOnlyMinePreference);
}

QString ignoresMendedKey()
{
    return QString::fromLatin1(kIgnoresMendedPreference);
}

} // namespace

GeneralSettingsStore::GeneralSettingsStore(
    Preferences *defaults, DeploymentNotifying *notifier, LoginItem *loginItem, QObject *parent)
    : QObject(parent)
    , m_defaults(defaults)
    , m_notifier(notifier)
    , m_loginItem(loginItem)
{
    const QString failureKey = preferenceOf(DeploymentNotificationKind::Failure);
    if (!m_defaults->value(failureKey))
        m_defaults->setValue(failureKey, true);
    readSwitches();
    m_published.launchAtLoginEnabled = isLoginItemEnabled();
    connect(m_defaults, &Preferences::changed, this, &GeneralSettingsStore::followDefaults);
}

QCoro::Task<> GeneralSettingsStore::prepareNotifications()
{
    const QPointer<GeneralSettingsStore> self(this);
    bool isWanted = true;
    while (isWanted) {
        if (std::ranges::none_of(kAllNotificationKinds, [&](auto kind) { return m_published.isOn(kind); })) {
            m_preparation = Preparation::Idle;
            co_return;
        }
        m_preparation = Preparation::Asking;
        const Answer answer = co_await requestAuthorization();
        if (!self)
            co_return;
        isWanted = answer.failure && m_preparation == Preparation::AskingAndWanted;
        m_preparation = answer.failure ? Preparation::Failed : Preparation::Idle;
        applyPreparation(answer);
    }
}

QCoro::Task<> GeneralSettingsStore::retryPreparation()
{
    if (m_preparation == Preparation::Asking)
        m_preparation = Preparation::AskingAndWanted;
    if (m_preparation == Preparation::Failed)
        co_await prepareNotifications();
}

QCoro::Task<> GeneralSettingsStore::setNotificationsEnabled(bool enabled, DeploymentNotificationKind kind)
{
    if (!enabled) {
        setNotificationPreference(false, kind);
        co_return;
    }
    const QPointer<GeneralSettingsStore> self(this);
    const Answer answer = co_await requestAuthorization();
    if (self)
        applyToggle(answer, kind);
}

QCoro::Task<GeneralSettingsStore::Answer> GeneralSettingsStore::requestAuthorization() const
{
    Answer answer;
    try {
        const bool isGranted = co_await m_notifier->requestAuthorizationIfNeeded();
        answer.isGranted = isGranted;
    } catch (...) {
        answer.failure = std::current_exception();
    }
    co_return answer;
}

void GeneralSettingsStore::applyPreparation(const Answer &answer)
{
    const Published before = m_published;
    if (answer.failure) {
        if (isCancellation(answer.failure))
            return;
        m_published.errorMessage = describe(answer.failure);
    } else if (!answer.isGranted) {
        setBoth(false);
        // A switch that was never used stays unwritten.
        if (m_published.isOn(DeploymentNotificationKind::Waiting))
            set(false, DeploymentNotificationKind::Waiting);
        m_published.notificationsRequireSystemPermission = true;
        m_published.errorMessage = permissionMessage();
    } else if (m_preparationFailure && m_published.errorMessage == m_preparationFailure) {
        m_published.errorMessage.reset();
    }
    m_preparationFailure = answer.failure ? m_published.errorMessage : std::nullopt;
    publishChangesSince(before);
}

void GeneralSettingsStore::applyToggle(const Answer &answer, DeploymentNotificationKind kind)
{
    if (answer.failure && isCancellation(answer.failure))
        return;
    const Published before = m_published;
    set(answer.isGranted, kind);
    if (answer.failure) {
        m_published.errorMessage = describe(answer.failure);
    } else {
        m_published.notificationsRequireSystemPermission = !answer.isGranted;
        m_published.errorMessage = answer.isGranted ? std::nullopt : std::optional(permissionMessage());
    }
    m_preparationFailure.reset();
    publishChangesSince(before);
}

void GeneralSettingsStore::setNotificationPreference(bool enabled, DeploymentNotificationKind kind)
{
    const Published before = m_published;
    set(enabled, kind);
    publishChangesSince(before);
}

void GeneralSettingsStore::setNotificationPreferences(bool enabled)
{
    const Published before = m_published;
    setBoth(enabled);
    publishChangesSince(before);
}

void GeneralSettingsStore::setBoth(bool enabled)
{
    set(enabled, DeploymentNotificationKind::Failure);
    set(enabled, DeploymentNotificationKind::Success);
}

void GeneralSettingsStore::set(bool enabled, DeploymentNotificationKind kind)
{
    m_published.switches.at(static_cast<std::size_t>(kind)) = enabled;
    // Set the field first, so that followDefaults() sees no change.
    m_defaults->setValue(preferenceOf(kind), enabled);
}

void GeneralSettingsStore::setNotifiesOnlyMine(bool isRestricted)
{
    const Published before = m_published;
    m_published.notifiesOnlyMine = isRestricted;
    m_defaults->setValue(onlyMineKey(), isRestricted);
    publishChangesSince(before);
}

void GeneralSettingsStore::setIgnoresMendedFailures(bool isIgnoring)
{
    const Published before = m_published;
    m_published.ignoresMendedFailures = isIgnoring;
    m_defaults->setValue(ignoresMendedKey(), isIgnoring);
    publishChangesSince(before);
}

void GeneralSettingsStore::readSwitches()
{
    for (const auto kind : kAllNotificationKinds)
        m_published.switches.at(static_cast<std::size_t>(kind)) = m_defaults->boolean(preferenceOf(kind));
    m_published.notifiesOnlyMine = m_defaults->boolean(onlyMineKey());
    m_published.ignoresMendedFailures = m_defaults->boolean(ignoresMendedKey());
}

/// Another process may have changed a switch.
void GeneralSettingsStore::followDefaults(const QString &key)
{
    const Published before = m_published;
    if (key.startsWith(QLatin1String("general.")))
        readSwitches();
    publishChangesSince(before);
}

QCoro::Task<> GeneralSettingsStore::setLaunchAtLogin(bool enabled)
{
    const QPointer<GeneralSettingsStore> self(this);
    std::exception_ptr failure;
    try {
        if (enabled)
            co_await m_loginItem->registerItem();
        else
            co_await m_loginItem->unregisterItem();
    } catch (...) {
        failure = std::current_exception();
    }
    if (!self)
        co_return;
    const Published before = m_published;
    m_published.launchAtLoginEnabled = isLoginItemEnabled();
    if (failure && !isCancellation(failure)) {
        m_published.errorMessage = describe(failure);
        m_preparationFailure.reset();
    }
    publishChangesSince(before);
}

QCoro::Task<> GeneralSettingsStore::repairLaunchAtLogin()
{
    if (m_loginItem->status() == LoginItemStatus::NeedsRepair)
        co_await setLaunchAtLogin(true);
}

void GeneralSettingsStore::reloadLaunchAtLogin()
{
    const Published before = m_published;
    m_published.launchAtLoginEnabled = isLoginItemEnabled();
    publishChangesSince(before);
}

bool GeneralSettingsStore::isLoginItemEnabled() const
{
    return m_loginItem->status() == LoginItemStatus::Enabled;
}

void GeneralSettingsStore::publishChangesSince(const Published &before)
{
    if (m_published != before)
        Q_EMIT changed();
}

} // namespace velmora
