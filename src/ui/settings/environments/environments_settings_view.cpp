// SPDX-License-Identifier: MIT
#include "ui/settings/environments/environments_settings_view.h"

#include "monitor/environments.h"
#include "presentation/environments_presentation.h"
#include "ui/controls/search_field.h"
#include "ui/controls/switch_control.h"
#include "ui/controls/text_label.h"
#include "ui/settings/environments/environment_list_model.h"
#include "ui/settings/environments/environment_list_view.h"

namespace velmora
{

using Texts = EnvironmentsSettingsTexts;

EnvironmentsSettingsView::EnvironmentsSettingsView(Environments *environments, QWidget *parent)
    : SearchedPage({Texts::title(), Texts::subtitle(), Texts::search()}, parent)
    , m_environments(environments)
    , m_model(new EnvironmentListModel(environments, this))
    , m_onlyProduction(new SwitchControl(Texts::onlyProduction()))
{
    compose(new EnvironmentListView(m_model), {m_onlyProduction});
    auto *help = new TextLabel(TextSize::Caption, TextLabel::Overflow::Wrap);
    help->setTone(Tone::Secondary);
    help->setText(Texts::onlyProductionHelp());
    addBelow(help);
    connect(search(), &QLineEdit::textChanged, this, [this](const QString &text) {
        m_model->setSearch(text);
        follow();
    });
    connect(m_onlyProduction, &SwitchControl::clicked, m_environments, &Environments::setOnlyProduction);
    connect(m_environments, &Environments::changed, this, &EnvironmentsSettingsView::follow);
    follow();
}

void EnvironmentsSettingsView::follow()
{
    m_onlyProduction->setChecked(m_environments->choices().onlyProduction);
    if (m_model->rowCount() > 0)
        showList();
    else
        showNothing(Texts::none(), Texts::noneHelp());
}

} // namespace velmora
