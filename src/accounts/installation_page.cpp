// SPDX-License-Identifier: MIT
#include "accounts/installation_page.h"

#include "platform/url_opener.h"
#include "support/clock.h"

namespace velmora
{

namespace
{

/// To choose an account and its repositories takes minutes, all the more where the owner of an organisation is asked.
constexpr std::chrono::minutes kWhile{15};

} // namespace

InstallationPage::InstallationPage(WebAddress address, URLOpener *urlOpener, const Clock *clock)
    : m_address(std::move(address))
    , m_urlOpener(urlOpener)
    , m_clock(clock)
{
}

bool InstallationPage::open()
{
    noteOpened();
    return m_urlOpener && m_urlOpener->open(m_address);
}

void InstallationPage::noteOpened()
{
    m_openedAt = m_clock->now();
}

bool InstallationPage::wasOpenedLately() const
{
    if (!m_openedAt)
        return false;
    // Negative when the clock was set back: then it is not known how long ago it was.
    const auto age = m_clock->now() - *m_openedAt;
    return age >= age.zero() && age < kWhile;
}

} // namespace velmora
