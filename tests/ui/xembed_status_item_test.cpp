// SPDX-License-Identifier: MIT
#include "ui/tray/xembed_status_item.h"

#include "support/await.h"
#include "support/test_main.h"

#include <QSignalSpy>
#include <QTest>

using namespace velmora;
using namespace velmora::testing;

class XEmbedStatusItemTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void shouldBeMadeOnlyOnX11() { QVERIFY(!XEmbedStatusItem::makeWherePossible()); }

    void shouldBeUnavailableWithoutATray()
    {
        XEmbedStatusItem item;
        item.show({});
        QVERIFY(!item.isAvailable());
    }

    void shouldShowWhatItIsTold()
    {
        XEmbedStatusItem item;
        QVERIFY(!icon(item).isVisible());
        item.show({QStringLiteral("3"), QStringLiteral("3 in progress"), {}, {}});
        QCOMPARE(icon(item).toolTip(), QStringLiteral("3\n3 in progress"));
        item.show({QStringLiteral("Velmora"), {}, {}, {}});
        QCOMPARE(icon(item).toolTip(), QStringLiteral("Velmora"));
        QImage image(22, 22, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::red);
        item.show({{}, {}, {image.scaled(16, 16), image}, {}});
        const QList<QSize> sizes{QSize(16, 16), QSize(22, 22)};
        QCOMPARE(icon(item).icon().availableSizes(), sizes);
        QVERIFY(icon(item).isVisible());
        item.show({{}, {}, {}, {}, StatusItem::Status::Passive});
        QVERIFY(!icon(item).isVisible());
    }

    void shouldShowMarkupInTheToolTipAsText()
    {
        XEmbedStatusItem item;
        item.show({QStringLiteral("<b>1</b>"), QStringLiteral("1 in progress"), {}, {}});
        QVERIFY(icon(item).toolTip().contains(QLatin1String("&lt;b&gt;1&lt;/b&gt;")));
        QVERIFY(icon(item).toolTip().contains(QLatin1String("1 in progress")));
    }

    void shouldTellClicksButNotTheSecondOfTwo()
    {
        XEmbedStatusItem item;
        QSignalSpy spy(&item, &StatusItem::activated);
        Q_EMIT icon(item).activated(QSystemTrayIcon::Trigger);
        Q_EMIT icon(item).activated(QSystemTrayIcon::DoubleClick);
        Q_EMIT icon(item).activated(QSystemTrayIcon::MiddleClick);
        Q_EMIT icon(item).activated(QSystemTrayIcon::Context);
        QCOMPARE(spy.size(), 2);
        QVERIFY(spy.constFirst().at(0).value<std::optional<QPoint>>());
        QCOMPARE(spy.constFirst().at(1).toString(), QString());
    }

    void shouldHaveAMenu()
    {
        XEmbedStatusItem item;
        item.show({{}, {}, {}, {{9, QStringLiteral("Old"), true, false}}});
        item.show({{}, {}, {},
            {{1, QStringLiteral("Open a&b"), true, false}, {2, QString(), true, true},
                {3, QStringLiteral("Quit"), false, false}}});
        const auto actions = icon(item).contextMenu()->actions();
        QCOMPARE(actions.size(), 3);
        QCOMPARE(actions.at(0)->text(), QStringLiteral("Open a&&b"));
        QVERIFY(actions.at(1)->isSeparator());
        QVERIFY(!actions.at(2)->isEnabled());
        QSignalSpy spy(&item, &StatusItem::menuTriggered);
        actions.at(0)->trigger();
        QVERIFY(spy.isEmpty()); // not while the menu is still emitting
        drainEvents();
        const QVariantList expected{1, QString()};
        QCOMPARE(spy.size(), 1);
        QCOMPARE(spy.constFirst(), expected);
    }

    void shouldEndByTheChoiceThatEndsIt()
    {
        auto item = std::make_unique<XEmbedStatusItem>();
        item->show({{}, {}, {}, {{1, QStringLiteral("Quit"), true, false}}});
        connect(item.get(), &StatusItem::menuTriggered, this, [&item] { item.reset(); });
        icon(*item).contextMenu()->actions().constFirst()->trigger();
        drainEvents();
        QVERIFY(!item);
    }

private:
    /// The QSystemTrayIcon inside the item.
    static QSystemTrayIcon &icon(XEmbedStatusItem &item) { return *item.findChild<QSystemTrayIcon *>(); }
};

VELMORA_WIDGET_TEST(XEmbedStatusItemTest)
#include "xembed_status_item_test.moc"
