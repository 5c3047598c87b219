// SPDX-License-Identifier: MIT
#include "ui/controls/text_label.h"

#include <QFontMetrics>
#include <QHelpEvent>
#include <QPainter>
#include <QStyle>
#include <QTextDocument>
#include <QTextLayout>
#include <QToolTip>

namespace velmora
{

namespace
{

constexpr qreal kCaptionScale = 0.87;
constexpr qreal kTitleScale = 1.15;
/// The preferred width of a wrapped text without a given width, in average characters.
constexpr int kWrapColumns = 38;

qreal scale(TextSize size)
{
    switch (size) {
    case TextSize::Caption:
        return kCaptionScale;
    case TextSize::Body:
        return 1;
    case TextSize::Title:
        return kTitleScale;
    }
    Q_UNREACHABLE();
}

} // namespace

QFont styledFont(const QFont &font, TextSize size, QFont::Weight weight)
{
    QFont styled = font;
    if (font.pointSizeF() > 0)
        styled.setPointSizeF(font.pointSizeF() * scale(size));
    else
        styled.setPixelSize(qRound(font.pixelSize() * scale(size)));
    styled.setWeight(weight);
    return styled;
}

TextLabel::TextLabel(TextSize size, Overflow overflow, QWidget *parent)
    : QLabel(parent)
    , m_size(size)
    , m_overflow(overflow)
{
    setTextFormat(Qt::PlainText);
    // Makes QLabel report hasHeightForWidth().
    setWordWrap(overflow == Overflow::Wrap);
}

void TextLabel::setMostLines(int count)
{
    m_mostLines = count;
    updateGeometry();
    update();
}

void TextLabel::setTone(Tone tone)
{
    if (m_tone == tone)
        return;
    m_tone = tone;
    update();
}

void TextLabel::setWeight(QFont::Weight weight)
{
    if (m_weight == weight)
        return;
    m_weight = weight;
    updateGeometry();
    update();
}

void TextLabel::setTextAndExplanation(const QString &text, const QString &explanation)
{
    if (text != this->text())
        setText(text);
    m_explanation = explanation;
    if (accessibleDescription() != explanation)
        setAccessibleDescription(explanation);
}

int TextLabel::textFlags() const
{
    const auto horizontal = QStyle::visualAlignment(layoutDirection(), alignment());
    return static_cast<int>(horizontal)
        | (m_overflow == Overflow::Wrap ? static_cast<int>(Qt::TextWordWrap) : static_cast<int>(Qt::TextSingleLine));
}

QSize TextLabel::sizeHint() const
{
    const QFontMetrics metrics(shownFont());
    if (m_overflow == Overflow::Elide)
        return {metrics.horizontalAdvance(text()) + 1, metrics.height()};
    const int width = metrics.averageCharWidth() * kWrapColumns;
    const QSize wrapped = metrics.boundingRect(0, 0, width, QWIDGETSIZE_MAX, textFlags(), text()).size();
    return {wrapped.width() + 1, heightForWidth(wrapped.width() + 1)};
}

QSize TextLabel::minimumSizeHint() const
{
    const QFontMetrics metrics(shownFont());
    return {metrics.horizontalAdvance(QStringLiteral("mm…")), metrics.height()};
}

int TextLabel::heightForWidth(int width) const
{
    if (m_overflow == Overflow::Elide)
        return -1;
    const QFontMetrics metrics(shownFont());
    return metrics.boundingRect(0, 0, width, QWIDGETSIZE_MAX, textFlags(), shownText(width)).height();
}

/// The lines into which the text wraps at this width.
QStringList TextLabel::wrappedLines(int width) const
{
    const QString whole = text().replace(QLatin1Char('\n'), QChar::LineSeparator);
    QTextLayout layout(whole, shownFont());
    QStringList lines;
    layout.beginLayout();
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLineWidth(width);
        lines.append(whole.mid(line.textStart(), line.textLength()).trimmed());
    }
    layout.endLayout();
    return lines;
}

QString TextLabel::shownText(int width) const
{
    const QFontMetrics metrics(shownFont());
    if (m_overflow == Overflow::Elide)
        return metrics.elidedText(text(), Qt::ElideRight, width);
    if (m_mostLines == std::numeric_limits<int>::max())
        return text();
    QStringList lines = wrappedLines(width);
    if (lines.size() <= m_mostLines)
        return text();
    const QString rest = lines.mid(m_mostLines - 1).join(QLatin1Char(' '));
    lines.resize(m_mostLines);
    lines.last() = metrics.elidedText(rest, Qt::ElideRight, width);
    return lines.join(QLatin1Char('\n'));
}

bool TextLabel::isCut() const
{
    return shownText(contentsRect().width()) != text();
}

QString TextLabel::wholeText() const
{
    if (!m_explanation.isEmpty())
        return m_explanation;
    return isCut() ? text() : QString();
}

bool TextLabel::event(QEvent *event)
{
    if (event->type() != QEvent::ToolTip)
        return QLabel::event(event);
    const QString whole = wholeText();
    // Converted to rich text, so that markup in the text is not interpreted and long lines wrap.
    QToolTip::showText(static_cast<QHelpEvent *>(event)->globalPos(),
        whole.isEmpty() ? QString() : Qt::convertFromPlainText(whole, Qt::WhiteSpaceNormal), this);
    return true;
}

void TextLabel::paintEvent(QPaintEvent *event)
{
    Q_UNUSED(event)
    QPainter painter(this);
    painter.setFont(shownFont());
    painter.setPen(isEnabled() ? toneColour(m_tone, palette()) : palette().color(QPalette::Disabled, QPalette::Text));
    const QRect frame = contentsRect();
    painter.drawText(frame, textFlags(), shownText(frame.width()));
}

} // namespace velmora
