// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

namespace velmora
{

/// The texts of the Repositories tab. An ampersand marks the mnemonic of a control.
struct RepositoriesSettingsTexts {
    static QString title() { return QStringLiteral("Repositories"); }
    static QString subtitle() { return QStringLiteral("Choose which repositories Velmora monitors."); }
    static QString refresh() { return QStringLiteral("Re&fresh"); }
    static QString refreshHelp() { return QStringLiteral("Refresh repositories"); }
    static QString refreshingHelp() { return QStringLiteral("Refreshing repositories"); }
    static QString search() { return QStringLiteral("Search repositories"); }
    static QString enableAll() { return QStringLiteral("&Enable all"); }
    static QString disableAll() { return QStringLiteral("&Disable all"); }
    static QString loading() { return QStringLiteral("Loading repositories…"); }
    static QString noResults() { return QStringLiteral("No results"); }
    static QString noResultsFor(const QString &search) { return QStringLiteral("No results for “%1”").arg(search); }
    static QString noResultsHelp() { return QStringLiteral("Check the spelling or try another search."); }
    /// What assistive technology reads for a row.
    static QString monitored(const QString &name) { return QStringLiteral("%1, monitored").arg(name); }
    static QString notMonitored(const QString &name) { return QStringLiteral("%1, not monitored").arg(name); }
};

} // namespace velmora
