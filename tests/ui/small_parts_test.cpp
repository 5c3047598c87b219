// SPDX-License-Identifier: MIT
// The small parts that windows are made of.
#include "support/monitor_fixture.h"
#include "support/palettes.h"
#include "ui/device_code_panel.h"
#include "ui/empty_state_view.h"
#include "ui/progress_spinner.h"
#include "ui/row_list.h"
#include "ui/text_label.h"

#include <QAccessible>
#include <QApplication>
#include <QHelpEvent>
#include <QLabel>
#include <QPushButton>
#include <QTest>
#include <QToolTip>

using namespace velmora;
using namespace velmora::testing;

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
        const DeviceCodePanel panel(services(fixture), DeviceCodePanel::Arrangement::Column);
        fixture.pasteboard.copied.clear();
        fixture.urlOpener.opened.clear();
        button(panel, text("Copy code"))->click();
        QCOMPARE(fixture.pasteboard.copied, QStringList{text("WDJB-MJHT")});
        button(panel, text("Open GitHub"))->click();
        QCOMPARE(fixture.urlOpener.opened, QStringList{text("https://github.com/login/device")});
        button(panel, text("Cancel"))->click();
        QVERIFY(!fixture.authentication->pendingAuthorization());
        QVERIFY(fixture.authentication->connectionState() == GitHubSessionStatus::Disconnected);
        // Nothing is left to copy or to open.
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
        const DeviceCodePanel panel(services(fixture), DeviceCodePanel::Arrangement::Row);
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
        const DeviceCodePanel panel(services(fixture), DeviceCodePanel::Arrangement::Column);
        QCOMPARE(labels(panel).last(),
            text("After authorization, GitHub will ask which account or organisation Velmora can access."));
    }

    void theCodeCanBeSelectedAndFollowsTheFont()
    {
        MonitorFixture fixture;
        fixture.build();
        connectAccount(fixture);
        DeviceCodePanel panel(services(fixture), DeviceCodePanel::Arrangement::Column);
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
        const DeviceCodePanel panel(services(fixture), DeviceCodePanel::Arrangement::Column);
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

private:
    static DeviceCodePanel::Services services(MonitorFixture &fixture)
    {
        return {fixture.authentication.get(), &fixture.pasteboard, &fixture.urlOpener};
    }

    static void connectAccount(MonitorFixture &fixture)
    {
        fixture.authentication->startConnecting();
        QVERIFY(waitUntil([&] { return fixture.authentication->pendingAuthorization().has_value(); }));
    }
};

QTEST_MAIN(SmallPartsTest)
#include "small_parts_test.moc"
