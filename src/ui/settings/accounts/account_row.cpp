// SPDX-License-Identifier: MIT
#include "ui/settings/accounts/account_row.h"

#include "presentation/accounts_settings_texts.h"
#include "ui/controls/avatar_view.h"
#include "ui/controls/link_button.h"
#include "ui/controls/text_label.h"

#include <QHBoxLayout>

namespace velmora
{

namespace
{

using Texts = AccountsSettingsTexts;

constexpr int kAvatar = 36;
constexpr int kGap = 12;
constexpr int kSmallGap = 4;

/// The dot between two texts; never shorter than its size hint.
class Dot final : public TextLabel
{
public:
    Dot()
        : TextLabel(TextSize::Caption)
    {
        setText(QStringLiteral("·"));
        setTone(Tone::Secondary);
    }
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }
};

} // namespace

AccountRow::AccountRow(QWidget *parent)
    : QWidget(parent)
    , m_avatar(new AvatarView(kAvatar))
    , m_login(new TextLabel(TextSize::Body))
    , m_status(new TextLabel(TextSize::Caption))
    , m_dot(new Dot)
    , m_advice(new TextLabel(TextSize::Caption))
    , m_installations(new TextLabel(TextSize::Caption))
    , m_install(new LinkButton(Texts::install()))
    , m_remove(new QPushButton(Texts::remove()))
{
    m_login->setWeight(QFont::Medium);
    m_installations->setTone(Tone::Secondary);
    m_remove->setFlat(true);
    m_remove->setAutoDefault(false);
    m_install->setAutoDefault(false);
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(kGap);
    layout->addWidget(m_avatar);
    layout->addLayout(makeTexts(), 1);
    layout->addWidget(m_remove);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    setInstallations({});
    connect(m_remove, &QPushButton::clicked, this, &AccountRow::removeRequested);
    connect(m_install, &QPushButton::clicked, this, &AccountRow::installRequested);
}

QLayout *AccountRow::makeTexts()
{
    auto *line = new QHBoxLayout;
    line->setSpacing(kSmallGap);
    for (QWidget *part :
        {static_cast<QWidget *>(m_status), static_cast<QWidget *>(m_dot), static_cast<QWidget *>(m_advice),
            static_cast<QWidget *>(m_installations), static_cast<QWidget *>(m_install)})
        line->addWidget(part);
    line->addStretch();
    // Only the last text is elided when space is short; the status before it stays whole.
    for (TextLabel *label : {m_status, m_dot})
        label->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    for (TextLabel *label : {m_advice, m_installations})
        label->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    auto *texts = new QVBoxLayout;
    texts->setSpacing(1);
    texts->addWidget(m_login);
    texts->addLayout(line);
    return texts;
}

void AccountRow::setSession(const GitHubAccountSession &session)
{
    const QString login = session.account.login;
    m_login->setText(login);
    m_status->setText(sessionStatusText(session.status));
    m_status->setTone(sessionStatusTone(session.status));
    // The buttons of all rows have the same name; the description tells them apart.
    m_remove->setAccessibleDescription(login);
    m_install->setAccessibleDescription(login);
    setAccessibleName(login);
}

void AccountRow::setAdvice(const QString &advice)
{
    m_advice->setText(advice);
    showDetails();
}

void AccountRow::setInstallations(const InstallationSummary &summary)
{
    m_installations->setText(summary.text);
    m_offersInstalling = summary.offersInstalling;
    showDetails();
}

void AccountRow::showDetails()
{
    const bool isAdvised = !m_advice->text().isEmpty();
    const bool tells = !isAdvised && !m_installations->text().isEmpty();
    m_advice->setVisible(isAdvised);
    m_installations->setVisible(tells);
    m_dot->setVisible(isAdvised || tells);
    m_install->setVisible(!isAdvised && m_offersInstalling);
}

void AccountRow::setPicture(const QImage &picture)
{
    m_avatar->setPicture(picture);
}

} // namespace velmora
