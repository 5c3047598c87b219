// SPDX-License-Identifier: MIT
#include "ui/window/menu_bar_header.h"

#include "presentation/row_presentation.h"
#include "ui/controls/symbols.h"
#include "ui/deployments/row_metrics.h"

#include <QHBoxLayout>
#include <QPushButton>

namespace velmora
{

namespace
{

constexpr int kMargin = 12;
constexpr int kButtonSymbol = 18;
/// Of one reason; the rest is in the tooltip.
constexpr int kMostLines = 3;

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

MenuBarHeader::MenuBarHeader(const QString &title, QWidget *parent)
    : QWidget(parent)
    , m_title(new TextLabel(TextSize::Title, TextLabel::Overflow::Elide, this))
    , m_status(new TextLabel(TextSize::Caption, TextLabel::Overflow::Elide, this))
    , m_unlock(new QPushButton(QStringLiteral("Unlock"), this))
    , m_notice(new TextLabel(TextSize::Caption, TextLabel::Overflow::Wrap, this))
    , m_settings(iconButton(QStringLiteral("Settings"), u"gearshape", this))
    , m_refresh(iconButton(QStringLiteral("Refresh"), u"arrow.clockwise", this))
    , m_close(iconButton(QStringLiteral("Close"), u"xmark", this))
{
    m_title->setText(title);
    m_title->setWeight(QFont::DemiBold);
    m_status->setTone(Tone::Secondary);
    for (TextLabel *&line : m_explanation) {
        // Wrapped, because the advice is at the end of a reason.
        line = new TextLabel(TextSize::Caption, TextLabel::Overflow::Wrap, this);
        line->setMostLines(kMostLines);
        line->setTone(Tone::Orange);
        line->hide();
    }
    m_unlock->setAutoDefault(false);
    m_unlock->setToolTip(QStringLiteral("Unlock the keyring and refresh"));
    m_unlock->hide();
    m_notice->setTone(Tone::Secondary);
    m_notice->hide();
    m_settings->setToolTip(QStringLiteral("Open Settings"));
    setRefreshing(false);
    m_close->setToolTip(QStringLiteral("Close"));
    m_close->hide();
    connect(m_close, &QToolButton::clicked, this, &MenuBarHeader::closeRequested);
    connect(m_settings, &QToolButton::clicked, this, &MenuBarHeader::settingsRequested);
    connect(m_refresh, &QToolButton::clicked, this, &MenuBarHeader::refreshRequested);
    connect(m_unlock, &QPushButton::clicked, this, &MenuBarHeader::refreshRequested);

    auto *texts = new QVBoxLayout;
    texts->setSpacing(1);
    texts->addWidget(m_title);
    texts->addWidget(m_status);
    for (auto *line : m_explanation)
        texts->addWidget(line);
    auto *row = new QHBoxLayout;
    row->setSpacing(4);
    row->addLayout(texts, 1);
    row->addSpacing(kRowGap);
    row->addWidget(m_settings);
    row->addWidget(m_refresh);
    row->addWidget(m_close);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(kRowMargin, kMargin, kMargin, kMargin);
    layout->addLayout(row);
    layout->addWidget(m_unlock, 0, Qt::AlignLeft);
    layout->addWidget(m_notice);
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

void MenuBarHeader::setLocked(bool isLocked)
{
    m_unlock->setVisible(isLocked);
}

void MenuBarHeader::setNotice(const QString &notice)
{
    m_notice->setText(notice);
    m_notice->setVisible(!notice.isEmpty());
}

void MenuBarHeader::setRefreshing(bool isRefreshing)
{
    m_refresh->setEnabled(!isRefreshing);
    m_unlock->setEnabled(!isRefreshing);
    m_refresh->setToolTip(
        isRefreshing ? QStringLiteral("Refreshing deployments") : QStringLiteral("Refresh deployments"));
}

} // namespace velmora
