// SPDX-License-Identifier: MIT
#pragma once

#include "ui/text_label.h"

#include <QWidget>

namespace velmora
{

/// A message behind the warning symbol, wrapped, in one tone, whose text can be selected. Shown only while there is
/// one; assistive technology is told of every new one.
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
    QLabel *m_label; ///< draws what is selected, which a TextLabel does not
};

} // namespace velmora
