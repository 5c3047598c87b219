#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""What becomes of environments: previews that are hidden, and production that alone is announced."""

import subprocess
import unittest

from headless import eventually
from velmora import PROGRAM, Simulator, VelmoraTest

_REPOSITORY = "user-1/repository-0001"
_HIDDEN = "3 hidden by your choices"


class EnvironmentsTest(VelmoraTest):
    """A repository with production, staging and three previews, one of which has failed."""

    def setUp(self):
        self.desktop = self.session(notifications="dunst")
        self.github = Simulator(self.desktop)
        self.github.small_world([
            {"environment": "production", "state": "SUCCESS", "ageSeconds": 3600},
            {"environment": "staging", "state": "SUCCESS", "ageSeconds": 1800},
            {"environment": "preview-116", "state": "SUCCESS", "ageSeconds": 1200},
            {"environment": "preview-117", "state": "FAILURE", "ageSeconds": 900},
            {"environment": "preview-118", "state": "SUCCESS", "ageSeconds": 600},
        ])  # fmt: skip
        self.start_velmora()
        self.window = self.velmora.open_by_click()
        self.window.find("push button", "Add GitHub account").press()
        self.github.approve()
        self.window.find("list item", "Failed, 1")

    def start_velmora(self):
        self.velmora = self.start(self.desktop, "--background", environment=self.github.environment)

    def restart(self):
        self.assertEqual(self.velmora.end(), 0)
        self.start_velmora()
        self.window = self.velmora.open_by_menu()

    def expect_listed(self, *expected):
        """Waits for deployments to these environments, and no others."""

        def listed():
            rows = [row.name.split(", ") for row in self.window.all("list item")]
            return sorted(row[1] for row in rows if row[0] == _REPOSITORY)

        eventually(lambda: listed() == sorted(expected), f"the deployments to {', '.join(expected)}")

    def run_command(self, *arguments):
        environment = self.desktop.environment | self.github.environment
        answer = subprocess.run([PROGRAM, *arguments], env=environment, capture_output=True, check=True, timeout=120)
        return answer.stdout.decode()

    def terminal(self, *arguments):
        """The lines of the environments, after choosing."""
        return [line.split() for line in self.run_command("environments", *arguments).splitlines()]

    def open_tab(self):
        settings = self.velmora.open_settings()
        self.desktop.screen.key("ctrl+3")
        settings.find("text", "Search environments")
        eventually(lambda: "focused" in settings.find("text", "Search environments").states, "the search field")
        return settings

    def test_previews_are_one_choice_of_the_keyboard_and_can_be_looked_at(self):
        settings = self.open_tab()
        settings.find("list item", "preview-*, Notify")
        self.desktop.screen.type("prev")
        self.desktop.screen.key("Down")
        self.desktop.screen.key("Right")
        settings.find("list item", "preview-*, Show")
        self.desktop.screen.key("Right")
        settings.find("list item", "preview-*, Hide")
        self.desktop.screen.key("Escape")
        self.velmora.wait_until_closed()

        self.window = self.velmora.open_by_menu()
        self.expect_listed("production", "staging")
        self.assertEqual(self.window.all("list item", "Failed, 1"), [])
        line = self.window.find("list item", _HIDDEN)
        self.velmora.wait_until_active()
        self.window.find("list", "Deployments").focus()
        self.desktop.screen.key("End")
        eventually(lambda: "focused" in line.states, "the line of what is hidden to have the focus")
        self.desktop.screen.key("Return")
        self.expect_listed("production", "staging", "preview-116", "preview-117", "preview-118")

        self.restart()
        self.expect_listed("production", "staging")
        self.window.find("list item", _HIDDEN).do("Press")
        self.expect_listed("production", "staging", "preview-116", "preview-117", "preview-118")
        self.assertIn(["hide", "preview-*", "1"], self.terminal())

    def test_the_terminal_and_the_menu_choose_the_same(self):
        self.assertIn(["notify", "preview-*", "1"], self.terminal())
        row = next(row for row in self.window.all("list item") if ", preview-117, " in row.name)
        row.do("Hide preview-*")
        self.expect_listed("production", "staging")
        self.terminal("--show", "preview-*", "--hide", f"{_REPOSITORY}:staging")
        self.expect_listed("production", "preview-116", "preview-117", "preview-118")
        self.assertIn(["hide", f"{_REPOSITORY}:staging", "1"], self.terminal())

    def test_only_production_is_one_click(self):
        settings = self.open_tab()
        self.desktop.screen.key("alt+p")
        settings.find("list item", "staging, Show")
        settings.find("list item", "production, Notify")
        self.assertIn("checked", settings.find("check box", "Only production").states)
        for count in range(1, 3):
            for environment in "staging", "production":
                failure = {"repository": _REPOSITORY, "environment": environment, "state": "FAILURE"}
                self.github.tell("world", {"deployment": failure})
            self.run_command("refresh")
            eventually(lambda count=count: len(self.desktop.posted.posted()) >= count, "the notification")
        # What is only listed would have come before the second one.
        bodies = [one.body for one in self.desktop.posted.posted()]
        self.assertEqual(len(bodies), 2, bodies)
        self.assertTrue(all("production" in body for body in bodies), bodies)


if __name__ == "__main__":
    unittest.main()
