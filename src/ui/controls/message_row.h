// SPDX-License-Identifier: MIT
#pragma once

#include "ui/controls/text_label.h"

#include <QWidget>

namespace velmora
{

/// A wrapped, selectable message behind a warning symbol, in one tone. Hidden while the message is empty. Tells
/// assistive technology of each new message.
class MessageRow final : public QWidget
{
    Q_OBJECT

public:
    MessageRow(TextSize size, Tone tone, QWidget *parent = nullptr);

    /// An empty message hides the row.
    void setMessage(const QString &message);
    [[nodiscard]] QString message() const { return m_label->text(); }

protected:
    void changeEvent(QEvent *event) override;

private:
    void adoptLook();

    TextSize m_size;
    Tone m_tone;
    QLabel *m_label; ///< a QLabel, because TextLabel does not paint a selection
};

} // namespace velmora
