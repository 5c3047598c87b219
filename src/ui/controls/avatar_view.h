// SPDX-License-Identifier: MIT
#pragma once

#include <QImage>
#include <QWidget>

namespace velmora
{

/// The round picture of an account, or a symbol without one. It has no accessible name: the login stands beside it.
class AvatarView final : public QWidget
{
    Q_OBJECT

public:
    /// `side` is in device independent pixels.
    explicit AvatarView(int side, QWidget *parent = nullptr);

    /// Null shows the symbol.
    void setPicture(const QImage &picture);
    [[nodiscard]] bool hasPicture() const { return !m_picture.isNull(); }
    [[nodiscard]] QSize sizeHint() const override { return {m_side, m_side}; }

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    int m_side;
    QImage m_picture;
};

} // namespace velmora
