// SPDX-License-Identifier: MIT
#pragma once

#include "monitor/stores.h"
#include "support/task_scope.h"

#include <QHash>
#include <QWidget>

class QPushButton;

namespace velmora
{

class AccountRow;
class AvatarGallery;
class AvatarLoading;
class Card;
class EmptyStateView;
class InstallationSection;
class MessageRow;
class RowList;
class SettingsHeader;
struct DesktopPorts;
struct GitHubAccountSession;

/// The Accounts tab: the connected identities, the connection of another one, and a switch for each installation.
///
/// Shows the state of the stores and forwards what the user does. Loads the installations of every account each time it
/// is shown, and cancels that when it is hidden.
class AccountsSettingsView final : public QWidget
{
    Q_OBJECT

public:
    /// What the parameters name outlives the view. Without `avatars` there are no pictures.
    AccountsSettingsView(
        const Stores &stores, const DesktopPorts &ports, AvatarLoading *avatars, QWidget *parent = nullptr);

public Q_SLOTS:
    /// Loads the installations again.
    void refresh() { loadInstallations(); }

protected:
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;

private:
    [[nodiscard]] QWidget *makeContent();
    void connectStores();
    void showConnection();
    void showSessions();
    void showKnowledge();
    void showPictures();
    void orderTabStops();
    [[nodiscard]] AccountRow *accountRow(qint64 accountID);
    void loadInstallations();
    void connectAccount();
    void remove(qint64 accountID);
    [[nodiscard]] QCoro::Task<> removeAndReload(qint64 accountID, std::stop_token stop);
    void openInstallationPage();

    Stores m_stores;
    AvatarGallery *m_gallery;
    QPushButton *m_add;
    SettingsHeader *m_header;
    Card *m_authorization;
    MessageRow *m_error;
    EmptyStateView *m_noAccounts;
    RowList *m_accountList;
    InstallationSection *m_installations;
    QHash<qint64, AccountRow *> m_accountRows;
    QString m_removalError; ///< why the last attempt to remove an account failed
    TaskScope m_work;
    TaskScope m_appearance; ///< work that is cancelled when the tab is hidden
};

} // namespace velmora
