// SPDX-License-Identifier: MIT
#include "app/display_loss.h"

#include <cstring>

#include <glib.h>

namespace velmora
{

namespace
{

constexpr guint kTickMilliseconds = 50;

gboolean tick(gpointer)
{
    return G_SOURCE_CONTINUE;
}

/// Removes the event source of X11. The toolkit finds the display lost while it handles that source.
void leaveOutX11()
{
    GSource *const source = g_main_current_source();
    if (source && g_strcmp0(g_source_get_name(source), "[Qt] XcbEventSource") == 0)
        g_source_destroy(source);
}

} // namespace

void handleEventsWithoutDisplay(const std::function<bool()> &condition, QDeadlineTimer end)
{
    leaveOutX11();
    const guint ticks = g_timeout_add(kTickMilliseconds, &tick, nullptr);
    // Qt's own loop would write to the display before it waits.
    while (!condition() && !end.hasExpired())
        g_main_context_iteration(nullptr, TRUE);
    g_source_remove(ticks);
}

} // namespace velmora
