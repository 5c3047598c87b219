// SPDX-License-Identifier: MIT
#pragma once

#include <QWidget>

namespace velmora
{

/// A thin horizontal line.
class Separator final : public QWidget
{
    Q_OBJECT

public:
    explicit Separator(QWidget *parent = nullptr);

protected:
    void paintEvent(QPaintEvent *event) override;
};

} // namespace velmora
