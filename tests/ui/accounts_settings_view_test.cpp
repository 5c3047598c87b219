// SPDX-License-Identifier: MIT
#include "ui/settings/accounts/accounts_settings_view.h"

#include "support/fake_avatar_loading.h"
#include "support/lockable_credential_store.h"
#include "support/monitor_fixture.h"
#include "support/test_main.h"
#include "support/widget_probe.h"
#include "ui/controls/avatar_view.h"
#include "ui/controls/progress_spinner.h"
#include "ui/controls/row_list.h"
#include "ui/controls/switch_control.h"
#include "ui/settings/accounts/account_row.h"

#include <QAbstractScrollArea>
#include <QAccessible>
#include <QApplication>
#include <QBuffer>
#include <QScrollBar>
#include <QTest>

using namespace velmora;
using namespace velmora::testing;

namespace
{

const QString kAdd = QStringLiteral("Add account");
const QString kRemove = QStringLiteral("Remove");
const QString kInstall = QStringLiteral("Install on GitHub");
const QString kManage = QStringLiteral("Manage on GitHub");
const QString kCode = QStringLiteral("WDJB-MJHT");
const QString kNoAccounts = QStringLiteral("No GitHub accounts");
const QString kInstallationPage = QStringLiteral("https://github.com/apps/velmora/installations/new");
const QString kPicture = QStringLiteral("https://avatars.example.com/u/1");

QByteArray picture()
{
    QImage image(80, 80, QImage::Format_RGB32);
    image.fill(Qt::red);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
}

FakeGitHub::Repository repository(const QString &name)
{
    FakeGitHub::Repository made;
    made.nodeID = name;
    made.name = name;
    return made;
}

} // namespace

class AccountsSettingsViewTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_view.reset();
        m_avatars = std::make_unique<FakeAvatarLoading>();
        m_fixture = std::make_unique<MonitorFixture>();
    }

    void everyTextOfTheHeaderIsThere()
    {
        open();
        QCOMPARE(shownTexts(*m_view).first(2),
            (QStringList{QStringLiteral("GitHub accounts"),
                QStringLiteral(
                    "Connect each GitHub identity, then install Velmora on its personal account or organisations.")}));
        QVERIFY(shownButton(*m_view, kAdd)->isEnabled());
        QVERIFY(!shownButton(*m_view, kAdd)->icon().isNull());
    }

    void withoutAccountsTheEmptyStateIsShown()
    {
        open();
        auto *title = shownLabel(*m_view, kNoAccounts);
        QVERIFY(title);
        QVERIFY(title->parentWidget()->height() >= 120);
        QVERIFY(shownLabel(*m_view, QStringLiteral("Add an account to begin choosing installations.")));
        QVERIFY(!shownLabel(*m_view, QStringLiteral("Installations")));
        QVERIFY(!shownButton(*m_view, kManage));
    }

    void accountsWithoutInstallationsHaveNoSectionForThem()
    {
        m_fixture->connect(1, QStringLiteral("alice"));
        open();
        QVERIFY(!shownLabel(*m_view, kNoAccounts));
        QVERIFY(shownLabel(*m_view, QStringLiteral("alice")));
        QVERIFY(!shownLabel(*m_view, QStringLiteral("Installations")));
        QVERIFY(!shownButton(*m_view, kManage));
    }

    void rowsFollowTheOrderOfTheStore()
    {
        connectThree();
        open();
        QMap<int, QString> byPlace;
        for (const auto *row : rows())
            byPlace.insert(row->mapTo(m_view.get(), QPoint()).y(), row->accessibleName());
        QStringList expected;
        for (const auto &session : m_fixture->authentication->sessions())
            expected.append(session.account.login);
        QCOMPARE(byPlace.values(), expected);
        QCOMPARE(expected.size(), 3);
    }

    void aRowTellsItsStatus()
    {
        m_fixture->connect(1, QStringLiteral("alice"));
        m_fixture->accounts.append(GitHubAccount{2, QStringLiteral("bob"), {}});
        open();
        // bob has no stored credential.
        QVERIFY(waitUntil([this] { return m_fixture->authentication->isRestored(); }));
        QVERIFY(shownLabel(*row(QStringLiteral("alice")), QStringLiteral("Connected")));
        QVERIFY(shownLabel(*row(QStringLiteral("bob")), QStringLiteral("Reconnect required")));
    }

    void besideTheStatusOfAnAccountIsWhatToDoAboutIt()
    {
        m_fixture->connect(1, QStringLiteral("alice"));
        m_fixture->accounts.append(GitHubAccount{2, QStringLiteral("bob"), {}});
        open();
        QVERIFY(waitUntil([this] { return m_fixture->authentication->isRestored(); }));
        drainEvents();
        const AccountRow *bob = row(QStringLiteral("bob"));
        QCOMPARE(shownTexts(*bob),
            (QStringList{QStringLiteral("bob"), QStringLiteral("Reconnect required"), QStringLiteral("·"),
                QStringLiteral("Connect bob again.")}));
        QVERIFY(!shownTexts(*row(QStringLiteral("alice"))).join(QString()).contains(QStringLiteral("again")));
    }

    void adviceGoesWithWhatItIsAbout()
    {
        AccountRow shown;
        shown.setInstallations({QStringLiteral("No installations"), true});
        shown.setAdvice(QStringLiteral("Connect octo again."));
        QVERIFY(shownLabel(shown, QStringLiteral("Connect octo again.")));
        QVERIFY(!shownLabel(shown, QStringLiteral("No installations")));
        QVERIFY(!shownButton(shown, kInstall));
        shown.setAdvice(QString());
        QVERIFY(shownLabel(shown, QStringLiteral("No installations")));
        QVERIFY(shownButton(shown, kInstall));
        shown.setInstallations({});
        QVERIFY(!shownLabel(shown, QStringLiteral("·")));
    }

    void oneAccountTakesNoMoreThanItsShareAndTheInstallationsFollow()
    {
        auto &alice = m_fixture->connect(1, QStringLiteral("alice"));
        alice.repositories.append(repository(QStringLiteral("acme/web")));
        open();
        m_view->resize(596, 900);
        drainEvents();
        const auto *accounts = m_view->findChildren<RowList *>().first();
        QCOMPARE(accounts->height(), 120);
        const auto *heading = shownLabel(*m_view, QStringLiteral("Installations"));
        const int below = accounts->mapTo(m_view.get(), QPoint(0, accounts->height())).y();
        const int next = heading->mapTo(m_view.get(), QPoint()).y();
        QVERIFY2(next - below < 40, qPrintable(QString::number(next - below)));
    }

    void theTabScrollsAsAWholeWhenTheListsHoldMore()
    {
        for (int i = 1; i <= 12; ++i)
            m_fixture->connect(i, QStringLiteral("user%1").arg(i))
                .repositories.append(repository(QStringLiteral("user%1/site").arg(i)));
        open();
        QCOMPARE(m_view->findChildren<QAbstractScrollArea *>().size(), 1);
        auto *page = m_view->findChild<QAbstractScrollArea *>();
        QVERIFY(page->verticalScrollBar()->maximum() > 0);
        const auto lists = m_view->findChildren<RowList *>();
        QCOMPARE(lists.size(), 2);
        for (const auto *list : lists)
            QVERIFY(list->height() >= list->sizeHint().height());
        // Giving the last switch the keyboard focus scrolls it into view.
        switches().last()->setFocus(Qt::TabFocusReason);
        drainEvents();
        const QPoint place = switches().last()->mapTo(page->viewport(), QPoint());
        QVERIFY(page->viewport()->rect().contains(place));
    }

    void aRowTellsHowManyInstallationsItHas()
    {
        connectThree();
        open();
        const AccountRow *alice = row(QStringLiteral("alice"));
        QVERIFY(shownLabel(*alice, QStringLiteral("1 installation")));
        QVERIFY(!shownButton(*alice, kInstall));
        const AccountRow *bob = row(QStringLiteral("bob"));
        QVERIFY(shownLabel(*bob, QStringLiteral("No installations")));
        shownButton(*bob, kInstall)->click();
        QCOMPARE(m_fixture->urlOpener.opened, QStringList{kInstallationPage});
    }

    void whatIsNotKnownOfInstallationsIsNotSaid()
    {
        connectThree();
        m_fixture->build();
        m_fixture->github.session->handler = {};
        show();
        QVERIFY(!shownLabel(*m_view, QStringLiteral("No installations")));
        QVERIFY(!shownButton(*m_view, kInstall));
    }

    void aRowTellsWhyItsInstallationsAreNotKnown()
    {
        connectThree();
        m_fixture->github.identities[QStringLiteral("bob")].transportFailure
            = std::make_exception_ptr(TransportError(TransportError::Kind::Network, QStringLiteral("Offline.")));
        open();
        QVERIFY(shownLabel(*row(QStringLiteral("bob")), QStringLiteral("Offline.")));
        QVERIFY(!shownButton(*row(QStringLiteral("bob")), kInstall));
        QVERIFY(shownLabel(*row(QStringLiteral("alice")), QStringLiteral("1 installation")));
    }

    void removingAnAccountRefreshesTheInstallations()
    {
        connectThree();
        open();
        QCOMPARE(m_fixture->installations->installations().size(), 2);
        m_fixture->github.clearLog();
        shownButton(*row(QStringLiteral("carol")), kRemove)->click();
        drainEvents();
        QCOMPARE(m_fixture->authentication->sessions().size(), 2);
        QVERIFY(!row(QStringLiteral("carol")));
        QCOMPARE(m_fixture->installations->installations().size(), 1);
        QVERIFY(m_fixture->github.restRequests.filter(QStringLiteral("carol")).isEmpty());
        QCOMPARE(m_fixture->installations->state().state, InstallationLoadingState::Case::Ready);
        QCOMPARE(switches().size(), 1);
    }

    void anAccountThatCannotBeRemovedStaysAndItIsSaid()
    {
        const auto keyring = std::make_shared<LockableCredentialStore>(m_fixture->credentials);
        keyring->isLocked = false;
        m_fixture->credentialStore = keyring;
        connectThree();
        open();
        keyring->isLocked = true;
        shownButton(*row(QStringLiteral("carol")), kRemove)->click();
        drainEvents();
        QVERIFY(row(QStringLiteral("carol")));
        const QString message
            = QStringLiteral("carol was not removed. The keyring is locked. Unlock it, or connect the account again.");
        QVERIFY(shownLabel(*m_view, message));
        keyring->isLocked = false;
        shownButton(*row(QStringLiteral("carol")), kRemove)->click();
        drainEvents();
        QVERIFY(!row(QStringLiteral("carol")));
        QVERIFY(!shownLabel(*m_view, message));
    }

    void leavingTheTabDoesNotEndTheRefreshAfterARemoval()
    {
        connectThree();
        open();
        const auto answer = std::exchange(m_fixture->github.session->handler, {});
        shownButton(*row(QStringLiteral("carol")), kRemove)->click();
        drainEvents();
        m_view->hide();
        drainEvents();
        m_fixture->github.session->handler = answer;
        QVERIFY(m_fixture->github.session->answerNext(FakeHTTPSession::response(200, "{\"installations\":[]}")));
        drainEvents();
        QVERIFY(m_fixture->installations->installations().isEmpty());
    }

    void removingTheLastAccountShowsTheEmptyStateAgain()
    {
        m_fixture->connect(1, QStringLiteral("alice")).repositories.append(repository(QStringLiteral("acme/web")));
        open();
        QVERIFY(shownButton(*m_view, kManage));
        shownButton(*m_view, kRemove)->click();
        drainEvents();
        QVERIFY(shownLabel(*m_view, kNoAccounts));
        QVERIFY(rows().isEmpty());
        QVERIFY(!shownButton(*m_view, kManage));
        QVERIFY(switches().isEmpty());
    }

    void aRemovedRowLeavesTheFocusInTheTab()
    {
        connectThree();
        open();
        auto *button = shownButton(*row(QStringLiteral("bob")), kRemove);
        button->setFocus();
        QTest::keyClick(button, Qt::Key_Space);
        drainEvents();
        QVERIFY(QApplication::focusWidget());
        QVERIFY(m_view->isAncestorOf(QApplication::focusWidget()));
    }

    void rowsThatStayKeepTheirFocus()
    {
        connectThree();
        open();
        auto *button = shownButton(*row(QStringLiteral("carol")), kRemove);
        button->setFocus();
        std::ignore = start(m_fixture->authentication->remove(1));
        drainEvents();
        QCOMPARE(QApplication::focusWidget(), button);
    }

    void installationsHaveSwitchesInTheOrderOfTheStore()
    {
        connectThree();
        open();
        QVERIFY(shownLabel(*m_view, QStringLiteral("Installations")));
        QCOMPARE(switches().size(), 2);
        QCOMPARE(withoutMnemonic(switches().at(0)->text()), QStringLiteral("alice-org"));
        QCOMPARE(withoutMnemonic(switches().at(1)->text()), QStringLiteral("carol-org"));
        QVERIFY(
            switches().at(0)->mapTo(m_view.get(), QPoint()).y() < switches().at(1)->mapTo(m_view.get(), QPoint()).y());
        auto *interface = QAccessible::queryAccessibleInterface(switches().first());
        QCOMPARE(interface->text(QAccessible::Description), QStringLiteral("Organization"));
        QVERIFY(switches().first()->isChecked());
    }

    void aSwitchSwitchesItsInstallationAndWritesOnce()
    {
        connectThree();
        open();
        m_fixture->defaults.writes.clear();
        QTest::mouseClick(switches().at(1), Qt::LeftButton);
        QCOMPARE(m_fixture->defaults.writes, QStringList{QStringLiteral("github.disabledInstallations")});
        QVERIFY(!m_fixture->installations->installations().at(1).isEnabled);
        QVERIFY(m_fixture->installations->installations().at(0).isEnabled);
        QVERIFY(!switches().at(1)->isChecked());
        auto *interface = QAccessible::queryAccessibleInterface(switches().at(1));
        QCOMPARE(interface->text(QAccessible::Name), QStringLiteral("carol-org, not monitored"));
        QTest::keyClick(switches().at(1), Qt::Key_Space);
        QVERIFY(m_fixture->installations->installations().at(1).isEnabled);
        QCOMPARE(interface->text(QAccessible::Name), QStringLiteral("carol-org, monitored"));
    }

    void aChoiceMadeElsewhereIsShown()
    {
        connectThree();
        open();
        m_fixture->installations->setInstallation(QStringLiteral("1:7"), false);
        QVERIFY(!switches().at(0)->isChecked());
    }

    void managingOpensTheInstallationPage()
    {
        connectThree();
        open();
        shownButton(*m_view, kManage)->click();
        QCOMPARE(m_fixture->urlOpener.opened, QStringList{kInstallationPage});
    }

    void theTabRefreshesWhenItAppears()
    {
        connectThree();
        open();
        QCOMPARE(m_fixture->installations->state().state, InstallationLoadingState::Case::Ready);
        m_fixture->github.clearLog();
        m_view->hide();
        m_view->show();
        drainEvents();
        QVERIFY(!m_fixture->github.restRequests.isEmpty());
    }

    void installingOpensThePageAndInstallationsAreExpectedFromThenOn()
    {
        connectThree();
        open();
        QVERIFY(!m_fixture->installations->expectsInstallations(1));
        shownButton(*row(QStringLiteral("bob")), kInstall)->click();
        QCOMPARE(m_fixture->urlOpener.opened, QStringList{kInstallationPage});
        QVERIFY(m_fixture->installations->expectsInstallations(1));
    }

    void whatIsInstalledMeanwhileIsShownAsSoonAsItIsKnown()
    {
        connectThree();
        open();
        m_fixture->github.identities[QStringLiteral("bob")].repositories.append(repository(QStringLiteral("bob/new")));
        awaitValue(
            m_fixture->monitor->refreshExpected(m_fixture->authentication.get(), m_fixture->installations.get()));
        QVERIFY(shownLabel(*row(QStringLiteral("bob")), QStringLiteral("1 installation")));
        QCOMPARE(switches().size(), 3);
    }

    void anAccountThatJoinsWithoutAnInstallationSaysSo()
    {
        m_fixture->connect(1, QStringLiteral("alice")).repositories.append(repository(QStringLiteral("acme/web")));
        open();
        m_fixture->connect(2, QStringLiteral("bob"));
        m_fixture->defaults.setValue(QStringLiteral("github.accounts"), encodeJSON(m_fixture->accounts));
        awaitValue(m_fixture->installations->refreshIdentities(m_fixture->authentication.get(), QSet<qint64>({2})));
        QVERIFY(shownLabel(*row(QStringLiteral("bob")), QStringLiteral("No installations")));
        QVERIFY(shownButton(*row(QStringLiteral("bob")), kInstall));
    }

    void theRefreshEndsWhenTheTabDisappears()
    {
        connectThree();
        m_fixture->build();
        m_fixture->github.session->handler = {};
        show();
        QVERIFY(waitUntil([this] { return m_fixture->github.session->openRequests == 1; }));
        QCOMPARE(m_fixture->installations->state().state, InstallationLoadingState::Case::Loading);
        m_view->hide();
        drainEvents();
        QCOMPARE(m_fixture->github.session->openRequests, 0);
        QCOMPARE(m_fixture->installations->state().state, InstallationLoadingState::Case::Disconnected);
        QCOMPARE(m_fixture->github.session->requests.size(), 1);
    }

    void theRefreshEndsWithTheView()
    {
        connectThree();
        m_fixture->build();
        m_fixture->github.session->handler = {};
        show();
        QVERIFY(waitUntil([this] { return m_fixture->github.session->openRequests == 1; }));
        m_view.reset();
        drainEvents();
        QCOMPARE(m_fixture->github.session->openRequests, 0);
    }

    void connectingShowsTheCodeAndEndsWithTheNewAccount()
    {
        open();
        shownButton(*m_view, kAdd)->click();
        drainEvents();
        QCOMPARE(m_fixture->authentication->connectionState(), GitHubSessionStatus::AwaitingAuthorization);
        QVERIFY(!shownButton(*m_view, kAdd)->isEnabled());
        QVERIFY(shownLabel(*m_view, QStringLiteral("Enter this code on GitHub")));
        QVERIFY(shownLabel(*m_view, kCode));
        QVERIFY(shownLabel(*m_view, kCode)->textInteractionFlags().testFlag(Qt::TextSelectableByMouse));
        QVERIFY(shownLabel(*m_view,
            QStringLiteral("After authorization, GitHub will ask which account or organisation Velmora can access.")));
        QVERIFY(m_view->findChild<ProgressSpinner *>()->isVisible());

        m_fixture->github.session->handler = [answer = m_fixture->github.session->handler](const HTTPRequest &request) {
            if (request.url.path() == QStringLiteral("/user"))
                return FakeHTTPSession::response(200, "{\"id\": 9, \"login\": \"dora\"}");
            return answer(request);
        };
        m_fixture->github.identities[QStringLiteral("token")];
        m_fixture->github.grantedToken = QStringLiteral("token");
        m_fixture->clock.advance(std::chrono::seconds(5));
        drainEvents();
        QVERIFY(!shownLabel(*m_view, kCode));
        QVERIFY(shownLabel(*row(QStringLiteral("dora")), QStringLiteral("Connected")));
        QVERIFY(shownButton(*m_view, kAdd)->isEnabled());
        QCOMPARE(m_fixture->urlOpener.opened.size(), 2);
        // The second page is the one on which the App is installed.
        QVERIFY(m_fixture->installationPage.wasOpenedLately());
        awaitValue(m_fixture->installations->refreshIdentities(m_fixture->authentication.get(), QSet<qint64>({9})));
        QVERIFY(shownLabel(*row(QStringLiteral("dora")), QStringLiteral("No installations")));
    }

    void theAddButtonWaitsWhileACodeIsRequested()
    {
        m_fixture->build();
        m_fixture->github.session->handler = {};
        show();
        shownButton(*m_view, kAdd)->click();
        QCOMPARE(m_fixture->authentication->connectionState(), GitHubSessionStatus::RequestingCode);
        QVERIFY(!shownButton(*m_view, kAdd)->isEnabled());
        QVERIFY(!shownLabel(*m_view, QStringLiteral("Enter this code on GitHub")));
    }

    void theButtonsOfTheCodeCopyOpenAndCancel()
    {
        open();
        shownButton(*m_view, kAdd)->click();
        drainEvents();
        m_fixture->pasteboard.copied.clear();
        m_fixture->urlOpener.opened.clear();
        shownButton(*m_view, QStringLiteral("Copy code"))->click();
        QCOMPARE(m_fixture->pasteboard.copied, QStringList{kCode});
        shownButton(*m_view, QStringLiteral("Open GitHub"))->click();
        QCOMPARE(m_fixture->urlOpener.opened, QStringList{QStringLiteral("https://github.com/login/device")});
        shownButton(*m_view, QStringLiteral("Cancel"))->click();
        // At once, without running the event loop.
        QVERIFY(!shownLabel(*m_view, kCode));
        QVERIFY(shownButton(*m_view, kAdd)->isEnabled());
        QCOMPARE(m_fixture->authentication->connectionState(), GitHubSessionStatus::Disconnected);
        QVERIFY(!m_fixture->authentication->errorMessage());
    }

    void aFailedConnectionIsSaidInRedAndCanBeTriedAgain()
    {
        m_fixture->github.session->enqueue(500, "{}");
        m_fixture->build();
        show();
        shownButton(*m_view, kAdd)->click();
        drainEvents();
        QCOMPARE(m_fixture->authentication->connectionState(), GitHubSessionStatus::ReconnectRequired);
        const QString message = *m_fixture->authentication->errorMessage();
        QVERIFY(shownLabel(*m_view, message));
        QVERIFY(shownButton(*m_view, kAdd)->isEnabled());
        shownButton(*m_view, kAdd)->click();
        drainEvents();
        QVERIFY(!shownLabel(*m_view, message));
        QVERIFY(shownLabel(*m_view, kCode));
    }

    void picturesComeWhenTheTabIsShown()
    {
        m_fixture->connect(1, QStringLiteral("alice"));
        m_fixture->connect(2, QStringLiteral("bob"));
        m_fixture->accounts[0].avatarURL = WebAddress(kPicture);
        m_avatars->pictures.insert(kPicture, picture());
        m_fixture->build();
        make();
        drainEvents();
        QVERIFY(m_avatars->asked.isEmpty());
        m_view->show();
        QVERIFY(waitUntil([this] { return avatar(QStringLiteral("alice"))->hasPicture(); }));
        QVERIFY(!avatar(QStringLiteral("bob"))->hasPicture());
        QCOMPARE(m_avatars->asked, QStringList{kPicture});
    }

    void namesAreShownLiterally()
    {
        m_fixture->connect(1, QStringLiteral("<b>alice</b>"));
        open();
        QCOMPARE(shownLabel(*m_view, QStringLiteral("<b>alice</b>"))->textFormat(), Qt::PlainText);
    }

    void tabVisitsTheControlsAsTheyStand()
    {
        connectThree();
        open();
        QList<QWidget *> expected{shownButton(*m_view, kAdd), shownButton(*row(QStringLiteral("alice")), kRemove),
            shownButton(*row(QStringLiteral("bob")), kInstall), shownButton(*row(QStringLiteral("bob")), kRemove),
            shownButton(*row(QStringLiteral("carol")), kRemove), shownButton(*m_view, kManage), switches().at(0),
            switches().at(1)};
        expected.first()->setFocus();
        for (qsizetype i = 1; i < expected.size(); ++i) {
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
            QCOMPARE(QApplication::focusWidget(), expected.at(i));
        }
    }

    void buttonsOfTheSameNameAreToldApart()
    {
        connectThree();
        open();
        auto *interface = QAccessible::queryAccessibleInterface(shownButton(*row(QStringLiteral("bob")), kRemove));
        QCOMPARE(interface->text(QAccessible::Name), kRemove);
        QCOMPARE(interface->text(QAccessible::Description), QStringLiteral("bob"));
    }

    void thePanelLeavesTheListsTheirRoom()
    {
        connectThree();
        open();
        shownButton(*m_view, kAdd)->click();
        drainEvents();
        QVERIFY(switches().first()->window() == m_view.get());
        const QWidget *list = switches().first()->parentWidget()->parentWidget();
        QVERIFY(list->height() >= 100);
    }

