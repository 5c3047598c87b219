// SPDX-License-Identifier: MIT
#include "app/demo.h"

#include "accounts/in_memory_credential_store.h"
#include "platform/browser_url_opener.h"
#include "platform/clipboard_pasteboard.h"
#include "support/error.h"
#include "support/signal_waiting.h"
#include "support/task_scope.h"

#include <QCoreApplication>
#include <QDir>
#include <QStandardPaths>

#include <unistd.h>

namespace velmora
{

namespace
{

constexpr int kMostAccounts = 3;

[[noreturn]] void fail(const QString &reason)
{
    throw ConfigurationError(QStringLiteral("The demo cannot be started: ") + reason);
}

} // namespace

/// The user's clipboard, from handOver() on.
class DemoPasteboard final : public Pasteboard
{
public:
    bool setText(const QString &text) override { return isAllowed && m_clipboard.setText(text); }

    bool isAllowed = false;

private:
    ClipboardPasteboard m_clipboard;
};

/// The user's browser, from handOver() on. Before, opening succeeds without doing anything.
class DemoURLOpener final : public URLOpener
{
public:
    DemoURLOpener()
    {
        connect(&m_browser, &URLOpener::unopenedChanged, this, [this] {
            if (m_browser.unopened())
                recordUnopened(*m_browser.unopened());
        });
    }

    bool isAllowed = false;

protected:
    bool start(const WebAddress &address, const QString &activationToken) override
    {
        return !isAllowed || m_browser.open(address, activationToken);
    }

private:
    BrowserURLOpener m_browser;
};

QString simulatorProgram()
{
    const QString name = QStringLiteral("velmora-simulator");
    const QString here = QCoreApplication::applicationDirPath();
    // Beside the program in a build; where programs of programs are, once installed.
    const QString found
        = QStandardPaths::findExecutable(name, {here, QDir::cleanPath(here + QLatin1String("/../libexec/velmora"))});
    return found.isEmpty() ? QStandardPaths::findExecutable(name) : found;
}

AppConfiguration demoConfiguration(const QString &address)
{
    const Properties properties{
        {QStringLiteral("GITHUB_CLIENT_ID"), QStringLiteral("Iv23liVelmoraDemo001")},
        {QStringLiteral("VELMORA_API_URL"), address},
        {QStringLiteral("VELMORA_GRAPHQL_URL"), address + QStringLiteral("/graphql")},
        {QStringLiteral("VELMORA_LOGIN_URL"), address + QStringLiteral("/login")},
        {QStringLiteral("VELMORA_WEB_URL"), address},
    };
    return AppConfiguration::fromProperties({properties});
}

Demo::Demo()
    : m_pasteboard(std::make_unique<DemoPasteboard>())
    , m_urlOpener(std::make_unique<DemoURLOpener>())
{
}

Demo::~Demo()
{
    m_simulator.disconnect();
    if (m_simulator.state() == QProcess::NotRunning)
        return;
    m_simulator.kill();
    m_simulator.waitForFinished(); // until 30 seconds; a killed process ends at once, except on a very busy machine
}

QCoro::Task<> Demo::start(std::stop_token stop)
{
    const QString program = simulatorProgram();
    if (program.isEmpty())
        fail(QStringLiteral("velmora-simulator was not found."));
    if (!m_folder.isValid())
        fail(m_folder.errorString());
    const OneShot<QString> address;
    const auto readAddress = [this, address] {
        const QString line = QString::fromUtf8(m_simulator.readLine()).trimmed();
        const qsizetype start = line.indexOf(QStringLiteral("http://"));
        if (start >= 0)
            address.resolve(line.sliced(start));
    };
    const auto giveUp = [address] {
        address.resolve(QString());
    };
    QObject::connect(&m_simulator, &QProcess::readyReadStandardOutput, &m_simulator, readAddress);
    QObject::connect(&m_simulator, &QProcess::errorOccurred, &m_simulator, giveUp);
    QObject::connect(&m_simulator, &QProcess::finished, &m_simulator, giveUp);
    const std::stop_callback onStop(stop, giveUp);
    // In a process group of its own, so that Ctrl-C reaches this program only, which ends the simulator last.
    m_simulator.setChildProcessModifier([] { ::setpgid(0, 0); });
    m_simulator.setStandardErrorFile(QProcess::nullDevice());
    const QStringList arguments{QStringLiteral("--port"), QStringLiteral("0"), QStringLiteral("--exit-with-stdin"),
        QStringLiteral("--auto-approve"), QStringLiteral("0"), QStringLiteral("--interval"), QStringLiteral("1")};
    m_simulator.start(program, arguments);
    m_address = co_await address;
    throwIfStopped(stop);
    if (m_address.isEmpty())
        fail(QStringLiteral("velmora-simulator did not start."));
}

AppEnvironment Demo::environment()
{
    AppEnvironment environment;
    environment.applicationName = QString::fromUtf16(kApplicationName) + QStringLiteral(" Demo");
    environment.configuration = demoConfiguration(m_address);
    environment.directories = XDGDirectories::under(m_folder.path());
    environment.openCredentials = [](const QString &) {
        return std::make_shared<InMemoryCredentialStore>();
    };
    environment.pasteboard = m_pasteboard.get();
    environment.urlOpener = m_urlOpener.get();
    return environment;
}

void Demo::handOver()
{
    m_pasteboard->isAllowed = true;
    m_urlOpener->isAllowed = true;
}

void Demo::fillPreferences(Preferences *preferences)
{
    for (const auto kind : kAllNotificationKinds)
        preferences->setValue(preferenceOf(kind), true);
}

QCoro::Task<> Demo::connectAccounts(AuthenticationStore *authentication, std::stop_token stop)
{
    const QPointer<AuthenticationStore> store(authentication);
    const std::function<bool()> hasEnded = [store] {
        return !store || store->connectionState() == GitHubSessionStatus::Connected
            || store->connectionState() == GitHubSessionStatus::ReconnectRequired;
    };
    for (int known = 0; known < kMostAccounts; ++known) {
        store->startConnecting();
        co_await untilTrue(authentication, &AuthenticationStore::connectionChanged, hasEnded, stop);
        throwIfStopped(stop);
        if (!store)
            throw CancellationError();
        if (store->connectionState() != GitHubSessionStatus::Connected)
            fail(store->errorMessage().value_or(QStringLiteral("an account was not connected.")));
        // It was an account that is known already: the simulator has no further one.
        if (store->sessions().size() == known)
            co_return;
    }
}

} // namespace velmora
