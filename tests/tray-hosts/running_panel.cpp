// SPDX-License-Identifier: MIT
#include "running_panel.h"

#include <QDir>
#include <QGuiApplication>
#include <QPixmap>
#include <QScreen>

#include <csignal>
#include <sys/prctl.h>

namespace velmora::testing
{

namespace
{

void writeInConfiguration(const QString &path, const QByteArray &content)
{
    QFile file(QDir::homePath() + QStringLiteral("/.config/") + path);
    if (!QDir().mkpath(QFileInfo(file).path()) || !file.open(QIODevice::WriteOnly) || file.write(content) < 0)
        qFatal("a configuration of the panel cannot be written");
}

/// A bar at the top that holds only the tray.
void configureXfce()
{
    writeInConfiguration(QStringLiteral("xfce4/xfconf/xfce-perchannel-xml/xfce4-panel.xml"),
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<channel name=\"xfce4-panel\" version=\"1.0\">\n"
        "<property name=\"configver\" type=\"int\" value=\"2\"/>\n"
        "<property name=\"panels\" type=\"array\"><value type=\"int\" value=\"1\"/>"
        "<property name=\"panel-1\" type=\"empty\">"
        "<property name=\"position\" type=\"string\" value=\"p=6;x=0;y=0\"/>"
        "<property name=\"position-locked\" type=\"bool\" value=\"true\"/>"
        "<property name=\"length\" type=\"uint\" value=\"100\"/><property name=\"size\" type=\"uint\" value=\"32\"/>"
        "<property name=\"plugin-ids\" type=\"array\"><value type=\"int\" value=\"1\"/></property>"
        "</property></property>\n"
        "<property name=\"plugins\" type=\"empty\">"
        "<property name=\"plugin-1\" type=\"string\" value=\"systray\"/></property>\n</channel>\n");
}

void configureLxqt()
{
    writeInConfiguration(QStringLiteral("lxqt/panel.conf"),
        "panels=panel1\n[panel1]\nplugins=statusnotifier\nposition=Top\ndesktop=0\n"
        "[statusnotifier]\nalignment=Left\ntype=statusnotifier\n");
}

} // namespace

RunningPanel::RunningPanel(const QString &program)
    : m_program(program)
{
    if (program == QLatin1String("xfce4-panel")) {
        configureXfce();
        m_arguments = QStringList{QStringLiteral("--disable-wm-check"), QStringLiteral("--sm-client-disable")};
    } else if (program == QLatin1String("lxqt-panel")) {
        configureLxqt();
    }
    m_process.setStandardOutputFile(QProcess::nullDevice());
    m_process.setStandardErrorFile(QProcess::nullDevice());
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove(QStringLiteral("QT_QPA_PLATFORM")); // the one of the tests
    m_process.setProcessEnvironment(environment);
    // Make the kernel kill the panel if the test crashes.
    m_process.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGKILL); });
}

RunningPanel::~RunningPanel()
{
    end();
}

void RunningPanel::start()
{
    m_process.start(m_program, m_arguments);
    if (!m_process.waitForStarted())
        qFatal("%s does not run", qPrintable(m_program));
}

void RunningPanel::end()
{
    if (m_process.state() == QProcess::NotRunning)
        return;
    m_process.kill();
    m_process.waitForFinished();
}

std::optional<QPoint> placeOf(QRgb colour)
{
    const QImage display = QGuiApplication::primaryScreen()->grabWindow(0).toImage();
    QRect found;
    for (int y = 0; y < display.height(); ++y) {
        for (int x = 0; x < display.width(); ++x) {
            if ((display.pixel(x, y) & RGB_MASK) == (colour & RGB_MASK))
                found |= QRect(x, y, 1, 1);
        }
    }
    constexpr int kLeastSide = 8;
    if (found.width() < kLeastSide || found.height() < kLeastSide)
        return std::nullopt;
    return found.center();
}

namespace
{

void runXdotool(const QStringList &arguments)
{
    QByteArray complaint;
    // On a busy machine the display may refuse a connection at first.
    for (int attempt = 0; attempt < 5; ++attempt) {
        QProcess process;
        process.start(QStringLiteral("xdotool"), arguments);
        if (process.waitForFinished() && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0)
            return;
        complaint = process.errorString().toUtf8() + ' ' + process.readAllStandardError();
    }
    qFatal("xdotool does not run: %s", complaint.constData());
}

} // namespace

void clickAt(QPoint place, int button)
{
    runXdotool({QStringLiteral("mousemove"), QString::number(place.x()), QString::number(place.y()),
        QStringLiteral("sleep"), QStringLiteral("0.1"), QStringLiteral("click"), QString::number(button)});
}

void pressKey(const QString &name)
{
    runXdotool({QStringLiteral("key"), name});
}

} // namespace velmora::testing
