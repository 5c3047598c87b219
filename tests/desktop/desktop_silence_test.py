#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""Notifications that are paused, and repositories that are muted."""

import unittest

from headless import eventually
from headless.bus import BusError
from velmora import Simulator, VelmoraTest

_REPOSITORY = "user-1/repository-0001"
_PAUSED = "Notifications are paused until "


class SilenceTest(VelmoraTest):
    def setUp(self):
        self.desktop = self.session("x11", notifications="dunst")
        self.github = Simulator(self.desktop)
        self.github.small_world()
        self.velmora = self.start(self.desktop, "--background", environment=self.github.environment)
        self.window = self.velmora.open_by_click()
        self.window.find("push button", "Add GitHub account").press()
        self.github.approve()
        self.window.find("label", "No recent deployments")

    def fail_in(self, *environments):
        """Has a deployment to each environment fail while Velmora looks."""
        before = len(self.rows(", failed, "))
        for environment in environments:
            deployment = {"repository": _REPOSITORY, "environment": environment, "state": "IN_PROGRESS"}
            number = self.github.tell("world", {"deployment": deployment})["id"]
            eventually(lambda: self.rows(f", {environment}, in progress, "), f"the deployment to {environment}")
            self.github.tell("world", {"deployment": {"repository": _REPOSITORY, "id": number, "state": "FAILURE"}})
        wanted = before + len(environments)
        eventually(lambda: len(self.rows(", failed, ")) == wanted, "the failures in the list")

    def rows(self, part):
        def fits(row):
            try:
                return part in row.name
            except BusError:
                return False  # It went to another section meanwhile.

        return [row for row in self.window.all("list item") if fits(row)]

    def posted(self):
        return [one.summary for one in self.desktop.posted.posted()]

    def choose(self, entry):
        item = next(item for item in self.desktop.tray.items() if item.pid == self.velmora.pid)
        item.choose(entry)

    def paused(self):
        return [text for text in self.window.texts() if text.startswith(_PAUSED)]

    def test_a_pause_from_the_menu_is_told_and_resumed_in_the_window(self):
        self.choose("Pause notifications for 1 hour")
        eventually(self.paused, "a window that says so")
        self.fail_in("staging", "production")
        self.assertEqual(self.posted(), [])

        self.desktop.click(self.window.find("push button", "Resume"))

        eventually(lambda: self.posted() == ["2 deployments failed"], "the summary")
        eventually(lambda: not self.paused(), "a window that says it no longer")
        self.fail_in("demo")
        eventually(lambda: self.posted() == ["2 deployments failed", f"{_REPOSITORY} failed"], "the next failure")

    def test_a_pause_outlives_the_program(self):
        self.choose("Pause notifications for 4 hours")
        eventually(self.paused, "a window that says so")
        self.fail_in("staging", "production")
        self.assertEqual(self.velmora.end(), 0)
        self.velmora = self.start(self.desktop, "--background", environment=self.github.environment)
        self.window = self.velmora.open_by_menu()
        eventually(self.paused, "a window that still says so")
        self.assertEqual(self.posted(), [])

        item = next(item for item in self.desktop.tray.items() if item.pid == self.velmora.pid)
        item.choose(next(entry.label for entry in item.menu() if entry.label.startswith("Resume notifications")))

        eventually(lambda: self.posted() == ["2 deployments failed"], "the summary")
        eventually(lambda: not self.paused(), "a window that says it no longer")

    def test_a_repository_is_muted_in_its_row_and_unmuted_in_the_settings(self):
        self.fail_in("staging")
        eventually(lambda: self.posted() == [f"{_REPOSITORY} failed"], "the first failure")
        self.rows(", staging, failed, ")[0].do(f"Mute {_REPOSITORY}")
        eventually(
            lambda: f"Unmute {_REPOSITORY}" in self.rows(", staging, failed, ")[0].actions(), "a row that is muted"
        )
        self.fail_in("production")
        self.assertEqual(self.posted(), [f"{_REPOSITORY} failed"])

        settings = self.velmora.open_settings()
        self.desktop.screen.key("ctrl+2")
        row = settings.find("list item", f"{_REPOSITORY}, monitored, muted")
        self.desktop.screen.key("Down")
        eventually(lambda: "focused" in row.states, "the row to have the focus")
        self.desktop.screen.key("ctrl+m")
        settings.find("list item", f"{_REPOSITORY}, monitored")


if __name__ == "__main__":
    unittest.main()
