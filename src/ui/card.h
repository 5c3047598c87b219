// SPDX-License-Identifier: MIT
#pragma once

#include <QFrame>

class QVBoxLayout;

namespace velmora
{

/// A group of rows on a ground of its own, with round corners, in the colours of the palette.
class Card final : public QFrame
{
    Q_OBJECT

public:
    /// How far the rows stand from the edge.
    static constexpr int kPadding = 11;

    explicit Card(int padding = kPadding, QWidget *parent = nullptr);

    /// Adds a row below the others.
    void addRow(QWidget *row);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QVBoxLayout *m_rows;
};

/// Paints the ground of a card.
void paintCard(QPainter *painter, const QRectF &frame, const QPalette &palette);

} // namespace velmora
