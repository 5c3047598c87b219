#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""Velmora while the screen of GNOME or Plasma is locked, and afterwards."""

import unittest

import shells
from headless import eventually
from headless.waiting import never


class Stories:
    """What holds on every desktop. GNOME's lock screen takes the tray's host away; that of Plasma leaves it."""

    def test_a_failure_behind_the_lock_screen_is_notified_once_and_opens_no_window(self):
        session = self.desktop(keyring=self.keyring_of_login)
        github, velmora, _ = self.connect(session)
        self.close(session, velmora)
        session.windows.lock_screen()
        self.meet_failure(session, github)
        never(velmora.is_open, "a window has opened", shells.LONGER_THAN_PATIENCE)
        session.windows.unlock_screen()
        velmora.wait_for_item()
        self.watch(session, velmora, 0)

    def close(self, session, velmora):
        session.screen.move_pointer(0, session.screen.height - 1)
        session.screen.key("Escape")
        velmora.wait_until_closed()

    def meet_failure(self, session, github):
        """Has a deployment fail, and waits until that is notified."""
        self.fail_deployment(github)
        eventually(lambda: self.failures(session), "the notification")

    def failures(self, session):
        """The titles of the notifications of failures that were ever posted."""
        return [posted.summary for posted in session.posted.posted() if "failed" in posted.summary]

    def watch(self, session, velmora, windows):
        """Watches for a while that there are no more windows and notifications than these windows and one failure."""
        never(lambda: len(velmora.windows()) > windows, "a window has opened", shells.LONGER_THAN_PATIENCE)
        self.assertEqual(len(self.failures(session)), 1)


class PlasmaStories(Stories):
    """Plasma's real lock screen. What is run of GNOME's without its display manager covers nothing."""

    def test_the_lock_screen_covers_an_open_window(self):
        session = self.desktop(keyring=self.keyring_of_login)
        github, velmora, _ = self.connect(session)
        session.screen.move_pointer(0, session.screen.height - 1)
        (window,) = velmora.windows()
        # The lock screen is dark there; its clock is above.
        half = window.height // 2
        area = (window.x, window.y + half, window.width, half)
        eventually(lambda: self.is_light(session, area), "the light window")
        session.windows.lock_screen()
        # KWin keeps the window; on X11 it closes because it loses the focus.
        windows = len(velmora.windows())
        self.assertFalse(self.is_light(session, area))
        self.meet_failure(session, github)
        never(lambda: self.is_light(session, area), "the window is above the lock screen", 2)
        session.windows.unlock_screen()
        self.watch(session, velmora, windows)

    def is_light(self, session, area):
        return session.screen.picture(area).brightness() > 0.7


class GnomeX11Test(Stories, shells.GnomeX11):
    pass


class GnomeWaylandTest(Stories, shells.GnomeWayland):
    pass


class PlasmaX11Test(PlasmaStories, shells.PlasmaX11):
    pass


class PlasmaWaylandTest(PlasmaStories, shells.PlasmaWayland):
    pass


if __name__ == "__main__":
    unittest.main()
