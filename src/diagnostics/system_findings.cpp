// SPDX-License-Identifier: MIT
#include "diagnostics/system_findings.h"

#include "diagnostics/texts.h"
#include "http/network_session.h"

#include <QStringList>
#include <QSysInfo>

namespace velmora
{

namespace
{

QString variable(const char *name)
{
    if (qEnvironmentVariableIsEmpty(name))
        return QStringLiteral("not set");
    const QStringList words = qEnvironmentVariable(name).split(QLatin1Char(':'), Qt::SkipEmptyParts);
    QStringList shown;
    for (const QString &word : words)
        shown.append(plainName(word).isEmpty() ? QStringLiteral("?") : plainName(word));
    return shown.join(QLatin1Char(':'));
}

/// The locale that the C library takes from the environment.
QString localeName()
{
    for (const char *name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        if (!qEnvironmentVariableIsEmpty(name))
            return variable(name);
    }
    return QStringLiteral("C");
}

QString displays()
{
    QStringList present;
    if (!qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY"))
        present.append(QStringLiteral("Wayland"));
    if (!qEnvironmentVariableIsEmpty("DISPLAY"))
        present.append(QStringLiteral("X11"));
    return present.isEmpty() ? QStringLiteral("none") : present.join(QStringLiteral(" and "));
}

} // namespace

QList<Finding> programFindings(bool isInsideFlatpak)
{
    const QString built = QStringLiteral(" (built with %1)");
    const QString buildType = QStringLiteral(VELMORA_BUILD_TYPE);
    return {
        {QStringLiteral("Velmora"),
            QStringLiteral(VELMORA_VERSION ", %1 build")
                .arg(buildType.isEmpty() ? QStringLiteral("plain") : buildType)},
        {QStringLiteral("Qt"), QString::fromLatin1(qVersion()) + built.arg(QStringLiteral(QT_VERSION_STR))},
        {QStringLiteral("QCoro"), QStringLiteral(VELMORA_QCORO_VERSION)},
        {QStringLiteral("libsecret"), QStringLiteral("built with " VELMORA_LIBSECRET_VERSION)},
        {QStringLiteral("HTTP and TLS"), NetworkSession::library()},
        {QStringLiteral("system"), QSysInfo::prettyProductName()},
        {QStringLiteral("kernel"),
            QStringList{QSysInfo::kernelType(), QSysInfo::kernelVersion(), QSysInfo::currentCpuArchitecture()}.join(
                QLatin1Char(' '))},
        {QStringLiteral("Flatpak"), isInsideFlatpak ? QStringLiteral("yes") : QStringLiteral("no")},
    };
}

QList<Finding> sessionFindings()
{
    return {
        {QStringLiteral("desktop"), variable("XDG_CURRENT_DESKTOP")},
        {QStringLiteral("session type"), variable("XDG_SESSION_TYPE")},
        {QStringLiteral("display"), displays()},
        {QStringLiteral("locale"), localeName()},
    };
}

} // namespace velmora
