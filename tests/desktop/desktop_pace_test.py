#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""Where GitHub's points would not last, the window and the terminal say how often Velmora refreshes."""

import re
import unittest

from headless import eventually
from velmora import PROGRAM, Simulator, VelmoraTest

_STRETCHED = r"Refreshing every \d+ seconds, to stay within GitHub's limit"


class PaceTest(VelmoraTest):
    def setUp(self):
        self.desktop = self.session(notifications="none")
        self.github = Simulator(self.desktop)
        self.github.small_world([{"state": "SUCCESS"}])
        self.velmora = self.start(self.desktop, "--background", environment=self.github.environment)
        self.window = self.velmora.open_by_click()
        self.window.find("push button", "Add GitHub account").press()
        self.github.approve()
        eventually(lambda: self.window.all("list item"), "the deployment")
        self.commands = 0

    def leave_points(self, count):
        """Other tools leave this many points for most of an hour, which the next refresh learns."""
        self.github.tell("ratelimit", {"login": "user-1", "remaining": count, "resetInSeconds": 3500})
        self.velmora.wait_until_active()
        self.desktop.screen.key("ctrl+r")

    def status(self):
        self.commands += 1
        asking = self.desktop.start(f"status-{self.commands}", [PROGRAM, "status"], self.github.environment)
        self.assertEqual(asking.wait(), 0, asking.output())
        return asking.output()

    def says_so(self):
        # It is told with the first poll that was put off.
        return any(re.fullmatch(_STRETCHED, text) for text in self.window.texts())

    def test_a_stretched_interval_is_said_until_the_points_last_again(self):
        self.assertFalse(self.says_so())
        self.assertNotRegex(self.status(), _STRETCHED)
        self.leave_points(90)
        eventually(self.says_so, "the window to tell of the limit", 120)
        self.assertRegex(self.status(), _STRETCHED)
        self.leave_points(4900)
        eventually(lambda: not self.says_so(), "the window to tell of it no longer")
        self.assertNotRegex(self.status(), _STRETCHED)


if __name__ == "__main__":
    unittest.main()
