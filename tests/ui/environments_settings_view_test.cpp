// SPDX-License-Identifier: MIT
#include "ui/settings/environments/environments_settings_view.h"

#include "monitor/environments.h"
#include "support/await.h"
#include "support/builders.h"
#include "support/fake_clock.h"
#include "support/fake_preferences.h"
#include "support/test_main.h"
#include "support/widget_probe.h"
#include "ui/controls/choice_painting.h"
#include "ui/controls/search_field.h"
#include "ui/controls/switch_control.h"
#include "ui/settings/environments/environment_list_model.h"
#include "ui/settings/environments/environment_list_view.h"

#include <QAbstractItemModelTester>
#include <QAccessible>
#include <QApplication>
#include <QHelpEvent>
#include <QPainter>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>
#include <QToolTip>

using namespace velmora;
using namespace velmora::testing;
using namespace Qt::Literals::StringLiterals;
using enum EnvironmentChoice;

class EnvironmentsSettingsViewTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_view.reset();
        m_defaults.values.clear();
        m_environments = std::make_unique<Environments>(&m_defaults, &m_clock, QString());
    }
    void cleanup()
    {
        m_view.reset();
        drainEvents();
    }

    void everyTextIsThere()
    {
        seeSome();
        open();
        const QStringList texts = shownTexts(*m_view);
        QCOMPARE(texts.at(0), u"Environments"_s);
        QCOMPARE(texts.at(1), u"Notify as usual, show without notifications, or hide altogether."_s);
        QCOMPARE(texts.last(),
            u"Production is “production”, “prod”, a name that begins with one of these words, and “github-pages”. "
            u"Everything else is listed, but not announced unless you choose so afterwards."_s);
        QCOMPARE(field()->placeholderText(), u"Search environments"_s);
        QCOMPARE(list()->accessibleName(), u"Environments"_s);
        QCOMPARE(onlyProduction()->name(), u"Only production"_s);
    }

    void eachLineHasTheNumberOfItsRepositories()
    {
        seeSome();
        open();
        QCOMPARE(shownNames(), (QStringList{u"preview-*"_s, u"production"_s, u"staging"_s}));
        const QModelIndex previews = index(0);
        QCOMPARE(previews.data(Qt::AccessibleTextRole).toString(), u"preview-*, Notify"_s);
        QCOMPARE(previews.data(Qt::AccessibleDescriptionRole).toString(), u"2 repositories in the last 30 days"_s);
        QCOMPARE(index(2).data(Qt::AccessibleDescriptionRole).toString(), u"1 repository in the last 30 days"_s);
        m_environments->choose({{u"none-*"_s, Hide}});
        QCOMPARE(index(0).data(Qt::AccessibleDescriptionRole).toString(), u"Not seen in the last 30 days"_s);
    }

    void withoutEnvironmentsThatIsSaid()
    {
        open();
        QVERIFY(shownLabel(*m_view, u"No environments yet"_s));
        QVERIFY(shownLabel(*m_view, u"Every environment appears here that had a deployment in the last 30 days."_s));
        seeSome();
        QVERIFY(list()->isVisible());
        field()->setText(u"<b>"_s);
        QVERIFY(shownLabel(*m_view, u"No results for “<b>”"_s));
        QVERIFY(!list()->isVisible());
        field()->clear();
        QVERIFY(list()->isVisible());
    }

    void aClickOnAWordChoosesIt()
    {
        seeSome();
        open();
        click(0, Hide);
        QCOMPARE(m_environments->choices().rules, (QList<EnvironmentRule>{{u"preview-*"_s, Hide}}));
        QCOMPARE(index(0).data(Qt::AccessibleTextRole).toString(), u"preview-*, Hide"_s);
        click(0, Show);
        QCOMPARE(m_environments->choices().rules, (QList<EnvironmentRule>{{u"preview-*"_s, Show}}));
        click(2, Hide);
        click(2, Notify);
        QCOMPARE(m_environments->choices().rules.size(), 1);
    }

    void aClickElsewhereOnlyMovesTheFocus()
    {
        seeSome();
        open();
        const QRect row = list()->visualRect(index(1));
        QTest::mouseClick(list()->viewport(), Qt::LeftButton, {}, row.center() - QPoint(row.width() / 4, 0));
        QTest::mousePress(list()->viewport(), Qt::LeftButton, {}, pointOf(1, Hide));
        QTest::mouseRelease(list()->viewport(), Qt::LeftButton, {}, pointOf(1, Show));
        QTest::mousePress(list()->viewport(), Qt::LeftButton, {}, pointOf(0, Hide));
        QTest::mouseRelease(list()->viewport(), Qt::LeftButton, {}, pointOf(1, Hide));
        QTest::mouseClick(list()->viewport(), Qt::RightButton, {}, pointOf(1, Hide));
        QTest::mouseClick(
            list()->viewport(), Qt::LeftButton, {}, list()->viewport()->rect().bottomRight() - QPoint(20, 2));
        QCOMPARE(m_environments->choices(), EnvironmentChoices());
    }

    void theKeyboardChooses()
    {
        seeSome();
        open();
        field()->setFocus();
        QTest::keyClick(field(), Qt::Key_Down);
        QCOMPARE(list()->currentIndex(), index(0));
        QTest::keyClick(list(), Qt::Key_Right);
        QCOMPARE(choiceIn(0), Show);
        QTest::keyClick(list(), Qt::Key_Right);
        QTest::keyClick(list(), Qt::Key_Right);
        QCOMPARE(choiceIn(0), Hide);
        QTest::keyClick(list(), Qt::Key_Left);
        QCOMPARE(choiceIn(0), Show);
        QTest::keyClick(list(), Qt::Key_Space);
        QCOMPARE(choiceIn(0), Hide);
        QTest::keyClick(list(), Qt::Key_Space);
        QCOMPARE(choiceIn(0), Notify);
        QTest::keyClick(list(), Qt::Key_Left);
        QCOMPARE(choiceIn(0), Notify);
        QVERIFY(list()->hasFocus());
        QTest::keyClick(list(), Qt::Key_Up);
        QVERIFY(field()->hasFocus());
    }

    void fromRightToLeftTheArrowsAreMirrored()
    {
        seeSome();
        open();
        m_view->setLayoutDirection(Qt::RightToLeft);
        list()->focusRow();
        QTest::keyClick(list(), Qt::Key_Left);
        QCOMPARE(choiceIn(0), Show);
        click(0, Hide);
        QCOMPARE(choiceIn(0), Hide);
    }

    void whatIsTypedIsSearchedFor()
    {
        seeSome();
        m_environments->choose({{u"staging"_s, Hide, u"R_web"_s, u"acme/web"_s}});
        open();
        list()->focusRow();
        QTest::keyClicks(QApplication::focusWidget(), u"STAG"_s);
        QCOMPARE(field()->text(), u"STAG"_s);
        QCOMPARE(shownNames(), (QStringList{u"staging"_s, u"acme/web:staging"_s}));
        field()->setText(u"acme/"_s);
        QCOMPARE(shownNames(), QStringList(u"acme/web:staging"_s));
        QTest::keyClick(m_view.get(), Qt::Key_F, Qt::ControlModifier);
        QCOMPARE(field()->selectedText(), u"acme/"_s);
    }

    void theFocusStaysWithTheLineWhateverComes()
    {
        seeSome();
        open();
        list()->focusRow();
        list()->setCurrentIndex(index(1));
        see({to(u"web"_s, u"ci"_s)});
        QCOMPARE(list()->currentIndex().data().toString(), u"production"_s);
        field()->setText(u"prod"_s);
        QCOMPARE(list()->currentIndex().data().toString(), u"production"_s);
    }

    void onlyProductionIsOneClick()
    {
        seeSome();
        open();
        QVERIFY(!onlyProduction()->isChecked());
        onlyProduction()->click();
        QCOMPARE(m_environments->choices(), (EnvironmentChoices{{}, true}));
        QCOMPARE(choiceIn(0), Show);
        QCOMPARE(choiceIn(1), Notify);
        QCOMPARE(choiceIn(2), Show);
        onlyProduction()->click();
        QCOMPARE(m_environments->choices(), EnvironmentChoices());
        // Another program may choose it as well.
        storeEnvironmentChoices(&m_defaults, {{}, true});
        QVERIFY(onlyProduction()->isChecked());
    }

    void assistiveTechnologyOffersTheOtherChoices()
    {
        seeSome();
        open();
        auto actions = list()->accessibleActions(index(0));
        QCOMPARE(actions.size(), 2);
        QCOMPARE(actions.at(0).description, u"Show"_s);
        QCOMPARE(actions.at(1).description, u"Hide"_s);
        actions.at(1).perform();
        QCOMPARE(choiceIn(0), Hide);
        actions = list()->accessibleActions(index(0));
        QCOMPARE(actions.at(0).description, u"Notify"_s);
        auto *row = QAccessible::queryAccessibleInterface(list())->child(0);
        QCOMPARE(row->text(QAccessible::Name), u"preview-*, Hide"_s);
        QCOMPARE(row->actionInterface()->actionNames().size(), 2);
    }

    void aChangeOfOneLineIsOneChangeOfData()
    {
        seeSome();
        EnvironmentListModel model(m_environments.get());
        const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        QSignalSpy changes(&model, &QAbstractItemModel::dataChanged);
        QSignalSpy moves(&model, &QAbstractItemModel::layoutChanged);
        QVERIFY(model.setData(model.index(1), static_cast<int>(Hide), EnvironmentListModel::ChoiceRole));
        QVERIFY(!model.setData(model.index(1), static_cast<int>(Hide), EnvironmentListModel::ChoiceRole));
        QVERIFY(!model.setData(model.index(1), true, Qt::CheckStateRole));
        QVERIFY(!model.setData({}, static_cast<int>(Hide), EnvironmentListModel::ChoiceRole));
        QCOMPARE(changes.size(), 1);
        QCOMPARE(changes.first().first().toModelIndex().row(), 1);
        QCOMPARE(moves.size(), 0);
        see({to(u"web"_s, u"ci"_s)});
        QCOMPARE(moves.size(), 1);
        QVERIFY(!model.data({}, Qt::DisplayRole).isValid());
        QVERIFY(!model.index(0).data(Qt::DecorationRole).isValid());
    }

    void theChosenWordIsToldWithoutColour()
    {
        const QSize size = choiceSize(QApplication::font(), {u"Notify"_s, u"Show"_s, u"Hide"_s});
        const auto painted = [&](int chosen) {
            QImage image(size, QImage::Format_ARGB32_Premultiplied);
            image.fill(Qt::white);
            QPainter painter(&image);
            ChoiceLook look;
            look.names = {u"Notify"_s, u"Show"_s, u"Hide"_s};
            look.chosen = chosen;
            paintChoice(&painter, QRect({}, size), QApplication::font(), look, QPalette());
            painter.end();
            return image.convertToFormat(QImage::Format_Grayscale8);
        };
        QVERIFY(painted(0) != painted(1));
        QVERIFY(painted(1) != painted(2));
        const QRect frame({}, size);
        QCOMPARE(choiceAt(frame, 3, {2, 2}, Qt::LeftToRight), 0);
        QCOMPARE(choiceAt(frame, 3, {2, 2}, Qt::RightToLeft), 2);
        QCOMPARE(choiceAt(frame, 3, frame.center(), Qt::LeftToRight), 1);
        QCOMPARE(choiceAt(frame, 3, {-1, 2}, Qt::LeftToRight), -1);
    }

    void aNameThatIsCutHasATooltip()
    {
        see({to(u"web"_s, u"x"_s.repeated(255)), to(u"web"_s, u"ci"_s)});
        open();
        const auto toolTip = [&](int row) {
            QToolTip::hideText();
            const QPoint point = list()->visualRect(index(row)).center();
            QHelpEvent event(QEvent::ToolTip, point, list()->viewport()->mapToGlobal(point));
            QCoreApplication::sendEvent(list()->viewport(), &event);
            return QToolTip::text();
        };
        QCOMPARE(toolTip(0), QString());
        QVERIFY(toolTip(1).contains(u"xxx"_s));
    }

    void tenThousandLinesCostWhatIsVisible()
    {
        DeploymentList many;
        for (int i = 0; i < 10'000; ++i)
            many.append(to(u"web"_s, u"environment-%1x"_s.arg(i, 5, 10, QLatin1Char('0'))));
        see(many);
        open();
        QCOMPARE(list()->model()->rowCount(), 10'000);
        list()->scrollToBottom();
        QVERIFY(list()->verticalScrollBar()->value() > 100'000);
        field()->setText(u"09999"_s);
        QCOMPARE(shownNames(), QStringList(u"environment-09999x"_s));
        click(0, Hide);
        QCOMPARE(m_environments->choices().rules.size(), 1);
    }

private:
    static DeploymentSnapshot to(const QString &repository, const QString &environment)
    {
        DeploymentSnapshot made = makeSnapshot(repository + environment, DeploymentState::Success, noon());
        made.repositoryNodeID = u"R_"_s + repository;
        made.repositoryName = u"acme/"_s + repository;
        made.environment = environment;
        return made;
    }
    void see(const DeploymentList &deployments) { m_environments->see(deployments); }
    void seeSome()
    {
        see({to(u"web"_s, u"production"_s), to(u"api"_s, u"production"_s), to(u"web"_s, u"staging"_s),
            to(u"web"_s, u"preview-1"_s), to(u"web"_s, u"preview-2"_s), to(u"api"_s, u"preview-3"_s)});
    }
    void open()
    {
        m_view = std::make_unique<EnvironmentsSettingsView>(m_environments.get());
        m_view->resize(596, 400);
        m_view->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_view.get()));
        drainEvents();
    }
    [[nodiscard]] EnvironmentListView *list() const { return m_view->findChild<EnvironmentListView *>(); }
    [[nodiscard]] SearchField *field() const { return m_view->findChild<SearchField *>(); }
    [[nodiscard]] SwitchControl *onlyProduction() const { return m_view->findChild<SwitchControl *>(); }
    [[nodiscard]] QModelIndex index(int row) const { return list()->model()->index(row, 0); }
    [[nodiscard]] EnvironmentChoice choiceIn(int row) const
    {
        return static_cast<EnvironmentChoice>(index(row).data(EnvironmentListModel::ChoiceRole).toInt());
    }
    [[nodiscard]] QStringList shownNames() const
    {
        QStringList names;
        for (int row = 0; row < list()->model()->rowCount(); ++row)
            names.append(index(row).data().toString());
        return names;
    }
    /// In the middle of the word of this choice.
    [[nodiscard]] QPoint pointOf(int row, EnvironmentChoice choice) const
    {
        const QRect place = list()->visualRect(index(row));
        QStyleOptionViewItem option;
        option.initFrom(list());
        option.font = list()->font();
        option.rect = place;
        int first = -1;
        int last = -1;
        for (int x = place.left(); x <= place.right(); ++x) {
            if (EnvironmentRowDelegate::choiceAt(option, {x, place.center().y()}) != static_cast<int>(choice))
                continue;
            first = first < 0 ? x : first;
            last = x;
        }
        return {(first + last) / 2, place.center().y()};
    }
    void click(int row, EnvironmentChoice choice)
    {
        QTest::mouseClick(list()->viewport(), Qt::LeftButton, {}, pointOf(row, choice));
    }

    FakePreferences m_defaults;
    FakeClock m_clock{noon()};
    std::unique_ptr<Environments> m_environments;
    std::unique_ptr<EnvironmentsSettingsView> m_view;
};

VELMORA_WIDGET_TEST(EnvironmentsSettingsViewTest)
#include "environments_settings_view_test.moc"
