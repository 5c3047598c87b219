// SPDX-License-Identifier: MIT
#pragma once

#include <QCoreApplication>
#include <QString>

namespace velmora
{

/// The texts of the Accounts tab, those of the code panel excepted. An ampersand marks the mnemonic of a control.
struct AccountsSettingsTexts {
    Q_DECLARE_TR_FUNCTIONS(AccountsSettingsView)

public:
    static QString title() { return tr("GitHub accounts"); }
    static QString help()
    {
        return tr("Connect each GitHub identity, then install Velmora on its personal account or organisations.");
    }
    static QString addAccount() { return tr("A&dd account"); }
    static QString noAccounts() { return tr("No GitHub accounts"); }
    static QString noAccountsHelp() { return tr("Add an account to begin choosing installations."); }
    static QString connected() { return tr("Connected"); }
    static QString refreshing() { return tr("Refreshing access"); }
    static QString reconnectRequired() { return tr("Reconnect required"); }
    static QString disconnected() { return tr("Disconnected"); }
    static QString remove() { return tr("Re&move"); }
    static QString noInstallations() { return tr("No installations"); }
    static QString oneInstallation() { return tr("1 installation"); }
    static QString manyInstallations(qsizetype count) { return tr("%1 installations").arg(count); }
    static QString install() { return tr("&Install on GitHub"); }
    static QString seenBy(const QString &kind, const QString &login) { return tr("%1, seen by %2").arg(kind, login); }
    static QString suspended(const QString &kind) { return tr("%1, suspended on GitHub").arg(kind); }
    static QString installations() { return tr("Installations"); }
    static QString manage() { return tr("Manage on Git&Hub"); }
};

} // namespace velmora
