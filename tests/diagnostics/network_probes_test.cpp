// SPDX-License-Identifier: MIT
#include "diagnostics/network_probes.h"

#include "support/await.h"
#include "support/fake_clock.h"
#include "support/fake_http_session.h"
#include "support/test_main.h"

#include <QTest>

using namespace velmora;
using namespace velmora::testing;

/// What GitHub's endpoints tell about themselves. Durations vary, so they are left out.
class NetworkProbesTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theVersionOfAServerIsToldWithWhatFollowsFromIt_data()
    {
        QTest::addColumn<HTTPHeaders>("headers");
        QTest::addColumn<QString>("server");
        const auto version = [](const char *text) {
            return HTTPHeaders{{"X-GitHub-Enterprise-Version", text}};
        };
        QTest::newRow("old") << version("3.19.2")
                             << QStringLiteral("Enterprise Server 3.19.2, which knows no API of 2026-03-10: set "
                                               "VELMORA_API_VERSION=2022-11-28");
        QTest::newRow("new") << version("3.21.0") << QStringLiteral("Enterprise Server 3.21.0");
        QTest::newRow("none") << HTTPHeaders() << QString();
    }

    void theVersionOfAServerIsToldWithWhatFollowsFromIt()
    {
        QFETCH(HTTPHeaders, headers);
        QFETCH(QString, server);
        const auto session = std::make_shared<FakeHTTPSession>();
        session->handler = [&](const HTTPRequest &) {
            return FakeHTTPSession::response(200, "{}", headers);
        };
        FakeClock clock;
        const NetworkProbeServices services{session, std::make_shared<const ProxyLookup>(), &clock};
        const ProbedEndpoints endpoints{QUrl(QStringLiteral("https://ghe.example.com/api/v3")), QUrl(),
            QUrl(QStringLiteral("https://ghe.example.com/login")), "2026-03-10"};
        const QList<Probe> probes = endpointProbes(services, endpoints);
        const auto rest = std::ranges::find(probes, QStringLiteral("REST"), &Probe::label);
        QVERIFY(rest != probes.end());
        const QList<Finding> findings = awaitValue(rest->ask({}));
        const auto found = std::ranges::find(findings, QStringLiteral("server"), &Finding::label);
        QVERIFY(found != findings.end());
        QCOMPARE(found->text, server);
    }
};

VELMORA_TEST(NetworkProbesTest)
#include "network_probes_test.moc"
