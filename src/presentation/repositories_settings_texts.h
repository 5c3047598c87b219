// SPDX-License-Identifier: MIT
#pragma once

#include <QCoreApplication>
#include <QString>

namespace velmora
{

/// The texts of the Repositories tab. An ampersand marks the mnemonic of a control.
struct RepositoriesSettingsTexts {
    Q_DECLARE_TR_FUNCTIONS(RepositoriesSettingsView)

public:
    static QString title() { return tr("Repositories"); }
    static QString subtitle() { return tr("Choose which repositories Velmora monitors."); }
    static QString refresh() { return tr("Re&fresh"); }
    static QString refreshHelp() { return tr("Refresh repositories"); }
    static QString refreshingHelp() { return tr("Refreshing repositories"); }
    static QString search() { return tr("Search repositories"); }
    static QString enableAll() { return tr("&Enable all"); }
    static QString disableAll() { return tr("&Disable all"); }
    static QString loading() { return tr("Loading repositories…"); }
    static QString noResults() { return tr("No results"); }
    static QString noResultsFor(const QString &search) { return tr("No results for “%1”").arg(search); }
    static QString noResultsHelp() { return tr("Check the spelling or try another search."); }
    /// What assistive technology reads for a row.
    static QString monitored(const QString &name) { return tr("%1, monitored").arg(name); }
    static QString notMonitored(const QString &name) { return tr("%1, not monitored").arg(name); }
};

} // namespace velmora
