#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""Notifications on GNOME and Plasma: shown, kept, refused and allowed."""

import unittest

import shells
from headless import eventually

_REFUSED = "Notifications are disabled for Velmora in System Settings."


class Stories:
    """What holds on every desktop."""

    def test_a_failure_is_one_notification_whose_button_opens_the_log(self):
        session = self.desktop()
        github, velmora, _ = self.connect(session)
        log = f"{github.address}/the-log"
        github.tell("world", {"deployment": {"repository": shells.REPOSITORY, "state": "FAILURE", "logUrl": log}})
        session.screen.key("ctrl+r")

        def failures():
            return [title for title in session.windows.notifications() if "failed" in title]

        self.assertEqual(len(eventually(failures, "the notification")), 1)
        session.windows.press_in_notification("Open log")
        eventually(lambda: log in [page.address for page in session.browser.opened()], "the log")

    def test_a_refusal_of_notifications_is_said_until_they_are_allowed_and_switched_on(self):
        session = self.desktop()
        session.windows.allow_notifications(shells.APPLICATION, False)
        _, velmora, _ = self.connect(session)
        settings = velmora.open_settings()
        session.screen.key("ctrl+4")
        settings.find("label", _REFUSED)
        session.windows.allow_notifications(shells.APPLICATION, True)
        switch = settings.find("check box", "Notify me when deployments fail")
        self.assertNotIn("checked", switch.states)
        switch.do("Toggle")
        eventually(lambda: "checked" in switch.states, "the switch to be on")
        eventually(lambda: not settings.all("label", _REFUSED), "the refusal to go")


class GnomeX11Test(Stories, shells.GnomeX11):
    pass


class GnomeWaylandTest(Stories, shells.GnomeWayland):
    pass


class PlasmaX11Test(Stories, shells.PlasmaX11):
    pass


class PlasmaWaylandTest(Stories, shells.PlasmaWayland):
    pass


if __name__ == "__main__":
    unittest.main()
