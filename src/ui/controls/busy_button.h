// SPDX-License-Identifier: MIT
#pragma once

#include <QPushButton>

namespace velmora
{

class ProgressSpinner;

/// A button with a symbol, which a spinner replaces while the action of the button runs.
class BusyButton final : public QPushButton
{
    Q_OBJECT

public:
    BusyButton(const QString &symbol, const QString &text, QWidget *parent = nullptr);

    void setBusy(bool isBusy);
    [[nodiscard]] bool isBusy() const { return m_isBusy; }

protected:
    void resizeEvent(QResizeEvent *event) override;

private:
    void placeSpinner();

    QIcon m_symbol;
    QIcon m_room; ///< transparent, as large as the symbol: keeps the text in place while the spinner shows
    ProgressSpinner *m_spinner;
    bool m_isBusy = false;
};

} // namespace velmora
