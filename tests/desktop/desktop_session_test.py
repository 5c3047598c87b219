#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""The desktop is complete and isolated, and leaves nothing behind."""

import os
import signal
import subprocess
import sys
import unittest

from headless import Session, eventually
from headless.bus import BusError
from headless.processes import adopt_orphans, descendants

_HERE = os.path.dirname(os.path.abspath(__file__))
# Opens a session, prints its folder and display, and keeps it open until the end of its input.
_STAY = """
import sys
sys.path.insert(0, sys.argv[1])
from headless import Session
with Session(tray="xfce") as session:
    print(session.root, session.screen.name, flush=True)
    sys.stdin.read()
"""


class Stranger:
    """Another process with a session of its own."""

    def __init__(self):
        command = [sys.executable, "-c", _STAY, _HERE]
        self.process = subprocess.Popen(command, stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        self.root, self.display = self.process.stdout.readline().split()

    def end(self):
        self.process.communicate()


class SessionTest(unittest.TestCase):
    def test_ends_without_a_process_or_a_file(self):
        before = descendants()

        with Session() as session:
            root, during = session.root, descendants()
            display = f"/tmp/.X11-unix/X{session.screen.name[1:]}"
            socket = os.stat(display).st_ino

        self.assertGreater(len(during - before), 6)
        self.assertEqual(descendants() - before, set())
        self.assertFalse(os.path.exists(root))
        # Another session may take the number at once.
        self.assertFalse(os.path.exists(display) and os.stat(display).st_ino == socket)

    def test_ends_what_its_programs_left_behind(self):
        before = descendants()

        with Session(tray="none", notifications="none", keyring="absent") as session:
            # It ignores SIGTERM and is orphaned.
            script = "trap '' TERM; (setsid sleep 1000; true) & echo $! ; exit 0"
            program = session.start("leaver", ["sh", "-c", script])
            self.assertEqual(program.wait(), 0)
            left = int(program.output())
            self.assertIn(left, descendants())

        self.assertEqual(descendants() - before, set())

    def test_ends_when_its_test_fails(self):
        before = descendants()

        with self.assertRaises(ZeroDivisionError):
            with Session() as session:
                root = session.root
                1 / 0

        self.assertEqual(descendants() - before, set())
        self.assertFalse(os.path.exists(root))

    def test_leaves_no_process_behind_when_its_process_is_killed(self):
        adopt_orphans()
        before = descendants()
        stranger = Stranger()
        self.assertGreater(len(descendants() - before), 6)

        stranger.process.send_signal(signal.SIGKILL)
        stranger.end()

        eventually(lambda: not descendants() - before, "the processes of a killed session to end")
        subprocess.run(["rm", "-r", stranger.root], check=True)

    def test_several_sessions_know_nothing_of_each_other(self):
        strangers = [Stranger(), Stranger()]
        try:
            with Session() as session:
                seen = {session.screen.name, *(stranger.display for stranger in strangers)}
                self.assertEqual(len(seen), 3)
                panels = [window.pid for window in session.windows.list()]
                self.assertEqual(panels, [session.tray.program.pid])
        finally:
            for stranger in strangers:
                stranger.end()

        for stranger in strangers:
            self.assertEqual(stranger.process.returncode, 0)
            self.assertFalse(os.path.exists(stranger.root))

    def test_shows_its_programs_nothing_of_the_person_who_runs_it(self):
        os.environ["XDG_CURRENT_DESKTOP"] = "THEIRS"
        os.environ["GITHUB_TOKEN"] = "theirs"
        self.addCleanup(os.environ.pop, "XDG_CURRENT_DESKTOP")
        self.addCleanup(os.environ.pop, "GITHUB_TOKEN")

        with Session(tray="none", notifications="none", keyring="absent") as session:
            program = session.start("env", ["env"], {"OURS": "1"})
            program.wait()
            seen = dict(line.split("=", 1) for line in program.output().splitlines())
            root = session.root

        self.assertNotIn("XDG_CURRENT_DESKTOP", seen)
        self.assertNotIn("GITHUB_TOKEN", seen)
        self.assertEqual(seen["OURS"], "1")
        for name in ("HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME", "XDG_RUNTIME_DIR", "TMPDIR"):
            self.assertTrue(seen[name].startswith(root), name)

    def test_its_bus_starts_only_what_belongs_to_the_desktop(self):
        driver = ("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus")
        with Session(tray="none", notifications="none", keyring="absent") as session:
            names = session.bus.call(*driver, "ListActivatableNames")[0]
            with self.assertRaises(BusError) as refused:
                session.bus.call(*driver, "StartServiceByName", "(su)", "org.freedesktop.Notifications", 0)

        self.assertEqual(set(names), {"org.freedesktop.DBus", "org.a11y.Bus", "org.xfce.Xfconf"})
        self.assertTrue(refused.exception.is_absence)

    def test_says_which_part_did_not_start_and_why(self):
        before = descendants()
        with self.assertRaisesRegex(RuntimeError, "panel ended with 127: .*no-such-panel"):
            with Session(tray="xfce", late=("tray",)) as session:
                session.tray.arguments = ["no-such-panel"]
                session.tray.start()

        self.assertEqual(descendants() - before, set())


if __name__ == "__main__":
    unittest.main()
