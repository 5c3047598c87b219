// SPDX-License-Identifier: MIT
#include "app/diagnosis.h"

#include "accounts/keychain_credential_store.h"
#include "accounts/origin_credentials.h"
#include "app/app_configuration.h"
#include "app/credential_locks.h"
#include "app/desktop_probes.h"
#include "app/session_bus.h"
#include "diagnostics/identity_probes.h"
#include "diagnostics/patient_work.h"
#include "diagnostics/private_names.h"
#include "diagnostics/profile_probes.h"
#include "diagnostics/system_findings.h"
#include "http/network_session.h"
#include "platform/flatpak.h"
#include "platform/network_connectivity.h"
#include "platform/xdg_directories.h"
#include "support/background.h"
#include "support/cancel_on_stop.h"
#include "support/error.h"
#include "support/one_shot.h"

#include <QDeadlineTimer>

namespace velmora
{

namespace
{

using namespace std::chrono_literals;

// Less than five seconds in all: the bus and its services, and at the same time the files and then the network.
constexpr auto kPatienceWithBus = 1500ms;
constexpr auto kPatienceWithOwner = 500ms;
constexpr auto kPatienceWithSession = 2500ms;
constexpr auto kPatienceWithFiles = 700ms;
constexpr auto kPatienceWithNetwork = 3500ms;

namespace heading
{
const QString kProgram = QStringLiteral("Program");
const QString kSession = QStringLiteral("Session");
const QString kGitHub = QStringLiteral("GitHub");
const QString kAccounts = QStringLiteral("Accounts");
const QString kFiles = QStringLiteral("Files");
} // namespace heading

/// The configuration, or why it cannot be used.
struct Configured {
    std::optional<AppConfiguration> configuration;
    QString problem;
};

Configured loadConfiguration(const XDGDirectories &directories)
{
    try {
        return {AppConfiguration::load(directories), {}};
    } catch (const Error &error) {
        return {std::nullopt, error.description()};
    }
}

PrivateNames privateNames(const XDGDirectories &directories, const std::optional<AppConfiguration> &configuration)
{
    PrivateNames names;
    const QStringList homes = homesOfPerson();
    const QStringList own{directories.configuration, directories.data, directories.cache};
    for (const QString &folder : own + directories.systemConfiguration)
        names.add(folder, folderFromHome(folder, homes));
    for (const QString &home : homes)
        names.add(home, QStringLiteral("~"));
    if (!configuration)
        return names;
    for (const QUrl &url :
        {configuration->apiURL, configuration->graphqlURL, configuration->loginURL, configuration->webURL}) {
        if (!isPublicHost(url.host()))
            names.add(url.host(), QStringLiteral("the host"));
    }
    return names;
}

QList<Finding> configurationFindings(const Configured &configured, const PrivateNames &names)
{
    if (!configured.configuration)
        return {{QStringLiteral("settings"), names.removedFrom(configured.problem)}};
    const AppConfiguration &configuration = *configured.configuration;
    QList<Finding> findings{
        {QStringLiteral("client id"), configuration.githubClientID ? QStringLiteral("set") : QStringLiteral("not set")},
        {QStringLiteral("host"), gitHubKind(configuration.apiURL)}};
    if (configuration.endpointProblem)
        findings.append({QStringLiteral("endpoints"), names.removedFrom(*configuration.endpointProblem)});
    return findings;
}

ProbedEndpoints probedEndpoints(const AppConfiguration &configuration)
{
    return {configuration.apiURL, configuration.graphqlURL, configuration.loginURL, configuration.apiVersion};
}

QCoro::Task<QList<Finding>> askForConnectivity(QString label)
{
    auto work = [] {
        return networkConnectivity();
    };
    const QString text = co_await runInBackground(patientPool(), std::move(work));
    const QList<Finding> findings{Finding{label, text}};
    co_return findings;
}

Probe connectivityProbe()
{
    const QString label = QStringLiteral("network");
    return Probe{heading::kGitHub, label, [label](const std::stop_token &) {
                     return askForConnectivity(label);
                 }};
}

/// Resolves `keyring` with whether one runs.
QCoro::Task<QList<FindingSection>> askDesktop(PrivateNames names, OneShot<bool> keyring, std::stop_token stop)
{
    const SessionBus bus = co_await connectSessionBus(kPatienceWithBus, stop);
    QList<Finding> session = sessionFindings();
    session.append(Finding{QStringLiteral("session bus"), bus.state});
    QList<FindingSection> sections;
    addFindings(&sections, heading::kSession, session);
    if (!bus.connection.isConnected()) {
        keyring.resolve(false);
        co_return sections;
    }
    const bool hasKeyring = co_await isKeyringRunning(bus.connection, kPatienceWithOwner, stop);
    keyring.resolve(hasKeyring);
    QList<Probe> probes = desktopProbes(bus.connection, isInsideFlatpak());
    const auto answers = co_await runProbes(std::move(probes), names, kPatienceWithSession, stop);
    for (const FindingSection &section : answers)
        addFindings(&sections, section.heading, section.findings);
    co_return sections;
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

QCoro::Task<QList<Finding>> askFiles(ProfilePlaces places, Instant now, std::shared_ptr<ProfileRecord> record)
{
    auto work = [places, now] {
        return readProfile(places, now);
    };
    *record = co_await runInBackground(patientPool(), std::move(work));
    QList<Finding> findings = record->findings;
    co_return findings;
}

Probe filesProbe(const ProfilePlaces &places, Instant now, const std::shared_ptr<ProfileRecord> &record)
{
    return Probe{heading::kFiles, QStringLiteral("preferences"), [=](const std::stop_token &) {
                     return askFiles(places, now, record);
                 }};
}

QList<Probe> networkProbes(const Configured &configured, const NetworkProbeServices &services)
{
    QList<Probe> probes{connectivityProbe()};
    if (configured.configuration)
        probes.append(endpointProbes(services, probedEndpoints(*configured.configuration)));
    return probes;
}

/// What the keyring and GitHub tell about each identity. Reading from the keyring would start it, so nothing is asked
/// where none runs.
QCoro::Task<QList<FindingSection>> askIdentities(
    QList<Probe> probes, OneShot<bool> keyring, PrivateNames names, std::stop_token stop)
{
    QList<FindingSection> sections;
    if (probes.isEmpty())
        co_return sections;
    const QDeadlineTimer deadline(kPatienceWithNetwork);
    const CancelOnStop<bool> onStop(keyring, stop);
    const bool hasKeyring = co_await keyring;
    if (!hasKeyring) {
        addFindings(&sections, heading::kAccounts,
            {{QStringLiteral("identities"), QStringLiteral("not asked without a keyring that is running")}});
        co_return sections;
    }
    const std::chrono::milliseconds left(deadline.remainingTime());
    sections = co_await runProbes(std::move(probes), names, left, stop);
    co_return sections;
}

QList<Probe> identityProbesFor(const XDGDirectories &directories, const Configured &configured,
    const NetworkProbeServices &network, const ProfileRecord &profile, const std::shared_ptr<IdentityCounts> &counts)
{
    if (!configured.configuration || configured.configuration->endpointProblem || !profile.preferences)
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

QCoro::Task<QList<FindingSection>> askFilesAndNetwork(XDGDirectories directories, Configured configured,
    PrivateNames names, OneShot<bool> keyring, Clock *clock, std::stop_token stop)
{
    const auto profile = std::make_shared<ProfileRecord>();
    QList<Probe> files{filesProbe(placesOf(directories, configured), clock->now(), profile)};
    const auto fileSections = co_await runProbes(std::move(files), names, kPatienceWithFiles, stop);
    const auto counts = std::make_shared<IdentityCounts>();
    const NetworkProbeServices services{
        std::make_shared<NetworkSession>(), std::make_shared<const ProxyLookup>(), clock};
    // Both are under way from here on.
    auto network = runProbes(networkProbes(configured, services), names, kPatienceWithNetwork, stop);
    auto identities
        = askIdentities(identityProbesFor(directories, configured, services, *profile, counts), keyring, names, stop);
    const auto networkSections = co_await network;
    const auto identitySections = co_await identities;
    QList<FindingSection> sections;
    addFindings(&sections, heading::kGitHub, configurationFindings(configured, names));
    counts->all = static_cast<int>(profile->accountIDs.size());
    const bool isRead = !profile->findings.isEmpty();
    const QString accounts = isRead ? identityCountsText(*counts) : QStringLiteral("not known");
    addFindings(&sections, heading::kAccounts, {{QStringLiteral("accounts"), accounts}});
    for (const FindingSection &section : networkSections + identitySections + fileSections)
        addFindings(&sections, section.heading, section.findings);
    addFindings(&sections, heading::kAccounts, profile->choices);
    co_return sections;
}

} // namespace

QCoro::Task<ExitCode> runDiagnosis(Terminal *out, Clock *clock, std::stop_token stop)
{
    const XDGDirectories directories = XDGDirectories::fromEnvironment();
    const Configured configured = loadConfiguration(directories);
    const PrivateNames names = privateNames(directories, configured.configuration);
    QList<FindingSection> sections;
    addFindings(&sections, heading::kProgram, programFindings(isInsideFlatpak()));
    // Both are under way from here on.
    const OneShot<bool> keyring;
    auto desktop = askDesktop(names, keyring, stop);
    auto rest = askFilesAndNetwork(directories, configured, names, keyring, clock, stop);
    sections.append(co_await desktop);
    sections.append(co_await rest);
    const QStringList lines = reportLines(sections);
    for (const QString &line : lines)
        out->writeLine(line);
    co_return out->isClosed() ? ExitCode::Failed : ExitCode::Done;
}

} // namespace velmora
