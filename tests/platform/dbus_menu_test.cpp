// SPDX-License-Identifier: MIT
#include "platform/dbus_menu.h"

#include "bus_client.h"
#include "platform/dbus_menu_adaptor.h"
#include "support/test_main.h"

#include <QDBusMetaType>
#include <QSignalSpy>
#include <QTest>

using namespace velmora;
using namespace velmora::testing;

namespace
{

const QString kPath = QStringLiteral("/MenuBar");
const QString kInterface = QStringLiteral("com.canonical.dbusmenu");
const QString kInvalidArguments = QStringLiteral("org.freedesktop.DBus.Error.InvalidArgs");

QList<StatusItem::MenuEntry> threeEntries()
{
    return {{1, QStringLiteral("Open a_b"), true, false}, {2, QString(), true, true},
        {3, QStringLiteral("Quit"), false, false}};
}

DBusMenuEvent clickOn(int id)
{
    return {id, QStringLiteral("clicked"), QDBusVariant(0), 0};
}

QVariantMap propertiesOf(const QVariant &child)
{
    return qdbus_cast<DBusMenuNode>(child).properties;
}

} // namespace

/// Records the signals of a menu.
class MenuListener final : public QObject
{
    Q_OBJECT

public:
    explicit MenuListener(QDBusConnection bus)
    {
        bus.connect(QString(), kPath, kInterface, QStringLiteral("LayoutUpdated"), this, SLOT(receive(QDBusMessage)));
        bus.connect(
            QString(), kPath, kInterface, QStringLiteral("ItemsPropertiesUpdated"), this, SLOT(receive(QDBusMessage)));
    }

    QList<QDBusMessage> received;

public Q_SLOTS:
    void receive(const QDBusMessage &message) { received.append(message); }
};

class DBusMenuTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_owner = std::make_unique<BusClient>(QStringLiteral("menu"));
        m_host = std::make_unique<BusClient>(QStringLiteral("host"));
        m_menu = std::make_unique<DBusMenu>();
        new DBusMenuAdaptor(m_menu.get(), m_owner->bus());
        m_owner->bus().registerObject(kPath, m_menu.get(), QDBusConnection::ExportAdaptors);
        m_menu->setEntries(threeEntries());
        std::ignore = m_owner->hasOwner(kInterface); // the bus has delivered all earlier signals
        m_triggered = std::make_unique<QSignalSpy>(m_menu.get(), &DBusMenu::triggered);
        m_listener = std::make_unique<MenuListener>(m_host->bus());
        std::ignore = m_host->hasOwner(kInterface); // the bus has registered the matches of the listener
    }
    void cleanup()
    {
        m_listener.reset();
        m_menu.reset();
        m_host.reset();
        m_owner.reset();
        drainEvents();
    }

    void shouldTellItsLayout()
    {
        const QDBusMessage answer = ask(QStringLiteral("GetLayout"), {0, -1, QStringList()});
        QCOMPARE(answer.signature(), QStringLiteral("u(ia{sv}av)"));
        const auto root = qdbus_cast<DBusMenuNode>(answer.arguments().at(1));
        QCOMPARE(root.id, 0);
        QCOMPARE(root.properties.value(QStringLiteral("children-display")).toString(), QStringLiteral("submenu"));
        QCOMPARE(root.children.size(), 3);
        // A single underscore would mark the mnemonic.
        const QVariantMap first{
            {QStringLiteral("label"), QStringLiteral("Open a__b")}, {QStringLiteral("enabled"), true}};
        QCOMPARE(propertiesOf(root.children.at(0)), first);
        const QVariantMap second{{QStringLiteral("type"), QStringLiteral("separator")}};
        QCOMPARE(propertiesOf(root.children.at(1)), second);
        const QVariantMap third{{QStringLiteral("label"), QStringLiteral("Quit")}, {QStringLiteral("enabled"), false}};
        QCOMPARE(propertiesOf(root.children.at(2)), third);
        QCOMPARE(qdbus_cast<DBusMenuNode>(root.children.at(2)).id, 3);
    }

    void shouldTellNoMoreThanWasAskedFor()
    {
        const auto shallow = layoutOf(0, 0, {});
        QCOMPARE(shallow.children.size(), 0);
        const auto one = layoutOf(3, -1, {});
        QCOMPARE(one.id, 3);
        QCOMPARE(one.children.size(), 0);
        const auto labels = layoutOf(0, 1, {QStringLiteral("label")});
        QVERIFY(labels.properties.isEmpty());
        QCOMPARE(propertiesOf(labels.children.at(0)).keys(), QStringList{QStringLiteral("label")});
        QVERIFY(propertiesOf(labels.children.at(1)).isEmpty());
    }

    void shouldTellThePropertiesOfSeveralEntries()
    {
        const auto all = groupProperties({});
        QCOMPARE(all.size(), 4);
        const auto some = groupProperties({3, 77, 3, 0});
        QCOMPARE(some.size(), 2);
        QCOMPARE(some.at(0).id, 0);
        QCOMPARE(some.at(1).id, 3);
    }

    void shouldTellOneProperty()
    {
        const QDBusMessage answer = ask(QStringLiteral("GetProperty"), {3, QStringLiteral("label")});
        QCOMPARE(answer.arguments().constFirst().value<QDBusVariant>().variant().toString(), QStringLiteral("Quit"));
    }

    void shouldDescribeItself()
    {
        const auto value = [this](const char *name) {
            return m_host->property(m_owner->bus().baseService(), kPath, kInterface, QString::fromLatin1(name));
        };
        QCOMPARE(value("Version"), QVariant(3U));
        QCOMPARE(value("Status"), QVariant(QStringLiteral("normal")));
        QCOMPARE(value("TextDirection"), QVariant(QStringLiteral("ltr")));
        QCOMPARE(value("IconThemePath"), QVariant(QStringList()));
    }

    void shouldTellThatItIsWrittenFromTheRight()
    {
        const QLocale before;
        QLocale::setDefault(QLocale(QLocale::Hebrew));
        const QVariant direction
            = m_host->property(m_owner->bus().baseService(), kPath, kInterface, QStringLiteral("TextDirection"));
        QLocale::setDefault(before);
        QCOMPARE(direction, QVariant(QStringLiteral("rtl")));
    }

    void shouldAnswerEveryShowWithNothingNew()
    {
        QCOMPARE(ask(QStringLiteral("AboutToShow"), {0}).arguments(), QVariantList{false});
        const QDBusMessage group = ask(QStringLiteral("AboutToShowGroup"), {list({0, 9})});
        QCOMPARE(group.signature(), QStringLiteral("aiai"));
        QCOMPARE(qdbus_cast<QList<int>>(group.arguments().at(0)), QList<int>());
        QCOMPARE(qdbus_cast<QList<int>>(group.arguments().at(1)), QList<int>{9});
    }

    void shouldAnnounceAClick()
    {
        QCOMPARE(click(1).type(), QDBusMessage::ReplyMessage);
        QVERIFY(waitUntil([this] { return !m_triggered->isEmpty(); }));
        QCOMPARE(m_triggered->constFirst(), QVariantList{1});
    }

    void shouldAnnounceAClickToWhoeverDestroysTheMenuForIt()
    {
        connect(m_menu.get(), &DBusMenu::triggered, this, [this] { m_menu.release()->deleteLater(); });
        QCOMPARE(click(1).type(), QDBusMessage::ReplyMessage);
        QVERIFY(waitUntil([this] { return m_menu == nullptr; }));
    }

    void shouldNotAnnounceAClickBeforeTheCallHasReturned()
    {
        m_menu->click(1);
        QVERIFY(m_triggered->isEmpty());
        drainEvents();
        QCOMPARE(m_triggered->size(), 1);
    }

    void shouldIgnoreClicksOnWhatCannotBeClicked()
    {
        QCOMPARE(click(2).type(), QDBusMessage::ReplyMessage);
        QCOMPARE(click(3).type(), QDBusMessage::ReplyMessage);
        QCOMPARE(click(0).type(), QDBusMessage::ReplyMessage);
        QCOMPARE(ask(QStringLiteral("Event"), eventArguments(1, QStringLiteral("hovered"))).type(),
            QDBusMessage::ReplyMessage);
        drainEvents();
        QVERIFY(m_triggered->isEmpty());
    }

    void shouldTakeOneClickOfAGroup()
    {
        const QDBusMessage answer = ask(QStringLiteral("EventGroup"),
            {QVariant::fromValue(QList<DBusMenuEvent>{
                clickOn(8), {1, QStringLiteral("opened"), QDBusVariant(0), 0}, clickOn(1), clickOn(1), clickOn(-5)})});
        const QList<int> unknown{8, -5};
        QCOMPARE(qdbus_cast<QList<int>>(answer.arguments().constFirst()), unknown);
        QVERIFY(waitUntil([this] { return !m_triggered->isEmpty(); }));
        drainEvents();
        QCOMPARE(m_triggered->size(), 1);
    }

    void shouldRefuseEntriesThatItDoesNotHave()
    {
        QCOMPARE(click(99).errorName(), kInvalidArguments);
        QCOMPARE(ask(QStringLiteral("GetLayout"), {-1, -1, QStringList()}).errorName(), kInvalidArguments);
        QCOMPARE(ask(QStringLiteral("GetProperty"), {99, QStringLiteral("label")}).errorName(), kInvalidArguments);
        QCOMPARE(ask(QStringLiteral("AboutToShow"), {99}).errorName(), kInvalidArguments);
        QCOMPARE(ask(QStringLiteral("GetProperty"), {1, QStringLiteral("colour")}).errorName(),
            QStringLiteral("org.freedesktop.DBus.Error.UnknownProperty"));
        QVERIFY(m_triggered->isEmpty());
    }

    void shouldRefuseArgumentsOfAnotherKind()
    {
        QCOMPARE(ask(QStringLiteral("GetLayout"), {QStringLiteral("0")}).type(), QDBusMessage::ErrorMessage);
        QCOMPARE(ask(QStringLiteral("Event"), {1, 2, 3}).type(), QDBusMessage::ErrorMessage);
        QCOMPARE(ask(QStringLiteral("EventGroup"), {QStringList{QStringLiteral("clicked")}}).type(),
            QDBusMessage::ErrorMessage);
        QCOMPARE(layoutOf(0, -1, {}).children.size(), 3);
    }

    void shouldAnnounceANewLayout()
    {
        auto entries = threeEntries();
        entries.removeFirst();
        m_menu->setEntries(entries);
        QVERIFY(waitUntil([this] { return !m_listener->received.isEmpty(); }));
        const QDBusMessage &signal = m_listener->received.constFirst();
        QCOMPARE(signal.member(), QStringLiteral("LayoutUpdated"));
        const QDBusMessage answer = ask(QStringLiteral("GetLayout"), {0, -1, QStringList()});
        const QVariantList expected{answer.arguments().constFirst(), 0};
        QCOMPARE(signal.arguments(), expected);
        QCOMPARE(qdbus_cast<DBusMenuNode>(answer.arguments().at(1)).children.size(), 2);
    }

    void shouldAnnounceOnlyTheEntriesThatLookDifferent()
    {
        auto entries = threeEntries();
        entries.last().isEnabled = true;
        m_menu->setEntries(entries);
        QVERIFY(waitUntil([this] { return !m_listener->received.isEmpty(); }));
        const QDBusMessage &signal = m_listener->received.constFirst();
        QCOMPARE(signal.member(), QStringLiteral("ItemsPropertiesUpdated"));
        QCOMPARE(signal.signature(), QStringLiteral("a(ia{sv})a(ias)"));
        const auto updated = qdbus_cast<QList<DBusMenuProperties>>(signal.arguments().at(0));
        QCOMPARE(updated.size(), 1);
        QCOMPARE(updated.constFirst().id, 3);
        QCOMPARE(updated.constFirst().properties.value(QStringLiteral("enabled")), QVariant(true));
    }

    void shouldAnnounceNothingWhenNothingChanged()
    {
        m_menu->setEntries(threeEntries());
        std::ignore = layoutOf(0, -1, {});
        drainEvents();
        QVERIFY(m_listener->received.isEmpty());
    }

