// SPDX-License-Identifier: MIT
#pragma once

#include "support/instant.h"
#include "support/web_address.h"

#include <optional>

namespace velmora
{

class Clock;
class URLOpener;

/// GitHub's page on which the App is installed on an account or organisation.
///
/// Every part of the program that sends the user there does it here. So it is known for a while that the App may be
/// installed at any moment.
class InstallationPage
{
public:
    /// The opener and the clock are not owned and outlive the page. Without an opener no browser is started.
    InstallationPage(WebAddress address, URLOpener *urlOpener, const Clock *clock);

    [[nodiscard]] const WebAddress &address() const { return m_address; }

    /// Opens the page in the browser. False when no browser could be started; the user may still go there by hand, so
    /// that the page counts as opened.
    bool open();

    /// Another process has opened the page.
    void noteOpened();

    /// Whether the page was opened in the last 15 minutes.
    [[nodiscard]] bool wasOpenedLately() const;

private:
    WebAddress m_address;
    URLOpener *m_urlOpener;
    const Clock *m_clock;
    std::optional<Instant> m_openedAt;
};

} // namespace velmora
