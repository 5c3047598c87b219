// SPDX-License-Identifier: MIT
#include "ui/settings/settings_window.h"

#include "settings/general_settings_store.h"
#include "support/asked_notifier.h"
#include "support/fake_login_item.h"
#include "support/fake_settings_page_opener.h"
#include "support/monitor_fixture.h"
#include "support/test_main.h"
#include "support/widget_probe.h"
#include "ui/controls/message_row.h"
#include "ui/controls/search_field.h"
#include "ui/controls/switch_control.h"

#include <QAccessible>
#include <QApplication>
#include <QLayout>
#include <QSet>
#include <QSignalSpy>
#include <QTabBar>
#include <QTest>

using namespace velmora;
using namespace velmora::testing;

using Tab = SettingsView::Tab;

class SettingsWindowTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_window.reset();
        m_settings.reset();
        m_fixture = std::make_unique<MonitorFixture>();
        m_fixture->connect(1, QStringLiteral("octo"));
        m_fixture->build();
        m_settings = std::make_unique<GeneralSettingsStore>(&m_fixture->defaults, &m_notifier, &m_loginItem);
        Stores stores = m_fixture->stores();
        stores.settings = m_settings.get();
        m_window = std::make_unique<SettingsWindow>(stores, m_fixture->ports(), &m_opener, nullptr);
    }

    void cleanup() { qunsetenv("XDG_ACTIVATION_TOKEN"); }

    void thereAreFourTabsInTheirOrder()
    {
        QStringList labels;
        for (int i = 0; i < view()->count(); ++i) {
            labels.append(withoutMnemonic(view()->tabText(i)));
            QVERIFY(!view()->tabIcon(i).isNull());
        }
        QCOMPARE(labels,
            (QStringList{QStringLiteral("Accounts"), QStringLiteral("Repositories"), QStringLiteral("Environments"),
                QStringLiteral("General")}));
        QCOMPARE(view()->tab(), Tab::Accounts);
    }

    void theContentIsPaddedByTwelve()
    {
        for (int i = 0; i < view()->count(); ++i)
            QCOMPARE(view()->widget(i)->layout()->contentsMargins(), QMargins(12, 12, 12, 12));
    }

    void assistiveTechnologySeesAWindow()
    {
        auto *interface = QAccessible::queryAccessibleInterface(m_window.get());
        QCOMPARE(interface->role(), QAccessible::Window);
        QCOMPARE(interface->text(QAccessible::Name), m_window->windowTitle());
    }

    void theSizeIsFixed()
    {
        open();
        QCOMPARE(view()->minimumSize(), view()->maximumSize());
        QCOMPARE(m_window->size(), view()->size());
        QCOMPARE(m_window->minimumSize(), m_window->maximumSize());
    }

    void theSizeGrowsWithAnUnusualFontAndStaysOnTheScreen_data()
    {
        QTest::addColumn<int>("line");
        QTest::addColumn<QSize>("room");
        QTest::addColumn<QSize>("size");
        const QSize large(3000, 2000);
        QTest::newRow("small") << 12 << large << QSize(620, 440);
        QTest::newRow("usual") << 20 << large << QSize(620, 440);
        QTest::newRow("twice as large") << 40 << large << QSize(1240, 880);
        QTest::newRow("small screen") << 40 << QSize(1000, 700) << QSize(1000, 700);
        QTest::newRow("tiny screen") << 16 << QSize(600, 400) << QSize(600, 400);
    }

    void theSizeGrowsWithAnUnusualFontAndStaysOnTheScreen()
    {
        QFETCH(int, line);
        QFETCH(QSize, room);
        QFETCH(QSize, size);
        QCOMPARE(settingsSize(line, room), size);
    }

    void aLargerFontMakesTheWindowGrow()
    {
        open();
        const QSize before = m_window->size();
        QFont font = m_window->font();
        font.setPixelSize(26);
        m_window->setFont(font);
        drainEvents();
        QVERIFY(m_window->width() > before.width());
        QCOMPARE(m_window->size(), view()->size());
    }

    void openingAgainRaisesTheSameWindow()
    {
        open();
        view()->showTab(Tab::General);
        m_window->open();
        QVERIFY(m_window->isVisible());
        QCOMPARE(view()->tab(), Tab::General);
        m_window->showMinimized();
        m_window->open();
        QVERIFY(!m_window->isMinimized());
    }

    void anActivationTokenIsLeftToNobodyElse()
    {
        m_window->open(QStringLiteral("token-1"));
        QVERIFY(m_window->isVisible());
        QVERIFY(!qEnvironmentVariableIsSet("XDG_ACTIVATION_TOKEN"));
    }

    void escapeAndControlWCloseTheWindow_data()
    {
        QTest::addColumn<int>("key");
        QTest::addColumn<int>("modifiers");
        QTest::newRow("Escape") << int(Qt::Key_Escape) << int(Qt::NoModifier);
        QTest::newRow("Ctrl+W") << int(Qt::Key_W) << int(Qt::ControlModifier);
    }

    void escapeAndControlWCloseTheWindow()
    {
        QFETCH(int, key);
        QFETCH(int, modifiers);
        for (const Tab tab : {Tab::Accounts, Tab::Repositories, Tab::Environments, Tab::General}) {
            open();
            view()->showTab(tab);
            press(static_cast<Qt::Key>(key), Qt::KeyboardModifiers(modifiers));
            QVERIFY(!m_window->isVisible());
        }
        // It opens in the state in which it was closed.
        open();
        QCOMPARE(view()->tab(), Tab::General);
    }

    void closingTheWindowDoesNotEndTheProgram()
    {
        QVERIFY(!m_window->testAttribute(Qt::WA_QuitOnClose));
        QVERIFY(!m_window->testAttribute(Qt::WA_DeleteOnClose));
    }

    void keysChooseTheTab()
    {
        open();
        press(Qt::Key_2, Qt::ControlModifier);
        QCOMPARE(view()->tab(), Tab::Repositories);
        press(Qt::Key_3, Qt::ControlModifier);
        QCOMPARE(view()->tab(), Tab::Environments);
        press(Qt::Key_4, Qt::ControlModifier);
        QCOMPARE(view()->tab(), Tab::General);
        press(Qt::Key_1, Qt::ControlModifier);
        QCOMPARE(view()->tab(), Tab::Accounts);
    }

    void controlTabGoesAround()
    {
        open();
        for (const Tab expected : {Tab::Repositories, Tab::Environments, Tab::General, Tab::Accounts}) {
            press(Qt::Key_Tab, Qt::ControlModifier);
            QCOMPARE(view()->tab(), expected);
        }
        for (const Tab expected : {Tab::General, Tab::Environments, Tab::Repositories}) {
            press(Qt::Key_Backtab, Qt::ControlModifier | Qt::ShiftModifier);
            QCOMPARE(view()->tab(), expected);
        }
    }

    void theKeysRefreshWhatTheTabShows()
    {
        for (const auto &[key, modifiers] :
            {std::pair(Qt::Key_F5, Qt::NoModifier), std::pair(Qt::Key_R, Qt::ControlModifier)}) {
            for (const Tab tab : {Tab::Accounts, Tab::Repositories}) {
                open();
                view()->showTab(tab);
                view()->tabBar()->setFocus();
                drainEvents();
                m_fixture->github.restRequests.clear();
                press(key, modifiers);
                drainEvents();
                QVERIFY(!m_fixture->github.restRequests.isEmpty());
            }
            view()->showTab(Tab::General);
            m_loginItem.current = LoginItemStatus::Enabled;
            press(key, modifiers);
            QVERIFY(m_settings->launchAtLoginEnabled());
            m_loginItem.current = LoginItemStatus::Disabled;
            press(key, modifiers);
            QVERIFY(!m_settings->launchAtLoginEnabled());
        }
    }

    void theKeysAskTheDesktopAgainForWhatItHasNotAnswered()
    {
        m_notifier.immediateFailure = std::make_exception_ptr(FileError(QStringLiteral("no service")));
        awaitValue(m_settings->prepareNotifications());
        QVERIFY(m_settings->errorMessage());
        open();
        view()->showTab(Tab::General);
        m_notifier.immediateFailure = nullptr;
        m_notifier.immediate = true;
        press(Qt::Key_F5, Qt::NoModifier);
        drainEvents();
        QVERIFY(!m_settings->errorMessage());
    }

    void mnemonicsChooseTheTab()
    {
        open();
        press(Qt::Key_V, Qt::AltModifier);
        QCOMPARE(view()->tab(), Tab::Environments);
        press(Qt::Key_G, Qt::AltModifier);
        QCOMPARE(view()->tab(), Tab::General);
        press(Qt::Key_R, Qt::AltModifier);
        QCOMPARE(view()->tab(), Tab::Repositories);
        press(Qt::Key_A, Qt::AltModifier);
        QCOMPARE(view()->tab(), Tab::Accounts);
    }

    void theFocusGoesToTheTabThatIsShown()
    {
        open();
        QVERIFY(view()->currentWidget()->isAncestorOf(QApplication::focusWidget()));
        press(Qt::Key_2, Qt::ControlModifier);
        QVERIFY(view()->currentWidget()->findChild<SearchField *>()->hasFocus());
        press(Qt::Key_3, Qt::ControlModifier);
        QVERIFY(view()->currentWidget()->isAncestorOf(QApplication::focusWidget()));
        QVERIFY(qobject_cast<SearchField *>(QApplication::focusWidget()));
        press(Qt::Key_4, Qt::ControlModifier);
        QVERIFY(view()->currentWidget()->isAncestorOf(QApplication::focusWidget()));
        QVERIFY(qobject_cast<SwitchControl *>(QApplication::focusWidget()));
        press(Qt::Key_1, Qt::ControlModifier);
        QVERIFY(view()->currentWidget()->isAncestorOf(QApplication::focusWidget()));
    }

    void whoWalksAlongTheTabsStaysThere()
    {
        open();
        view()->tabBar()->setFocus();
        press(Qt::Key_Right, Qt::NoModifier);
        QCOMPARE(view()->tab(), Tab::Repositories);
        QVERIFY(view()->tabBar()->hasFocus());
    }

    void noMnemonicIsTakenTwiceOnATab()
    {
        open();
        for (const Tab tab : {Tab::Accounts, Tab::Repositories, Tab::Environments, Tab::General}) {
            view()->showTab(tab);
            QSet<QString> taken{
                QStringLiteral("Alt+A"), QStringLiteral("Alt+R"), QStringLiteral("Alt+V"), QStringLiteral("Alt+G")};
            for (const auto *button : view()->currentWidget()->findChildren<QAbstractButton *>()) {
                const QString key = button->shortcut().toString();
                if (key.isEmpty())
                    continue;
                QVERIFY2(!taken.contains(key), qPrintable(key));
                taken.insert(key);
            }
        }
    }

    void everyTabLooksAsItShouldWithAHugeFont()
    {
        QFont font = m_window->font();
        font.setPixelSize(60);
        m_window->setFont(font);
        open();
        for (const Tab tab : {Tab::Accounts, Tab::Repositories, Tab::Environments, Tab::General}) {
            view()->showTab(tab);
            drainEvents();
            QVERIFY(!m_window->grab().isNull());
            QVERIFY(m_window->width() <= m_window->screen()->availableSize().width());
            QVERIFY(m_window->height() <= m_window->screen()->availableSize().height());
        }
    }

    void whatIsNotSavedIsSaidBelowTheTabsUntilItIsSaved()
    {
        open();
        auto *message = m_window->findChild<MessageRow *>(QString(), Qt::FindDirectChildrenOnly);
        QVERIFY(message);
        QVERIFY(!message->isVisible());
        const QSize before = m_window->size();
        const QString reason = QStringLiteral("Cannot write %1: No space left on device")
                                   .arg(QStringLiteral("/home/somebody/.config").repeated(8));
        m_fixture->defaults.setFailure(reason);
        QVERIFY(message->isVisible());
        QCOMPARE(message->message(), reason);
        QVERIFY(waitUntil([&] { return m_window->height() == before.height() + message->height(); }));
        QCOMPARE(m_window->width(), before.width());
        // The message shows all of its lines.
        QVERIFY(message->height() > 3 * QFontMetrics(m_window->font()).height());
        m_fixture->defaults.setFailure(QString());
        QVERIFY(!message->isVisible());
        QVERIFY(waitUntil([&] { return m_window->size() == before; }));
    }

    void aBrowserThatCannotBeStartedIsSaidBelowTheTabs()
    {
        open();
        const QSize before = m_window->size();
        m_fixture->urlOpener.works = false;
        const QString address = QStringLiteral("https://github.com/apps/velmora/") + QString(900, QLatin1Char('x'));
        QVERIFY(!m_fixture->urlOpener.open(WebAddress(address)));
        QVERIFY(waitUntil([&] { return m_window->height() > before.height(); }));
        QCOMPARE(m_window->width(), before.width());
        QVERIFY(shownTexts(*m_window).contains(QStringLiteral("The browser could not be started.")));
        m_window->close();
        open();
        QVERIFY(waitUntil([&] { return m_window->size() == before; }));
    }

private:
    SettingsView *view() { return m_window->view(); }

    void open()
    {
        m_window->open();
        QVERIFY(QTest::qWaitForWindowActive(m_window.get()));
    }

    void press(Qt::Key key, Qt::KeyboardModifiers modifiers)
    {
        QWidget *target = QApplication::focusWidget();
        QTest::keyClick(target ? target : m_window.get(), key, modifiers);
    }

    AskedNotifier m_notifier;
    FakeLoginItem m_loginItem;
    FakeSettingsPageOpener m_opener;
    std::unique_ptr<MonitorFixture> m_fixture;
    std::unique_ptr<GeneralSettingsStore> m_settings;
    std::unique_ptr<SettingsWindow> m_window;
};

VELMORA_WIDGET_TEST(SettingsWindowTest)
#include "settings_window_test.moc"
