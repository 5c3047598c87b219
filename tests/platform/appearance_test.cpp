// SPDX-License-Identifier: MIT
#include "platform/appearance.h"

#include "support/test_main.h"

#include <QTest>

using namespace velmora;

namespace
{

const QStringList kGNOME{QStringLiteral("ubuntu"), QStringLiteral("GNOME")};

Appearance onGNOME(const QString &key, const QVariant &value)
{
    return appearanceFrom({{QStringLiteral("org.gnome.desktop.interface/") + key, value}}, kGNOME);
}

} // namespace

class AppearanceTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void schemesAreReadFromTheStandardFirst()
    {
        using Scheme = Appearance::Scheme;
        const QString standard = QStringLiteral("org.freedesktop.appearance/color-scheme");
        const QString gnome = QStringLiteral("org.gnome.desktop.interface/color-scheme");
        const QString dark = QStringLiteral("prefer-dark");
        QCOMPARE(appearanceFrom({{standard, 1U}}, {}).scheme, Scheme::Dark);
        QCOMPARE(appearanceFrom({{standard, 2U}, {gnome, dark}}, {}).scheme, Scheme::Light);
        QCOMPARE(appearanceFrom({{standard, 0U}, {gnome, dark}}, {}).scheme, Scheme::Open);
        QCOMPARE(appearanceFrom({{standard, 77U}}, {}).scheme, Scheme::Open);
        QCOMPARE(appearanceFrom({{standard, QStringLiteral("dark")}}, {}).scheme, Scheme::Open);
        QCOMPARE(onGNOME(QStringLiteral("color-scheme"), dark).scheme, Scheme::Dark);
        QCOMPARE(onGNOME(QStringLiteral("color-scheme"), QStringLiteral("prefer-light")).scheme, Scheme::Light);
        QCOMPARE(onGNOME(QStringLiteral("color-scheme"), QStringLiteral("default")).scheme, Scheme::Open);
        QCOMPARE(appearanceFrom({}, {}).scheme, Scheme::Open);
    }

    void gnomesFontHasAFamilyAndASize_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("family");
        QTest::addColumn<double>("points");
        QTest::newRow("usual") << "Cantarell 11"
                               << "Cantarell" << 11.0;
        QTest::newRow("two words") << "Noto Sans 10.5"
                                   << "Noto Sans" << 10.5;
        QTest::newRow("several families") << "Inter, Sans 12"
                                          << "Inter" << 12.0;
        QTest::newRow("no size") << "Cantarell"
                                 << "" << 0.0;
        QTest::newRow("no family") << "11"
                                   << "" << 0.0;
        QTest::newRow("huge") << "Cantarell 1000"
                              << "" << 0.0;
        QTest::newRow("negative") << "Cantarell -3"
                                  << "" << 0.0;
        QTest::newRow("empty") << ""
                               << "" << 0.0;
    }

    void gnomesFontHasAFamilyAndASize()
    {
        QFETCH(QString, text);
        const Appearance appearance = onGNOME(QStringLiteral("font-name"), text);
        QTEST(appearance.fontFamily, "family");
        QTEST(appearance.fontPoints, "points");
    }

    void textsAreScaledWithinReason()
    {
        const QString key = QStringLiteral("text-scaling-factor");
        QCOMPARE(onGNOME(key, 1.25).textScale, 1.25);
        QCOMPARE(onGNOME(key, 0.0).textScale, 1.0);
        QCOMPARE(onGNOME(key, -1.0).textScale, 1.0);
        QCOMPARE(onGNOME(key, 100.0).textScale, 1.0);
        QCOMPARE(onGNOME(key, qQNaN()).textScale, 1.0);
        QCOMPARE(onGNOME(key, QStringLiteral("2")).textScale, 1.0);
    }

    void fontsThatLieUnusedOnAnotherDesktopAreIgnored()
    {
        const DesktopSettings settings{
            {QStringLiteral("org.gnome.desktop.interface/font-name"), QStringLiteral("Cantarell 11")},
            {QStringLiteral("org.gnome.desktop.interface/text-scaling-factor"), 2.0},
            {QStringLiteral("org.kde.kdeglobals.General/font"), QStringLiteral("Noto Sans,10")},
            {QStringLiteral("org.kde.kdeglobals.Colors:View/BackgroundNormal"), QStringLiteral("1,2,3")}};
        QVERIFY(appearanceFrom(settings, {QStringLiteral("XFCE")}) == Appearance());
        QCOMPARE(appearanceFrom(settings, {QStringLiteral("KDE")}).fontFamily, QStringLiteral("Noto Sans"));
        QCOMPARE(appearanceFrom(settings, {QStringLiteral("KDE")}).textScale, 1.0);
        QVERIFY(appearanceFrom(settings, kGNOME).schemeColours.isEmpty());
    }

    void coloursThatAreNoneAreLeftOut_data()
    {
        QTest::addColumn<QString>("text");
        for (const char *text : {"", "1,2", "1,2,256", "-1,2,3", "red,2,3", "#12", "#zzzzzz"})
            QTest::newRow(text) << QString::fromLatin1(text);
    }

    void coloursThatAreNoneAreLeftOut()
    {
        QFETCH(QString, text);
        const QString key = QStringLiteral("org.kde.kdeglobals.Colors:View/BackgroundNormal");
        QVERIFY(appearanceFrom({{key, text}}, {QStringLiteral("KDE")}).schemeColours.isEmpty());
    }

    void highContrastMayBeAskedForInTwoWays()
    {
        QVERIFY(appearanceFrom({{QStringLiteral("org.freedesktop.appearance/contrast"), 1U}}, {}).isHighContrast);
        QVERIFY(appearanceFrom({{QStringLiteral("org.gnome.desktop.a11y.interface/high-contrast"), true}}, {})
                    .isHighContrast);
        QVERIFY(!appearanceFrom({{QStringLiteral("org.freedesktop.appearance/contrast"), 2U}}, {}).isHighContrast);
    }
};

VELMORA_TEST(AppearanceTest)
#include "appearance_test.moc"
