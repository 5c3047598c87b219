// SPDX-License-Identifier: MIT
#include "platform/pointer_presses.h"

#include "platform/x11_display.h"

#include <QGuiApplication>

#include <utility>
#include <xcb/xinput.h>

namespace velmora
{

namespace
{

/// The wheel counts as the buttons from here on.
constexpr uint32_t kWheel = 4;

/// The number by which the server marks events of the input extension; 0 if it lacks the extension.
uint8_t inputExtension(xcb_connection_t *connection)
{
    const auto *const extension = xcb_get_extension_data(connection, &xcb_input_id);
    return extension && extension->present ? extension->major_opcode : uint8_t(0);
}

void select(xcb_connection_t *connection, uint32_t events)
{
    struct {
        xcb_input_event_mask_t head;
        uint32_t events;
    } mask{{XCB_INPUT_DEVICE_ALL_MASTER, 1}, events};
    xcb_input_xi_select_events(connection, x11Root(connection), 1, &mask.head);
    xcb_flush(connection);
}

} // namespace

PointerPresses::~PointerPresses()
{
    setListening(false);
}

void PointerPresses::setListening(bool isListening)
{
    if (std::exchange(m_isListening, isListening) == isListening)
        return;
    // The application has gone before a widget without an owner.
    xcb_connection_t *const display = x11Connection();
    if (!display || inputExtension(display) == 0)
        return;
    if (isListening)
        qGuiApp->installNativeEventFilter(this);
    else
        qGuiApp->removeNativeEventFilter(this);
    select(display, isListening ? XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_PRESS : 0);
}

bool PointerPresses::nativeEventFilter(const QByteArray &, void *message, qintptr *)
{
    const auto *const event = static_cast<const xcb_input_raw_button_press_event_t *>(message);
    if ((event->response_type & 0x7f) == XCB_GE_GENERIC && event->extension == inputExtension(x11Connection())
        && event->event_type == XCB_INPUT_RAW_BUTTON_PRESS && event->detail < kWheel)
        Q_EMIT pressed();
    return false;
}

} // namespace velmora
