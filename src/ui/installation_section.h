// SPDX-License-Identifier: MIT
#pragma once

#include <QHash>
#include <QWidget>

namespace velmora
{

class AuthenticationStore;
class InstallationStore;
class RowList;
class SwitchControl;

/// Where the App is installed: a switch for each installation. Hidden while there is nothing to switch.
class InstallationSection final : public QWidget
{
    Q_OBJECT

public:
    /// The stores outlive the section.
    InstallationSection(AuthenticationStore *authentication, InstallationStore *installations, QWidget *parent);

Q_SIGNALS:
    /// The person wants to change on GitHub where the App is installed.
    void manageRequested();
    /// There are other rows now, or in another order.
    void rowsChanged();

private:
    void showInstallations();
    [[nodiscard]] SwitchControl *control(const QString &key);

    AuthenticationStore *m_authentication;
    InstallationStore *m_installations;
    RowList *m_list;
    QHash<QString, SwitchControl *> m_controls; ///< by the key of the installation
};

} // namespace velmora
