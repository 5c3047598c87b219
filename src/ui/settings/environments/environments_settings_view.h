// SPDX-License-Identifier: MIT
#pragma once

#include "ui/settings/searched_page.h"

namespace velmora
{

class EnvironmentListModel;
class Environments;
class SwitchControl;

/// The Environments tab: search, a choice for each line, and a switch with which only production is announced.
///
/// Shows the environments; it owns only the search text.
class EnvironmentsSettingsView final : public SearchedPage
{
    Q_OBJECT

public:
    /// The environments are not owned and outlive the view.
    explicit EnvironmentsSettingsView(Environments *environments, QWidget *parent = nullptr);

private:
    void follow();

    Environments *m_environments;
    EnvironmentListModel *m_model;
    SwitchControl *m_onlyProduction;
};

} // namespace velmora
