#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""What the program holds of the desktop and of the machine does not grow with its use."""

import collections
import os
import re
import unittest

from headless import eventually
from headless.bus import BusError
from velmora import PROGRAM, Simulator, VelmoraTest

_BUS = ("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus")
_STATISTICS = (*_BUS[:2], "org.freedesktop.DBus.Debug.Stats")
_NOTIFY_FAILURES = "Notify me when deployments fail"


class HoldingsTest(VelmoraTest):
    def setUp(self):
        self.desktop = self.session()
        # With this lifetime each use of a token renews it, and the keyring stores the new one.
        self.github = Simulator(self.desktop, "--token-lifetime", "200")
        self.github.small_world([{"environment": "production", "state": "IN_PROGRESS"}])
        self.environment = self.github.environment
        self.velmora = self.start(self.desktop, "--background", environment=self.environment)

    def run_command(self, *words):
        command = self.desktop.start("velmora-command", [PROGRAM, *words], self.environment)
        self.assertEqual(command.wait(), 0, command.output())

    def close(self):
        self.desktop.screen.key("Escape")
        self.velmora.wait_until_closed()

    def match_rules(self):
        """The rules of the program's connections, as often as each was added."""
        rules = collections.Counter()
        for connection, added in self.desktop.bus.call(*_STATISTICS, "GetAllMatchRules")[0].items():
            try:
                if self.desktop.bus.process_of(connection) == self.velmora.pid:
                    rules.update(f"rule {rule}" for rule in added)
            except BusError:
                pass  # it has left the bus meanwhile
        return rules

    def holdings(self):
        """All that the program has, by kind."""
        process = f"/proc/{self.velmora.pid}"
        held = self.match_rules()
        held["threads"] = len(os.listdir(f"{process}/task"))
        for descriptor in os.listdir(f"{process}/fd"):
            try:
                held[re.sub(r"\d+", "", os.readlink(f"{process}/fd/{descriptor}"))] += 1
            except FileNotFoundError:
                pass  # closed meanwhile
        return held

    def use(self):
        """Polls, renewals, news, services of the desktop that start again, and both windows."""
        # A notification may cover the item, so the window is opened by its menu.
        posted = len(self.desktop.posted.posted())
        self.github.tell("world", {"deployment": {"repository": "user-1/repository-0001", "state": "FAILURE"}})
        self.run_command("refresh")
        eventually(lambda: len(self.desktop.posted.posted()) > posted, "a notification")
        self.desktop.notifications.restart()
        self.desktop.keyring.restart()
        self.velmora.open_by_menu()
        self.velmora.open_settings()
        self.close()
        self.velmora.open_by_menu()
        self.velmora.wait_until_active()
        self.run_command("refresh")
        self.close()

    def test_more_use_holds_no_more_than_the_first(self):
        window = self.velmora.open_by_click()
        window.find("push button", "Add GitHub account").press()
        self.github.approve()
        window.find("list item", "In progress, 1")
        self.close()
        for _ in range(2):
            self.use()
        before = self.holdings()
        self.assertGreater(sum(self.match_rules().values()), 5)

        tokens = len(self.github.requests("/login/oauth/access_token"))
        for _ in range(6):
            self.use()

        self.assertGreater(len(self.github.requests("/login/oauth/access_token")), tokens + 6)
        # Work that is under way holds some more until it ends.
        try:
            eventually(lambda: not self.holdings() - before, "the end of what is under way")
        except TimeoutError:
            self.fail(f"held in addition: {self.holdings() - before}")


if __name__ == "__main__":
    unittest.main()
