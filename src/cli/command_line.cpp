// SPDX-License-Identifier: MIT
#include "cli/command_line.h"

#include "cli/status_line.h"
#include "cli/time_span.h"

#include <CLI/CLI.hpp>

#include <QRegularExpression>

#include <sstream>

namespace velmora
{

namespace
{

using Command = CommandLine::Command;

/// Deployments that are under way are listed for this long.
constexpr std::chrono::hours kLongestWait{7 * 24};
constexpr std::chrono::hours kLongestSilence{365 * 24};

std::function<std::string(const std::string &)> matching(const QString &pattern, const char *error)
{
    return [form = QRegularExpression(QRegularExpression::anchoredPattern(pattern)), error](const std::string &text) {
        return form.match(QString::fromStdString(text)).hasMatch() ? std::string() : text + error;
    };
}

std::string whyNoTimeout(const std::string &text)
{
    const auto span = parseTimeSpan(QString::fromStdString(text));
    return span && span->count() > 0 && *span <= kLongestWait
        ? std::string()
        : text + " is no time such as 90s, 30m or 2h, of a week at most";
}

std::string whyNoDuration(const std::string &text)
{
    const auto span = parseTimeSpan(QString::fromStdString(text));
    return span && span->count() > 0 && *span <= kLongestSilence
        ? std::string()
        : text + " is no time such as 90s, 30m or 8h, of a year at most";
}

/// The grammar of the command line. Parsing fills m_line.
class Grammar
{
public:
    Grammar()
    {
        m_app.name("velmora");
        m_app.require_subcommand(0, 1);
        prepare(m_app);
        m_app.add_flag("--demo", m_line.isDemo, "Watch a made-up GitHub on this machine; nothing of yours is touched");
        m_app.add_flag("--background", m_line.isBackground, "Start quietly into the tray, as at login");
        m_app.add_flag("--verbose", m_line.isVerbose, "Tell on standard error what is being done");
        m_app.add_flag("--is-configured", m_isConfigured)->group("");
        m_app.add_flag("--is-display-usable", m_isDisplayUsable)->group("");
        addAccountCommands();
        addInstallations();
        addRepositories();
        addMuting();
        addPausing();
        addNotifications();
        addFailures();
        addEnvironments();
        addWatching();
        addWaiting();
        addStatus();
        addDesktopCommands();
    }

    CommandLineResult parse(const QStringList &arguments)
    {
        try {
            std::vector<std::string> reversed;
            for (const QString &argument : arguments)
                reversed.insert(reversed.begin(), argument.toStdString());
            m_app.parse(std::move(reversed));
        } catch (const CLI::ParseError &error) {
            return instead(error);
        }
        return finished();
    }

private:
    static void prepare(CLI::App &app)
    {
        app.set_help_flag("--help,-h", "Show this and exit");
        app.set_version_flag("--version", "velmora " VELMORA_VERSION, "Show the version and exit");
    }

    CLI::App *addCommand(CLI::App &parent, const char *name, const char *description, Command command)
    {
        CLI::App *app = parent.add_subcommand(name, description);
        prepare(*app);
        app->fallthrough();
        app->parse_complete_callback([this, command] {
            // The innermost command completes first, and wins.
            if (!m_command)
                m_command = command;
        });
        return app;
    }

    void addJSON(CLI::App *app) { app->add_flag("--json", m_line.isJSON, "Print JSON instead of text"); }

    static CLI::Option *addText(CLI::App *app, const char *name, QString &text, const char *description)
    {
        const auto keep = [&text](const std::string &given) {
            text = QString::fromStdString(given);
        };
        return app->add_option_function<std::string>(name, keep, description);
    }

    static CLI::Option *addNames(
        CLI::App *app, const char *flag, QStringList &names, const char *what, const char *description)
    {
        const auto keep = [&names](const std::vector<std::string> &given) {
            for (const std::string &name : given)
                names.append(QString::fromStdString(name));
        };
        return app->add_option_function<std::vector<std::string>>(flag, keep, description)
            ->type_name(what)
            ->allow_extra_args(false);
    }

