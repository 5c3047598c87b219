// SPDX-License-Identifier: MIT
// refresh_client ADDRESS REPOSITORIES [REPEATS [CERTIFICATE]]: full refreshes like those of the monitor, from the
// request to the ordered list. Prints how many deployments were fetched, how many of them are shown, and the
// microseconds of processor time of one refresh after the first.
#include "generated_response.h"
#include "github/github_client.h"
#include "http/network_session.h"
#include "monitor/deployment_list.h"
#include "support/error.h"
#include "support/task_scope.h"

#include <QCoreApplication>

#include <algorithm>
#include <cstdio>
#include <ctime>

using namespace velmora;

namespace
{

QList<RepositoryRecord> repositories(int count)
{
    QList<RepositoryRecord> records(count);
    for (int number = 0; number < count; ++number)
        records[number].repository.nodeID = QString::fromLatin1(generatedRepositoryID(number));
    return records;
}

QCoro::Task<> refresh(GitHubClient client, QList<RepositoryRecord> records, int repeats)
{
    const Replacing all = [](const DeploymentSnapshot &) {
        return true;
    };
    DeploymentList shown;
    DeploymentList deployments;
    std::clock_t afterFirst = 0;
    client.remember();
    for (int i = 0; i < repeats; ++i) {
        try {
            const auto fetched = co_await client.fetchDeployments(records, QStringLiteral("token"));
            // As ShownDeployments does it.
            shown = fetched.deployments == deployments
                ? stillShown(shown, client.clock->now())
                : shownAfterFetch(shown, fetched.deployments, all, client.clock->now());
            deployments = fetched.deployments;
            if (i == 0)
                afterFirst = std::clock();
        } catch (const Error &error) {
            std::fprintf(stderr, "%s\n", qUtf8Printable(error.description()));
            QCoreApplication::exit(1);
            co_return;
        }
    }
    const double spent = double(std::clock() - afterFirst) / CLOCKS_PER_SEC * 1e6;
    std::printf("%lld %lld %.1f\n", static_cast<long long>(deployments.size()), static_cast<long long>(shown.size()),
        spent / std::max(repeats - 1, 1));
    QCoreApplication::exit(0);
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() < 3)
        return 2;
    if (arguments.size() > 4)
        qputenv("SSL_CERT_FILE", arguments.at(4).toLocal8Bit());
    SystemClock clock;
    GitHubClient client;
    client.session = std::make_shared<NetworkSession>();
    client.graphqlURL = QUrl(arguments.at(1));
    client.clock = &clock;
    launch(refresh(client, repositories(arguments.at(2).toInt()), arguments.value(3, QStringLiteral("1")).toInt()),
        "refresh");
    return QCoreApplication::exec();
}
