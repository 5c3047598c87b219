// SPDX-License-Identifier: MIT
#include "platform/appearance_watch.h"

#include "support/await.h"
#include "support/test_main.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace velmora;
using namespace velmora::testing;

namespace
{

using Groups = QMap<QString, QVariantMap>;

/// Red, green and blue, as the portal sends an accent.
struct Accent {
    double red = 0;
    double green = 0;
    double blue = 0;
};

QDBusArgument &operator<<(QDBusArgument &argument, const Accent &accent)
{
    argument.beginStructure();
    argument << accent.red << accent.green << accent.blue;
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, Accent &accent)
{
    argument.beginStructure();
    argument >> accent.red >> accent.green >> accent.blue;
    argument.endStructure();
    return argument;
}

const QString kPortal = QStringLiteral("org.freedesktop.portal.Desktop");
const QString kPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString kStandard = QStringLiteral("org.freedesktop.appearance");

/// The settings portal of a desktop, on a connection of its own.
class FakeSettingsPortal final : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Settings")

public:
    FakeSettingsPortal()
        : m_bus(QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("portal")))
    {
        qDBusRegisterMetaType<Groups>();
        qDBusRegisterMetaType<Accent>();
        m_bus.registerObject(kPath, this, QDBusConnection::ExportScriptableContents);
    }
    ~FakeSettingsPortal() override
    {
        // Qt closes the connection on another thread, which reads the objects that are registered.
        m_bus.unregisterObject(kPath);
        QDBusConnection::disconnectFromBus(QStringLiteral("portal"));
    }

    bool own() { return m_bus.registerService(kPortal); }

    void change(const QString &group, const QString &key, const QVariant &value)
    {
        settings[group][key] = value;
        auto signal = QDBusMessage::createSignal(
            kPath, QStringLiteral("org.freedesktop.portal.Settings"), QStringLiteral("SettingChanged"));
        signal << group << key << QVariant::fromValue(QDBusVariant(value));
        m_bus.send(signal);
    }

    Groups settings;
    QStringList asked;
    bool isSilent = false;

public Q_SLOTS:
    Q_SCRIPTABLE QMap<QString, QVariantMap> ReadAll(const QStringList &namespaces)
    {
        asked = namespaces;
        if (isSilent)
            setDelayedReply(true);
        return settings;
    }

private:
    QDBusConnection m_bus;
};

/// A desktop that has no settings of its own here, so that only the portal counts.
const QStringList kOther{QStringLiteral("Other")};
const QStringList kPlasma{QStringLiteral("KDE")};

void writeKDEGlobals(const QTemporaryDir &folder, const QByteArray &content)
{
    QFile file(folder.filePath(QStringLiteral("kdeglobals")));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(content);
}

} // namespace

class AppearanceWatchTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        // Settings in memory that start with the defaults, instead of the user's.
        qputenv("GSETTINGS_BACKEND", "memory");
    }

    void init()
    {
        m_configuration = std::make_unique<QTemporaryDir>();
        qputenv("XDG_CONFIG_HOME", m_configuration->path().toLocal8Bit());
        qputenv("XDG_CONFIG_DIRS", m_configuration->filePath(QStringLiteral("system")).toLocal8Bit());
    }

    void withoutAPortalTheLookIsOpen()
    {
        AppearanceWatch watch(QDBusConnection::sessionBus(), kOther);
        const QSignalSpy heard(&watch, &AppearanceWatch::changed);
        watch.start();
        QCOMPARE(heard.count(), 1);
        QVERIFY(heard.at(0).at(0).value<Appearance>() == Appearance());
    }

    void withoutABusTheLookIsOpen()
    {
        AppearanceWatch watch(QDBusConnection(QStringLiteral("none")), kPlasma);
        const QSignalSpy heard(&watch, &AppearanceWatch::changed);
        watch.start();
        QVERIFY(heard.at(0).at(0).value<Appearance>() == Appearance());
    }

    void thePortalSaysHowProgramsLook()
    {
        FakeSettingsPortal portal;
        portal.settings[kStandard][QStringLiteral("color-scheme")] = 1U;
        portal.settings[kStandard][QStringLiteral("contrast")] = 1U;
        QVERIFY(portal.own());
        AppearanceWatch watch(QDBusConnection::sessionBus(), kOther);
        const QSignalSpy heard(&watch, &AppearanceWatch::changed);
        watch.start();
        QVERIFY(waitUntil([&] { return heard.count() == 2; }));
        const auto appearance = heard.at(1).at(0).value<Appearance>();
        QCOMPARE(appearance.scheme, Appearance::Scheme::Dark);
        QVERIFY(appearance.isHighContrast);
        QVERIFY(portal.asked.contains(kStandard));
    }

    void aChangeIsFollowed()
    {
        FakeSettingsPortal portal;
        portal.settings[kStandard][QStringLiteral("color-scheme")] = 0U;
        QVERIFY(portal.own());
        AppearanceWatch watch(QDBusConnection::sessionBus(), kOther);
        const QSignalSpy heard(&watch, &AppearanceWatch::changed);
        watch.start();
        QVERIFY(waitUntil([&] { return !portal.asked.isEmpty(); }));
        portal.change(kStandard, QStringLiteral("color-scheme"), 1U);
        QVERIFY(waitUntil([&] { return heard.count() == 2; }));
        QCOMPARE(heard.at(1).at(0).value<Appearance>().scheme, Appearance::Scheme::Dark);
        portal.change(kStandard, QStringLiteral("color-scheme"), 2U);
        QVERIFY(waitUntil([&] { return heard.count() == 3; }));
        QCOMPARE(heard.at(2).at(0).value<Appearance>().scheme, Appearance::Scheme::Light);
    }

    void theAccentIsKeptWhileOtherSettingsChange()
    {
        const QString key = QStringLiteral("accent-color");
        FakeSettingsPortal portal;
        portal.settings[kStandard][key] = QVariant::fromValue(Accent{1, 0.4, 0});
        QVERIFY(portal.own());
        AppearanceWatch watch(QDBusConnection::sessionBus(), kOther);
        const QSignalSpy heard(&watch, &AppearanceWatch::changed);
        const auto accent = [&heard] {
            return heard.last().at(0).value<Appearance>().accent;
        };
        watch.start();
        QVERIFY(waitUntil([&] { return heard.count() == 2; }));
        QCOMPARE(accent(), std::optional(qRgb(255, 102, 0)));
        portal.change(kStandard, QStringLiteral("color-scheme"), 1U);
        QVERIFY(waitUntil([&] { return heard.count() == 3; }));
        QCOMPARE(accent(), std::optional(qRgb(255, 102, 0)));
        portal.change(kStandard, key, QVariant::fromValue(Accent{-1, -1, -1})); // for none
        QVERIFY(waitUntil([&] { return heard.count() == 4; }));
        QCOMPARE(accent(), std::optional<QRgb>());
    }

    void settingsThatChangeTogetherAreOneChange()
    {
        FakeSettingsPortal portal;
        QVERIFY(portal.own());
        AppearanceWatch watch(QDBusConnection::sessionBus(), kOther);
        const QSignalSpy heard(&watch, &AppearanceWatch::changed);
        watch.start();
        QVERIFY(waitUntil([&] { return !portal.asked.isEmpty(); }));
        portal.change(kStandard, QStringLiteral("color-scheme"), 1U);
        portal.change(kStandard, QStringLiteral("contrast"), 1U);
        QVERIFY(waitUntil([&] { return heard.count() == 2; }));
        QVERIFY(heard.at(1).at(0).value<Appearance>().isHighContrast);
        QCOMPARE(heard.at(1).at(0).value<Appearance>().scheme, Appearance::Scheme::Dark);
    }

    void aPortalThatComesLaterIsHeard()
    {
        AppearanceWatch watch(QDBusConnection::sessionBus(), kOther);
        const QSignalSpy heard(&watch, &AppearanceWatch::changed);
        watch.start();
        FakeSettingsPortal portal;
        QVERIFY(portal.own());
        portal.change(kStandard, QStringLiteral("color-scheme"), 1U);
        QVERIFY(waitUntil([&] { return heard.count() == 2; }));
    }

    void aChangeIsNotUndoneByAnAnswerFromBefore()
    {
        FakeSettingsPortal portal;
        portal.isSilent = true;
        QVERIFY(portal.own());
        AppearanceWatch watch(QDBusConnection::sessionBus(), kOther);
        const QSignalSpy heard(&watch, &AppearanceWatch::changed);
        watch.start();
        portal.change(kStandard, QStringLiteral("color-scheme"), 1U);
        QVERIFY(waitUntil([&] { return heard.count() == 2; }));
        QCOMPARE(heard.at(1).at(0).value<Appearance>().scheme, Appearance::Scheme::Dark);
    }

    void plasmaHasColoursAndAFont()
    {
        writeKDEGlobals(*m_configuration,
            "[General]\nfont=Noto Sans,11,-1,5,50,0,0,0,0,0\n[Colors:View]\nBackgroundNormal=27,30,32\n"
            "ForegroundNormal=#fcfcfc\nBackgroundAlternate=none,1,2\n");
        AppearanceWatch watch(QDBusConnection::sessionBus(), kPlasma);
        const QSignalSpy heard(&watch, &AppearanceWatch::changed);
        watch.start();
        const auto appearance = heard.at(0).at(0).value<Appearance>();
        QCOMPARE(appearance.fontFamily, QStringLiteral("Noto Sans"));
        QCOMPARE(appearance.fontPoints, 11.0);
        QCOMPARE(appearance.schemeColours.size(), 2);
        QCOMPARE(appearance.schemeColours.value(QStringLiteral("View/BackgroundNormal")), qRgb(27, 30, 32));
        QCOMPARE(appearance.schemeColours.value(QStringLiteral("View/ForegroundNormal")), qRgb(0xfc, 0xfc, 0xfc));
    }

    void plasmaAnnouncesThatItsFilesHaveChanged()
    {
        AppearanceWatch watch(QDBusConnection::sessionBus(), kPlasma);
        const QSignalSpy heard(&watch, &AppearanceWatch::changed);
        watch.start();
        writeKDEGlobals(*m_configuration, "[Colors:View]\nBackgroundNormal=1,2,3\n");
        auto bus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("plasma"));
        auto signal = QDBusMessage::createSignal(QStringLiteral("/KGlobalSettings"),
            QStringLiteral("org.kde.KGlobalSettings"), QStringLiteral("notifyChange"));
        signal << 0 << 0;
        bus.send(signal);
        QVERIFY(waitUntil([&] { return heard.count() == 2; }));
        QCOMPARE(heard.at(1).at(0).value<Appearance>().schemeColours.size(), 1);
        QDBusConnection::disconnectFromBus(QStringLiteral("plasma"));
    }

    void whatTheUserHasSetGoesBeforeTheSystem()
    {
        QVERIFY(QDir(m_configuration->path()).mkdir(QStringLiteral("system")));
        QFile system(m_configuration->filePath(QStringLiteral("system/kdeglobals")));
        QVERIFY(system.open(QIODevice::WriteOnly));
        system.write("[General]\nfont=System,9\n[Colors:View]\nBackgroundNormal=1,2,3\n");
        system.close();
        writeKDEGlobals(*m_configuration, "[General]\nfont=Own,12\n");
        const Appearance appearance = appearanceFrom(PlasmaSettings::read(), kPlasma);
        QCOMPARE(appearance.fontFamily, QStringLiteral("Own"));
        QCOMPARE(appearance.schemeColours.size(), 1);
    }

private:
    std::unique_ptr<QTemporaryDir> m_configuration;
};

VELMORA_TEST(AppearanceWatchTest)
#include "appearance_watch_test.moc"
