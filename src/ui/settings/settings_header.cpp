// SPDX-License-Identifier: MIT
#include "ui/settings/settings_header.h"

#include "ui/controls/text_label.h"

#include <QHBoxLayout>

namespace velmora
{

namespace
{

constexpr int kGap = 12;

} // namespace

SettingsHeader::SettingsHeader(const QString &title, const QString &help, QWidget *button, QWidget *parent)
    : QWidget(parent)
{
    auto *titleLabel = new TextLabel(TextSize::Title, TextLabel::Overflow::Wrap);
    titleLabel->setWeight(QFont::DemiBold);
    titleLabel->setText(title);
    auto *helpLabel = new TextLabel(TextSize::Caption, TextLabel::Overflow::Wrap);
    helpLabel->setTone(Tone::Secondary);
    helpLabel->setText(help);

    auto *texts = new QVBoxLayout;
    texts->setSpacing(2);
    texts->addWidget(titleLabel);
    texts->addWidget(helpLabel);
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(kGap);
    layout->addLayout(texts, 1);
    if (button)
        layout->addWidget(button, 0, Qt::AlignVCenter);
}

} // namespace velmora