    void addAccountCommands()
    {
        addCommand(m_app, "connect", "Connect a GitHub account", Command::Connect);
        CLI::App *accounts = addCommand(m_app, "accounts", "List the connected accounts", Command::Accounts);
        addJSON(accounts);
        accounts->require_subcommand(0, 1);
        CLI::App *remove = addCommand(*accounts, "remove", "Forget an account and its token", Command::RemoveAccount);
        addText(remove, "LOGIN", m_line.login, "The account's login")->required();
    }

    void addInstallations()
    {
        CLI::App *app = addCommand(
            m_app, "installations", "List where the App is installed, and switch that", Command::Installations);
        addJSON(app);
        addNames(app, "--enable", m_line.enable, "KEY", "Watch this installation (its key or its account)");
        addNames(app, "--disable", m_line.disable, "KEY", "Do not watch this installation");
    }

    void addRepositories()
    {
        CLI::App *app
            = addCommand(m_app, "repositories", "List the repositories, and choose among them", Command::Repositories);
        addJSON(app);
        addNames(app, "--include", m_line.include, "NAME", "Watch this repository (owner/name)");
        addNames(app, "--exclude", m_line.exclude, "NAME", "Do not watch this repository");
        auto *all = app->add_flag("--all", m_line.isAll, "Watch every repository, before --exclude is applied");
        auto *none = app->add_flag("--none", m_line.isNone, "Watch no repository, before --include is applied");
        app->add_flag("--refresh", m_isRefresh, "Load the list from GitHub, as every run does");
        all->excludes(none);
        all->excludes("--include");
        none->excludes("--exclude");
    }

    static void addRepository(CLI::App *app, QString &repository)
    {
        addText(app, "OWNER/REPO", repository, "The repository")
            ->required()
            ->check(matching(QStringLiteral("[^/\\s]+/[^/\\s]+"), " is not owner/name"));
    }

    void addMuting()
    {
        CLI::App *mute
            = addCommand(m_app, "mute", "List the deployments of a repository without notifications", Command::Mute);
        addRepository(mute, m_line.repository);
        const auto keepDuration = [this](const std::string &given) {
            m_line.duration = parseTimeSpan(QString::fromStdString(given));
        };
        mute->add_option_function<std::string>("--for", keepDuration, "Only for this long")
            ->type_name("TIME")
            ->check(&whyNoDuration);
        addJSON(mute);
        CLI::App *unmute
            = addCommand(m_app, "unmute", "Notify about the repository's deployments again", Command::Unmute);
        addRepository(unmute, m_line.repository);
        addJSON(unmute);
    }

    void addPausing()
    {
        CLI::App *pause = addCommand(m_app, "pause", "Announce nothing for a while", Command::Pause);
        pause->add_option("WHEN", m_when, "For how long, as 2h, or until what time, as until 9:00")
            ->type_name("[TIME | until H:MM]")
            ->expected(0, 2);
        addJSON(pause);
        addJSON(
            addCommand(m_app, "resume", "Announce results again, and sum up what failed meanwhile", Command::Resume));
    }

    /// Reads the end of a pause. Returns what is wrong with it.
    QString readEnd()
    {
        if (m_when.empty())
            return QString();
        const std::string last = m_when.back();
        if (m_when.size() == 1) {
            m_line.duration = parseTimeSpan(QString::fromStdString(last));
            return QString::fromStdString(whyNoDuration(last));
        }
        const QTime time = QTime::fromString(QString::fromStdString(last), QStringLiteral("H:mm"));
        if (m_when.front() != "until" || !time.isValid())
            return QStringLiteral("A pause ends after a time such as 2h, or as in: until 9:00");
        m_line.until = time;
        return QString();
    }

    void addNotifications()
    {
        CLI::App *app = addCommand(
            m_app, "notifications", "List what Velmora notifies about, and switch that", Command::Notifications);
        addJSON(app);
        const CLI::IsMember kinds({"failures", "successes", "approvals"});
        addNames(app, "--enable", m_line.enable, "KIND", "Notify about these: failures, successes or approvals")
            ->check(kinds);
        addNames(app, "--disable", m_line.disable, "KIND", "Do not notify about these")->check(kinds);
        const auto choose = [this](bool onlyMine) {
            return [this, onlyMine] {
                m_line.onlyMine = onlyMine;
            };
        };
        auto *mine = app->add_flag_callback("--mine", choose(true), "Notify only about deployments that you started");
        app->add_flag_callback("--everybody", choose(false), "Notify about everybody's deployments")->excludes(mine);
    }

