// SPDX-License-Identifier: MIT
#include "notifications/notification_text.h"

#include "support/test_main.h"

#include <QTest>

using namespace velmora;

namespace
{

DeploymentNotification notification(const QString &title, const QString &subtitle, const QString &body)
{
    return DeploymentNotification{.title = title, .subtitle = subtitle, .body = body, .url = {}, .identifier = {}};
}

} // namespace

class NotificationTextTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theSubtitleIsTheFirstLineOfTheBody()
    {
        const auto given = notification(QString(), QStringLiteral("production"), QStringLiteral("All good"));
        QCOMPARE(bodyText(given, BodyFormat::PlainText), QStringLiteral("production:\nAll good"));
        QCOMPARE(bodyText(given, BodyFormat::Markup), QStringLiteral("production:\nAll good"));
    }

    void aPartThatIsEmptyTakesNoLine()
    {
        QCOMPARE(bodyText(notification({}, QStringLiteral("production"), {}), BodyFormat::Markup),
            QStringLiteral("production"));
        QCOMPARE(
            bodyText(notification({}, {}, QStringLiteral("All good")), BodyFormat::Markup), QStringLiteral("All good"));
        QCOMPARE(bodyText(notification({}, {}, {}), BodyFormat::PlainText), QString());
        // A body of control characters becomes empty, too.
        QCOMPARE(bodyText(notification({}, QStringLiteral("production"), QStringLiteral("\a")), BodyFormat::PlainText),
            QStringLiteral("production"));
    }

    void theSubtitleIsEscapedExactlyWhereMarkupIsInterpreted()
    {
        const auto given = notification({}, QStringLiteral("<i>&"), {});
        QCOMPARE(bodyText(given, BodyFormat::PlainText), QStringLiteral("<i>&"));
        QCOMPARE(bodyText(given, BodyFormat::Markup), QStringLiteral("&lt;i&gt;&amp;"));
    }

    void theSummaryIsNeverEscaped()
    {
        QCOMPARE(summaryText(notification(QStringLiteral("a/<b>&\"c\" failed"), {}, {})),
            QStringLiteral("a/<b>&\"c\" failed"));
    }

    void theSummaryAndTheSubtitleStayOnOneLine()
    {
        const auto given = notification(QStringLiteral("a\nb\u2028c"), QStringLiteral("d\ne"), QStringLiteral("f"));
        QCOMPARE(summaryText(given), QStringLiteral("a b c"));
        QCOMPARE(bodyText(given, BodyFormat::PlainText), QStringLiteral("d e:\nf"));
    }

    void everyPartHasItsLength()
    {
        const QString text = QStringLiteral("x").repeated(1000);
        const auto given = notification(text, text, text);
        QCOMPARE(summaryText(given).size(), 200);
        const QStringList lines = bodyText(given, BodyFormat::PlainText).split(QLatin1Char('\n'));
        QCOMPARE(lines.size(), 2);
        QCOMPARE(lines.at(0).size(), 201); // with the colon
        QCOMPARE(lines.at(1).size(), 500);
    }

    void theButtonNamesTheRepositoryWithoutItsOwner_data()
    {
        QTest::addColumn<QString>("repository");
        QTest::addColumn<QString>("label");
        QTest::newRow("ordinary") << QStringLiteral("acme/web") << QStringLiteral("Mute web");
        QTest::newRow("without an owner") << QStringLiteral("web") << QStringLiteral("Mute web");
        QTest::newRow("lines") << QStringLiteral("acme/a\nb") << QStringLiteral("Mute a b");
    }
    void theButtonNamesTheRepositoryWithoutItsOwner()
    {
        QFETCH(QString, repository);
        QFETCH(QString, label);
        DeploymentSnapshot deployment;
        deployment.repositoryName = repository;
        QCOMPARE(muteText(deployment), label);
    }

    void theButtonHasALength()
    {
        DeploymentSnapshot deployment;
        deployment.repositoryName = QStringLiteral("acme/") + QStringLiteral("x").repeated(100);
        QCOMPARE(muteText(deployment).size(), 35);
    }

    void theLengthIsThatOfTheTextAsItIsShown()
    {
        const auto given = notification({}, {}, QStringLiteral("&").repeated(500));
        QCOMPARE(bodyText(given, BodyFormat::Markup), QStringLiteral("&amp;").repeated(500));
    }
};

VELMORA_TEST(NotificationTextTest)
#include "notification_text_test.moc"
