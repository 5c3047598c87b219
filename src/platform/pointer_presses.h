// SPDX-License-Identifier: MIT
#pragma once

#include <QAbstractNativeEventFilter>
#include <QObject>

namespace velmora
{

/// Tells of the presses of the pointer's buttons, whichever window gets them. Only X11 lets a program hear of those
/// that go to others; elsewhere it never tells of any.
class PointerPresses final : public QObject, private QAbstractNativeEventFilter
{
    Q_OBJECT

public:
    explicit PointerPresses(QObject *parent = nullptr)
        : QObject(parent)
    {
    }
    ~PointerPresses() override;
    PointerPresses(const PointerPresses &) = delete;
    PointerPresses &operator=(const PointerPresses &) = delete;

    /// Begins or ends to listen; each press wakes the process meanwhile.
    void setListening(bool isListening);

Q_SIGNALS:
    /// A button was pressed; a turn of the wheel is none.
    void pressed();

private:
    bool nativeEventFilter(const QByteArray &type, void *message, qintptr *result) override;

    bool m_isListening = false;
};

} // namespace velmora
