// SPDX-License-Identifier: MIT
#include "ui/settings/accounts/installation_section.h"

#include "accounts/authentication_store.h"
#include "installations/installation_store.h"
#include "presentation/accounts_presentation.h"
#include "presentation/accounts_settings_texts.h"
#include "presentation/repositories_presentation.h"
#include "ui/controls/row_list.h"
#include "ui/controls/separator.h"
#include "ui/controls/switch_control.h"
#include "ui/controls/text_label.h"

#include <QPushButton>
#include <QVBoxLayout>

namespace velmora
{

namespace
{

using Texts = AccountsSettingsTexts;

constexpr int kSpacing = 4;
constexpr int kLeastList = 120;

} // namespace

InstallationSection::InstallationSection(
    AuthenticationStore *authentication, InstallationStore *installations, QWidget *parent)
    : QWidget(parent)
    , m_authentication(authentication)
    , m_installations(installations)
    , m_list(new RowList(Texts::installations()))
{
    auto *heading = new TextLabel(TextSize::Body);
    heading->setWeight(QFont::DemiBold);
    heading->setText(Texts::installations());
    auto *manage = new QPushButton(Texts::manage());
    manage->setFlat(true);
    manage->setAutoDefault(false);
    auto *headingRow = new QHBoxLayout;
    headingRow->addWidget(heading, 1);
    headingRow->addWidget(manage);
    m_list->setMinimumHeight(kLeastList);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Maximum);

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(kSpacing);
    layout->addWidget(new Separator);
    layout->addLayout(headingRow);
    layout->addWidget(m_list);

    connect(manage, &QPushButton::clicked, this, &InstallationSection::manageRequested);
    connect(authentication, &AuthenticationStore::sessionsChanged, this, &InstallationSection::showInstallations);
    connect(installations, &InstallationStore::installationsChanged, this, &InstallationSection::showInstallations);
    showInstallations();
}

void InstallationSection::showInstallations()
{
    const auto &installations = m_installations->installations();
    const auto &sessions = m_authentication->sessions();
    QList<QWidget *> rows;
    QSet<QString> listed;
    for (const InstallationRecord &record : installations) {
        const GitHubInstallationAccount &account = record.installation.account;
        SwitchControl *row = control(record.id());
        row->setName(account.login, installationKindText(record.installation), SwitchControl::Emphasis::Strong);
        row->setAccessibleDescription(installationDescription(record, installations, sessions));
        row->setAccessibleName(monitoringSentence(account.login, record.isEnabled));
        row->setChecked(record.isEnabled);
        rows.append(row);
        listed.insert(record.id());
    }
    // m_list deletes the controls that it no longer shows.
    m_controls.removeIf([&](const auto &entry) { return !listed.contains(entry.key()); });
    m_list->setRows(rows);
    setVisible(showsInstallations(sessions, installations));
    Q_EMIT rowsChanged();
}

SwitchControl *InstallationSection::control(const QString &key)
{
    if (auto *known = m_controls.value(key))
        return known;
    auto *control = new SwitchControl(QString(), m_list);
    m_controls.insert(key, control);
    connect(control, &SwitchControl::clicked, this, [this, key](bool enabled) {
        m_installations->setInstallation(key, enabled);
        // The installation may have been removed meanwhile; then the click changes nothing, and the switch is removed.
        showInstallations();
    });
    return control;
}

} // namespace velmora