private:
    /// alice and carol have an installation each, bob has none.
    void connectThree()
    {
        m_fixture->connect(1, QStringLiteral("alice")).repositories.append(repository(QStringLiteral("acme/web")));
        m_fixture->connect(2, QStringLiteral("bob"));
        m_fixture->connect(3, QStringLiteral("carol")).repositories.append(repository(QStringLiteral("carol/site")));
    }

    void make()
    {
        m_view = std::make_unique<AccountsSettingsView>(m_fixture->stores(), m_fixture->ports(), m_avatars.get());
        m_view->resize(596, 388);
    }

    void show()
    {
        make();
        m_view->show();
        QVERIFY(QTest::qWaitForWindowActive(m_view.get()));
    }

    /// Builds the stores, opens the tab and lets it load.
    void open()
    {
        m_fixture->build();
        show();
        drainEvents();
    }

    [[nodiscard]] QList<AccountRow *> rows() const
    {
        QList<AccountRow *> shown;
        for (auto *candidate : m_view->findChildren<AccountRow *>()) {
            if (candidate->isVisibleTo(m_view.get()))
                shown.append(candidate);
        }
        return shown;
    }

    [[nodiscard]] AccountRow *row(const QString &login) const
    {
        const auto all = rows();
        const auto found = std::ranges::find(all, login, &AccountRow::accessibleName);
        return found == all.end() ? nullptr : *found;
    }

    [[nodiscard]] AvatarView *avatar(const QString &login) const { return row(login)->findChild<AvatarView *>(); }

    [[nodiscard]] QList<SwitchControl *> switches() const
    {
        QList<SwitchControl *> shown;
        for (auto *candidate : m_view->findChildren<SwitchControl *>()) {
            if (candidate->isVisibleTo(m_view.get()))
                shown.append(candidate);
        }
        return shown;
    }

    std::unique_ptr<FakeAvatarLoading> m_avatars;
    std::unique_ptr<MonitorFixture> m_fixture;
    std::unique_ptr<AccountsSettingsView> m_view;
};

VELMORA_WIDGET_TEST(AccountsSettingsViewTest)
#include "accounts_settings_view_test.moc"
