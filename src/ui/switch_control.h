// SPDX-License-Identifier: MIT
#pragma once

#include <QCheckBox>

namespace velmora
{

/// A switch with its label on one line: the label at the start, below it a smaller detail where there is one, the
/// switch at the end. The whole of it can be clicked, as with a check box, which it is to assistive technology;
/// mnemonic and keys are inherited.
class SwitchControl final : public QCheckBox
{
    Q_OBJECT

public:
    /// How the label is written.
    enum class Emphasis {
        Plain,
        Strong,
    };

    /// `text` may mark a mnemonic.
    explicit SwitchControl(const QString &text, QWidget *parent = nullptr);

    /// Shows a name that came from elsewhere literally, with `detail` below it.
    void setName(const QString &name, const QString &detail, Emphasis emphasis);

    /// The label as it is read, without the mark of a mnemonic.
    [[nodiscard]] QString name() const;

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;

protected:
    bool event(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    [[nodiscard]] bool hitButton(const QPoint &position) const override { return rect().contains(position); }

private:
    [[nodiscard]] QFont labelFont() const;
    [[nodiscard]] QFont detailFont() const;
    [[nodiscard]] int textWidth() const;
    [[nodiscard]] int textHeight() const;
    [[nodiscard]] QRect switchFrame() const;
    [[nodiscard]] QRect textFrame() const;
    void paintLabel(QPainter *painter, const QRect &frame);

    QString m_detail;
    Emphasis m_emphasis = Emphasis::Plain;
};

} // namespace velmora
