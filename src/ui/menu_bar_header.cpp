// SPDX-License-Identifier: MIT
#include "ui/menu_bar_header.h"

#include "ui/row_metrics.h"
#include "ui/row_presentation.h"
#include "ui/symbols.h"
#include "ui/text_label.h"

#include <QHBoxLayout>
#include <QToolButton>

namespace velmora
{

namespace
{

constexpr int kMargin = 10;
constexpr int kButtonSymbol = 18;

QToolButton *iconButton(const QString &label, QStringView symbol, QWidget *parent)
{
    auto *button = new QToolButton(parent);
    button->setText(label);
    button->setAccessibleName(label);
    button->setToolButtonStyle(Qt::ToolButtonIconOnly);
    button->setIcon(symbolIcon(symbol));
    button->setIconSize({kButtonSymbol, kButtonSymbol});
    button->setAutoRaise(true);
    button->setFocusPolicy(Qt::TabFocus);
    return button;
}

} // namespace

MenuBarHeader::MenuBarHeader(QWidget *parent)
    : QWidget(parent)
    , m_status(new TextLabel(TextSize::Caption, TextLabel::Overflow::Elide, this))
    , m_settings(iconButton(tr("Settings"), u"gearshape", this))
    , m_refresh(iconButton(tr("Refresh"), u"arrow.clockwise", this))
{
    auto *title = new TextLabel(TextSize::Title, TextLabel::Overflow::Elide, this);
    title->setText(tr("Velmora"));
    title->setWeight(QFont::DemiBold);
    m_status->setTone(Tone::Secondary);
    for (TextLabel *&line : m_explanation) {
        line = new TextLabel(TextSize::Caption, TextLabel::Overflow::Elide, this);
        line->setTone(Tone::Orange);
        line->hide();
    }
    m_settings->setToolTip(tr("Open Settings"));
    setRefreshing(false);
    connect(m_settings, &QToolButton::clicked, this, &MenuBarHeader::settingsRequested);
    connect(m_refresh, &QToolButton::clicked, this, &MenuBarHeader::refreshRequested);

    auto *texts = new QVBoxLayout;
    texts->setSpacing(1);
    texts->addWidget(title);
    texts->addWidget(m_status);
    for (auto *line : m_explanation)
        texts->addWidget(line);
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(kRowMargin, kMargin, kMargin, kMargin);
    layout->setSpacing(2);
    layout->addLayout(texts, 1);
    layout->addSpacing(kRowGap);
    layout->addWidget(m_settings);
    layout->addWidget(m_refresh);
}

void MenuBarHeader::setStatus(const QString &status, const QString &explanation)
{
    m_status->setTextAndExplanation(status, explanation);
    const QStringList lines = explanation.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    for (std::size_t i = 0; i < m_explanation.size(); ++i) {
        const QString line = lines.value(static_cast<qsizetype>(i));
        m_explanation.at(i)->setTextAndExplanation(shownOnOneLine(line), explanation);
        m_explanation.at(i)->setVisible(!line.isEmpty());
    }
}

void MenuBarHeader::setRefreshing(bool isRefreshing)
{
    m_refresh->setEnabled(!isRefreshing);
    m_refresh->setToolTip(isRefreshing ? tr("Refreshing deployments") : tr("Refresh deployments"));
}

} // namespace velmora
