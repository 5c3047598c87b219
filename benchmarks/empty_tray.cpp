// SPDX-License-Identifier: MIT
// The cost of a tray program without a function: an icon, a menu, and a window with a list of 50 rows.
#include <QApplication>
#include <QListWidget>
#include <QMenu>
#include <QPainter>
#include <QPixmap>
#include <QSystemTrayIcon>

int main(int argc, char **argv)
{
    const QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    QPixmap picture(22, 22);
    picture.fill(Qt::transparent);
    QPainter(&picture).fillRect(4, 4, 14, 14, Qt::darkBlue);
    QListWidget window;
    window.setFixedSize(360, 440);
    for (int row = 0; row < 50; ++row)
        window.addItem(QStringLiteral("row %1").arg(row));
    QMenu menu;
    menu.addAction(QStringLiteral("Quit"), &application, &QApplication::quit);
    QSystemTrayIcon icon{QIcon(picture)};
    icon.setContextMenu(&menu);
    QObject::connect(
        &icon, &QSystemTrayIcon::activated, &window, [&window] { window.setVisible(!window.isVisible()); });
    icon.show();
    return QApplication::exec();
}
