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

/// Lists the installations of the App with a switch for each. Hidden while there are none.
class InstallationSection final : public QWidget
{
    Q_OBJECT

public:
    /// The stores outlive the section.
    InstallationSection(AuthenticationStore *authentication, InstallationStore *installations, QWidget *parent);

Q_SIGNALS:
    /// The user wants to manage the installations on GitHub.
    void manageRequested();
    /// The rows or their order have changed.
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
