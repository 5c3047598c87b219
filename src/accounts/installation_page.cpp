// SPDX-License-Identifier: MIT
#include "accounts/installation_page.h"

#include "platform/url_opener.h"
#include "support/clock.h"

namespace velmora
{

namespace
{

/// Choosing an account and its repositories takes minutes, longer if the owner of an organisation must approve.
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
    recordOpened();
    return m_urlOpener && m_urlOpener->open(m_address);
}

void InstallationPage::recordOpened()
{
    m_openedAt = m_clock->now();
}

bool InstallationPage::wasOpenedLately() const
{
    if (!m_openedAt)
        return false;
    // Negative if the clock was set back: the real age is then unknown.
    const auto age = m_clock->now() - *m_openedAt;
    return age >= age.zero() && age < kWhile;
}

} // namespace velmora
