// SPDX-License-Identifier: MIT
// Tests of small widgets.
#include "support/monitor_fixture.h"
#include "support/palettes.h"
#include "support/test_main.h"
#include "ui/controls/age_ticker.h"
#include "ui/controls/empty_state_view.h"
#include "ui/controls/message_row.h"
#include "ui/controls/progress_spinner.h"
#include "ui/controls/row_list.h"
#include "ui/controls/search_field.h"
#include "ui/controls/text_label.h"
#include "ui/controls/unopened_page_row.h"
#include "ui/window/device_code_panel.h"
#include "ui/window/failure_window.h"

#include <QAbstractScrollArea>
#include <QAccessible>
#include <QApplication>
#include <QHelpEvent>
#include <QLabel>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <QToolButton>
#include <QToolTip>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;

namespace
{

QString text(const char *latin1)
{
    return QString::fromLatin1(latin1);
}

QString toolTip(QWidget &widget)
{
    QHelpEvent event(QEvent::ToolTip, QPoint(1, 1), widget.mapToGlobal(QPoint(1, 1)));
    QCoreApplication::sendEvent(&widget, &event);
    const QString shown = QToolTip::isVisible() ? QToolTip::text() : QString();
    QToolTip::hideText();
    [[maybe_unused]] const bool isGone = waitUntil([] { return !QToolTip::isVisible(); });
    return shown;
}

QPushButton *button(const QWidget &widget, const QString &label)
{
    for (auto *found : widget.findChildren<QPushButton *>()) {
        if (found->text() == label)
            return found;
    }
    return nullptr;
}

QStringList labels(const QWidget &widget)
{
    QStringList texts;
    for (const auto *label : widget.findChildren<QLabel *>()) {
        if (label->isVisibleTo(&widget))
            texts.append(label->text());
    }
    return texts;
}

} // namespace

class SmallPartsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // The search field

    void aSearchIsClearedByAButtonThatIsThereWhileThereIsText()
    {
        SearchField field(text("Search"));
        field.show();
        auto *const clear = field.findChildren<QToolButton *>().last();
        QCOMPARE(QAccessible::queryAccessibleInterface(clear)->text(QAccessible::Name), text("Clear"));
        QVERIFY(!clear->isVisible());
        QTest::keyClicks(&field, text("web"));
        QVERIFY(clear->isVisible());
        clear->click();
        QCOMPARE(field.text(), QString());
        QVERIFY(!clear->isVisible());
    }

    // Labels

    void textIsShownLiterally()
    {
        TextLabel label(TextSize::Body);
        label.setText(text("<b>x</b>"));
        QCOMPARE(label.sizeHint().width(), QFontMetrics(label.font()).horizontalAdvance(text("<b>x</b>")) + 1);
        QCOMPARE(QAccessible::queryAccessibleInterface(&label)->text(QAccessible::Name), text("<b>x</b>"));
        QCOMPARE(QAccessible::queryAccessibleInterface(&label)->role(), QAccessible::StaticText);
    }

    void aTextThatDoesNotFitIsCutAndWholeInTheToolTip()
    {
        TextLabel label(TextSize::Body);
        label.setText(text("octocat: <GitHub> returned something that is much too long for the place"));
        label.resize(label.sizeHint());
        label.show();
        QVERIFY(toolTip(label).isEmpty());
        const QImage whole = label.grab().toImage();
        label.resize(60, label.height());
        QVERIFY(label.grab().toImage() != whole.copy(0, 0, 60, whole.height()));
        QVERIFY(toolTip(label).contains(text("&lt;GitHub&gt;")));
    }

    void anExplanationTakesThePlaceOfTheText()
    {
        TextLabel label(TextSize::Caption);
        label.setTextAndExplanation(text("short"), text("a\nb & c"));
        label.resize(label.sizeHint());
        label.show();
        QVERIFY(toolTip(label).contains(text("b &amp; c")));
        QCOMPARE(label.accessibleDescription(), text("a\nb & c"));
        label.setTextAndExplanation(text("short"), {});
        QVERIFY(toolTip(label).isEmpty());
    }

    void aTextThatWrapsIsHigherWhereThereIsLessRoom()
    {
        TextLabel label(TextSize::Body, TextLabel::Overflow::Wrap);
        label.setText(text("one two three four five six seven eight nine ten"));
        const int line = QFontMetrics(label.font()).height();
        QVERIFY(label.heightForWidth(1000) < 2 * line);
        QVERIFY(label.heightForWidth(100) >= 3 * line);
        QVERIFY(label.sizeHint().height() >= label.heightForWidth(label.sizeHint().width()));
        QVERIFY(label.hasHeightForWidth());
        QCOMPARE(TextLabel(TextSize::Body).heightForWidth(10), -1);
    }

    void aTextThatWrapsIsCutAfterTheMostLines()
    {
        TextLabel label(TextSize::Body, TextLabel::Overflow::Wrap);
        label.setMostLines(3);
        label.setText(text("one two three four five six seven eight nine ten eleven twelve thirteen fourteen fifteen"));
        label.show();
        const int line = QFontMetrics(label.font()).height();
        label.resize(100, label.heightForWidth(100));
        QVERIFY(label.height() > 2 * line && label.height() < 4 * line);
        QVERIFY(toolTip(label).contains(text("fifteen")));
        // Nothing is elided if there is enough room.
        label.resize(1000, label.heightForWidth(1000));
        QVERIFY(label.height() < 2 * line);
        QVERIFY(toolTip(label).isEmpty());
        label.setText(text("a\nb"));
        QVERIFY(label.heightForWidth(1000) > line);
    }

    void labelsFollowPaletteFontAndTone()
    {
        TextLabel label(TextSize::Title);
        label.setText(text("Velmora"));
        label.resize(200, 40);
        const QImage before = label.grab().toImage();
        label.setTone(Tone::Red);
        const QImage red = label.grab().toImage();
        QVERIFY(red != before);
        label.setPalette(darkPalette());
        QVERIFY(label.grab().toImage() != red);
        const QSize size = label.sizeHint();
        label.setWeight(QFont::Bold);
        QVERIFY(label.sizeHint() != size);
        QFont font = label.font();
        font.setPointSizeF(font.pointSizeF() * 2);
        label.setFont(font);
        QVERIFY(label.sizeHint().height() > size.height());
        label.setEnabled(false);
        const QImage disabled = label.grab().toImage();
        label.setEnabled(true);
        QVERIFY(label.grab().toImage() != disabled);
    }

    void sizesStandInOrderForEveryKindOfFont()
    {
        for (const bool inPixels : {false, true}) {
            QFont font;
            if (inPixels)
                font.setPixelSize(20);
            const auto height = [&](TextSize size) {
                return QFontMetrics(styledFont(font, size)).height();
            };
            QVERIFY(height(TextSize::Caption) < height(TextSize::Body));
            QVERIFY(height(TextSize::Body) < height(TextSize::Title));
        }
        QCOMPARE(styledFont(QFont(), TextSize::Body, QFont::DemiBold).weight(), QFont::DemiBold);
    }

    // Spinner

    void aSpinnerTurnsWhileItIsShown()
    {
        ProgressSpinner spinner(text("Loading"), 24);
        QVERIFY(!spinner.isTurning());
        spinner.show();
        QVERIFY(spinner.isTurning());
        const QImage before = spinner.grab().toImage();
        QVERIFY(waitUntil([&] { return spinner.grab().toImage() != before; }));
        spinner.hide();
        QVERIFY(!spinner.isTurning());
        QCOMPARE(QAccessible::queryAccessibleInterface(&spinner)->text(QAccessible::Name), text("Loading"));
    }

    // Empty state

    void anEmptyStateHasAButtonOnlyWithSomethingToDo()
    {
        const EmptyStateView plain({text("checkmark.circle"), text("Title"), text("Description")});
        QVERIFY(!plain.button());
        QCOMPARE(labels(plain), (QStringList{text("Title"), text("Description")}));
        const EmptyStateView active({text("plus"), text("Title"), text("Description"), text("Do it")});
        QCOMPARE(active.button()->text(), text("Do it"));
    }

    void anEmptyStateSaysWhatWentWrong()
    {
        EmptyStateView view({text("plus"), text("Title"), text("Description"), text("Do it")});
        view.setError(text("No luck"));
        QVERIFY(labels(view).contains(text("No luck")));
        view.setError({});
        QCOMPARE(labels(view).size(), 2);
        view.setTitle(text("Other"));
        view.setDescription(text("Words"));
        QCOMPARE(labels(view), (QStringList{text("Other"), text("Words")}));
    }

    // Code panel

    void theCodeIsCopiedAndThePageOpenedAgain()
    {
        MonitorFixture fixture;
        fixture.build();
        connectAccount(fixture);
        const DeviceCodePanel panel(
            fixture.authentication.get(), fixture.ports(), DeviceCodePanel::Arrangement::Column);
        fixture.pasteboard.copied.clear();
        fixture.urlOpener.opened.clear();
        button(panel, text("Copy code"))->click();
        QCOMPARE(fixture.pasteboard.copied, QStringList{text("WDJB-MJHT")});
        button(panel, text("Open GitHub"))->click();
        QCOMPARE(fixture.urlOpener.opened, QStringList{text("https://github.com/login/device")});
        button(panel, text("Cancel"))->click();
        QVERIFY(!fixture.authentication->pendingAuthorization());
        QVERIFY(fixture.authentication->connectionState() == GitHubSessionStatus::Disconnected);
        // Without a code, copying and opening do nothing.
        button(panel, text("Copy code"))->click();
        button(panel, text("Open GitHub"))->click();
        QCOMPARE(fixture.pasteboard.copied.size(), 1);
        QCOMPARE(fixture.urlOpener.opened.size(), 1);
    }

    void theRowSaysNothingOfACopy()
    {
        MonitorFixture fixture;
        fixture.build();
        connectAccount(fixture);
        const DeviceCodePanel panel(fixture.authentication.get(), fixture.ports(), DeviceCodePanel::Arrangement::Row);
        QCOMPARE(labels(panel),
            (QStringList{text("Enter this code on GitHub"), text("WDJB-MJHT"),
                text("After authorization, GitHub will ask which account or organisation Velmora can access.")}));
    }

    void aCodeThatCouldNotBeCopiedIsNotSaidToHaveBeen()
    {
        MonitorFixture fixture;
        fixture.pasteboard.isPresent = false;
        fixture.build();
        connectAccount(fixture);
        const DeviceCodePanel panel(
            fixture.authentication.get(), fixture.ports(), DeviceCodePanel::Arrangement::Column);
        QCOMPARE(labels(panel).last(),
            text("After authorization, GitHub will ask which account or organisation Velmora can access."));
    }

    void theCodeCanBeSelectedAndFollowsTheFont()
    {
        MonitorFixture fixture;
        fixture.build();
        connectAccount(fixture);
        DeviceCodePanel panel(fixture.authentication.get(), fixture.ports(), DeviceCodePanel::Arrangement::Column);
        QLabel *code = nullptr;
        for (auto *label : panel.findChildren<QLabel *>()) {
            if (label->text() == text("WDJB-MJHT"))
                code = label;
        }
        QVERIFY(code);
        QVERIFY(code->textInteractionFlags().testFlag(Qt::TextSelectableByMouse));
        QVERIFY(code->textInteractionFlags().testFlag(Qt::TextSelectableByKeyboard));
        const int height = code->sizeHint().height();
        QFont font = panel.font();
        font.setPointSizeF(font.pointSizeF() * 2);
        panel.setFont(font);
        QVERIFY(code->sizeHint().height() > height);
    }

    void aNewCodeTakesThePlaceOfTheOld()
    {
        MonitorFixture fixture;
        fixture.build();
        connectAccount(fixture);
        const DeviceCodePanel panel(
            fixture.authentication.get(), fixture.ports(), DeviceCodePanel::Arrangement::Column);
        fixture.authentication->cancelConnection();
        fixture.github.userCode = text("ABCD-EFGH");
        connectAccount(fixture);
        QVERIFY(labels(panel).contains(text("ABCD-EFGH")));
    }

    void rowsAreReadInTheOrderInWhichTheyAreSeen()
    {
        RowList list(text("Names"));
        const auto row = [](const char *name) {
            auto *label = new QLabel(text(name));
            label->setAccessibleName(text(name));
            return label;
        };
        auto *first = row("first");
        auto *last = row("last");
        list.setRows({last});
        list.setRows({first, row("middle"), last});
        auto *body = QAccessible::queryAccessibleInterface(first->parentWidget());
        QCOMPARE(body->text(QAccessible::Name), text("Names"));
        QStringList names;
        for (int i = 0; i < body->childCount(); ++i)
            names.append(body->child(i)->text(QAccessible::Name));
        names.removeAll(QString());
        QCOMPARE(names, (QStringList{text("first"), text("middle"), text("last")}));
    }

    void aListIsAsHighAsItsRowsAndScrollsNothing()
    {
        RowList list(text("Names"));
        list.show();
        QList<QWidget *> rows;
        const auto heightWith = [&](int count) {
            while (rows.size() < count) {
                auto *row = new QWidget;
                row->setFixedHeight(40);
                rows.append(row);
            }
            list.setRows(rows);
            drainEvents();
            return list.sizeHint().height();
        };
        const int one = heightWith(1);
        const int ten = heightWith(10);
        QVERIFY(ten >= one + 9 * 40);
        QVERIFY(list.minimumSizeHint().height() >= 10 * 40);
        QVERIFY(list.findChildren<QAbstractScrollArea *>().isEmpty());
    }

    void aSelectionInAMessageIsDrawn_data()
    {
        QTest::addColumn<int>("size");
        for (const auto size : {TextSize::Caption, TextSize::Body, TextSize::Title})
            QTest::addRow("%d", static_cast<int>(size)) << static_cast<int>(size);
    }

    void aSelectionInAMessageIsDrawn()
    {
        QFETCH(int, size);
        MessageRow row(static_cast<TextSize>(size), Tone::Red);
        QPalette colours = row.palette();
        colours.setColor(QPalette::Highlight, QColor(0, 255, 0));
        row.setPalette(colours);
        row.setMessage(text("The keyring is locked."));
        row.resize(400, 80);
        row.show();
        auto *label = row.findChild<QLabel *>();
        const auto highlighted = [&row] {
            const QImage image = row.grab().toImage();
            int count = 0;
            for (int y = 0; y < image.height(); ++y) {
                for (int x = 0; x < image.width(); ++x)
                    count += image.pixelColor(x, y) == QColor(0, 255, 0) ? 1 : 0;
            }
            return count;
        };
        QCOMPARE(highlighted(), 0);
        // Select with the mouse, from the first letter to the end.
        const QRect frame = label->contentsRect();
        QTest::mousePress(label, Qt::LeftButton, {}, QPoint(1, frame.center().y()));
        QTest::mouseMove(label, QPoint(frame.right() - 1, frame.center().y()));
        QTest::mouseRelease(label, Qt::LeftButton, {}, QPoint(frame.right() - 1, frame.center().y()));
        QCOMPARE(label->selectedText(), text("The keyring is locked."));
        QVERIFY(highlighted() > 100);
    }

    void aMessageFollowsTheFontAndTheColours()
    {
        MessageRow row(TextSize::Caption, Tone::Red);
        row.setMessage(text("The keyring is locked."));
        const auto *label = row.findChild<QLabel *>();
        QCOMPARE(label->palette().color(QPalette::WindowText), toneColour(Tone::Red, row.palette()));
        QFont font = row.font();
        font.setPixelSize(40);
        row.setFont(font);
        QCOMPARE(label->font(), styledFont(font, TextSize::Caption));
        row.setPalette(darkPalette());
        QCOMPARE(label->palette().color(QPalette::WindowText), toneColour(Tone::Red, darkPalette()));
    }

    void anAgeIsWaitedForInStepsOfAMinute()
    {
        FakeClock clock(noon());
        AgeTicker ticker(&clock);
        QSignalSpy ticks(&ticker, &AgeTicker::ticked);
        ticker.waitFor(noon() + 150s);
        ticker.waitFor(noon() + 150s);
        QCOMPARE(clock.requestedSleeps, (QList<std::chrono::milliseconds>{60s}));
        clock.advance(60s);
        QCOMPARE(ticks.count(), 1);
        QCOMPARE(clock.sleeperCount(), 0);
        ticker.waitFor(noon() + 70s);
        ticker.waitFor(std::nullopt);
        clock.advance(60s);
        QCOMPARE(ticks.count(), 1);
        // An age that is overdue is not waited for in a busy loop.
        ticker.waitFor(noon());
        QCOMPARE(clock.requestedSleeps.last(), 1ms);
    }

    void aPathInAMessageDoesNotWidenIt()
    {
        MessageRow row(TextSize::Body, Tone::Red);
        row.setMessage(QString(500, QLatin1Char('x')));
        QVERIFY(row.minimumSizeHint().width() < 100);
    }

    void aPageThatWasNotOpenedIsSaidWithItsAddress()
    {
        FakeURLOpener browser;
        FakePasteboard pasteboard;
        UnopenedPageRow row(&browser, &pasteboard);
        QVERIFY(row.isHidden());
        browser.works = false;
        const QString address = text("https://ci.example/<b>1</b>");
        QVERIFY(!browser.open(WebAddress(address)));
        QVERIFY(!row.isHidden());
        QCOMPARE(labels(row), (QStringList{text("The browser could not be started."), address}));
        button(row, text("Copy address"))->click();
        QCOMPARE(pasteboard.copied, QStringList{address});
        browser.works = true;
        QVERIFY(browser.open(WebAddress(address)));
        QVERIFY(row.isHidden());
        browser.giveUp(WebAddress(address));
        QVERIFY(!row.isHidden());
    }

    void whyTheProgramCannotStartIsSaidUntilTheWindowIsClosed()
    {
        const QString reason = QStringLiteral("VELMORA_GITHUB_HOST: “https://x y” is no host.\nChange it.");
        FailureWindow window(text("Velmora"), reason);
        const QSignalSpy closed(&window, &FailureWindow::closed);
        window.show();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        QCOMPARE(labels(window).first(), text("Velmora cannot start"));
        QVERIFY(labels(window).contains(reason));
        QTest::keyClick(&window, Qt::Key_Escape);
        QCOMPARE(closed.size(), 1);
        window.show();
        button(window, text("Quit"))->click();
        QCOMPARE(closed.size(), 2);
        QVERIFY(!window.isVisible());
    }

private:
    static void connectAccount(MonitorFixture &fixture)
    {
        fixture.authentication->startConnecting();
        QVERIFY(waitUntil([&] { return fixture.authentication->pendingAuthorization().has_value(); }));
    }
};

VELMORA_WIDGET_TEST(SmallPartsTest)
#include "small_parts_test.moc"
