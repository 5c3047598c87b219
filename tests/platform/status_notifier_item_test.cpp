// SPDX-License-Identifier: MIT
#include "platform/status_notifier_item.h"

#include "bus_client.h"
#include "fake_status_notifier_watcher.h"
#include "support/test_main.h"

#include <QImage>
#include <QSignalSpy>
#include <QTest>

using namespace velmora;
using namespace velmora::testing;

namespace
{

const QString kPath = QStringLiteral("/StatusNotifierItem");
const QString kInterface = QStringLiteral("org.kde.StatusNotifierItem");
const QString kProperties = QStringLiteral("org.freedesktop.DBus.Properties");

QDBusConnection itemBus()
{
    return QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("item"));
}

QImage filled(int size, QRgb colour)
{
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(QColor::fromRgba(colour));
    return image;
}

} // namespace

/// Records the signals of the item, like a host.
class ItemListener final : public QObject
{
    Q_OBJECT

public:
    explicit ItemListener(QDBusConnection bus)
    {
        for (const auto *const name :
            {"NewTitle", "NewIcon", "NewAttentionIcon", "NewToolTip", "NewStatus", "XAyatanaNewLabel"})
            bus.connect(QString(), kPath, kInterface, QString::fromLatin1(name), this, SLOT(receive(QDBusMessage)));
    }

    QStringList names;
    QHash<QString, QVariantList> arguments; ///< of the last signal of each name

public Q_SLOTS:
    void receive(const QDBusMessage &message)
    {
        names.append(message.member());
        arguments.insert(message.member(), message.arguments());
    }
};

class StatusNotifierItemTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_host = std::make_unique<BusClient>(QStringLiteral("host"));
        makeItem(StatusNotifierItem::ClickPlace::Global);
        m_listener = std::make_unique<ItemListener>(m_host->bus());
        std::ignore = m_host->hasOwner(kInterface); // the bus has registered the matches of the listener
    }
    void cleanup()
    {
        m_listener.reset();
        m_item.reset();
        m_host.reset();
        drainEvents();
    }

    void shouldTellAWatcherAndKnowWhetherItIsShown()
    {
        QSignalSpy spy(m_item.get(), &StatusItem::availabilityChanged);
        FakeStatusNotifierWatcher watcher;
        watcher.appear();
        QVERIFY(waitUntil([this] { return m_item->isAvailable(); }));
        QCOMPARE(watcher.registered, QStringList{m_name});
        QCOMPARE(spy.size(), 1);
    }

    void shouldLeaveTheBusWithItsConnection()
    {
        QVERIFY(m_host->hasOwner(m_name));
        m_item.reset();
        QVERIFY(waitUntil([this] { return !m_host->hasOwner(m_name); }));
    }

    void shouldTellAllPropertiesInTheirTypes()
    {
        m_item->show({QStringLiteral("3"), QStringLiteral("3 in progress"), {}, {}});
        const QDBusMessage answer = m_host->call(m_name, kPath, kProperties, QStringLiteral("GetAll"), {kInterface});
        const auto all = qdbus_cast<QVariantMap>(answer.arguments().value(0));
        QCOMPARE(all.value(QStringLiteral("Id")), QVariant(QStringLiteral("velmora")));
        QCOMPARE(all.value(QStringLiteral("Category")), QVariant(QStringLiteral("ApplicationStatus")));
        QCOMPARE(all.value(QStringLiteral("Title")), QVariant(QStringLiteral("3")));
        QCOMPARE(all.value(QStringLiteral("Status")), QVariant(QStringLiteral("Active")));
        QCOMPARE(all.value(QStringLiteral("WindowId")), QVariant(0));
        QCOMPARE(all.value(QStringLiteral("IconName")), QVariant(QString()));
        QCOMPARE(all.value(QStringLiteral("ItemIsMenu")), QVariant(false));
        QCOMPARE(all.value(QStringLiteral("Menu")).value<QDBusObjectPath>().path(), QStringLiteral("/MenuBar"));
        QCOMPARE(all.value(QStringLiteral("XAyatanaLabel")), QVariant(QStringLiteral("3")));
        QCOMPARE(all.value(QStringLiteral("IconAccessibleDesc")), QVariant(QStringLiteral("3, 3 in progress")));
        QCOMPARE(signatureOf("IconPixmap"), QStringLiteral("a(iiay)"));
        QCOMPARE(signatureOf("ToolTip"), QStringLiteral("(sa(iiay)ss)"));
    }

    void shouldSendItsIconInNetworkByteOrder()
    {
        QImage two(2, 2, QImage::Format_ARGB32);
        two.setPixel(0, 0, qRgba(0x11, 0x22, 0x33, 0x80));
        two.setPixel(1, 0, qRgba(0x44, 0x55, 0x66, 0xff));
        two.setPixel(0, 1, qRgba(0, 0, 0, 0));
        two.setPixel(1, 1, qRgba(0xff, 0xff, 0xff, 0x01));
        m_item->show({{}, {}, {two, QImage(), filled(16, qRgba(1, 2, 3, 0xff))}, {}});
        const auto pixmaps = qdbus_cast<QList<StatusNotifierPixmap>>(value("IconPixmap"));
        QCOMPARE(pixmaps.size(), 2);
        QCOMPARE(pixmaps.at(0).width, 2);
        QCOMPARE(pixmaps.at(0).height, 2);
        QCOMPARE(pixmaps.at(0).data.toHex(), QByteArray("80112233ff4455660000000001ffffff"));
        QCOMPARE(pixmaps.at(1).data.size(), 16 * 16 * 4);
        QCOMPARE(pixmaps.at(1).data.first(4).toHex(), QByteArray("ff010203"));
    }

    void shouldEscapeTheTextOfTheToolTipAndNotItsTitle()
    {
        m_item->show({QStringLiteral("a <b> & c"), QStringLiteral("<b>1</b> & \"2\""), {}, {}});
        const auto toolTip = qdbus_cast<StatusNotifierToolTip>(value("ToolTip"));
        QCOMPARE(toolTip.title, QStringLiteral("a <b> & c"));
        QCOMPARE(toolTip.text, QStringLiteral("&lt;b&gt;1&lt;/b&gt; &amp; &quot;2&quot;"));
        QCOMPARE(value("IconAccessibleDesc"), QVariant(QStringLiteral("a <b> & c, <b>1</b> & \"2\"")));
        m_item->show({QStringLiteral("Velmora"), {}, {}, {}});
        QCOMPARE(value("IconAccessibleDesc"), QVariant(QStringLiteral("Velmora")));
    }

    void shouldAnnounceEachChangeOnce()
    {
        for (int i = 0; i < 2; ++i) {
            m_item->show({QStringLiteral("3"), QStringLiteral("3 in progress"), {filled(16, qRgba(1, 2, 3, 4))}, {},
                StatusItem::Status::NeedsAttention});
        }
        QVERIFY(waitUntil([this] { return m_listener->names.contains(QStringLiteral("NewStatus")); }));
        const QStringList expected{QStringLiteral("NewTitle"), QStringLiteral("XAyatanaNewLabel"),
            QStringLiteral("NewToolTip"), QStringLiteral("NewIcon"), QStringLiteral("NewAttentionIcon"),
            QStringLiteral("NewStatus")};
        QCOMPARE(m_listener->names, expected);
        QCOMPARE(
            m_listener->arguments.value(QStringLiteral("NewStatus")), QVariantList{QStringLiteral("NeedsAttention")});
        QCOMPARE(value("Status"), QVariant(QStringLiteral("NeedsAttention")));
    }

    void shouldTellWhichStatusItHas()
    {
        m_item->show({{}, {}, {}, {}, StatusItem::Status::Passive});
        QCOMPARE(value("Status"), QVariant(QStringLiteral("Passive")));
        m_item->show({{}, {}, {}, {}, StatusItem::Status::Active});
        QCOMPARE(value("Status"), QVariant(QStringLiteral("Active")));
    }

    void shouldSendTheNewLabelWithItsAnnouncement()
    {
        m_item->show({QStringLiteral("12"), {}, {}, {}});
        QVERIFY(waitUntil([this] { return m_listener->names.contains(QStringLiteral("XAyatanaNewLabel")); }));
        const QVariantList expected{QStringLiteral("12"), QStringLiteral("12")};
        QCOMPARE(m_listener->arguments.value(QStringLiteral("XAyatanaNewLabel")), expected);
    }

    void shouldTellWhereItWasClicked_data()
    {
        QTest::addColumn<QString>("method");
        QTest::newRow("left") << QStringLiteral("Activate");
        QTest::newRow("middle") << QStringLiteral("SecondaryActivate");
        QTest::newRow("a host without menus") << QStringLiteral("ContextMenu");
    }
    void shouldTellWhereItWasClicked()
    {
        QFETCH(QString, method);
        QSignalSpy spy(m_item.get(), &StatusItem::activated);
        QCOMPARE(callItem(method, {1264, -14}).type(), QDBusMessage::ReplyMessage);
        QVERIFY(waitUntil([&spy] { return !spy.isEmpty(); }));
        QCOMPARE(spy.constFirst().at(0).value<std::optional<QPoint>>(), std::optional(QPoint(1264, -14)));
        QCOMPARE(spy.constFirst().at(1).toString(), QString());
    }

    void shouldNotTellAPlaceThatOnlyTheHostUnderstands()
    {
        makeItem(StatusNotifierItem::ClickPlace::Unknown);
        QSignalSpy spy(m_item.get(), &StatusItem::activated);
        QCOMPARE(callItem(QStringLiteral("Activate"), {14, 14}).type(), QDBusMessage::ReplyMessage);
        QVERIFY(waitUntil([&spy] { return !spy.isEmpty(); }));
        QCOMPARE(spy.constFirst().at(0).value<std::optional<QPoint>>(), std::nullopt);
    }

    void shouldKnowThatOnlyX11HasGlobalPlaces()
    {
        // The tests run on neither platform.
        QCOMPARE(StatusNotifierItem::clickPlaceOfSession(), StatusNotifierItem::ClickPlace::Unknown);
    }

    void shouldHandATokenOverOnce()
    {
        QSignalSpy spy(m_item.get(), &StatusItem::activated);
        std::ignore = callItem(QStringLiteral("ProvideXdgActivationToken"), {QStringLiteral("token-1")});
        std::ignore = callItem(QStringLiteral("Activate"), {1, 2});
        std::ignore = callItem(QStringLiteral("Activate"), {1, 2});
        QVERIFY(waitUntil([&spy] { return spy.size() == 2; }));
        QCOMPARE(spy.at(0).at(1).toString(), QStringLiteral("token-1"));
        QCOMPARE(spy.at(1).at(1).toString(), QString());
    }

    void shouldHandATokenToTheMenuToo()
    {
        m_item->show({{}, {}, {}, {{7, QStringLiteral("Open"), true, false}}});
        QSignalSpy spy(m_item.get(), &StatusItem::menuTriggered);
        std::ignore = callItem(QStringLiteral("ProvideXdgActivationToken"), {QStringLiteral("token-2")});
        std::ignore = m_host->call(m_name, QStringLiteral("/MenuBar"), QStringLiteral("com.canonical.dbusmenu"),
            QStringLiteral("Event"), {7, QStringLiteral("clicked"), QVariant::fromValue(QDBusVariant(0)), 0U});
        QVERIFY(waitUntil([&spy] { return !spy.isEmpty(); }));
        const QVariantList expected{7, QStringLiteral("token-2")};
        QCOMPARE(spy.constFirst(), expected);
    }

    void shouldDropATokenThatCannotBeOne()
    {
        QSignalSpy spy(m_item.get(), &StatusItem::activated);
        std::ignore = callItem(QStringLiteral("ProvideXdgActivationToken"), {QString(100'000, QLatin1Char('x'))});
        std::ignore = callItem(QStringLiteral("Activate"), {1, 2});
        QVERIFY(waitUntil([&spy] { return !spy.isEmpty(); }));
        QCOMPARE(spy.constFirst().at(1).toString(), QString());
    }

    void shouldLiveUntilTheClickThatEndsIt()
    {
        connect(m_item.get(), &StatusItem::activated, this, [this] { m_item.reset(); });
        QCOMPARE(callItem(QStringLiteral("Activate"), {1, 2}).type(), QDBusMessage::ReplyMessage);
        QVERIFY(waitUntil([this] { return m_item == nullptr; }));
    }

    void shouldEndBeforeAClickIsTold()
    {
        QSignalSpy spy(m_item.get(), &StatusItem::activated);
        m_host->bus().asyncCall(
            QDBusMessage::createMethodCall(m_name, kPath, kInterface, QStringLiteral("Activate")) << 1 << 2);
        m_item.reset();
        drainEvents();
        QVERIFY(spy.isEmpty());
    }

    void shouldIgnoreTheWheel()
    {
        QSignalSpy spy(m_item.get(), &StatusItem::activated);
        QCOMPARE(
            callItem(QStringLiteral("Scroll"), {120, QStringLiteral("vertical")}).type(), QDBusMessage::ReplyMessage);
        drainEvents();
        QVERIFY(spy.isEmpty());
    }

    void shouldRefuseWhatIsNotOfTheProtocolAndGoOn()
    {
        QSignalSpy spy(m_item.get(), &StatusItem::activated);
        QCOMPARE(callItem(QStringLiteral("Activate"), {QStringLiteral("1")}).type(), QDBusMessage::ErrorMessage);
        QCOMPARE(callItem(QStringLiteral("Activate"), {1.5, 2.5}).type(), QDBusMessage::ErrorMessage);
        QCOMPARE(callItem(QStringLiteral("setTitle"), {QStringLiteral("x")}).type(), QDBusMessage::ErrorMessage);
        QCOMPARE(callItem(QStringLiteral("deleteLater"), {}).type(), QDBusMessage::ErrorMessage);
        QCOMPARE(
            m_host
                ->call(m_name, kPath, kProperties, QStringLiteral("Set"),
                    {kInterface, QStringLiteral("Title"), QVariant::fromValue(QDBusVariant(QStringLiteral("mine")))})
                .type(),
            QDBusMessage::ErrorMessage);
        QVERIFY(!value("NoSuchThing").isValid());
        drainEvents();
        QVERIFY(spy.isEmpty());
        QCOMPARE(value("Title"), QVariant(QString()));
    }

    void shouldTakeEveryPlace()
    {
        QSignalSpy spy(m_item.get(), &StatusItem::activated);
        const int least = std::numeric_limits<int>::min();
        const int most = std::numeric_limits<int>::max();
        std::ignore = callItem(QStringLiteral("Activate"), {least, most});
        QVERIFY(waitUntil([&spy] { return !spy.isEmpty(); }));
        QCOMPARE(spy.constFirst().at(0).value<std::optional<QPoint>>(), std::optional(QPoint(least, most)));
    }

    void shouldTakeItsContentWithoutABus()
    {
        StatusNotifierItem item(QDBusConnection(QStringLiteral("none")), {QStringLiteral("velmora")});
        item.show(
            {QStringLiteral("3"), {}, {filled(16, qRgba(1, 2, 3, 4))}, {{1, QStringLiteral("Open"), true, false}}});
        drainEvents();
        QVERIFY(!item.isAvailable());
    }

private:
    void makeItem(StatusNotifierItem::ClickPlace clickPlace)
    {
        m_item.reset(); // frees the name of the connection
        const QDBusConnection bus = itemBus();
        m_name = bus.baseService();
        const StatusNotifierItem::Options options{QStringLiteral("velmora"), clickPlace};
        m_item = std::make_unique<StatusNotifierItem>(bus, options);
    }
    [[nodiscard]] QDBusMessage callItem(const QString &member, const QVariantList &arguments)
    {
        return m_host->call(m_name, kPath, kInterface, member, arguments);
    }
    [[nodiscard]] QVariant value(const char *name)
    {
        return m_host->property(m_name, kPath, kInterface, QString::fromLatin1(name));
    }
    [[nodiscard]] QString signatureOf(const char *name)
    {
        return value(name).value<QDBusArgument>().currentSignature();
    }

    std::unique_ptr<BusClient> m_host;
    std::unique_ptr<StatusNotifierItem> m_item;
    std::unique_ptr<ItemListener> m_listener;
    QString m_name;
};

VELMORA_TEST(StatusNotifierItemTest)
#include "status_notifier_item_test.moc"
