// SPDX-License-Identifier: MIT
#include "platform/linux/browser_url_opener.h"

#include <QProcess>
#include <QProcessEnvironment>
#include <QStandardPaths>

#include <algorithm>

namespace velmora
{

namespace
{

bool start(const WebAddress &address, const QProcessEnvironment &environment)
{
    // What may be opened begins with "http", so it is never taken for an option.
    if (!address.isOpenable())
        return false;
    const QString program = QStandardPaths::findExecutable(QStringLiteral("xdg-open"));
    if (program.isEmpty())
        return false;
    QProcess process;
    process.setProcessEnvironment(environment);
    process.setProgram(program);
    process.setArguments({address.url().toString(QUrl::FullyEncoded)});
    // A browser writes what it likes to the terminal it is started from.
    process.setStandardInputFile(QProcess::nullDevice());
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    return process.startDetached();
}

/// A token is one word. Anything else is not worth the risk of an environment that nobody can read.
bool isToken(const QString &text)
{
    constexpr qsizetype kLimit = 4096;
    const auto isGraphic = [](QChar character) {
        return character > QLatin1Char(' ') && character < QLatin1Char('\x7f');
    };
    return text.size() <= kLimit && std::ranges::all_of(text, isGraphic);
}

} // namespace

bool BrowserURLOpener::open(const WebAddress &address)
{
    return start(address, QProcessEnvironment::systemEnvironment());
}

bool BrowserURLOpener::openActivated(const WebAddress &address, const QString &activationToken)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    if (isToken(activationToken)) {
        environment.insert(QStringLiteral("XDG_ACTIVATION_TOKEN"), activationToken);
        // On X11 the same token goes by its older name.
        environment.insert(QStringLiteral("DESKTOP_STARTUP_ID"), activationToken);
    }
    return start(address, environment);
}

} // namespace velmora