    void addFailures()
    {
        CLI::App *app
            = addCommand(m_app, "failures", "List the failures, and choose which of them count", Command::Failures);
        addJSON(app);
        addNames(app, "--dismiss", m_line.dismiss, "NAME",
            "Do not count this failure: its id, owner/name:environment, or owner/name");
        addNames(app, "--restore", m_line.restore, "NAME", "Count this failure again");
        auto *all = app->add_flag("--dismiss-all", m_line.isAll, "Count no failure, before --restore is applied");
        auto *none = app->add_flag("--restore-all", m_line.isNone, "Count every failure, before --dismiss is applied");
        all->excludes(none);
        all->excludes("--dismiss");
        none->excludes("--restore");
        const auto choose = [this](bool isIgnoring) {
            return [this, isIgnoring] {
                m_line.ignoresMended = isIgnoring;
            };
        };
        auto *ignore = app->add_flag_callback("--ignore-mended", choose(true), "Mended failures no longer count");
        app->add_flag_callback("--count-mended", choose(false), "Mended failures count")->excludes(ignore);
    }

    void addEnvironments()
    {
        CLI::App *app = addCommand(
            m_app, "environments", "List the environments, and choose what becomes of them", Command::Environments);
        addJSON(app);
        addNames(app, "--notify", m_line.notify, "NAME",
            "Notify about this environment: its name, a pattern with *, or owner/name:environment");
        addNames(app, "--show", m_line.show, "NAME", "List it without notifications");
        addNames(app, "--hide", m_line.hide, "NAME", "Neither list it nor notify about it");
        const auto choose = [this](bool onlyProduction) {
            return [this, onlyProduction] {
                m_line.onlyProduction = onlyProduction;
            };
        };
        auto *only = app->add_flag_callback(
            "--only-production", choose(true), "Of what is not named, notify only about production");
        app->add_flag_callback("--every", choose(false), "Notify about every environment that is not named")
            ->excludes(only);
    }

    void addWatching()
    {
        CLI::App *watch = addCommand(m_app, "watch", "Watch the deployments", Command::Watch);
        watch->add_flag("--once", m_line.isOnce, "End after the first complete refresh");
        watch->add_flag("--quiet", m_line.isQuiet, "Post no desktop notifications; results still appear here");
        addJSON(watch);
    }

    void addWaiting()
    {
        CLI::App *wait
            = addCommand(m_app, "wait", "Wait for the deployment that comes next, or is under way", Command::Wait);
        addRepository(wait, m_line.awaited.repository);
        addText(wait, "--environment", m_line.awaited.environment, "Only a deployment to this environment")
            ->type_name("NAME")
            ->check(matching(QStringLiteral(".+"), "A name is missing"));
        addText(wait, "--commit", m_line.awaited.commit, "Only a deployment of this commit, even one that has ended")
            ->type_name("SHA")
            ->check(matching(QStringLiteral("[0-9A-Fa-f]{7,40}"), " is no SHA of at least seven digits"));
        const auto keepTimeout = [this](const std::string &given) {
            m_line.timeout = parseTimeSpan(QString::fromStdString(given)).value_or(m_line.timeout);
        };
        wait->add_option_function<std::string>("--timeout", keepTimeout, "Wait no longer than this; 30m otherwise")
            ->type_name("TIME")
            ->check(&whyNoTimeout);
        addJSON(wait);
    }

    void addStatus()
    {
        CLI::App *status = addCommand(m_app, "status", "Show how things stand, without asking GitHub", Command::Status);
        addJSON(status);
        m_format = addText(status, "--format", m_line.format,
            "Print one line for a bar: waybar, or a template such as '{active} {failed}'");
        m_format->type_name("FORMAT")->excludes("--json");
        status->add_flag("--follow", m_line.isFollowing, "Go on, with a line for every change");
        addCommand(m_app, "refresh", "Load everything from GitHub now", Command::Refresh);
    }

