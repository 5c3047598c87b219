// SPDX-License-Identifier: MIT
#pragma once

#include "ui/controls/tones.h"

#include <QWidget>

namespace velmora
{

/// A symbol in a square of a given side. Decoration: assistive technology does not read it.
class SymbolView final : public QWidget
{
    Q_OBJECT

public:
    SymbolView(QString name, int side, Tone tone, QWidget *parent = nullptr);

    [[nodiscard]] QSize sizeHint() const override { return {m_side, m_side}; }

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QString m_name;
    int m_side;
    Tone m_tone;
};

} // namespace velmora
