// SPDX-License-Identifier: MIT
#pragma once

#include "ui/controls/tones.h"

#include <QFont>
#include <QLabel>

#include <limits>

namespace velmora
{

/// Sizes of text, relative to the font they are derived from.
enum class TextSize {
    Caption,
    Body,
    Title,
};

/// `font` in this size and weight.
[[nodiscard]] QFont styledFont(const QFont &font, TextSize size, QFont::Weight weight = QFont::Normal);

/// Plain text in a size, a weight and a tone, which follow changes of font and palette. Markup in the text is shown
/// literally.
class TextLabel : public QLabel
{
    Q_OBJECT

public:
    enum class Overflow {
        Elide, ///< one line, elided at its end; the tooltip then has the whole text
        Wrap,
    };

    explicit TextLabel(TextSize size, Overflow overflow = Overflow::Elide, QWidget *parent = nullptr);

    /// Limits a wrapped text to this many lines. The last line is elided if there are more, and the tooltip has the
    /// whole text.
    void setMostLines(int count);
    void setTone(Tone tone);
    void setWeight(QFont::Weight weight);
    /// Shows `text`, and `explanation` in the tooltip. Assistive technology reads both.
    void setTextAndExplanation(const QString &text, const QString &explanation);

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;
    [[nodiscard]] int heightForWidth(int width) const override;

protected:
    bool event(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    [[nodiscard]] QFont shownFont() const { return styledFont(font(), m_size, m_weight); }
    [[nodiscard]] int textFlags() const;
    [[nodiscard]] QString wholeText() const;
    [[nodiscard]] QStringList wrappedLines(int width) const;
    [[nodiscard]] QString shownText(int width) const;
    [[nodiscard]] bool isCut() const;

    TextSize m_size;
    Overflow m_overflow;
    int m_mostLines = std::numeric_limits<int>::max();
    QFont::Weight m_weight = QFont::Normal;
    Tone m_tone = Tone::Primary;
    QString m_explanation;
};

} // namespace velmora
