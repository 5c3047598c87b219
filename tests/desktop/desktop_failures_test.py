#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""Failures that are over: those that a later deployment has mended, and those that the user dismisses."""

import unittest

from headless import eventually
from velmora import Simulator, VelmoraTest

_IGNORE_MENDED = "Mended failures no longer count"


class FailuresTest(VelmoraTest):
    """One failure is mended, another one is not."""

    def setUp(self):
        self.desktop = self.session(notifications="none")
        self.github = Simulator(self.desktop)
        self.github.small_world([
            {"environment": "production", "state": "FAILURE", "ageSeconds": 3600},
            {"environment": "production", "state": "SUCCESS", "ageSeconds": 1800},
            {"environment": "staging", "state": "FAILURE", "ageSeconds": 900},
        ])  # fmt: skip
        self.start_velmora()
        self.window = self.velmora.open_by_click()
        self.window.find("push button", "Add GitHub account").press()
        self.github.approve()
        self.expect_title("Failed, 2")

    def start_velmora(self):
        self.velmora = self.start(self.desktop, "--background", environment=self.github.environment)

    def restart(self):
        self.assertEqual(self.velmora.end(), 0)
        self.start_velmora()
        self.window = self.velmora.open_by_menu()

    def expect_title(self, title):
        return self.window.find("list item", title)

    def row(self, environment):
        """Waits for the row of the failure there."""

        def found():
            rows = self.window.all("list item")
            return next((row for row in rows if f", {environment}, failed, " in row.name), None)

        return eventually(found, f"the failure in {environment}")

    def tray_says(self, text):
        item = next(item for item in self.desktop.tray.items() if item.pid == self.velmora.pid)
        eventually(lambda: text in item.read("ToolTip")[3], f"{text!r} in the tray")

    def test_a_key_dismisses_one_and_the_title_all(self):
        self.velmora.wait_until_active()
        self.window.find("list", "Deployments").focus()
        self.desktop.screen.key("Home")
        eventually(lambda: "focused" in self.row("staging").states, "the first failure to have the focus")

        self.desktop.screen.key("Delete")
        self.expect_title("Failed, 1")
        eventually(lambda: self.row("staging").name.endswith(", dismissed"), "a row that says so")
        self.tray_says("1 failed")

        self.restart()
        self.expect_title("Failed, 1").do("Dismiss all")
        self.expect_title("Failed, 0")
        self.tray_says("GitHub deployments")

        self.row("staging").do("Restore")
        self.expect_title("Failed, 1")

    def test_what_is_mended_says_so_and_counts_no_longer_where_that_is_chosen(self):
        self.assertRegex(self.row("production").name, r", 1 hour ago, mended 3\d minutes ago$")
        self.assertNotIn("mended", self.row("staging").name)
        settings = self.velmora.open_settings()
        self.desktop.screen.key("ctrl+4")
        settings.find("check box", _IGNORE_MENDED)

        self.desktop.screen.key("alt+m")

        eventually(lambda: "checked" in settings.find("check box", _IGNORE_MENDED).states, "the switch to be on")
        self.tray_says("1 failed")
        self.restart()
        self.expect_title("Failed, 1")
        self.row("production")


if __name__ == "__main__":
    unittest.main()
