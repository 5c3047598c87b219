#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""Notifications on GNOME and Plasma: shown, kept, refused and allowed."""

import unittest

import shells
from headless import eventually

_FAILED = f"{shells.REPOSITORY} failed"
# As buttons of the pointer.
_UP, _DOWN = 4, 5
_REFUSED = "Notifications are disabled for Velmora in System Settings."


class Stories:
    """What holds on every desktop."""

    def test_a_failure_is_one_notification_whose_button_opens_the_log(self):
        session = self.desktop()
        log = self.meet_failure(session)
        session.windows.press_in_notification("Open log")
        self.wait_for_log(session, log)

    def meet_failure(self, session):
        """Has a deployment fail, and waits until that is notified; returns the address of its log."""
        github, _, _ = self.connect(session)
        log = f"{github.address}/the-log"
        self.fail_deployment(github, logUrl=log)
        session.screen.key("ctrl+r")

        def failures():
            return [title for title in session.windows.notifications() if title == _FAILED]

        self.assertEqual(len(eventually(failures, "the notification")), 1)
        return log

    def wait_for_log(self, session, log):
        eventually(lambda: log in [page.address for page in session.browser.opened()], "the log")

    def test_a_refusal_of_notifications_is_said_until_they_are_allowed_and_switched_on(self):
        session = self.desktop()
        session.windows.allow_notifications(shells.APPLICATION, False)
        _, velmora, _ = self.connect(session)
        settings = velmora.open_settings()
        session.screen.key("ctrl+4")

        def is_refusal_found():
            self.scroll(session, velmora, _DOWN)
            return settings.all("label", _REFUSED)

        eventually(is_refusal_found, "the refusal")
        self.scroll(session, velmora, _UP)
        session.windows.allow_notifications(shells.APPLICATION, True)
        switch = settings.find("check box", "Notify me when deployments fail")
        self.assertNotIn("checked", switch.states)
        switch.do("Toggle")
        eventually(lambda: "checked" in switch.states, "the switch to be on")
        self.scroll(session, velmora, _DOWN)
        eventually(lambda: not settings.all("label", _REFUSED), "the refusal to go")

    def scroll(self, session, velmora, direction):
        """Turns the wheel over the window until it has come to an end: the refusal is below all else."""
        (window,) = velmora.windows()
        for _ in range(10):
            session.screen.click(window.x + window.width // 2, window.y + window.height // 2, direction)


class GnomeStories(Stories):
    """GNOME's list below the clock."""

    def test_a_failure_is_listed_until_a_click_on_it_opens_the_log(self):
        session = self.desktop()
        log = self.meet_failure(session)
        session.windows.open_history()
        # The shell has listed that it has no lock screen.
        eventually(lambda: session.windows.history().count(_FAILED) == 1, "the failure in the list")
        session.windows.click_in_history(_FAILED)
        self.wait_for_log(session, log)
        eventually(lambda: _FAILED not in session.windows.notifications(), "the failure to leave the list")


class PlasmaStories(Stories):
    """Plasma's list in the panel, where notifications have no buttons any more, and clicks do nothing."""

    def test_a_failure_is_listed_until_it_is_dismissed(self):
        session = self.desktop(keyring=self.keyring_of_login)
        self.meet_failure(session)
        eventually(lambda: not session.windows.notifications(), "the notification to go from the screen")
        session.windows.open_history()
        eventually(lambda: session.windows.history() == [_FAILED], "the failure in the list")
        session.windows.dismiss_in_history()
        eventually(lambda: not session.windows.history(), "the failure to leave the list")


class GnomeX11Test(GnomeStories, shells.GnomeX11):
    pass


class GnomeWaylandTest(GnomeStories, shells.GnomeWayland):
    pass


class PlasmaX11Test(PlasmaStories, shells.PlasmaX11):
    pass


class PlasmaWaylandTest(PlasmaStories, shells.PlasmaWayland):
    pass


if __name__ == "__main__":
    unittest.main()
