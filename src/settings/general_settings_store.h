// SPDX-License-Identifier: MIT
#pragma once

#include "notifications/deployment_notifying.h"

#include <QObject>
#include <QString>

#include <array>
#include <exception>
#include <optional>

namespace velmora
{

class LoginItem;
class Preferences;

/// The general settings: what is announced, which failures count, and whether Velmora starts at login.
///
/// Lives on the main thread. Does not throw. changed() announces fields that change together once, and only real
/// changes. A refused switch may stay as it was without a signal, so a view must read it again when the operation has
/// ended. Simultaneous operations are independent; each applies its own result. An operation that is cancelled, or
/// outlives the store, changes nothing.
class GeneralSettingsStore final : public QObject
{
    Q_OBJECT

public:
    /// The pointers are not owned and outlive the store. Failure notifications are on until the user switches them off;
    /// stores that default at once.
    GeneralSettingsStore(
        Preferences *defaults, DeploymentNotifying *notifier, LoginItem *loginItem, QObject *parent = nullptr);

    [[nodiscard]] bool launchAtLoginEnabled() const { return m_published.launchAtLoginEnabled; }
    [[nodiscard]] bool notificationsEnabled(DeploymentNotificationKind kind) const { return m_published.isOn(kind); }
    [[nodiscard]] bool failureNotificationsEnabled() const
    {
        return notificationsEnabled(DeploymentNotificationKind::Failure);
    }
    [[nodiscard]] bool successNotificationsEnabled() const
    {
        return notificationsEnabled(DeploymentNotificationKind::Success);
    }
    /// Whether only the deployments are announced that a connected identity has created.
    [[nodiscard]] bool notifiesOnlyMine() const { return m_published.notifiesOnlyMine; }
    /// Whether failures no longer count once a later success has mended them.
    [[nodiscard]] bool ignoresMendedFailures() const { return m_published.ignoresMendedFailures; }
    /// The desktop has refused notifications, and only the user can allow them there.
    [[nodiscard]] bool notificationsRequireSystemPermission() const
    {
        return m_published.notificationsRequireSystemPermission;
    }
    /// The last error, for display below the settings.
    [[nodiscard]] const std::optional<QString> &errorMessage() const { return m_published.errorMessage; }

    /// Asks for permission if anything is to be announced. For the start of the application. A refusal switches all
    /// kinds off. A failure to ask leaves them on and shows the reason. A later success removes only the message of
    /// such a failure.
    [[nodiscard]] QCoro::Task<> prepareNotifications();

    /// Repeats prepareNotifications() if it could not ask. For when a notification service has appeared. If it is still
    /// asking, repeats it only if it fails.
    [[nodiscard]] QCoro::Task<> retryPreparation();

    /// Switches the announcements of one kind. Asks for permission before switching them on.
    [[nodiscard]] QCoro::Task<> setNotificationsEnabled(bool enabled, DeploymentNotificationKind kind);
    /// Sets and stores one switch without asking.
    void setNotificationPreference(bool enabled, DeploymentNotificationKind kind);
    /// Sets and stores the switches of both results without asking, that of failures first.
    void setNotificationPreferences(bool enabled);

    /// Restricts the announcements to deployments that a connected identity has created, or lifts that.
    void setNotifiesOnlyMine(bool isRestricted);
    /// Lets mended failures count no longer, or again.
    void setIgnoresMendedFailures(bool isIgnoring);

    /// Makes Velmora start at login or not. launchAtLoginEnabled() then shows what the desktop really does. A failure
    /// is shown; a success keeps an earlier message.
    [[nodiscard]] QCoro::Task<> setLaunchAtLogin(bool enabled);

    /// Registers the login item again if it is enabled but starts another program file. For the start of the
    /// application.
    [[nodiscard]] QCoro::Task<> repairLaunchAtLogin();
    /// Reads the status of the login item again, since the user may have changed it elsewhere.
    void reloadLaunchAtLogin();

Q_SIGNALS:
    void changed();

private:
    struct Published {
        bool launchAtLoginEnabled = false;
        std::array<bool, kAllNotificationKinds.size()> switches{}; ///< by kind
        bool notifiesOnlyMine = false;
        bool ignoresMendedFailures = false;
        bool notificationsRequireSystemPermission = false;
        std::optional<QString> errorMessage;

        [[nodiscard]] bool isOn(DeploymentNotificationKind kind) const
        {
            return switches.at(static_cast<std::size_t>(kind));
        }
        friend bool operator==(const Published &, const Published &) = default;
    };
    enum class Preparation {
        Idle,
        Asking,
        AskingAndWanted, ///< a repetition has been requested meanwhile
        Failed,
    };
    struct Answer {
        bool isGranted = false;
        std::exception_ptr failure;
    };

    [[nodiscard]] QCoro::Task<Answer> requestAuthorization() const;
    void applyPreparation(const Answer &answer);
    void applyToggle(const Answer &answer, DeploymentNotificationKind kind);
    void set(bool enabled, DeploymentNotificationKind kind);
    void readSwitches();
    void setBoth(bool enabled);
    void followDefaults(const QString &key);
    void publishChangesSince(const Published &before);
    [[nodiscard]] bool isLoginItemEnabled() const;

    Preferences *m_defaults;
    DeploymentNotifying *m_notifier;
    LoginItem *m_loginItem;
    Published m_published;
    Preparation m_preparation = Preparation::Idle;
    /// The message of a failed prepareNotifications(), while it is shown.
    std::optional<QString> m_preparationFailure;
};

} // namespace velmora
