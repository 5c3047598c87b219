// SPDX-License-Identifier: MIT
#include "ui/appearance/application_look.h"

#include "support/test_main.h"
#include "ui/controls/text_label.h"

#include <QApplication>
#include <QScrollArea>
#include <QScrollBar>
#include <QTest>

using namespace velmora;

namespace
{

Appearance withScheme(Appearance::Scheme scheme)
{
    Appearance appearance;
    appearance.scheme = scheme;
    return appearance;
}

bool isDarkNow()
{
    return QApplication::palette().color(QPalette::Window).lightnessF() < 0.5;
}

} // namespace

class ApplicationLookTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        QApplication::setPalette(QPalette(QColor(0xef, 0xef, 0xef)));
        QApplication::setFont(QFont(QStringLiteral("DejaVu Sans"), 10));
    }

    void windowsBecomeDarkAndLightAgainWithTheDesktop()
    {
        const ApplicationLook look;
        TextLabel label(TextSize::Body);
        label.show();
        look.apply(withScheme(Appearance::Scheme::Dark));
        QVERIFY(isDarkNow());
        QTRY_VERIFY(label.palette().color(QPalette::Window).lightnessF() < 0.5);
        look.apply(withScheme(Appearance::Scheme::Open));
        QVERIFY(!isDarkNow());
        look.apply(withScheme(Appearance::Scheme::Dark));
        look.apply(withScheme(Appearance::Scheme::Light));
        QVERIFY(!isDarkNow());
        QTRY_VERIFY(label.palette().color(QPalette::Window).lightnessF() > 0.5);
    }

    void aDarkThemeThatTheUserHasChosenForQtStaysWhileTheDesktopDoesNotContradictIt()
    {
        const QColor own(0x10, 0x20, 0x30);
        QApplication::setPalette(QPalette(own));
        const ApplicationLook look;
        look.apply(withScheme(Appearance::Scheme::Open));
        QCOMPARE(QApplication::palette().color(QPalette::Window), own);
        look.apply(withScheme(Appearance::Scheme::Dark));
        QCOMPARE(QApplication::palette().color(QPalette::Window), own);
        look.apply(withScheme(Appearance::Scheme::Light));
        QVERIFY(!isDarkNow());
    }

    void theAccentIsTheColourOfWhatIsSwitchedOn()
    {
        const ApplicationLook look;
        Appearance appearance;
        appearance.accent = qRgb(0xff, 0xe0, 0x00);
        look.apply(appearance);
        QCOMPARE(QApplication::palette().color(QPalette::Highlight).rgb(), qRgb(0xff, 0xe0, 0x00));
        QCOMPARE(QApplication::palette().color(QPalette::HighlightedText), QColor(Qt::black));
        appearance.accent = qRgb(0x30, 0x10, 0x60);
        look.apply(appearance);
        QCOMPARE(QApplication::palette().color(QPalette::HighlightedText), QColor(Qt::white));
    }

    void highContrastIsBlackAndWhite()
    {
        const ApplicationLook look;
        Appearance appearance;
        appearance.isHighContrast = true;
        look.apply(appearance);
        QCOMPARE(QApplication::palette().color(QPalette::Base), QColor(Qt::white));
        QCOMPARE(QApplication::palette().color(QPalette::Text), QColor(Qt::black));
        appearance.scheme = Appearance::Scheme::Dark;
        look.apply(appearance);
        QCOMPARE(QApplication::palette().color(QPalette::Base), QColor(Qt::black));
        QCOMPARE(QApplication::palette().color(QPalette::Text), QColor(Qt::white));
    }

    void thePaletteOfAPlasmaSchemeIsTaken()
    {
        const ApplicationLook look;
        Appearance appearance = withScheme(Appearance::Scheme::Light);
        appearance.schemeColours = {{QStringLiteral("Window/BackgroundNormal"), qRgb(1, 2, 3)},
            {QStringLiteral("Button/BackgroundNormal"), qRgb(4, 5, 6)},
            {QStringLiteral("View/ForegroundNormal"), qRgb(200, 201, 202)},
            {QStringLiteral("View/BackgroundNormal"), qRgb(0, 1, 2)}};
        look.apply(appearance);
        const QPalette palette = QApplication::palette();
        QCOMPARE(palette.color(QPalette::Window).rgb(), qRgb(1, 2, 3));
        QCOMPARE(palette.color(QPalette::Button).rgb(), qRgb(4, 5, 6));
        QCOMPARE(palette.color(QPalette::Text).rgb(), qRgb(200, 201, 202));
        QCOMPARE(palette.color(QPalette::Disabled, QPalette::Text).rgb(), qRgb(100, 101, 102));
        // The one of the palette at the start may be as dark as the ground of this scheme.
        QCOMPARE(palette.color(QPalette::PlaceholderText).rgb(), qRgb(100, 101, 102));
    }

    void aSchemeWithoutTheMainColoursLeavesThePaletteAsItWas()
    {
        const ApplicationLook look;
        Appearance appearance;
        appearance.schemeColours = {{QStringLiteral("View/ForegroundNormal"), qRgb(200, 201, 202)}};
        look.apply(appearance);
        QCOMPARE(QApplication::palette().color(QPalette::Window), QColor(0xef, 0xef, 0xef));
    }

    void textsHaveTheFontOfTheDesktop()
    {
        const ApplicationLook look;
        TextLabel label(TextSize::Body);
        label.show();
        const int before = label.sizeHint().height();
        Appearance appearance;
        appearance.fontFamily = QStringLiteral("DejaVu Sans Mono");
        appearance.fontPoints = 20;
        look.apply(appearance);
        QTRY_COMPARE(label.font().family(), QStringLiteral("DejaVu Sans Mono"));
        QVERIFY(label.sizeHint().height() > before * 3 / 2);
        look.apply(Appearance());
        QTRY_COMPARE(label.font().family(), QStringLiteral("DejaVu Sans"));
        QCOMPARE(label.sizeHint().height(), before);
    }

    void scrollBarsTakeNoColumn()
    {
        const ApplicationLook look;
        QScrollArea area;
        auto *const content = new QWidget;
        content->setFixedSize(100, 2000);
        area.setWidget(content);
        area.setFrameShape(QFrame::NoFrame);
        area.setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
        area.resize(200, 200);
        area.show();
        QVERIFY(QTest::qWaitForWindowExposed(&area));
        QVERIFY(area.verticalScrollBar()->maximum() > 0);
        QCOMPARE(area.viewport()->width(), 200);
    }
};

VELMORA_WIDGET_TEST(ApplicationLookTest)
#include "application_look_test.moc"
