// SPDX-License-Identifier: MIT
// Searches, paints and switches in a list of 100 to 10,000 repositories, and searches in one of 100 to 20,000
// deployments.
#include "accounts/authentication_store.h"
#include "accounts/in_memory_credential_store.h"
#include "installations/installation_store.h"
#include "monitor/muted_repositories.h"
#include "platform/preferences.h"
#include "support/clock.h"
#include "ui/deployments/deployment_list_view.h"
#include "ui/settings/repositories/repository_list_model.h"
#include "ui/settings/repositories/repository_list_view.h"
#include "ui/window/deployment_finder.h"

#include <QApplication>
#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLineEdit>
#include <QUrlQuery>

#include <benchmark/benchmark.h>

using namespace velmora;

namespace
{

/// Preferences in memory, at minimal cost.
class MemoryPreferences final : public Preferences
{
public:
    [[nodiscard]] std::optional<Value> value(const QString &key) const override
    {
        const auto found = m_values.constFind(key);
        return found == m_values.constEnd() ? std::nullopt : std::optional(*found);
    }
    void setValue(const QString &key, const Value &value) override
    {
        m_values.insert(key, value);
        Q_EMIT changed(key);
    }
    void remove(const QString &key) override { m_values.remove(key); }

private:
    QHash<QString, Value> m_values;
};

/// Answers with one installation that grants `count` repositories on one page.
class OneInstallation final : public HTTPSession
{
public:
    explicit OneInstallation(int count)
    {
        QJsonArray list;
        for (int i = 0; i < count; ++i) {
            const QString name = QStringLiteral("%1/service-%2").arg(owner(i)).arg(i, 5, 10, QLatin1Char('0'));
            list.append(QJsonObject{{QStringLiteral("id"), i + 1}, {QStringLiteral("node_id"), name},
                {QStringLiteral("full_name"), name},
                {QStringLiteral("html_url"), QStringLiteral("https://github.com/") + name},
                {QStringLiteral("private"), true}});
        }
        m_repositories = QJsonDocument(QJsonObject{{QStringLiteral("repositories"), list}}).toJson();
        const QJsonObject account{{QStringLiteral("id"), 1}, {QStringLiteral("login"), QStringLiteral("acme")},
            {QStringLiteral("type"), QStringLiteral("Organization")}};
        const QJsonObject installation{{QStringLiteral("id"), 7}, {QStringLiteral("account"), account},
            {QStringLiteral("repository_selection"), QStringLiteral("all")}};
        m_installations
            = QJsonDocument(QJsonObject{{QStringLiteral("installations"), QJsonArray{installation}}}).toJson();
    }

    [[nodiscard]] QCoro::Task<HTTPResponse> send(HTTPRequest request, std::stop_token) override
    {
        HTTPResponse response;
        response.statusCode = 200;
        const bool isFirst = QUrlQuery(request.url).queryItemValue(QStringLiteral("page")) == QStringLiteral("1");
        if (!request.url.path().endsWith(QStringLiteral("/repositories")))
            response.body = m_installations;
        else
            response.body = isFirst ? m_repositories : QByteArray("{\"repositories\":[]}");
        co_return response;
    }

private:
    static QString owner(int i) { return QStringLiteral("owner-%1").arg(i % 40); }

    QByteArray m_repositories;
    QByteArray m_installations;
};

/// The real stores, with the repositories loaded.
class Loaded
{
public:
    explicit Loaded(int count)
    {
        m_defaults.setValue(QStringLiteral("github.accounts"), QByteArray("[{\"id\":1,\"login\":\"alice\"}]"));
        GitHubCredential credential;
        credential.accessToken = QStringLiteral("token");
        await(m_credentials->save(credential, 1, Interaction::Forbidden));
        GitHubClient client;
        client.session = std::make_shared<OneInstallation>(count);
        client.apiURL = QUrl(QStringLiteral("https://api.github.com"));
        client.clock = &m_clock;
        AuthenticationStore::Services services;
        services.defaults = &m_defaults;
        services.clock = &m_clock;
        m_authentication = std::make_unique<AuthenticationStore>(client, m_credentials, services);
        m_store
            = std::make_unique<InstallationStore>(client, &m_defaults, &m_clock, std::make_shared<RateLimitLedger>());
        await(m_store->refresh(m_authentication.get()));
        if (m_store->repositories().size() != count)
            qFatal("the repositories did not load");
    }

    [[nodiscard]] InstallationStore &store() { return *m_store; }
    [[nodiscard]] Preferences &preferences() { return m_defaults; }
    [[nodiscard]] Clock &clock() { return m_clock; }

private:
    static QCoro::Task<> noting(QCoro::Task<> task, bool *isDone)
    {
        co_await task;
        *isDone = true;
    }
    static void await(QCoro::Task<> task)
    {
        bool isDone = false;
        const auto whole = noting(std::move(task), &isDone);
        while (!isDone)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 10);
    }

