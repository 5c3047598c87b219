// SPDX-License-Identifier: MIT
#pragma once

#include <QCheckBox>

namespace velmora
{

/// A switch with a label at the start, an optional smaller detail below it, and the switch at the end. A click anywhere
/// toggles it. Assistive technology sees a check box; mnemonic and keys are those of QCheckBox.
class SwitchControl final : public QCheckBox
{
    Q_OBJECT

public:
    enum class Emphasis {
        Plain,
        Strong,
    };

    /// `text` may contain a mnemonic.
    explicit SwitchControl(const QString &text, QWidget *parent = nullptr);

    /// Shows a foreign name literally, with `detail` below it.
    void setName(const QString &name, const QString &detail, Emphasis emphasis);

    /// The label without the ampersand of the mnemonic.
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
