// SPDX-License-Identifier: MIT
#include "ui/controls/switch_control.h"

#include "support/test_main.h"
#include "support/widget_probe.h"
#include "ui/controls/switch_painting.h"

#include <QAccessible>
#include <QFontMetrics>
#include <QImage>
#include <QPainter>
#include <QSignalSpy>
#include <QTest>

using namespace velmora;
using namespace velmora::testing;

namespace
{

constexpr QSize kFrame(60, 30);

QPalette testPalette()
{
    QPalette palette;
    palette.setColor(QPalette::Base, Qt::white);
    palette.setColor(QPalette::WindowText, Qt::black);
    palette.setColor(QPalette::Highlight, QColor(0, 90, 200));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    return palette;
}

QImage painted(const SwitchLook &look, const QPalette &palette = testPalette())
{
    QImage image(kFrame, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    paintSwitch(&painter, image.rect(), look, palette);
    return image;
}

SwitchLook look(bool isOn)
{
    SwitchLook result;
    result.isOn = isOn;
    return result;
}

/// The colour at the centre of the knob, if it is on this side.
QColor colourAt(const QImage &image, bool isRight)
{
    return image.pixelColor(isRight ? image.width() - image.height() / 2 : image.height() / 2, image.height() / 2);
}

/// The distance of two colours, from 0 to 441.
double distance(const QColor &one, const QColor &other)
{
    return std::hypot(one.red() - other.red(), one.green() - other.green(), one.blue() - other.blue());
}

/// Relative luminance and contrast as defined by the accessibility guidelines.
double luminance(const QColor &colour)
{
    const auto linear = [](float part) {
        return part <= 0.04045F ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) + 0.0722 * linear(colour.blueF());
}

double contrast(const QColor &one, const QColor &other)
{
    const auto [dark, light] = std::minmax({luminance(one), luminance(other)});
    return (light + 0.05) / (dark + 0.05);
}

} // namespace

class SwitchControlTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theSideOfTheKnobTellsTheState()
    {
        const QImage on = painted(look(true));
        const QImage off = painted(look(false));
        QCOMPARE(colourAt(on, true), QColor(Qt::white));
        QCOMPARE(colourAt(on, false), testPalette().color(QPalette::Highlight));
        QVERIFY(distance(colourAt(off, false), Qt::white) > 150);
        QVERIFY(distance(colourAt(off, true), Qt::white) < 40);
    }

    void theSidesAreSwappedWhereOneReadsFromTheRight()
    {
        SwitchLook mirrored = look(true);
        mirrored.direction = Qt::RightToLeft;
        QCOMPARE(colourAt(painted(mirrored), false), QColor(Qt::white));
        QCOMPARE(colourAt(painted(mirrored), true), testPalette().color(QPalette::Highlight));
        mirrored.isOn = false;
        QVERIFY(distance(colourAt(painted(mirrored), true), Qt::white) > 150);
    }

    void onLooksTheSameInAWindowThatIsNotActive()
    {
        QPalette palette = testPalette();
        palette.setColor(QPalette::Inactive, QPalette::Highlight, Qt::lightGray);
        palette.setCurrentColorGroup(QPalette::Inactive);
        QCOMPARE(painted(look(true), palette), painted(look(true)));
    }

    void offIsSeenOnLightAndDarkGround_data()
    {
        QTest::addColumn<QColor>("text");
        QTest::addColumn<QColor>("ground");
        QTest::newRow("light") << QColor(Qt::black) << QColor(Qt::white);
        QTest::newRow("dark") << QColor(0xf0, 0xf0, 0xf0) << QColor(0x1e, 0x1e, 0x1e);
    }

    void offIsSeenOnLightAndDarkGround()
    {
        QFETCH(QColor, text);
        QFETCH(QColor, ground);
        QPalette palette = testPalette();
        palette.setColor(QPalette::WindowText, text);
        palette.setColor(QPalette::Base, ground);
        QVERIFY(contrast(colourAt(painted(look(false), palette), false), ground) > 3);
    }

    void everyLookDiffers()
    {
        for (const bool isOn : {false, true}) {
            QList<SwitchLook> looks(4, look(isOn));
            looks[1].isPressed = true;
            looks[2].hasFocus = true;
            looks[3].isEnabled = false;
            for (qsizetype i = 0; i < looks.size(); ++i) {
                for (qsizetype j = 0; j < i; ++j)
                    QVERIFY(painted(looks.at(i)) != painted(looks.at(j)));
            }
        }
        SwitchLook hovered = look(false);
        hovered.isHovered = true;
        QVERIFY(painted(hovered) != painted(look(false)));
    }

    void theFocusRingIsSeenAroundASwitchThatIsOn()
    {
        SwitchLook focused = look(true);
        focused.hasFocus = true;
        const QColor ring = painted(focused).pixelColor(kFrame.width() / 2, 1);
        QVERIFY(contrast(ring, Qt::white) > 3);
        QCOMPARE(painted(look(true)).pixelColor(kFrame.width() / 2, 1), QColor(Qt::white));
    }