    MemoryPreferences m_defaults;
    SystemClock m_clock;
    std::shared_ptr<InMemoryCredentialStore> m_credentials = std::make_shared<InMemoryCredentialStore>();
    std::unique_ptr<AuthenticationStore> m_authentication;
    std::unique_ptr<InstallationStore> m_store;
};

constexpr QSize kSize(556, 250);

/// A list on the screen, painted once.
struct Shown {
    explicit Shown(int count)
        : loaded(count)
        , muted(&loaded.preferences(), &loaded.clock())
        , model(&loaded.store(), &muted, &loaded.clock())
        , view(&model)
    {
        view.resize(kSize);
        view.show();
        paint();
    }
    void paint()
    {
        QCoreApplication::processEvents();
        benchmark::DoNotOptimize(view.grab());
    }

    Loaded loaded;
    MutedRepositories muted;
    RepositoryListModel model;
    RepositoryListView view;
};

/// 20 deployments of each repository, in a mixed order, on the screen, painted once. They share their texts as those do
/// that come in one answer.
struct ShownDeployments {
    explicit ShownDeployments(int count)
    {
        DesktopPorts ports;
        ports.clock = &clock;
        finder = std::make_unique<DeploymentFinder>(new DeploymentListView(ports));
        const QStringList environments{
            QStringLiteral("production"), QStringLiteral("staging"), QStringLiteral("preview")};
        const QStringList creators{QStringLiteral("github-actions"), QStringLiteral("octocat")};
        QStringList repositories;
        for (int i = 0; i < std::max(1, count / 20); ++i)
            repositories.append(QStringLiteral("owner-%1/service-%2").arg(i % 40).arg(i * 10, 5, 10, QLatin1Char('0')));
        QList<DeploymentSnapshot> records(count);
        for (int i = 0; i < count; ++i) {
            DeploymentSnapshot &record = records[i];
            record.id = QStringLiteral("DE_kwDOABCDEF4%1").arg(i, 12, 10, QLatin1Char('0'));
            record.repositoryName = repositories.at((i * 7919) % repositories.size());
            record.environment = environments.at(i % 3);
            record.creatorLogin = creators.at(i % 2);
            record.commitOID = QStringLiteral("%1").arg(i, 40, 16, QLatin1Char('0'));
            record.state = i % 3 == 0 ? DeploymentState::Failure : DeploymentState::Success;
            record.updatedAt = clock.now() - std::chrono::seconds(i);
        }
        finder->resize(kSize);
        finder->setDeployments(sharedList(records), {});
        finder->show();
        paint();
    }
    void paint()
    {
        QCoreApplication::processEvents();
        benchmark::DoNotOptimize(finder->grab());
    }

    SystemClock clock;
    std::unique_ptr<DeploymentFinder> finder;
};

/// Finding fewer and fewer; the last one finds all.
const QStringList &searches()
{
    static const QStringList texts{QStringLiteral("s"), QStringLiteral("se"), QStringLiteral("service-00"),
        QStringLiteral("7"), QStringLiteral("none"), QString()};
    return texts;
}

/// From the key press to the painted list.
void typeALetterAmongDeployments(benchmark::State &state)
{
    ShownDeployments shown(static_cast<int>(state.range(0)));
    auto *field = shown.finder->findChild<QLineEdit *>();
    qsizetype next = 0;
    for ([[maybe_unused]] auto turn : state) {
        field->setText(searches().at(next));
        shown.paint();
        next = (next + 1) % searches().size();
    }
}
BENCHMARK(typeALetterAmongDeployments)->Arg(100)->Arg(20'000)->Unit(benchmark::kMillisecond);

/// The same for repositories.
void typeALetter(benchmark::State &state)
{
    Shown shown(static_cast<int>(state.range(0)));
    qsizetype next = 0;
    for ([[maybe_unused]] auto turn : state) {
        shown.model.setSearch(searches().at(next));
        shown.paint();
        next = (next + 1) % searches().size();
    }
}
BENCHMARK(typeALetter)->RangeMultiplier(10)->Range(100, 10'000)->Unit(benchmark::kMillisecond);

void paintOneScreen(benchmark::State &state)
{
    Shown shown(static_cast<int>(state.range(0)));
    for ([[maybe_unused]] auto turn : state)
        shown.paint();
}
BENCHMARK(paintOneScreen)->RangeMultiplier(10)->Range(100, 10'000)->Unit(benchmark::kMillisecond);

/// From the click to the painted list, including the preferences.
void switchOne(benchmark::State &state)
{
    Shown shown(static_cast<int>(state.range(0)));
    bool isOn = true;
    for ([[maybe_unused]] auto turn : state) {
        isOn = !isOn;
        shown.model.setData(shown.model.index(3), isOn ? Qt::Checked : Qt::Unchecked, Qt::CheckStateRole);
        shown.paint();
    }
}
BENCHMARK(switchOne)->RangeMultiplier(10)->Range(100, 10'000)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
