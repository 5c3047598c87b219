// SPDX-License-Identifier: MIT
#include "ui/controls/sequence_diff.h"

#include "support/test_main.h"

#include <QRandomGenerator>
#include <QTest>

using namespace velmora;

namespace
{

std::vector<QStringView> views(const QStringList &keys)
{
    return {keys.begin(), keys.end()};
}

std::vector<SequenceEdit> diff(const QStringList &before, const QStringList &after)
{
    return sequenceDiff(views(before), views(after));
}

QStringList applied(QStringList list, const QStringList &after, const std::vector<SequenceEdit> &edits)
{
    for (const auto &edit : edits) {
        switch (edit.kind) {
        case SequenceEdit::Kind::Remove:
            list.remove(edit.at, edit.count);
            break;
        case SequenceEdit::Kind::Move:
            list.move(edit.at, edit.to);
            break;
        case SequenceEdit::Kind::Insert:
            for (qsizetype i = 0; i < edit.count; ++i)
                list.insert(edit.at + i, after.at(edit.source + i));
            break;
        }
    }
    return list;
}

/// One key for each letter, to keep the rows of the table readable.
QStringList letters(const char *text)
{
    return QString::fromLatin1(text).split(QString(), Qt::SkipEmptyParts);
}

QString shuffled(QString text, QRandomGenerator &random)
{
    for (qsizetype i = text.size() - 1; i > 0; --i) {
        const qsizetype other = random.bounded(static_cast<int>(i + 1));
        const QChar kept = text.at(i);
        text[i] = text.at(other);
        text[other] = kept;
    }
    return text;
}

} // namespace

class SequenceDiffTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theStepsAreAsFewAsCanBe_data()
    {
        using enum SequenceEdit::Kind;
        using Edits = std::vector<SequenceEdit>;
        QTest::addColumn<QStringList>("before");
        QTest::addColumn<QStringList>("after");
        QTest::addColumn<Edits>("edits");
        const auto row = [](const char *name, const char *before, const char *after, const Edits &edits) {
            QTest::newRow(name) << letters(before) << letters(after) << edits;
        };
        row("nothing", "", "", {});
        row("the same", "abc", "abc", {});
        row("the first ones", "", "abc", {{Insert, 0, 3, 0, 0}});
        row("all gone", "abc", "", {{Remove, 0, 3, 0, 0}});
        row("one more at the end", "abc", "abcd", {{Insert, 3, 1, 0, 3}});
        row("two more in front", "abc", "xyabc", {{Insert, 0, 2, 0, 0}});
        row("one more inside", "abc", "abxc", {{Insert, 2, 1, 0, 2}});
        row("two ranges gone", "abcde", "bd", {{Remove, 4, 1, 0, 0}, {Remove, 2, 1, 0, 0}, {Remove, 0, 1, 0, 0}});
        row("a range gone", "abcde", "ae", {{Remove, 1, 3, 0, 0}});
        row("one to the front", "abcde", "dabce", {{Move, 3, 1, 0, 0}});
        row("one to the back", "abcde", "bcdea", {{Move, 0, 1, 4, 0}});
        row("one replaced", "abc", "axc", {{Remove, 1, 1, 0, 0}, {Insert, 1, 1, 0, 1}});
        row("neighbours change places", "abcd", "acbd", {{Move, 1, 1, 2, 0}});
        row("all at once", "abcd", "dxab", {{Remove, 2, 1, 0, 0}, {Insert, 0, 1, 0, 1}, {Move, 3, 1, 0, 0}});
    }

    void theStepsAreAsFewAsCanBe()
    {
        QFETCH(QStringList, before);
        QFETCH(QStringList, after);
        QFETCH(std::vector<SequenceEdit>, edits);
        const auto found = diff(before, after);
        QCOMPARE(applied(before, after, found), after);
        QCOMPARE(found.size(), edits.size());
        QVERIFY(found == edits);
    }

    void anyTwoSequencesAreBridged()
    {
        QRandomGenerator random(4711);
        const QString all = QStringLiteral("abcdefghijklmnopqrstuvwxyz");
        for (int turn = 0; turn < 5000; ++turn) {
            const QStringList before
                = shuffled(all, random).left(random.bounded(27)).split(QString(), Qt::SkipEmptyParts);
            const QStringList after
                = shuffled(all, random).left(random.bounded(27)).split(QString(), Qt::SkipEmptyParts);
            QCOMPARE(applied(before, after, diff(before, after)), after);
        }
    }

    void aKeyThatIsThereTwiceDoesNoHarm()
    {
        const QStringList before = letters("abac");
        const QStringList after = letters("caabb");
        QCOMPARE(applied(before, after, diff(before, after)), after);
        QCOMPARE(applied(after, before, diff(after, before)), before);
    }

    void oneThatMovesFarThroughManyIsOneStep()
    {
        QStringList before;
        for (int i = 0; i < 20'000; ++i)
            before.append(QString::number(i));
        QStringList after = before;
        after.move(19'000, 3);
        const auto edits = diff(before, after);
        QCOMPARE(edits.size(), 1U);
        QCOMPARE(edits.front(), (SequenceEdit{SequenceEdit::Kind::Move, 19'000, 1, 3, 0}));
    }
};

VELMORA_TEST(SequenceDiffTest)
#include "sequence_diff_test.moc"
