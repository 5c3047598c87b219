// SPDX-License-Identifier: MIT
#include "platform/window_frames.h"

#include <QGuiApplication>

#include <memory>
#include <string_view>
#include <wayland-client.h>

namespace velmora
{

namespace
{

/// The interface by which a compositor offers to draw frames.
constexpr std::string_view kFrameInterface = "zxdg_decoration_manager_v1";
/// Qt reads it when the first window is shown.
constexpr auto kSwitch = "QT_WAYLAND_DISABLE_WINDOWDECORATION";

template <auto release>
struct Releaser {
    template <typename Object>
    void operator()(Object *object) const
    {
        release(object);
    }
};

void noteInterface(void *isOffered, wl_registry *, uint32_t, const char *interface, uint32_t)
{
    if (interface == kFrameInterface)
        *static_cast<bool *>(isOffered) = true;
}

bool compositorDrawsFrames()
{
    const std::unique_ptr<wl_display, Releaser<wl_display_disconnect>> display(wl_display_connect(nullptr));
    if (!display)
        return true;
    const std::unique_ptr<wl_registry, Releaser<wl_registry_destroy>> registry(wl_display_get_registry(display.get()));
    static constexpr wl_registry_listener kListener{.global = &noteInterface, .global_remove = [](auto...) {
                                                    }};
    bool isOffered = false;
    wl_registry_add_listener(registry.get(), &kListener, &isOffered);
    wl_display_roundtrip(display.get());
    return isOffered;
}

} // namespace

bool desktopDrawsFrames()
{
    static const bool isDrawn
        = !QGuiApplication::platformName().startsWith(QLatin1String("wayland")) || compositorDrawsFrames();
    return isDrawn;
}

void switchOffQtFrames()
{
    qputenv(kSwitch, "1");
}

QProcessEnvironment environmentWithQtFrames()
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove(QString::fromLatin1(kSwitch));
    return environment;
}

} // namespace velmora
