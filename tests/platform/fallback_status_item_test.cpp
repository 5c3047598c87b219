// SPDX-License-Identifier: MIT
#include "platform/fallback_status_item.h"

#include "support/await.h"
#include "support/fake_status_item.h"
#include "support/test_main.h"

#include <QPointer>
#include <QSignalSpy>
#include <QTest>

using namespace velmora;
using namespace velmora::testing;

namespace
{

constexpr auto kAtOnce = std::chrono::milliseconds(0);
constexpr auto kNever = std::chrono::hours(1);

} // namespace

class FallbackStatusItemTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_isPossible = true; }
    void cleanup() { m_item.reset(); }

    void shouldKeepToThePreferredItemThatIsThere()
    {
        make(kAtOnce, true);
        drainEvents();
        QVERIFY(!m_other);
        QVERIFY(m_item->isAvailable());
    }

    void shouldNotHurry()
    {
        make(kNever);
        drainEvents();
        QVERIFY(!m_other);
        QVERIFY(!m_item->isAvailable());
    }

    void shouldTellTheOtherItemEverythingWhenPatienceIsOver()
    {
        make(kAtOnce);
        m_item->show(content());
        QVERIFY(waitUntil([this] { return !m_other.isNull(); }));
        QVERIFY(m_other->content == content());
    }

    void shouldTellBothFromThenOn()
    {
        make(kAtOnce);
        QVERIFY(waitUntil([this] { return !m_other.isNull(); }));
        m_item->show(content());
        for (const FakeStatusItem *const item : {m_preferred.data(), m_other.data()})
            QVERIFY(item->content == content());
    }

    void shouldDropTheOtherItemWhenThePreferredOneComes()
    {
        make(kAtOnce);
        QVERIFY(waitUntil([this] { return !m_other.isNull(); }));
        m_preferred->becomeAvailable(true);
        QVERIFY(m_other.isNull());
        QVERIFY(m_item->isAvailable());
    }

    void shouldWaitAgainWhenThePreferredItemGoes()
    {
        make(kAtOnce, true);
        m_preferred->becomeAvailable(false);
        QVERIFY(!m_other);
        QVERIFY(waitUntil([this] { return !m_other.isNull(); }));
    }

    void shouldNotWaitForWhatHasComeMeanwhile()
    {
        make(kAtOnce);
        m_preferred->becomeAvailable(true);
        drainEvents();
        QVERIFY(!m_other);
    }

    void shouldDoWithoutAnotherItemWhereThereIsNone()
    {
        m_isPossible = false;
        make(kAtOnce);
        QVERIFY(waitUntil([this] { return m_made == 1; }));
        m_item->show(content());
        QVERIFY(!m_item->isAvailable());
    }

    void shouldForwardClicksOfBoth()
    {
        make(kAtOnce);
        QVERIFY(waitUntil([this] { return !m_other.isNull(); }));
        QSignalSpy clicks(m_item.get(), &StatusItem::activated);
        QSignalSpy choices(m_item.get(), &StatusItem::menuTriggered);
        Q_EMIT m_preferred->activated(QPoint(1, 2), QStringLiteral("token"));
        Q_EMIT m_other->activated(std::nullopt, QString());
        Q_EMIT m_preferred->menuTriggered(1, QString());
        Q_EMIT m_other->menuTriggered(2, QString());
        QCOMPARE(clicks.size(), 2);
        QCOMPARE(clicks.at(0).at(0).value<std::optional<QPoint>>(), std::optional(QPoint(1, 2)));
        QCOMPARE(clicks.at(0).at(1).toString(), QStringLiteral("token"));
        QCOMPARE(choices.size(), 2);
    }

    void shouldAnnounceOnlyWhatChangesForThePerson()
    {
        make(kAtOnce);
        QSignalSpy spy(m_item.get(), &StatusItem::availabilityChanged);
        QVERIFY(waitUntil([this] { return !m_other.isNull(); }));
        QVERIFY(spy.isEmpty());
        m_other->becomeAvailable(true);
        QCOMPARE(spy.size(), 1);
        m_preferred->becomeAvailable(true);
        QCOMPARE(spy.size(), 1);
        m_preferred->becomeAvailable(false);
        QCOMPARE(spy.size(), 2);
        QCOMPARE(spy.at(0), QVariantList{true});
        QCOMPARE(spy.at(1), QVariantList{false});
    }

private:
    void make(std::chrono::milliseconds patience, bool isThere = false)
    {
        m_made = 0;
        auto preferred = std::make_unique<FakeStatusItem>();
        m_preferred = preferred.get();
        if (isThere)
            preferred->becomeAvailable(true);
        m_item = std::make_unique<FallbackStatusItem>(
            std::move(preferred),
            [this]() -> std::unique_ptr<StatusItem> {
                ++m_made;
                if (!m_isPossible)
                    return nullptr;
                auto other = std::make_unique<FakeStatusItem>();
                m_other = other.get();
                return other;
            },
            patience);
    }

    static StatusItem::Content content()
    {
        static const QImage image(16, 16, QImage::Format_ARGB32);
        return {QStringLiteral("3"), QStringLiteral("3 in progress"), {image},
            {{1, QStringLiteral("Open"), true, false}}, StatusItem::Status::NeedsAttention};
    }

    bool m_isPossible = true;
    int m_made = 0;
    QPointer<FakeStatusItem> m_preferred;
    QPointer<FakeStatusItem> m_other;
    std::unique_ptr<FallbackStatusItem> m_item;
};

VELMORA_TEST(FallbackStatusItemTest)
#include "fallback_status_item_test.moc"
