// SPDX-License-Identifier: MIT
// A window with one control of each kind and a tray item, to test the helpers of this folder.
#include <QApplication>
#include <QCheckBox>
#include <QFormLayout>
#include <QIcon>
#include <QKeySequence>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QPainter>
#include <QPixmap>
#include <QPushButton>
#include <QShortcut>
#include <QSystemTrayIcon>
#include <QWidget>

namespace
{

constexpr QSize kWindowSize(320, 300);

class SampleWindow final : public QWidget
{
public:
    SampleWindow()
        : m_news(new QLabel(QStringLiteral("Nothing happened")))
    {
        setWindowTitle(QStringLiteral("Sample"));
        // Tiling compositors let only windows of fixed size float.
        setFixedSize(kWindowSize);
        auto *layout = new QFormLayout(this);
        layout->addRow(m_news);
        layout->addRow(countingButton());
        auto *check = new QCheckBox(QStringLiteral("Remember"));
        layout->addRow(check);
        auto *name = new QLineEdit;
        name->setAccessibleName(QStringLiteral("Name"));
        layout->addRow(name);
        layout->addRow(list());
        auto *refresh = new QShortcut(QKeySequence(QStringLiteral("Ctrl+R")), this);
        connect(refresh, &QShortcut::activated, this, [this] { tell(QStringLiteral("Refreshed")); });
        showInTray();
    }

private:
    void tell(const QString &news) { m_news->setText(news); }

    QWidget *countingButton()
    {
        auto *button = new QPushButton(QStringLiteral("Count"));
        const auto count = [this] {
            tell(QStringLiteral("Counted %1").arg(++m_count));
        };
        connect(button, &QPushButton::clicked, this, count);
        return button;
    }

    QWidget *list()
    {
        auto *list = new QListWidget;
        list->setAccessibleName(QStringLiteral("Numbers"));
        list->addItems({QStringLiteral("one"), QStringLiteral("two"), QStringLiteral("three")});
        connect(list, &QListWidget::itemClicked, this,
            [this](const QListWidgetItem *item) { tell(QStringLiteral("Clicked ") + item->text()); });
        return list;
    }

    void showInTray()
    {
        QPixmap square(32, 32);
        square.fill(Qt::red);
        QPainter(&square).fillRect(0, 0, 32, 10, Qt::blue);
        m_tray.setIcon(QIcon(square));
        m_menu.addAction(QStringLiteral("Greet"), this, [this] { tell(QStringLiteral("Greeted")); });
        m_menu.addSeparator();
        m_menu.addAction(QStringLiteral("Leave"), this, &QWidget::close)->setEnabled(false);
        m_tray.setContextMenu(&m_menu);
        connect(&m_tray, &QSystemTrayIcon::activated, this,
            [this](QSystemTrayIcon::ActivationReason) { tell(QStringLiteral("Activated")); });
        m_tray.show();
    }

    QLabel *m_news;
    QMenu m_menu;
    QSystemTrayIcon m_tray;
    int m_count = 0;
};

} // namespace

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(true);
    SampleWindow window;
    window.show();
    return QApplication::exec();
}
