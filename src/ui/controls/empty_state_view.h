// SPDX-License-Identifier: MIT
#pragma once

#include <QWidget>

class QPushButton;

namespace velmora
{

class TextLabel;

/// Stands in for an empty list: a symbol, a title, a description and, if there is something to do, a button. Centred in
/// the space that it is given.
class EmptyStateView final : public QWidget
{
    Q_OBJECT

public:
    struct Texts {
        QString symbol;
        QString title;
        QString description;
        QString action = {}; ///< the text of the button; empty for no button
    };

    explicit EmptyStateView(const Texts &texts, QWidget *parent = nullptr);

    /// The button of the action, or null.
    [[nodiscard]] QPushButton *button() const { return m_button; }
    /// Shows below the description why the action failed; empty hides it.
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
