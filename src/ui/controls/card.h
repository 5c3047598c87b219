// SPDX-License-Identifier: MIT
#pragma once

#include <QFrame>

class QVBoxLayout;

namespace velmora
{

/// A group of rows on a rounded background in the colours of the palette.
class Card final : public QFrame
{
    Q_OBJECT

public:
    /// The distance of the rows from the edge.
    static constexpr int kPadding = 11;

    explicit Card(int padding = kPadding, QWidget *parent = nullptr);

    void addRow(QWidget *row);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QVBoxLayout *m_rows;
};

/// Paints the background of a card.
void paintCard(QPainter *painter, const QRectF &frame, const QPalette &palette);

} // namespace velmora
