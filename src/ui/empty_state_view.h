// SPDX-License-Identifier: MIT
#pragma once

#include <QWidget>

class QPushButton;

namespace velmora
{

class TextLabel;

/// What stands where there is nothing to list: a symbol, a title, a description and, where there is something to do
/// about it, a button. In the middle of whatever room it is given.
class EmptyStateView final : public QWidget
{
    Q_OBJECT

public:
    struct Texts {
        QString symbol; ///< the name of the symbol
        QString title;
        QString description;
        QString action = {}; ///< the button; none when empty
    };

    explicit EmptyStateView(const Texts &texts, QWidget *parent = nullptr);

    /// The button of the action; null when there is none.
    [[nodiscard]] QPushButton *button() const { return m_button; }
    /// Says below the description why the action failed; nothing when empty.
    void setError(const QString &message);
    void setTitle(const QString &title);
    void setDescription(const QString &description);

private:
    TextLabel *m_title;
    TextLabel *m_description;
    TextLabel *m_error;
    QPushButton *m_button = nullptr;
};

} // namespace velmora
