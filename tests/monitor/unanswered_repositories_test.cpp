// SPDX-License-Identifier: MIT
#include "monitor/unanswered_repositories.h"

#include "support/test_main.h"

#include <QTest>

using namespace velmora;
using namespace Qt::Literals::StringLiterals;

namespace
{

RepositoryRecord record(const QString &name, qint64 identityID = 1)
{
    RepositoryRecord result;
    result.identityID = identityID;
    result.repository.nodeID = u"R_"_s + name;
    result.repository.nameWithOwner = u"octo/"_s + name;
    return result;
}

} // namespace

class UnansweredRepositoriesTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aReasonIsSaidOnceForAllThatItIsAbout()
    {
        UnansweredRepositories unanswered;
        unanswered.record({record(u"web"_s), record(u"api"_s), record(u"shop"_s), record(u"mail"_s, 2)},
            {{u"R_web"_s, u"Sign in."_s}, {u"R_api"_s, u"Sign in."_s}, {u"R_shop"_s, u"It is gone."_s},
                {u"R_mail"_s, u"Sign in."_s}});
        QCOMPARE(unanswered.lines(1), QStringList({u"octo/shop: It is gone."_s, u"octo/api, octo/web: Sign in."_s}));
        QCOMPARE(unanswered.lines(2), QStringList(u"octo/mail: Sign in."_s));
        QCOMPARE(unanswered.lines(3), QStringList());
    }

    void ofManyAFewAreNamed()
    {
        UnansweredRepositories unanswered;
        QList<RepositoryRecord> asked;
        QList<UnansweredRepository> answers;
        for (const QString &name : {u"a"_s, u"b"_s, u"c"_s, u"d"_s, u"e"_s}) {
            asked.append(record(name));
            answers.append({u"R_"_s + name, u"Sign in."_s});
        }
        unanswered.record(asked, answers);
        QCOMPARE(unanswered.lines(1), QStringList(u"octo/a, octo/b, octo/c and 2 more: Sign in."_s));
    }

    void anAnswerEndsTheReason()
    {
        UnansweredRepositories unanswered;
        unanswered.record({record(u"web"_s)}, {{u"R_web"_s, u"Sign in."_s}});
        QCOMPARE(unanswered.lines(1), QStringList(u"octo/web: Sign in."_s));
        // Only api is asked for: the reason of web stays.
        unanswered.record({record(u"api"_s)}, {});
        QCOMPARE(unanswered.lines(1), QStringList(u"octo/web: Sign in."_s));
        unanswered.record({record(u"web"_s)}, {});
        QCOMPARE(unanswered.lines(1), QStringList());
    }

    void whatIsNotMonitoredAnyMoreIsForgotten()
    {
        UnansweredRepositories unanswered;
        unanswered.record(
            {record(u"web"_s), record(u"api"_s)}, {{u"R_web"_s, u"Sign in."_s}, {u"R_api"_s, u"Sign in."_s}});
        unanswered.retain({record(u"api"_s)});
        QCOMPARE(unanswered.lines(1), QStringList(u"octo/api: Sign in."_s));
    }
};

VELMORA_TEST(UnansweredRepositoriesTest)
#include "unanswered_repositories_test.moc"
