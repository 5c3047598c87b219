// SPDX-License-Identifier: MIT
// Opens, scrolls and updates the list with 20 to 20,000 deployments and paints it, into an image of the size that the
// list has in the window. `screens` is the time of a turn against that of painting the same list alone.
#include "support/clock.h"
#include "ui/deployments/deployment_list_view.h"

#include <benchmark/benchmark.h>

#include <QApplication>
#include <QImage>
#include <QScrollBar>

#include <ctime>

using namespace velmora;

namespace
{

constexpr QSize kSize(360, 360);

QList<DeploymentSnapshot> records(qsizetype count)
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

DeploymentList deployments(qsizetype count)
{
    return sharedList(records(count));
}

/// The list with one deployment that has ended.
DeploymentList withAnEnd(DeploymentList list)
{
    DeploymentSnapshot ended = list.at(2);
    ended.state = DeploymentState::Success;
    list[2] = ended;
    return list;
}

class Desk
{
public:
    explicit Desk(benchmark::State &state)
        : m_state(state)
        , m_picture(kSize, QImage::Format_ARGB32_Premultiplied)
    {
    }

    /// A list on show, painted once.
    [[nodiscard]] std::unique_ptr<DeploymentListView> showView(const DeploymentList &list)
    {
        DesktopPorts ports;
        ports.clock = &m_clock;
        auto view = std::make_unique<DeploymentListView>(ports);
        view->setAttribute(Qt::WA_DontShowOnScreen);
        view->resize(kSize);
        view->setDeployments(list);
        view->show();
        paint(*view);
        return view;
    }

    void paint(DeploymentListView &view)
    {
        view.render(&m_picture);
        benchmark::DoNotOptimize(m_picture.constBits());
    }

    /// Times `work`, which paints as well, and, after each turn, painting alone. Both are meant to be equally
    /// disturbed.
    void measure(DeploymentListView &view, const std::function<void()> &work)
    {
        std::clock_t working = 0;
        std::clock_t painting = 0;
        for ([[maybe_unused]] auto turn : m_state) {
            const std::clock_t begin = std::clock();
            work();
            const std::clock_t end = std::clock();
            paint(view);
            painting += std::clock() - end;
            working += end - begin;
            m_state.SetIterationTime(static_cast<double>(end - begin) / CLOCKS_PER_SEC);
        }
        m_state.counters["screens"] = static_cast<double>(working) / static_cast<double>(painting);
    }

    /// Shows one list and the other in turn, scrolled to a part of its height.
    void alternate(const DeploymentList &before, const DeploymentList &after, double part = 0)
    {
        const auto view = showView(before);
        QScrollBar *bar = view->verticalScrollBar();
        bool isAfter = false;
        measure(*view, [&] {
            bar->setValue(static_cast<int>(bar->maximum() * part));
            isAfter = !isAfter;
            view->setDeployments(isAfter ? after : before);
            paint(*view);
        });
    }

private:
    benchmark::State &m_state;
    SystemClock m_clock;
    QImage m_picture;
};

/// Opens a hidden list: creates, fills, shows and paints it.
void openAndPaint(benchmark::State &state)
{
    const auto list = deployments(state.range(0));
    Desk desk(state);
    const auto shown = desk.showView(list);
    desk.measure(*shown, [&] { benchmark::DoNotOptimize(desk.showView(list)); });
}

void scrollAndPaint(benchmark::State &state)
{
    Desk desk(state);
    const auto view = desk.showView(deployments(state.range(0)));
    QScrollBar *bar = view->verticalScrollBar();
    desk.measure(*view, [&] {
        bar->setValue((bar->value() + 7919) % (bar->maximum() + 1));
        desk.paint(*view);
    });
}

/// Moves one deployment from "In progress" to the results and back. All others share the records of the previous list,
/// as after a refresh.
void changeOneAndPaint(benchmark::State &state)
{
    const auto before = deployments(state.range(0));
    Desk(state).alternate(before, withAnEnd(before));
}

/// The same, but every record is a new one.
void refreshAllAndPaint(benchmark::State &state)
{
    const auto before = records(state.range(0));
    auto after = records(state.range(0));
    for (qsizetype i = 0; i < after.size(); ++i) {
        after[i].updatedAt = before.at(i).updatedAt;
        after[i].createdAt = before.at(i).createdAt;
    }
    Desk(state).alternate(sharedList(before), withAnEnd(sharedList(after)));
}

/// Takes away all rows that are seen, as when their repository is switched off, and brings them back.
void dropTheFirstAndPaint(benchmark::State &state)
{
    const auto before = deployments(state.range(0));
    Desk(state).alternate(before, before.sliced(10));
}

/// The same in the middle of the list, where rows that are seen are looked for among all others, in vain.
void dropTheMiddleAndPaint(benchmark::State &state)
{
    const auto before = deployments(state.range(0));
    auto after = before;
    // The middle of the list: "Failed" has every third of all deployments and stands before this quarter of the rest.
    after.remove(before.size() / 4 - before.size() / 100, std::max<qsizetype>(1, before.size() / 50));
    Desk(state).alternate(before, after, 0.5);
}

/// Runs it with 20, 2,000 and 20,000 deployments.
void add(const char *name, void (*measure)(benchmark::State &))
{
    benchmark::RegisterBenchmark(name, measure)
        ->Arg(20)
        ->Arg(2'000)
        ->Arg(20'000)
        ->UseManualTime()
        ->Unit(benchmark::kMicrosecond);
}

} // namespace

int main(int argc, char **argv)
{
    // Measuring needs no display.
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    add("openAndPaint", openAndPaint);
    add("scrollAndPaint", scrollAndPaint);
    add("changeOneAndPaint", changeOneAndPaint);
    add("refreshAllAndPaint", refreshAllAndPaint);
    add("dropTheFirstAndPaint", dropTheFirstAndPaint);
    add("dropTheMiddleAndPaint", dropTheMiddleAndPaint);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
