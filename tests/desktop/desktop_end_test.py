#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""Velmora is told to end while it works, or loses the desktop."""

import glob
import json
import os
import signal
import subprocess
import unittest

from headless import eventually
from headless.session_manager import SessionManager
from headless.waiting import PATIENCE
from velmora import PROGRAM, Simulator, Velmora, VelmoraTest

_NOTIFY_FAILURES = "Notify me when deployments fail"
# A sanitized program looks for leaks before it ends.
_WITHIN_A_SECOND = 15.0 if "ASAN_OPTIONS" in os.environ else 1.0
_TOKENS = "/login/oauth/access_token"
# Milliseconds. A delay within the grace period, but longer than the rest of the program takes to end.
_LATE = 3000


def _served(manager, condition, what, *seconds):
    def holds():
        manager.serve()
        return condition()

    eventually(holds, what, *seconds)


class EndTest(VelmoraTest):
    def come_up(self, *arguments, windowing="x11", notifications="none", **options):
        self.desktop = self.session(windowing, notifications=notifications, **options)
        self.github = Simulator(self.desktop)
        self.start_velmora(*arguments)
        self.velmora.wait_for_item()

    def start_velmora(self, *arguments, environment=None):
        self.velmora = Velmora(self.desktop, *arguments, environment=self.github.environment | (environment or {}))

    def expect_end(self, code=0):
        self.assertEqual(self.velmora.program.wait(_WITHIN_A_SECOND), code, self.velmora.program.output())

    def preferences(self):
        with open(f"{self.desktop.environment['XDG_CONFIG_HOME']}/velmora/preferences.json", encoding="utf-8") as file:
            return json.load(file)

    def expect_usable_profile(self):
        """Terminal commands, which need no display, find the profile intact."""
        environment = self.desktop.environment | self.github.environment
        for command in ["accounts"], ["status", "--json"]:
            answer = subprocess.run([PROGRAM, *command], env=environment, capture_output=True, check=False, timeout=30)
            self.assertEqual((answer.returncode, answer.stderr), (0, b""))

    def open_general_settings(self):
        self.desktop.tray.item().choose("Settings…")
        window = self.velmora.settings()
        self.velmora.wait_until_active()
        self.desktop.screen.key("ctrl+4")
        return window.find("check box", _NOTIFY_FAILURES)

    def test_a_choice_of_the_last_moment_is_kept(self):
        for number in signal.SIGTERM, signal.SIGINT:
            with self.subTest(number=number):
                self.come_up("--background", notifications="dunst")
                switch = self.open_general_settings()
                self.assertIn("checked", switch.states)

                switch.do("Toggle")
                eventually(lambda: "checked" not in switch.states, "the switch")
                self.velmora.program.send(number)

                self.expect_end()
                self.assertFalse(self.preferences()["general.notificationsEnabled"])
                self.expect_usable_profile()

    def test_ends_with_every_window_open_while_it_connects(self):
        self.come_up("--background")
        window = self.velmora.open_by_click()
        window.find("push button", "Add GitHub account").press()
        window.find("label", "Enter this code on GitHub")
        self.velmora.open_settings()

        self.velmora.program.send(signal.SIGTERM)

        self.expect_end()
        self.assertEqual(self.velmora.program.output(), "")
        self.expect_usable_profile()

    def test_ends_with_its_display(self):
        for windowing in "x11", "wayland":
            with self.subTest(windowing=windowing):
                self.come_up(windowing=windowing, accessibility=False)
                self.desktop.tray.click()
                eventually(self.velmora.is_open, "the window")

                self.desktop.screen.end()

                # Qt ends the program at once; its data has been saved before.
                self.expect_end(1)
                self.expect_usable_profile()

    def test_ends_with_the_session_and_keeps_the_token_that_is_under_way(self):
        self.desktop = self.session(notifications="none")
        # With this lifetime each use of a token renews it with a refresh token, which works once.
        self.github = Simulator(self.desktop, "--token-lifetime", "200")
        self.github.small_world([{"environment": "production", "state": "IN_PROGRESS"}])
        manager = SessionManager()
        self.addCleanup(manager.close)
        self.start_velmora("--background", environment={"SESSION_MANAGER": manager.address})
        _served(manager, lambda: manager.clients == 1, "Velmora in the session")
        window = self.velmora.open_by_click()
        window.find("push button", "Add GitHub account").press()
        self.github.approve()
        window.find("label", "Deployment in progress")
        manager.save()
        _served(manager, lambda: manager.saved > 0, "Velmora to have saved")
        self.github.tell("rules", {"path": _TOKENS, "action": {"delayMilliseconds": _LATE}})
        before = len(self.github.requests(_TOKENS))
        self.desktop.screen.key("ctrl+r")
        eventually(lambda: len(self.github.requests(_TOKENS)) > before, "a request for a token")

        manager.end_session()

        _served(
            manager, lambda: not self.velmora.program.is_running, "Velmora to end", _LATE / 1000 + _WITHIN_A_SECOND
        )
        self.expect_end()
        self.github.ask("DELETE", "rules")
        self.start_velmora("--background")
        window = self.velmora.open_by_menu()
        window.find("push button", "Refresh").press()
        window.find("label", "Deployment in progress")

    def command(self, *arguments):
        """Runs a terminal command without a display."""
        environment = self.desktop.environment | self.github.environment
        for name in "DISPLAY", "WAYLAND_DISPLAY":
            environment.pop(name, None)
        return self.desktop.launch(arguments[0], [PROGRAM, *arguments], environment=environment)

    def test_keeps_the_token_that_is_under_way_when_its_display_goes(self):
        for windowing in "x11", "wayland":
            with self.subTest(windowing=windowing):
                self.desktop = self.session(windowing, notifications="none", accessibility=False)
                self.github = Simulator(self.desktop, "--token-lifetime", "200")
                self.github.small_world([{"environment": "production", "state": "IN_PROGRESS"}])
                connection = self.command("connect")
                self.github.approve()
                self.assertEqual(connection.wait(PATIENCE), 0, connection.output())
                self.start_velmora("--background")
                self.velmora.wait_for_item()
                self.desktop.tray.click()
                eventually(self.velmora.is_open, "the window")
                self.github.tell("rules", {"path": _TOKENS, "times": 1, "action": {"delayMilliseconds": _LATE}})
                before = len(self.github.requests(_TOKENS))
                self.command("refresh")
                eventually(lambda: len(self.github.requests(_TOKENS)) > before, "a request for a token")

                self.desktop.screen.end()

                self.assertEqual(self.velmora.program.wait(_LATE / 1000 + _WITHIN_A_SECOND), 1)
                watching = self.command("watch", "--once")
                self.assertEqual(watching.wait(PATIENCE), 0, watching.output())
                bodies = [request["body"] for request in self.github.requests(_TOKENS)]
                renewals = [body for body in bodies if "grant_type=refresh_token" in body]
                self.assertGreater(len(renewals), 1)
                self.assertEqual(len(renewals), len(set(renewals)))

    def test_the_demo_ends_with_its_display_and_leaves_no_process_and_no_folder(self):
        self.come_up("--demo", "--background", accessibility=False)
        folder = self.desktop.environment["TMPDIR"]
        self.assertTrue(glob.glob(f"{folder}/velmora-*"))
        with open(f"/proc/{self.velmora.pid}/task/{self.velmora.pid}/children", encoding="ascii") as file:
            children = file.read().split()
        self.assertTrue(children)

        self.desktop.screen.end()

        self.expect_end(1)
        eventually(lambda: not any(os.path.exists(f"/proc/{child}/exe") for child in children), "its GitHub to end")
        self.assertEqual(glob.glob(f"{folder}/velmora-*"), [])


if __name__ == "__main__":
    unittest.main()
