// SPDX-License-Identifier: MIT
#include "simulator/simulator.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QSocketNotifier>

#include <cstdio>

#include <unistd.h>

using namespace Qt::Literals::StringLiterals;
using velmora::simulator::Simulator;
using velmora::simulator::SimulatorOptions;

namespace
{

void addOptions(QCommandLineParser &parser)
{
    parser.setApplicationDescription(u"A stand-in for GitHub, on the loopback address only."_s);
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addOptions({{u"port"_s, u"Listen there; 0 is a free port."_s, u"number"_s, u"0"_s},
        {u"seed"_s, u"Decides what the story brings."_s, u"number"_s, u"1"_s},
        {u"speed"_s, u"How much faster than life the story goes."_s, u"factor"_s, u"1"_s},
        {u"interval"_s, u"Seconds between two polls of the device flow."_s, u"seconds"_s, u"5"_s},
        {u"auto-approve"_s, u"Device codes approve themselves after that time."_s, u"seconds"_s},
        {u"client-id"_s, u"The App that exists; may be given several times."_s, u"id"_s},
        {u"token-lifetime"_s, u"Of an access token."_s, u"seconds"_s, u"28800"_s},
        {u"no-token-expiry"_s, u"Tokens do not expire and cannot be refreshed."_s},
        {u"no-story"_s, u"Nothing changes by itself."_s}, {u"exit-with-stdin"_s, u"End when standard input ends."_s}});
}

/// The options of the command line; on an error nothing, after printing a message.
std::optional<SimulatorOptions> optionsFrom(const QCommandLineParser &parser)
{
    SimulatorOptions options;
    bool isRight = true;
    const auto number = [&](const QString &name, double least) {
        bool isNumber = false;
        const double value = parser.value(name).toDouble(&isNumber);
        if (!isNumber || value < least) {
            std::fprintf(stderr, "velmora-simulator: --%s is wrong\n", qPrintable(name));
            isRight = false;
        }
        return value;
    };
    options.port = quint16(number(u"port"_s, 0));
    options.seed = quint64(number(u"seed"_s, 0));
    options.speed = number(u"speed"_s, 0.001);
    options.playsStory = !parser.isSet(u"no-story"_s);
    options.oauth.interval = int(number(u"interval"_s, 0));
    options.oauth.accessTokenSeconds = qint64(number(u"token-lifetime"_s, 0));
    options.oauth.tokensExpire = !parser.isSet(u"no-token-expiry"_s);
    if (parser.isSet(u"auto-approve"_s))
        options.oauth.autoApproveAfter = qint64(number(u"auto-approve"_s, 0) * 1'000);
    if (parser.isSet(u"client-id"_s))
        options.oauth.clientIDs = parser.values(u"client-id"_s);
    return isRight ? std::optional(options) : std::nullopt;
}

void quitWhenInputEnds(QSocketNotifier &notifier)
{
    QObject::connect(&notifier, &QSocketNotifier::activated, &notifier, [&notifier] {
        char buffer[256];
        if (::read(STDIN_FILENO, buffer, sizeof buffer) > 0)
            return;
        notifier.setEnabled(false);
        QCoreApplication::quit();
    });
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(u"velmora-simulator"_s);
    QCoreApplication::setApplicationVersion(QStringLiteral(VELMORA_VERSION));
    QCommandLineParser parser;
    addOptions(parser);
    parser.process(application);
    const auto options = optionsFrom(parser);
    if (!options)
        return 2;
    Simulator simulator(*options);
    if (!simulator.start()) {
        std::fprintf(stderr, "velmora-simulator: cannot listen on port %d\n", int(options->port));
        return 1;
    }
    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    input.setEnabled(parser.isSet(u"exit-with-stdin"_s));
    quitWhenInputEnds(input);
    std::printf("listening on %s\n", qPrintable(simulator.url().toString()));
    std::fflush(stdout);
    return QCoreApplication::exec();
}