    void addDesktopCommands()
    {
        addCommand(m_app, "show", "Open the window, starting Velmora where it does not run", Command::Show);
        addCommand(m_app, "settings", "Open the settings, starting Velmora where it does not run", Command::Settings);
        addCommand(m_app, "quit", "End the Velmora that runs in the tray", Command::Quit);
        addCommand(m_app, "diagnose", "Show what a bug report needs, without secrets and names", Command::Diagnose);
    }

    CommandLineResult instead(const CLI::ParseError &error)
    {
        std::ostringstream output;
        std::ostringstream complaint;
        const int code = m_app.exit(error, output, complaint);
        CommandLineResult result;
        result.output = QString::fromStdString(output.str());
        result.error = QString::fromStdString(complaint.str());
        result.exitCode = code == 0 ? ExitCode::Done : ExitCode::WrongUsage;
        return result;
    }

    static CommandLineResult wrong(const QString &error)
    {
        CommandLineResult result;
        result.exitCode = ExitCode::WrongUsage;
        result.error = error;
        return result;
    }

    CommandLineResult finished()
    {
        if (m_isConfigured)
            m_command = Command::IsConfigured;
        if (m_isDisplayUsable)
            m_command = Command::IsDisplayUsable;
        m_line.command = m_command.value_or(Command::Desktop);
        if (const QString error = readEnd(); !error.isEmpty())
            return wrong(error + QLatin1Char('\n'));
        if (const QString contradiction = contradictory(); !contradiction.isEmpty())
            return wrong(contradiction);
        CommandLineResult result;
        result.commandLine = m_line;
        return result;
    }

    [[nodiscard]] QString contradictory() const
    {
        const auto common = [](const QStringList &left, const QStringList &right) {
            const auto found = std::ranges::find_if(
                left, [&](const QString &name) { return right.contains(name, Qt::CaseInsensitive); });
            return found == left.end() ? QString() : *found;
        };
        if (m_line.isBackground && m_line.command != Command::Desktop)
            return QStringLiteral("--background is for the tray: no command goes with it.\n");
        if (m_line.isFollowing && !m_line.isJSON && m_line.format.isEmpty())
            return QStringLiteral("--follow goes with --json or --format.\n");
        if (m_format->count() > 0) {
            const QString error = StatusLine::parse(m_line.format).error;
            if (!error.isEmpty())
                return error + QLatin1Char('\n');
        }
        if (m_line.isDemo && m_line.command == Command::Diagnose)
            return QStringLiteral("The demo touches nothing of yours: there is nothing to diagnose.\n");
        if (const QString key = common(m_line.enable, m_line.disable); !key.isEmpty())
            return QStringLiteral("%1 is both enabled and disabled.\n").arg(key);
        if (const QString name = common(m_line.include, m_line.exclude); !name.isEmpty())
            return QStringLiteral("%1 is both included and excluded.\n").arg(name);
        if (const QString name = common(m_line.dismiss, m_line.restore); !name.isEmpty())
            return QStringLiteral("%1 is both dismissed and restored.\n").arg(name);
        if (const QString name = common(m_line.notify, m_line.show + m_line.hide); !name.isEmpty())
            return QStringLiteral("%1 is to be notified about, and is not.\n").arg(name);
        if (const QString name = common(m_line.show, m_line.hide); !name.isEmpty())
            return QStringLiteral("%1 is both shown and hidden.\n").arg(name);
        return QString();
    }

    CLI::App m_app{"Watches GitHub deployments, from the tray when no command is given."};
    CommandLine m_line;
    CLI::Option *m_format = nullptr;
    std::vector<std::string> m_when; ///< the words after `pause`
    std::optional<Command> m_command;
    bool m_isRefresh = false; // has no effect, since every run loads; makes scripts explicit
    bool m_isConfigured = false;
    bool m_isDisplayUsable = false;
};

} // namespace

CommandLineResult parseCommandLine(const QStringList &arguments)
{
    return Grammar().parse(arguments);
}

} // namespace velmora
