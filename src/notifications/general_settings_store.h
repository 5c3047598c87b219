// SPDX-License-Identifier: MIT
#pragma once

#include "notifications/deployment_notifying.h"

#include <QObject>
#include <QString>

#include <exception>
#include <optional>

namespace velmora
{

class LoginItem;
class Preferences;

/// The general settings: which results are announced, and whether Velmora starts at login.
///
/// Lives on the main thread; nothing throws. Fields that change together are announced by one changed(), and only
/// when one of them is another than before: a switch that was refused may stay as it was without a signal, so whoever
/// shows it reads it again when the operation has ended. Two operations at a time do not know of each other; each
/// applies its own result when it has one. An operation that outlives the store, or that is cancelled, changes nothing.
class GeneralSettingsStore final : public QObject
{
    Q_OBJECT

public:
    /// Where the two switches are stored; the monitor reads them there.
    static constexpr auto kFailureKey = "general.notificationsEnabled";
    static constexpr auto kSuccessKey = "general.successNotificationsEnabled";

    /// The pointers are not owned and outlive the store. Failure notifications are on unless the person has switched
    /// them off, and are stored so at once.
    GeneralSettingsStore(
        Preferences *defaults, DeploymentNotifying *notifier, LoginItem *loginItem, QObject *parent = nullptr);

    [[nodiscard]] bool launchAtLoginEnabled() const { return m_published.launchAtLoginEnabled; }
    [[nodiscard]] bool failureNotificationsEnabled() const { return m_published.failureNotificationsEnabled; }
    [[nodiscard]] bool successNotificationsEnabled() const { return m_published.successNotificationsEnabled; }
    /// The desktop has refused notifications, and only the person can allow them there.
    [[nodiscard]] bool notificationsRequireSystemPermission() const
    {
        return m_published.notificationsRequireSystemPermission;
    }
    /// The last error, to be shown under the settings.
    [[nodiscard]] const std::optional<QString> &errorMessage() const { return m_published.errorMessage; }

    /// Asks for permission when any result is to be announced. For the start of the application. A refusal switches
    /// both off; a failure to ask leaves them on and shows why. When an earlier call showed such a failure, a success
    /// takes back that message, and no other.
    [[nodiscard]] QCoro::Task<> prepareNotifications();

    /// prepareNotifications() once more if it could not ask: for when a notification service has appeared. While
    /// it is still asking, it is repeated only if it fails.
    [[nodiscard]] QCoro::Task<> retryPreparation();

    /// Switches the announcements of one kind; asks for permission first when they are to be on.
    [[nodiscard]] QCoro::Task<> setNotificationsEnabled(bool enabled, DeploymentNotificationKind kind);
    /// Sets and stores one switch without asking.
    void setNotificationPreference(bool enabled, DeploymentNotificationKind kind);
    /// Sets and stores both switches without asking, that of failures first.
    void setNotificationPreferences(bool enabled);

    /// Has Velmora started at login or not. The field follows what the desktop really does. A failure is shown; a
    /// success leaves an earlier message alone.
    [[nodiscard]] QCoro::Task<> setLaunchAtLogin(bool enabled);

    /// Registers anew a login item that is enabled but starts another program file than this. For the start of the
    /// application; does nothing else.
    [[nodiscard]] QCoro::Task<> repairLaunchAtLogin();
    /// Reads again what the desktop does at login: the person may have changed it elsewhere.
    void reloadLaunchAtLogin();

Q_SIGNALS:
    void changed();

private:
    struct Published {
        bool launchAtLoginEnabled = false;
        bool failureNotificationsEnabled = false;
        bool successNotificationsEnabled = false;
        bool notificationsRequireSystemPermission = false;
        std::optional<QString> errorMessage;
        friend bool operator==(const Published &, const Published &) = default;
    };
    enum class Preparation {
        Idle,
        Asking,
        AskingAndWanted, ///< somebody has asked for a repetition meanwhile
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
    void setBoth(bool enabled);
    bool &switchOf(DeploymentNotificationKind kind);
    void followDefaults(const QString &key);
    void publishChangesSince(const Published &before);
    [[nodiscard]] bool isLoginItemEnabled() const;

    Preferences *m_defaults;
    DeploymentNotifying *m_notifier;
    LoginItem *m_loginItem;
    Published m_published;
    Preparation m_preparation = Preparation::Idle;
    /// What prepareNotifications() could not do, for as long as that is the message on show.
    std::optional<QString> m_preparationFailure;
};

} // namespace velmora