    void aClickAnywhereOnTheRowSwitches()
    {
        SwitchControl control(QStringLiteral("Something"));
        control.resize(300, control.sizeHint().height());
        QSignalSpy clicked(&control, &SwitchControl::clicked);
        QTest::mouseClick(&control, Qt::LeftButton, {}, QPoint(2, 4));
        QVERIFY(control.isChecked());
        QTest::mouseClick(&control, Qt::LeftButton, {}, QPoint(290, 10));
        QVERIFY(!control.isChecked());
        QTest::mouseClick(&control, Qt::LeftButton, {}, QPoint(200, 10));
        QCOMPARE(clicked.size(), 3);
        QTest::mouseClick(&control, Qt::RightButton, {}, QPoint(200, 10));
        QCOMPARE(clicked.size(), 3);
    }

    void spaceSwitches()
    {
        SwitchControl control(QStringLiteral("Something"));
        QTest::keyClick(&control, Qt::Key_Space);
        QVERIFY(control.isChecked());
        QTest::keyClick(&control, Qt::Key_Space);
        QVERIFY(!control.isChecked());
    }

    void aSwitchThatIsOffLimitsDoesNotSwitch()
    {
        SwitchControl control(QStringLiteral("Something"));
        control.setEnabled(false);
        QTest::mouseClick(&control, Qt::LeftButton);
        QTest::keyClick(&control, Qt::Key_Space);
        QVERIFY(!control.isChecked());
    }

    void theMnemonicSwitches()
    {
        SwitchControl control(QStringLiteral("Do &something"));
        control.show();
        QVERIFY(QTest::qWaitForWindowActive(&control));
        QTest::keyClick(&control, Qt::Key_S, Qt::AltModifier);
        QTRY_VERIFY(control.isChecked());
    }

    void assistiveTechnologySeesACheckBoxAndItsState()
    {
        SwitchControl control(QStringLiteral("Notify me when deployments &fail"));
        auto *interface = QAccessible::queryAccessibleInterface(&control);
        QVERIFY(interface);
        QCOMPARE(interface->role(), QAccessible::CheckBox);
        QCOMPARE(interface->text(QAccessible::Name), QStringLiteral("Notify me when deployments fail"));
        QVERIFY(interface->state().checkable);
        QVERIFY(!interface->state().checked);
        QVERIFY(interface->actionInterface()->actionNames().contains(QAccessibleActionInterface::toggleAction()));
        const QSignalSpy clicked(&control, &SwitchControl::clicked);
        interface->actionInterface()->doAction(QAccessibleActionInterface::toggleAction());
        QTRY_VERIFY(interface->state().checked);
        // The action clicks the switch, so that handlers of clicked() run.
        QCOMPARE(clicked.count(), 1);
        QCOMPARE(interface->text(QAccessible::Accelerator), control.shortcut().toString(QKeySequence::NativeText));
        control.setEnabled(false);
        QVERIFY(!interface->actionInterface()->actionNames().contains(QAccessibleActionInterface::toggleAction()));
    }

    void aNameIsShownLiterally()
    {
        SwitchControl control(QString{});
        control.setName(QStringLiteral("<b>a&b</b>"), QStringLiteral("Organization"), SwitchControl::Emphasis::Strong);
        auto *interface = QAccessible::queryAccessibleInterface(&control);
        QCOMPARE(interface->text(QAccessible::Name), QStringLiteral("<b>a&b</b>"));
        QCOMPARE(interface->text(QAccessible::Description), QStringLiteral("Organization"));
        QVERIFY(control.shortcut().isEmpty());
    }

    void aDetailTakesALineOfItsOwn()
    {
        SwitchControl plain(QStringLiteral("acme"));
        SwitchControl detailed(QString{});
        detailed.setName(QStringLiteral("acme"), QStringLiteral("Organization"), SwitchControl::Emphasis::Strong);
        QVERIFY(detailed.sizeHint().height() > plain.sizeHint().height());
        detailed.setName(QStringLiteral("acme"), QStringLiteral("<i>User</i>"), SwitchControl::Emphasis::Strong);
        QVERIFY(detailed.sizeHint().width() > plain.sizeHint().width());
    }

    void anEndlessNameDoesNotMakeTheWindowEndless()
    {
        SwitchControl control(QString{});
        control.setName(QString(5000, QLatin1Char('w')), {}, SwitchControl::Emphasis::Strong);
        QVERIFY(control.sizeHint().width() < 70 * QFontMetrics(control.font()).averageCharWidth() + 100);
        control.resize(control.sizeHint());
        QVERIFY(!control.grab().isNull());
    }

    void theSwitchGrowsWithTheFont()
    {
        QFont font;
        font.setPointSize(10);
        const QSize small = switchSize(QFontMetrics(font));
        font.setPointSize(24);
        const QSize large = switchSize(QFontMetrics(font));
        QVERIFY(large.height() > small.height() * 3 / 2);
        QVERIFY(small.width() > small.height());
    }
};

VELMORA_WIDGET_TEST(SwitchControlTest)
#include "switch_control_test.moc"
