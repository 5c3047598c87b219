// SPDX-License-Identifier: MIT
#include "ui/window/deployment_finder.h"

#include "support/builders.h"
#include "support/fake_clock.h"
#include "support/fake_pasteboard.h"
#include "support/fake_url_opener.h"
#include "support/test_main.h"
#include "ui/controls/empty_state_view.h"
#include "ui/controls/search_field.h"
#include "ui/controls/text_label.h"
#include "ui/deployments/deployment_list_view.h"

#include <QAccessible>
#include <QApplication>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>

using namespace velmora;
using namespace velmora::testing;

namespace
{

DeploymentSnapshot deployment(const char *repository, DeploymentState state = DeploymentState::Success)
{
    const QString name = QString::fromLatin1(repository);
    auto made = makeSnapshot(name, state, noon());
    made.repositoryName = name;
    return made;
}

/// Hands the keys that no control uses to the finder, as the window does.
class Surroundings final : public QWidget
{
public:
    using QWidget::QWidget;
    DeploymentFinder *finder = nullptr;
    QList<int> left; ///< the keys that the finder did not use

protected:
    void keyPressEvent(QKeyEvent *event) override
    {
        if (!finder->takeKey(*event))
            left.append(event->key());
    }
};

} // namespace

class DeploymentFinderTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_clock = std::make_unique<FakeClock>(noon());
        m_opener = std::make_unique<FakeURLOpener>();
        m_pasteboard = std::make_unique<FakePasteboard>();
        DesktopPorts ports;
        ports.clock = m_clock.get();
        ports.urlOpener = m_opener.get();
        ports.pasteboard = m_pasteboard.get();
        m_window = std::make_unique<Surroundings>();
        m_list = new DeploymentListView(ports);
        m_finder = new DeploymentFinder(m_list, m_window.get());
        m_window->finder = m_finder;
        m_window->resize(360, 360);
        m_finder->resize(360, 360);
        m_finder->setDeployments({deployment("acme/web", DeploymentState::Failure), deployment("acme/api"),
                                     deployment("zoo/app"), deployment("zoo/web")},
            {});
        m_window->show();
        QVERIFY(QTest::qWaitForWindowActive(m_window.get()));
        m_finder->focusDeployments();
        QVERIFY(m_list->hasFocus());
    }
    void cleanup() { m_window.reset(); }

    void withoutASearchThereIsTheListAlone()
    {
        QVERIFY(!field()->isVisible());
        QCOMPARE(m_list->height(), 360);
        QCOMPARE(shown().size(), 4);
        QVERIFY(m_list->isVisible());
    }

    void lettersFindDeploymentsAndNoTitles()
    {
        type("zo");
        QVERIFY(field()->hasFocus());
        QCOMPARE(field()->text(), QStringLiteral("zo"));
        QCOMPARE(shown(), QStringList({QStringLiteral("zoo/app"), QStringLiteral("zoo/web")}));
        type("o w");
        QCOMPARE(shown(), QStringList(QStringLiteral("zoo/web")));
        // "Failed" is the title of a section.
        field()->setText(QStringLiteral("failed"));
        QCOMPARE(shown(), QStringList());
    }

    void theNumberIsSaidToEverybody()
    {
        type("web");
        QCOMPARE(hits()->text(), QStringLiteral("2 of 4"));
        QCOMPARE(hits()->accessibleName(), QStringLiteral("2 of 4 deployments found"));
        QCOMPARE(field()->accessibleName(), QStringLiteral("Find deployments"));
        QCOMPARE(field()->accessibleDescription(), QStringLiteral("2 of 4 deployments found"));
        m_finder->setDeployments({deployment("acme/web")}, {});
        QCOMPARE(hits()->text(), QStringLiteral("1 of 1"));
        field()->clear();
        QCOMPARE(hits()->text(), QString());
        QCOMPARE(field()->accessibleDescription(), QString());
    }

    void escapeEndsTheSearchFirst()
    {
        type("web");
        press(Qt::Key_Escape);
        QVERIFY(!field()->isVisible());
        QCOMPARE(field()->text(), QString());
        QCOMPARE(shown().size(), 4);
        QVERIFY(m_list->hasFocus());
        QCOMPARE(m_window->left, QList<int>());
        press(Qt::Key_Escape);
        QCOMPARE(m_window->left, QList<int>{Qt::Key_Escape});
    }

    void escapeEndsItFromTheListAndWithAnEmptyFieldAsWell()
    {
        type("web");
        press(Qt::Key_Down);
        QVERIFY(m_list->hasFocus());
        press(Qt::Key_Escape);
        QCOMPARE(shown().size(), 4);
        m_finder->find();
        QVERIFY(field()->isVisible());
        press(Qt::Key_Escape);
        QVERIFY(!field()->isVisible());
        QCOMPARE(m_window->left, QList<int>());
    }

    void keysThatLookForNothingBeginNoSearch()
    {
        press(Qt::Key_Space);
        press(Qt::Key_Backspace);
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_A, Qt::AltModifier);
        QVERIFY(!field()->isVisible());
        QCOMPARE(m_window->left, (QList<int>{Qt::Key_Space, Qt::Key_Backspace, Qt::Key_Alt, Qt::Key_A}));
    }

    void findShowsTheFieldWithItsTextSelected()
    {
        type("web");
        press(Qt::Key_Down);
        m_finder->find();
        QVERIFY(field()->hasFocus());
        QCOMPARE(field()->selectedText(), QStringLiteral("web"));
        type("z");
        QCOMPARE(field()->text(), QStringLiteral("z"));
        QCOMPARE(shown().size(), 2);
    }

    void downAndReturnLeadToTheFirstHitAndUpBack_data()
    {
        QTest::addColumn<Qt::Key>("key");
        QTest::newRow("Down") << Qt::Key_Down;
        QTest::newRow("Return") << Qt::Key_Return;
    }
    void downAndReturnLeadToTheFirstHitAndUpBack()
    {
        QFETCH(Qt::Key, key);
        type("zoo");
        press(key);
        QVERIFY(m_list->hasFocus());
        QCOMPARE(current(), QStringLiteral("zoo/app"));
        QCOMPARE(m_opener->opened, QStringList());
        press(Qt::Key_Down);
        QCOMPARE(current(), QStringLiteral("zoo/web"));
        press(Qt::Key_Up);
        QVERIFY(m_list->hasFocus());
        press(Qt::Key_Up);
        QVERIFY(field()->hasFocus());
        QCOMPARE(field()->text(), QStringLiteral("zoo"));
    }

    void withoutASearchUpStaysInTheList()
    {
        press(Qt::Key_Down);
        press(Qt::Key_Up);
        QVERIFY(m_list->hasFocus());
        QVERIFY(!field()->isVisible());
    }

    void theKeysOfTheListGoOnWorkingAmongTheHits()
    {
        const QSignalSpy dismissed(m_list, &DeploymentListView::dismissalChosen);
        type("acme");
        press(Qt::Key_Down);
        QCOMPARE(current(), QStringLiteral("acme/web"));
        press(Qt::Key_Delete);
        QCOMPARE(dismissed.size(), 1);
        press(Qt::Key_End);
        QCOMPARE(current(), QStringLiteral("acme/api"));
        press(Qt::Key_Return);
        QCOMPARE(m_opener->opened.size(), 1);
        // A letter in the list goes on with the search.
        type("/w");
        QCOMPARE(field()->text(), QStringLiteral("acme/w"));
        press(Qt::Key_Down);
        press(Qt::Key_Backspace);
        QCOMPARE(field()->text(), QStringLiteral("acme/"));
    }

    void whatComesMeanwhileIsLookedThroughAsWell()
    {
        type("zoo");
        m_finder->setDeployments({deployment("acme/web"), deployment("zoo/new"), deployment("zoo/app")}, {});
        QCOMPARE(shown(), QStringList({QStringLiteral("zoo/new"), QStringLiteral("zoo/app")}));
        press(Qt::Key_Escape);
        QCOMPARE(shown().size(), 3);
    }

    void aShorterTextFindsMoreAgain()
    {
        type("zoo/w");
        QCOMPARE(shown().size(), 1);
        press(Qt::Key_Backspace);
        QCOMPARE(shown().size(), 2);
        field()->setText(QStringLiteral("api"));
        QCOMPARE(shown(), QStringList(QStringLiteral("acme/api")));
    }

    void theNumbersOfTheTitlesAreThoseOfTheHits()
    {
        FailureMark dismissed;
        dismissed.isDismissed = true;
        dismissed.isCounted = false;
        const FailureMarks marks{{QStringLiteral("acme/web"), dismissed}};
        m_finder->setDeployments(
            {deployment("acme/web", DeploymentState::Failure), deployment("zoo/app", DeploymentState::Failure)}, marks);
        QCOMPARE(title(), QStringLiteral("Failed, 1"));
        type("zoo");
        QCOMPARE(title(), QStringLiteral("Failed, 1"));
        field()->setText(QStringLiteral("acme"));
        QCOMPARE(title(), QStringLiteral("Failed, 0"));
    }

    void whatIsHiddenIsLookedThroughAsWell()
    {
        const MarkedDeployments hidden{{deployment("acme/hidden"), deployment("zoo/hidden")}, {}};
        m_finder->setDeployments({deployment("acme/web")}, {}, hidden);
        QCOMPARE(lastRow(), QStringLiteral("2 hidden by your choices"));
        type("zoo");
        QVERIFY(m_list->isVisible());
        QCOMPARE(lastRow(), QStringLiteral("1 hidden by your choices"));
        QCOMPARE(hits()->text(), QStringLiteral("0 of 1"));
        press(Qt::Key_Down);
        press(Qt::Key_Up);
        QVERIFY(field()->hasFocus());
        press(Qt::Key_Escape);
        QCOMPARE(lastRow(), QStringLiteral("2 hidden by your choices"));
    }

    void nothingFoundIsSaidWithAWayBack()
    {
        type("none");
        QVERIFY(!m_list->isVisible());
        QCOMPARE(labels(),
            QStringList({QStringLiteral("0 of 4"), QStringLiteral("No results for “none”"),
                QStringLiteral("Check the spelling or try another search.")}));
        auto *back = m_finder->findChild<EmptyStateView *>()->button();
        QCOMPARE(back->text(), QStringLiteral("Show all"));
        back->setFocus();
        back->click();
        QVERIFY(m_list->isVisible());
        QVERIFY(m_list->hasFocus());
        QVERIFY(!field()->isVisible());
        QCOMPARE(shown().size(), 4);
    }

    void theSearchEndsWhenTheWindowIsClosed()
    {
        type("web");
        m_window->hide();
        m_window->show();
        QVERIFY(!field()->isVisible());
        QCOMPARE(shown().size(), 4);
    }

    void theSelectedDeploymentStaysSelectedAmongTheHits()
    {
        press(Qt::Key_End);
        QCOMPARE(current(), QStringLiteral("zoo/web"));
        type("zoo");
        QCOMPARE(current(), QStringLiteral("zoo/web"));
        press(Qt::Key_Escape);
        QCOMPARE(current(), QStringLiteral("zoo/web"));
    }

