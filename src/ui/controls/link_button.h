// SPDX-License-Identifier: MIT
#pragma once

#include <QPushButton>

namespace velmora
{

/// A button that looks like a link in a line of small text.
class LinkButton final : public QPushButton
{
    Q_OBJECT

public:
    explicit LinkButton(const QString &text, QWidget *parent = nullptr);

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    [[nodiscard]] QFont shownFont() const;
};

} // namespace velmora
