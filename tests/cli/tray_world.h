// SPDX-License-Identifier: MIT
#pragma once

#include "program_world.h"

namespace velmora::testing
{

/// The same world with a tray program.
class TrayWorld : protected ProgramWorld
{
protected:
    std::unique_ptr<ProgramRun> m_tray;

    /// Starts the tray program without a visible desktop.
    [[nodiscard]] std::unique_ptr<ProgramRun> startedOnDesktop(const char *arguments) const
    {
        QProcessEnvironment desktop = environment();
        desktop.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        desktop.insert(QStringLiteral("DISPLAY"), QStringLiteral(":0"));
        auto run = std::make_unique<ProgramRun>(words(arguments), desktop);
        run->start();
        return run;
    }

    /// Starts the tray program and waits until its deployments are loaded.
    void startTray()
    {
        m_tray = startedOnDesktop("");
        QVERIFY(waitUntil([this] {
            return jsonLines(finished("status --json")->out()).last().value(QLatin1String("state")).toString()
                == QLatin1String("ready");
        }));
        m_simulator.log().clear();
    }

    void connectAndStartTray()
    {
        connectFirst();
        startTray();
    }

    /// Ends the tray program, if it was started.
    void endTray()
    {
        if (!m_tray)
            return;
        m_tray->signal(SIGTERM);
        QVERIFY(m_tray->ends());
        QCOMPARE(m_tray->code(), 0);
        m_tray.reset();
    }

    [[nodiscard]] QString firstRepository() const
    {
        const auto listed = array(finished("repositories --json")->out());
        return listed.first().toObject().value(QLatin1String("name")).toString();
    }
};

} // namespace velmora::testing