private:
    void type(const char *text) const
    {
        for (const char *letter = text; *letter != '\0'; ++letter)
            QTest::keyClick(QApplication::focusWidget(), *letter);
    }
    void press(Qt::Key key) const { QTest::keyClick(QApplication::focusWidget(), key); }

    [[nodiscard]] SearchField *field() const { return m_finder->findChild<SearchField *>(); }
    [[nodiscard]] TextLabel *hits() const { return field()->parentWidget()->findChild<TextLabel *>(); }
    [[nodiscard]] QString current() const { return m_list->currentIndex().data().toString(); }
    [[nodiscard]] QString lastRow() const
    {
        return m_list->model()->index(m_list->model()->rowCount() - 1, 0).data().toString();
    }
    [[nodiscard]] QString title() const { return m_list->model()->index(0, 0).data(Qt::AccessibleTextRole).toString(); }

    /// The repositories in the list, without the titles.
    [[nodiscard]] QStringList shown() const
    {
        QStringList names;
        for (int row = 0; row < m_list->model()->rowCount(); ++row) {
            const QModelIndex index = m_list->model()->index(row, 0);
            if (index.flags().testFlag(Qt::ItemIsSelectable))
                names.append(index.data().toString());
        }
        return names;
    }

    [[nodiscard]] QStringList labels() const
    {
        QStringList texts;
        for (const auto *label : m_finder->findChildren<QLabel *>()) {
            if (label->isVisible() && !label->text().isEmpty())
                texts.append(label->text());
        }
        return texts;
    }

    std::unique_ptr<FakeClock> m_clock;
    std::unique_ptr<FakeURLOpener> m_opener;
    std::unique_ptr<FakePasteboard> m_pasteboard;
    std::unique_ptr<Surroundings> m_window;
    DeploymentListView *m_list = nullptr;
    DeploymentFinder *m_finder = nullptr;
};

VELMORA_WIDGET_TEST(DeploymentFinderTest)
#include "deployment_finder_test.moc"
