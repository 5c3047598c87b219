// SPDX-License-Identifier: MIT
#include "diagnostics/probe.h"

#include "accounts/credential_store_error.h"
#include "dbus/bus_error.h"
#include "github/github_client_error.h"
#include "support/await.h"
#include "support/error.h"
#include "support/one_shot.h"
#include "support/test_main.h"

#include <QElapsedTimer>
#include <QTest>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;

namespace
{

QCoro::Task<QList<Finding>> answer(QString label, OneShot<QString> text)
{
    const QString told = co_await text;
    const QList<Finding> findings{Finding{label, told}};
    co_return findings;
}

Probe probe(const QString &label, const OneShot<QString> &text)
{
    return Probe{label, [=](const std::stop_token &) {
                     return answer(label, text);
                 }};
}

Finding line(const char *label, const char *text)
{
    return {QString::fromUtf8(label), QString::fromUtf8(text)};
}

} // namespace

class ProbeTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void answersStandInTheOrderOfTheQuestions()
    {
        const OneShot<QString> first;
        const OneShot<QString> second;
        const OneShot<QString> third;
        const auto run = start(runProbes(
            {probe(QStringLiteral("1"), first), probe(QStringLiteral("2"), second), probe(QStringLiteral("3"), third)},
            10s, {}));
        third.resolve(QStringLiteral("z"));
        second.resolve(QStringLiteral("y"));
        QVERIFY(!run->isDone);
        first.resolve(QStringLiteral("x"));
        QVERIFY(waitUntil([&] { return run->isDone; }));
        const QList<Finding> expected{line("1", "x"), line("2", "y"), line("3", "z")};
        QCOMPARE(*run->value, expected);
    }

    void whatFailsOrIsNotAnsweredTakesNothingFromTheOthers()
    {
        const OneShot<QString> good;
        const OneShot<QString> failing;
        const OneShot<QString> silent;
        good.resolve(QStringLiteral("x"));
        failing.fail(std::make_exception_ptr(
            CredentialStoreError::keychain(CredentialStoreError::Failed, QStringLiteral("at corp.test"))));
        QElapsedTimer timer;
        timer.start();
        const auto findings = awaitValue(runProbes(
            {probe(QStringLiteral("1"), failing), probe(QStringLiteral("2"), silent), probe(QStringLiteral("3"), good)},
            100ms, {}));
        QVERIFY(timer.elapsed() >= 90);
        const QList<Finding> expected{
            line("1", "The keyring failed."), line("2", "no answer within 0.1 s"), line("3", "x")};
        QCOMPARE(findings, expected);
        // A late answer must do no harm.
        silent.resolve(QStringLiteral("late"));
    }

    void aFailureIsToldByItsKind_data()
    {
        QTest::addColumn<std::exception_ptr>("failure");
        QTest::addColumn<QString>("text");
        const auto row = [](const char *name, auto failure, const char *text) {
            QTest::newRow(name) << std::make_exception_ptr(failure) << QString::fromUtf8(text);
        };
        row("a keyring's words", CredentialStoreError::keychain(CredentialStoreError::Failed, QStringLiteral("secret")),
            "The keyring failed.");
        row("a keyring's state", CredentialStoreError::keychain(CredentialStoreError::NotAnswering),
            "The keyring does not answer. Restart it, or log in again.");
        row("a status", GitHubClientError::requestFailed(500), "GitHub returned HTTP 500.");
        row("an answer", DecodingError(QStringLiteral("secret is missing")), "The answer cannot be read.");
        row("a file", FileError(QStringLiteral("Cannot read /home/secret")), "A failure of another kind.");
        row("an exception", std::runtime_error("secret"), "A failure of another kind.");
        const QDBusMessage call = QDBusMessage::createMethodCall(
            QStringLiteral("a.secret"), QStringLiteral("/"), QStringLiteral("a.secret"), QStringLiteral("Ask"));
        const auto refusal = [&call](const char *name) {
            return BusError(call.createErrorReply(QString::fromLatin1(name), QStringLiteral("secret")));
        };
        row("no answer", refusal("org.freedesktop.DBus.Error.NoReply"),
            "The session bus, or a program on it, did not answer in time.");
        row("a refusal", refusal("a.secret.Error"), "The session bus, or a program on it, gave no usable answer.");
    }
    void aFailureIsToldByItsKind()
    {
        QFETCH(std::exception_ptr, failure);
        QFETCH(QString, text);
        QCOMPARE(failureText(failure), text);
    }

    void theEndStopsWhatNobodyWaitsForAnyMore()
    {
        std::stop_token seen;
        const OneShot<QString> silent;
        const Probe asking{QStringLiteral("1"), [&](const std::stop_token &stop) {
                               seen = stop;
                               return answer(QString(), silent);
                           }};
        std::ignore = awaitValue(runProbes({asking}, 10ms, {}));
        QVERIFY(seen.stop_requested());
        silent.resolve(QString());
    }

    void aStopEndsTheRun()
    {
        std::stop_source stop;
        const OneShot<QString> silent;
        const auto run = start(runProbes({probe(QString(), silent)}, 10s, stop.get_token()));
        stop.request_stop();
        QVERIFY(waitUntil([&] { return run->isDone; }, 5000));
        QVERIFY(run->failedWithType<CancellationError>());
        silent.resolve(QString());
    }

    void nothingToAskIsAnsweredAtOnce() { QVERIFY(awaitValue(runProbes({}, 10s, {})).isEmpty()); }
};

VELMORA_TEST(ProbeTest)
#include "probe_test.moc"
