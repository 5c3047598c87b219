// SPDX-License-Identifier: MIT
// Tests the forms of co_await that the code relies on. Compilers have miscompiled others and destroyed temporaries of
// the awaiting statement twice. Run it under the sanitizers.
#include "support/await.h"
#include "support/one_shot.h"
#include "support/task_scope.h"
#include "support/test_main.h"

#include <QObject>
#include <QTest>

#include <functional>
#include <memory>
#include <stdexcept>

using namespace velmora;
using namespace velmora::testing;

namespace
{

// Long enough to live on the heap, so that the sanitizer notices a second destruction.
QString longText()
{
    return QStringLiteral("a text that is too long for any small buffer");
}

struct Request {
    QString name;
    QStringList items;
};

class Named
{
public:
    explicit Named(QString name)
        : m_name(std::move(name))
    {
    }
    [[nodiscard]] const QString &name() const { return m_name; }

private:
    QString m_name;
};

QCoro::Task<> nextTurn()
{
    const OneShot<> turn;
    QMetaObject::invokeMethod(
        QCoreApplication::instance(), [turn] { turn.resolve(); }, Qt::QueuedConnection);
    co_await turn;
}

QCoro::Task<QString> echo(QString text)
{
    co_await nextTurn();
    co_return text;
}

QCoro::Task<QString> nameOf(Named named)
{
    co_await nextTurn();
    co_return named.name();
}

QCoro::Task<QString> describeRequest(Request request)
{
    co_await nextTurn();
    co_return request.name + request.items.join(QLatin1Char(','));
}

QCoro::Task<QString> apply(std::function<QString()> function)
{
    co_await nextTurn();
    co_return function();
}

QCoro::Task<QString> failing(QString text)
{
    co_await nextTurn();
    throw std::runtime_error(text.toStdString());
}

QCoro::Task<bool> isLong(QString text)
{
    co_await nextTurn();
    co_return text.size() > 10;
}

QCoro::Task<QString> awaitsWithAggregateInALocal()
{
    const QStringList items{longText(), longText()};
    Request request{.name = longText(), .items = items};
    const auto result = co_await describeRequest(std::move(request));
    co_return result;
}

QCoro::Task<QString> awaitsWithFunctionObjectInALocal()
{
    auto function = [text = longText()] {
        return text;
    };
    const auto result = co_await apply(std::move(function));
    co_return result;
}

QCoro::Task<QString> awaitsWithTemporaries()
{
    const auto constructed = co_await nameOf(Named(longText()));
    const auto added = co_await echo(longText() + constructed);
    const auto nested = co_await echo(co_await echo(added));
    co_return nested;
}

QCoro::Task<QString> awaitsInARangeFor()
{
    const QStringList items{longText(), longText(), longText()};
    QString result;
    for (const auto &item : items)
        result += co_await echo(item);
    co_return result;
}

QCoro::Task<QString> awaitsInsideTry()
{
    QString failure;
    try {
        const auto result = co_await failing(longText());
        co_return result;
    } catch (const std::runtime_error &error) {
        failure = QString::fromLatin1(error.what());
    }
    const auto result = co_await echo(failure);
    co_return result;
}

QCoro::Task<QString> awaitsInTheInitStatementOfAnIf()
{
    if (const bool answer = co_await isLong(longText()); answer)
        co_return longText();
    co_return QString();
}

QCoro::Task<Request> buildsAnAggregateAfterTheAwait()
{
    const auto name = co_await echo(longText());
    const auto item = co_await echo(longText());
    co_return Request{.name = name, .items = {item}};
}

class Holder : public QObject
{
    Q_OBJECT

public:
    QCoro::Task<QString> copyOfMember()
    {
        const QPointer<Holder> self(this);
        co_await nextTurn();
        if (!self)
            co_return QStringLiteral("gone");
        co_return QString(m_text);
    }
    [[nodiscard]] const QString &text() const { return m_text; }

private:
    QString m_text = longText();
};

} // namespace

class CoroutineFormsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void anAggregateInALocalIsPassedWhole()
    {
        QCOMPARE(awaitValue(awaitsWithAggregateInALocal()), longText() + longText() + u',' + longText());
    }
    void aFunctionObjectInALocalIsPassedWhole()
    {
        QCOMPARE(awaitValue(awaitsWithFunctionObjectInALocal()), longText());
    }
    void temporariesOfClassesLiveThroughTheAwait()
    {
        QCOMPARE(awaitValue(awaitsWithTemporaries()), longText() + longText());
    }
    void aRangeForMayAwaitInItsBody()
    {
        QCOMPARE(awaitValue(awaitsInARangeFor()), longText() + longText() + longText());
    }
    void aFailureIsCaughtAroundTheAwait() { QCOMPARE(awaitValue(awaitsInsideTry()), longText()); }
    void theInitStatementOfAnIfMayAwait() { QCOMPARE(awaitValue(awaitsInTheInitStatementOfAnIf()), longText()); }
    void anAggregateIsReturnedWhole()
    {
        const auto request = awaitValue(buildsAnAggregateAfterTheAwait());
        QCOMPARE(request.name, longText());
        QCOMPARE(request.items, QStringList(longText()));
    }
    void aMemberThatIsReturnedAsACopyStays()
    {
        Holder holder;
        QCOMPARE(awaitValue(holder.copyOfMember()), longText());
        QCOMPARE(holder.text(), longText());
    }
    void aMemberCoroutineNoticesThatItsOwnerIsGone()
    {
        auto holder = std::make_unique<Holder>();
        const auto outcome = start(holder->copyOfMember());
        holder.reset();
        QVERIFY(waitUntil([&] { return outcome->isDone; }));
        QCOMPARE(*outcome->value, QStringLiteral("gone"));
    }
};

VELMORA_TEST(CoroutineFormsTest)
#include "coroutine_forms_test.moc"
