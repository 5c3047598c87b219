// SPDX-License-Identifier: MIT
// startable_keyring NAME: owns the name until the bus ends, so that a test notices that it was started.
#include <QCoreApplication>
#include <QDBusConnection>
#include <QTimer>

using namespace std::chrono_literals;

int main(int count, char **arguments)
{
    QCoreApplication application(count, arguments);
    auto session = QDBusConnection::sessionBus();
    if (count != 2 || !session.registerService(QString::fromLocal8Bit(arguments[1])))
        return 1;
    QTimer watch;
    QObject::connect(&watch, &QTimer::timeout, &application, [&session] {
        if (!session.isConnected())
            QCoreApplication::quit();
    });
    watch.start(100ms);
    return QCoreApplication::exec();
}
