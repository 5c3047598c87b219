// SPDX-License-Identifier: MIT
#include "ui/controls/unopened_page_row.h"

#include "platform/pasteboard.h"
#include "platform/url_opener.h"
#include "presentation/row_presentation.h"
#include "ui/controls/symbol_view.h"
#include "ui/controls/text_label.h"

#include <QAccessible>
#include <QHBoxLayout>
#include <QPushButton>

namespace velmora
{

namespace
{

constexpr int kGap = 8;

} // namespace

UnopenedPageRow::UnopenedPageRow(URLOpener *urlOpener, Pasteboard *pasteboard, QWidget *parent)
    : QWidget(parent)
    , m_urlOpener(urlOpener)
    , m_text(new TextLabel(TextSize::Caption, TextLabel::Overflow::Wrap, this))
    , m_address(new TextLabel(TextSize::Caption, TextLabel::Overflow::Elide, this))
{
    m_text->setText(QStringLiteral("The browser could not be started."));
    m_text->setTone(Tone::Red);
    m_address->setTone(Tone::Secondary);
    auto *copy = new QPushButton(QStringLiteral("Copy address"), this);
    copy->setAutoDefault(false);
    auto *texts = new QVBoxLayout;
    texts->setSpacing(0);
    texts->addWidget(m_text);
    texts->addWidget(m_address);
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(kGap);
    const int side = QFontMetrics(styledFont(font(), TextSize::Caption)).height();
    layout->addWidget(
        new SymbolView(QStringLiteral("exclamationmark.triangle.fill"), side, Tone::Red, this), 0, Qt::AlignTop);
    layout->addLayout(texts, 1);
    layout->addWidget(copy);
    connect(copy, &QPushButton::clicked, this, [this, pasteboard] {
        if (const auto &page = m_urlOpener->unopened())
            pasteboard->setText(page->text());
    });
    connect(urlOpener, &URLOpener::unopenedChanged, this, &UnopenedPageRow::showPage);
    showPage();
}

void UnopenedPageRow::showPage()
{
    const auto &page = m_urlOpener->unopened();
    setVisible(page.has_value());
    if (!page)
        return;
    m_address->setText(shownOnOneLine(page->text()));
    setAccessibleName(m_text->text() + QLatin1Char(' ') + m_address->text());
    QAccessibleEvent event(this, QAccessible::Alert);
    QAccessible::updateAccessibility(&event);
}

} // namespace velmora
