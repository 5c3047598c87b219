// SPDX-License-Identifier: MIT
#pragma once

#include "github/github_client.h"
#include "support/await.h"
#include "support/fake_clock.h"
#include "support/fake_http_session.h"

namespace velmora::testing
{

/// A client of github.com with a session and a clock that the test controls.
struct ClientFixture {
    ClientFixture()
    {
        client.clientID = QStringLiteral("Iv1.client");
        client.session = session;
        client.apiURL = QUrl(QStringLiteral("https://api.github.com"));
        client.loginURL = QUrl(QStringLiteral("https://github.com/login"));
        client.clock = &clock;
    }

    FakeClock clock;
    std::shared_ptr<FakeHTTPSession> session = std::make_shared<FakeHTTPSession>();
    GitHubClient client;
};

inline QString text(const char *ascii)
{
    return QString::fromUtf8(ascii);
}

} // namespace velmora::testing
