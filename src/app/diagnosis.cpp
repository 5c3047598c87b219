// SPDX-License-Identifier: MIT
#include "app/diagnosis.h"

#include "accounts/keychain_credential_store.h"
#include "accounts/origin_credentials.h"
#include "app/app_configuration.h"
#include "app/credential_locks.h"
#include "app/desktop_probes.h"
#include "app/session_bus.h"
#include "diagnostics/identity_probes.h"
#include "diagnostics/profile_probes.h"
#include "diagnostics/system_findings.h"
#include "http/network_session.h"
#include "platform/flatpak.h"
#include "platform/network_connectivity.h"
#include "platform/xdg_directories.h"
#include "support/background.h"
#include "support/with_deadline.h"

namespace velmora
{

namespace
{

/// For all questions together. The report is there within five seconds, the start and the end of the process included.
constexpr std::chrono::seconds kPatience(4);

/// The configuration, or in words why it cannot be used.
struct Configured {
    std::optional<AppConfiguration> configuration;
    QString problem;
};

Configured loadConfiguration(const XDGDirectories &directories)
{
    try {
        return {AppConfiguration::load(directories), {}};
    } catch (const ConfigurationError &error) {
        return {std::nullopt, error.descriptionNaming(pathFromHome(error.path()))};
    }
}

QList<Finding> configurationFindings(const Configured &configured)
{
    if (!configured.configuration)
        return {{QStringLiteral("settings"), configured.problem}};
    const AppConfiguration &configuration = *configured.configuration;
    QList<Finding> findings{
        {QStringLiteral("client id"), configuration.githubClientID ? QStringLiteral("set") : QStringLiteral("not set")},
        {QStringLiteral("host"), gitHubKind(configuration.apiURL)}};
    if (const auto &problem = configuration.endpointProblem)
        findings.append({QStringLiteral("endpoints"),
            problem->descriptionNaming(gitHubKind(problem->url), gitHubKind(problem->login))});
    return findings;
}

ProbedEndpoints probedEndpoints(const AppConfiguration &configuration)
{
    return {configuration.apiURL, configuration.graphqlURL, configuration.loginURL, configuration.apiVersion};
}

QList<Probe> networkProbes(const Configured &configured, const NetworkProbeServices &services)
{
    QList<Probe> probes{oneLine(QStringLiteral("network"),
        [](const std::stop_token &) { return runInBackground(patientPool(), &networkConnectivity); })};
    if (configured.configuration)
        probes.append(endpointProbes(services, probedEndpoints(*configured.configuration)));
    return probes;
}

ProfilePlaces placesOf(const XDGDirectories &directories, const Configured &configured)
{
    ProfilePlaces places;
    if (!directories.configuration.isEmpty())
        places.preferencesFile = directories.configuration + QStringLiteral("/preferences.json");
    places.cacheFolder = directories.cache;
    if (configured.configuration) {
        places.origin = configured.configuration->loginOrigin();
        places.earlierOwner = configured.configuration->originInFiles;
    }
    return places;
}

OneShot<ProfileRecord> startReading(const ProfilePlaces &places, Instant now)
{
    auto work = [places, now] {
        return readProfile(places, now);
    };
    return startInBackground(patientPool(), std::move(work));
}

QList<Probe> identityProbesFor(const XDGDirectories &directories, const Configured &configured,
    const NetworkProbeServices &network, const ProfileRecord &profile, const std::shared_ptr<IdentityCounts> &counts)
{
    if (!configured.configuration || configured.configuration->endpointProblem)
        return {};
    const auto open = [](const QString &service) {
        return std::make_shared<KeychainCredentialStore>(service);
    };
    const IdentityProbeServices services{network,
        credentialStoreOf(configured.configuration->loginOrigin(), profile.preferences.get(), open),
        probedEndpoints(*configured.configuration), profile.endedSessions,
        credentialLocks(directories, configured.configuration->loginOrigin())};
    return identityProbes(services, profile.accountIDs, counts);
}

ProfileRecord unreadProfile()
{
    ProfileRecord profile;
    profile.findings = {{QStringLiteral("preferences"), noAnswerText(kPatience)}};
    return profile;
}

/// Reading from the keyring would start it, so nothing is asked while none runs.
QCoro::Task<QList<Finding>> askIdentities(
    QList<Probe> probes, QDBusConnection bus, QDeadlineTimer deadline, std::stop_token stop)
{
    const bool hasKeyring = co_await isKeyringRunning(bus, deadline, stop);
    QList<Finding> findings;
    if (hasKeyring)
        findings = co_await runProbes(std::move(probes), deadline, stop);
    else if (!probes.isEmpty())
        findings = {{QStringLiteral("identities"), QStringLiteral("not asked without a keyring that is running")}};
    co_return QList<Finding>(findings);
}

} // namespace

QCoro::Task<ExitCode> runDiagnosis(Terminal *out, Clock *clock, std::stop_token stop)
{
    const QDeadlineTimer deadline(kPatience);
    const XDGDirectories directories = XDGDirectories::fromEnvironment();
    const Configured configured = loadConfiguration(directories);
    const NetworkProbeServices network{
        std::make_shared<NetworkSession>(NetworkSession::Limits(), NetworkSession::Names::Hidden),
        std::make_shared<const ProxyLookup>(), clock};
    // All questions are under way as soon as what they need is known.
    auto gitHub = runProbes(networkProbes(configured, network), deadline, stop);
    const auto reading = startReading(placesOf(directories, configured), clock->now());
    const SessionBus bus = co_await connectSessionBus(deadline, stop);
    const bool isInsideSandbox = isInsideFlatpak();
    QList<Probe> desktopQuestions;
    if (bus.connection.isConnected())
        desktopQuestions = desktopProbes(bus.connection, isInsideSandbox);
    auto desktop = runProbes(std::move(desktopQuestions), deadline, stop);
    const std::optional<ProfileRecord> read = co_await withDeadline(reading, deadline, stop);
    const auto counts = std::make_shared<IdentityCounts>();
    QList<Probe> identityQuestions;
    if (read)
        identityQuestions = identityProbesFor(directories, configured, network, *read, counts);
    auto identities = askIdentities(std::move(identityQuestions), bus.connection, deadline, stop);
    const QList<Finding> ofDesktop = co_await desktop;
    const QList<Finding> ofGitHub = co_await gitHub;
    const QList<Finding> ofIdentities = co_await identities;
    const ProfileRecord profile = read.value_or(unreadProfile());
    counts->all = static_cast<int>(profile.accountIDs.size());
    const QString accounts = read ? identityCountsText(*counts) : QStringLiteral("not known");
    const QList<FindingSection> sections{
        {QStringLiteral("Program"), programFindings(isInsideSandbox)},
        {QStringLiteral("Session"),
            sessionFindings() + QList<Finding>{{QStringLiteral("session bus"), bus.state}} + ofDesktop},
        {QStringLiteral("GitHub"), configurationFindings(configured) + ofGitHub},
        {QStringLiteral("Accounts"),
            QList<Finding>{{QStringLiteral("accounts"), accounts}} + ofIdentities + profile.choices},
        {QStringLiteral("Files"), profile.findings},
    };
    const QStringList lines = reportLines(sections);
    for (const QString &line : lines)
        out->writeLine(line);
    co_return out->isClosed() ? ExitCode::Failed : ExitCode::Done;
}

} // namespace velmora
