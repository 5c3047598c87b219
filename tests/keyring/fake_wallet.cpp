// SPDX-License-Identifier: MIT
// fake_wallet NAME: owns this name and, a moment later like KWallet, that of the Secret Service until the bus ends.
#include "fake_secret_service.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QTimer>

using namespace std::chrono_literals;

int main(int count, char **arguments)
{
    QCoreApplication application(count, arguments);
    velmora::testing::FakeSecretService service;
    auto session = QDBusConnection::sessionBus();
    if (count != 2 || !session.registerService(QString::fromLocal8Bit(arguments[1])))
        return 1;
    QTimer::singleShot(300ms, &application, [&service] {
        if (!service.appear())
            QCoreApplication::exit(1);
    });
    QTimer watch;
    QObject::connect(&watch, &QTimer::timeout, &application, [&session] {
        if (!session.isConnected())
            QCoreApplication::quit();
    });
    watch.start(100ms);
    return QCoreApplication::exec();
}
