// SPDX-License-Identifier: MIT
#pragma once

#include "support/instant.h"
#include "support/web_address.h"

#include <optional>

namespace velmora
{

class Clock;
class URLOpener;

/// GitHub's page for installing the App on an account or organisation.
///
/// Every part of the program opens the page through this object, so that others know for a while that an installation
/// may appear at any moment.
class InstallationPage
{
public:
    /// The opener and the clock are not owned and outlive the page. Without an opener no browser is started.
    InstallationPage(WebAddress address, URLOpener *urlOpener, const Clock *clock);

    [[nodiscard]] const WebAddress &address() const { return m_address; }

    /// Opens the page in the browser. Returns false if no browser could be started. Counts as opened anyway, since the
    /// user may go there by hand.
    bool open();

    /// Call it when another process has opened the page.
    void recordOpened();

    /// Whether the page was opened in the last 15 minutes.
    [[nodiscard]] bool wasOpenedLately() const;

private:
    WebAddress m_address;
    URLOpener *m_urlOpener;
    const Clock *m_clock;
    std::optional<Instant> m_openedAt;
};

} // namespace velmora
