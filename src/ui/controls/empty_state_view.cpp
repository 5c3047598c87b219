// SPDX-License-Identifier: MIT
#include "ui/controls/empty_state_view.h"

#include "ui/controls/symbol_view.h"
#include "ui/controls/text_label.h"

#include <QPushButton>
#include <QVBoxLayout>

namespace velmora
{

namespace
{

constexpr int kSymbolSide = 44;
constexpr int kMargin = 24;
constexpr int kGap = 8;

TextLabel *wrappedLabel(TextSize size, const QString &text, QWidget *parent)
{
    auto *label = new TextLabel(size, TextLabel::Overflow::Wrap, parent);
    label->setAlignment(Qt::AlignHCenter);
    label->setText(text);
    return label;
}

} // namespace

EmptyStateView::EmptyStateView(const Texts &texts, QWidget *parent)
    : QWidget(parent)
    , m_title(wrappedLabel(TextSize::Title, texts.title, this))
    , m_description(wrappedLabel(TextSize::Body, texts.description, this))
    , m_error(wrappedLabel(TextSize::Body, QString(), this))
{
    m_title->setWeight(QFont::DemiBold);
    m_description->setTone(Tone::Secondary);
    m_error->setTone(Tone::Red);
    m_error->hide();

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(kMargin, kMargin, kMargin, kMargin);
    layout->setSpacing(kGap);
    layout->addStretch();
    layout->addWidget(new SymbolView(texts.symbol, kSymbolSide, Tone::Secondary, this), 0, Qt::AlignHCenter);
    layout->addSpacing(kGap);
    layout->addWidget(m_title);
    layout->addWidget(m_description);
    layout->addWidget(m_error);
    if (!texts.action.isEmpty()) {
        m_button = new QPushButton(texts.action, this);
        layout->addSpacing(kGap);
        layout->addWidget(m_button, 0, Qt::AlignHCenter);
    }
    layout->addStretch();
}

void EmptyStateView::setError(const QString &message)
{
    if (m_error->text() != message)
        m_error->setText(message);
    m_error->setVisible(!message.isEmpty());
}

void EmptyStateView::setTitle(const QString &title)
{
    m_title->setText(title);
}

void EmptyStateView::setDescription(const QString &description)
{
    m_description->setText(description);
}

} // namespace velmora
