// SPDX-License-Identifier: MIT
#include "cli/progress_line.h"

#include "cli/terminal.h"
#include "program_run.h"
#include "support/test_main.h"

#include <QTemporaryFile>
#include <QTest>

#include <optional>

using namespace velmora;
using namespace velmora::testing;

class ProgressLineTest : public QObject
{
    Q_OBJECT

private:
    std::optional<PseudoTerminal> m_screen;
    QString m_text;
    std::function<QString()> m_textOf = [this] {
        return m_text;
    };

private Q_SLOTS:
    void init()
    {
        qputenv("TERM", "xterm");
        m_screen.emplace();
        QVERIFY(m_screen->isOpen());
        m_text = QStringLiteral("Waiting");
    }

    void theLineIsRedrawnInPlaceAndErasedInTheEnd()
    {
        Terminal terminal(m_screen->slave());
        {
            const ProgressLine line(&terminal, m_textOf);
            QVERIFY(m_screen->shows("Waiting"));
            m_text = QStringLiteral("Still waiting");
            line.redraw();
            QVERIFY(m_screen->shows("\r\x1b[2KStill waiting"));
        }
        QVERIFY(m_screen->shows("Still waiting\r\x1b[2K"));
        QVERIFY(!terminal.beforeLine && !terminal.afterLine);
    }

    void linesOfOthersComeBeforeIt()
    {
        Terminal terminal(m_screen->slave());
        const ProgressLine line(&terminal, m_textOf);
        m_text = QStringLiteral("still");
        terminal.writeLine(QStringLiteral("A warning."));
        QVERIFY(m_screen->shows("Waiting\r\x1b[2KA warning.\r\n\r\x1b[2Kstill"));
    }

    void itsTimesAreKeptUpToDate()
    {
        Terminal terminal(m_screen->slave());
        const ProgressLine line(&terminal, m_textOf);
        m_text = QStringLiteral("for a minute");
        QVERIFY(m_screen->shows("for a minute"));
    }

    void aLongTextFitsOnOneRowAndSteersNothing()
    {
        Terminal terminal(m_screen->slave());
        m_text = QStringLiteral("\x1b[31mfirst ") + QString(200, QLatin1Char('x')) + QStringLiteral(" last");
        const ProgressLine line(&terminal, m_textOf);
        QVERIFY(m_screen->shows(" last"));
        const QString shown = QString::fromUtf8(m_screen->output()).split(QStringLiteral("\r\x1b[2K")).at(1);
        QCOMPARE(shown.size(), 79);
        QVERIFY2(shown.startsWith(QStringLiteral("\uFFFD[31mfirst ")), qPrintable(shown));
    }

    void nothingIsWrittenWhereThereIsNoTerminal()
    {
        QTemporaryFile file;
        QVERIFY(file.open());
        Terminal terminal(file.handle());
        {
            const ProgressLine line(&terminal, m_textOf);
            line.redraw();
            QVERIFY(!terminal.beforeLine && !terminal.afterLine);
        }
        QCOMPARE(file.size(), 0);
    }
};

VELMORA_TEST(ProgressLineTest)
#include "progress_line_test.moc"
