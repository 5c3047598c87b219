// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

namespace velmora
{

/// The texts of the Accounts tab, those of the code panel excepted. An ampersand marks the mnemonic of a control.
struct AccountsSettingsTexts {
    static QString title() { return QStringLiteral("GitHub accounts"); }
    static QString help()
    {
        return QStringLiteral(
            "Connect each GitHub identity, then install Velmora on its personal account or organisations.");
    }
    static QString addAccount() { return QStringLiteral("A&dd account"); }
    static QString noAccounts() { return QStringLiteral("No GitHub accounts"); }
    static QString noAccountsHelp() { return QStringLiteral("Add an account to begin choosing installations."); }
    static QString connected() { return QStringLiteral("Connected"); }
    static QString refreshing() { return QStringLiteral("Refreshing access"); }
    static QString reconnectRequired() { return QStringLiteral("Reconnect required"); }
    static QString disconnected() { return QStringLiteral("Disconnected"); }
    static QString remove() { return QStringLiteral("Re&move"); }
    static QString noInstallations() { return QStringLiteral("No installations"); }
    static QString oneInstallation() { return QStringLiteral("1 installation"); }
    static QString manyInstallations(qsizetype count) { return QStringLiteral("%1 installations").arg(count); }
    static QString install() { return QStringLiteral("&Install on GitHub"); }
    static QString seenBy(const QString &kind, const QString &login)
    {
        return QStringLiteral("%1, seen by %2").arg(kind, login);
    }
    static QString suspended(const QString &kind) { return QStringLiteral("%1, suspended on GitHub").arg(kind); }
    static QString installations() { return QStringLiteral("Installations"); }
    static QString manage() { return QStringLiteral("Manage on Git&Hub"); }
};

} // namespace velmora
