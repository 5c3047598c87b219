#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""Notifications of results, as each daemon shows them."""

import json
import subprocess
import unittest

from headless import eventually
from velmora import PROGRAM, Simulator, VelmoraTest

_REPOSITORY = "user-1/repository-0001"
_SERVICE = ("org.freedesktop.Notifications", "/org/freedesktop/Notifications")


class NewsTest(VelmoraTest):
    def start_velmora(self, windowing, daemon):
        self.desktop = self.session(windowing, notifications=daemon)
        self.github = Simulator(self.desktop)
        self.github.small_world()
        self.velmora = self.start(self.desktop, "--background", environment=self.github.environment)
        self.window = self.velmora.open_by_click()
        self.window.find("push button", "Add GitHub account").press()
        self.github.approve()
        self.window.find("label", "No recent deployments")

    def deploy(self, count):
        """Has deployments to as many environments be under way; returns their identifiers."""
        deployments = [
            self.github.tell("world", {"deployment": {
                "repository": _REPOSITORY, "environment": f"stage-{number}", "state": "IN_PROGRESS",
            }})["id"] for number in range(count)
        ]  # fmt: skip
        self.window.find("list item", f"In progress, {count}")
        return deployments

    def close_window(self):
        self.velmora.wait_until_active()
        self.desktop.screen.key("Escape")
        self.velmora.wait_until_closed()

    def end_in_failure(self, deployments):
        for deployment in deployments:
            change = {"repository": _REPOSITORY, "id": deployment, "state": "FAILURE"}
            self.github.tell("world", {"deployment": change})

    def close_notification(self, number):
        self.desktop.bus.call(*_SERVICE, _SERVICE[0], "CloseNotification", "(u)", number)

    def activate(self, daemon, action="default"):
        """Has the daemon activate its only notification, as a click does, or by another action."""
        if daemon == "dunst":
            self.desktop.bus.call(*_SERVICE, "org.dunstproject.cmd0", "NotificationAction", "(u)", 0)
        else:
            subprocess.run(["makoctl", "invoke", action], env=self.desktop.environment, check=True, timeout=60)

    def expect_burst(self):
        """Waits for a burst of nine; returns the number of the notification that grew."""

        def all_of_it():
            posted = self.desktop.posted.posted()
            return posted if posted and posted[-1].summary == "9 deployments failed" else None

        posted = eventually(all_of_it, "a notification about nine")
        summaries = [f"{_REPOSITORY} failed"] * 3 + [f"{count} deployments failed" for count in range(4, 10)]
        self.assertEqual([one.summary for one in posted], summaries)
        self.assertEqual(posted[-1].body, f"{_REPOSITORY} and 8 more")
        self.assertIn("Open Velmora", posted[-1].actions)
        self.assertEqual([one.replaces for one in posted[:4]], [0] * 4)
        group = posted[-1].replaces
        self.assertEqual([one.replaces for one in posted[4:]], [group] * 5)
        self.assertNotEqual(group, 0)
        return group

    def test_a_button_mutes_the_repository(self):
        self.start_velmora("wayland", "mako")
        (deployment,) = self.deploy(1)
        self.close_window()
        self.end_in_failure([deployment])
        (posted,) = eventually(self.desktop.posted.posted, "the notification")
        self.assertEqual(posted.actions[-2:], ("mute", "Mute repository-0001"))
        opened = self.desktop.browser.opened()
        self.activate("mako", "mute")
        eventually(self.is_muted, "the repository to be muted")
        self.assertEqual(self.desktop.browser.opened(), opened)
        self.assertFalse(self.velmora.is_open())

    def is_muted(self):
        listing = self.desktop.start("velmora-list", [PROGRAM, "repositories", "--json"], self.github.environment)
        return listing.wait() == 0 and json.loads(listing.output())[0].get("muted", False)

    def test_a_burst_is_three_notifications_and_one_that_grows_and_opens_the_window(self):
        for windowing, daemon in (("x11", "dunst"), ("x11", "xfce"), ("wayland", "mako")):
            with self.subTest(daemon):
                self.start_velmora(windowing, daemon)
                deployments = self.deploy(9)
                self.close_window()
                self.end_in_failure(deployments)
                group = self.expect_burst()
                if daemon != "xfce":
                    opened = self.desktop.browser.opened()
                    for number in range(group - 3, group):
                        self.close_notification(number)
                    self.activate(daemon)
                    eventually(self.velmora.is_open, "the window")
                    self.assertEqual(self.desktop.browser.opened(), opened)
                self.assertEqual(self.velmora.end(), 0)
                self.desktop.end()


if __name__ == "__main__":
    unittest.main()
