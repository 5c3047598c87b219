// SPDX-License-Identifier: MIT
// Opens the list with 20 to 20,000 deployments until its first paint, and refreshes it with one change. Paints into an
// image of the size that the list has in the window.
#include "support/clock.h"
#include "ui/deployments/deployment_list_view.h"

#include <benchmark/benchmark.h>

#include <QApplication>
#include <QImage>

using namespace velmora;

namespace
{

constexpr QSize kSize(360, 360);

QList<DeploymentSnapshot> deployments(qsizetype count)
{
    constexpr std::array kResults{DeploymentState::Success, DeploymentState::Failure, DeploymentState::Success};
    const Instant now = SystemClock().now();
    QList<DeploymentSnapshot> made(count);
    for (qsizetype i = 0; i < count; ++i) {
        auto &deployment = made[i];
        deployment.id = QStringLiteral("DE_kwDOABCDEF4%1").arg(i, 12, 10, QLatin1Char('0'));
        deployment.repositoryNodeID = QStringLiteral("R_kgDO%1").arg(i / 20);
        deployment.repositoryName = QStringLiteral("acme/service-%1").arg(i / 20);
        deployment.repositoryURL = WebAddress(QStringLiteral("https://github.com/acme/service-%1").arg(i / 20));
        deployment.environment = QStringLiteral("production");
        deployment.commitOID = QStringLiteral("%1").arg(i, 40, 16, QLatin1Char('0'));
        deployment.state = i < 3 ? DeploymentState::InProgress : kResults.at(static_cast<std::size_t>(i) % 3);
        deployment.updatedAt = now - std::chrono::hours(1) - std::chrono::seconds(i);
        deployment.logURL = WebAddress(QStringLiteral("https://ci.example/%1").arg(i));
        deployment.environmentURL = WebAddress(QStringLiteral("https://shop.example/%1").arg(i));
    }
    return made;
}

class Desk
{
public:
    Desk()
        : m_picture(kSize, QImage::Format_ARGB32_Premultiplied)
    {
    }

    [[nodiscard]] std::unique_ptr<DeploymentListView> makeView()
    {
        DesktopPorts ports;
        ports.clock = &m_clock;
        auto view = std::make_unique<DeploymentListView>(ports);
        view->setAttribute(Qt::WA_DontShowOnScreen);
        view->resize(kSize);
        return view;
    }

    void paint(DeploymentListView &view)
    {
        view.render(&m_picture);
        benchmark::DoNotOptimize(m_picture.constBits());
    }

private:
    SystemClock m_clock;
    QImage m_picture;
};

/// Opens a hidden list: creates, fills, shows and paints it.
void openAndPaint(benchmark::State &state)
{
    const auto list = deployments(state.range(0));
    Desk desk;
    for ([[maybe_unused]] auto turn : state) {
        auto view = desk.makeView();
        view->setDeployments(list);
        view->show();
        desk.paint(*view);
    }
}
BENCHMARK(openAndPaint)->Arg(20)->Arg(2'000)->Arg(20'000)->Unit(benchmark::kMicrosecond);

/// Moves one deployment from "In progress" to the results and back. All other texts are shared with the previous list,
/// as after a fetch of that repository.
void changeOneAndPaint(benchmark::State &state)
{
    const auto before = deployments(state.range(0));
    auto after = before;
    after[2].state = DeploymentState::Success;
    Desk desk;
    const auto view = desk.makeView();
    view->setDeployments(before);
    view->show();
    desk.paint(*view);
    bool isAfter = false;
    for ([[maybe_unused]] auto turn : state) {
        isAfter = !isAfter;
        view->setDeployments(isAfter ? after : before);
        desk.paint(*view);
    }
}
BENCHMARK(changeOneAndPaint)->Arg(20)->Arg(2'000)->Arg(20'000)->Unit(benchmark::kMicrosecond);

/// The same, but without shared texts.
void refreshAllAndPaint(benchmark::State &state)
{
    const auto before = deployments(state.range(0));
    auto after = deployments(state.range(0));
    for (qsizetype i = 0; i < after.size(); ++i) {
        after[i].updatedAt = before.at(i).updatedAt;
        after[i].createdAt = before.at(i).createdAt;
    }
    after[2].state = DeploymentState::Success;
    Desk desk;
    const auto view = desk.makeView();
    view->setDeployments(before);
    view->show();
    bool isAfter = false;
    for ([[maybe_unused]] auto turn : state) {
        isAfter = !isAfter;
        view->setDeployments(isAfter ? after : before);
        desk.paint(*view);
    }
}
BENCHMARK(refreshAllAndPaint)->Arg(20)->Arg(2'000)->Arg(20'000)->Unit(benchmark::kMicrosecond);

} // namespace

int main(int argc, char **argv)
{
    // Measuring needs no display.
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