private:
    [[nodiscard]] QDBusMessage ask(const QString &member, const QVariantList &arguments)
    {
        return m_host->call(m_owner->bus().baseService(), kPath, kInterface, member, arguments);
    }
    [[nodiscard]] static QVariant list(const QList<int> &ids) { return QVariant::fromValue(ids); }
    [[nodiscard]] static QVariantList eventArguments(int id, const QString &type)
    {
        return {id, type, QVariant::fromValue(QDBusVariant(0)), 0U};
    }
    [[nodiscard]] QDBusMessage click(int id)
    {
        return ask(QStringLiteral("Event"), eventArguments(id, QStringLiteral("clicked")));
    }
    [[nodiscard]] DBusMenuNode layoutOf(int id, int depth, const QStringList &names)
    {
        return qdbus_cast<DBusMenuNode>(ask(QStringLiteral("GetLayout"), {id, depth, names}).arguments().value(1));
    }
    [[nodiscard]] QList<DBusMenuProperties> groupProperties(const QList<int> &ids)
    {
        const QDBusMessage answer = ask(QStringLiteral("GetGroupProperties"), {list(ids), QStringList()});
        return qdbus_cast<QList<DBusMenuProperties>>(answer.arguments().value(0));
    }

    std::unique_ptr<BusClient> m_owner;
    std::unique_ptr<BusClient> m_host;
    std::unique_ptr<DBusMenu> m_menu;
    std::unique_ptr<QSignalSpy> m_triggered;
    std::unique_ptr<MenuListener> m_listener;
};

VELMORA_TEST(DBusMenuTest)
#include "dbus_menu_test.moc"
