#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""Each part of the desktop can be absent, start late, crash and start again, and its state can be read."""

import signal
import unittest

from headless import Session, eventually
from headless.bus import BusError

_NOTIFICATIONS = ("org.freedesktop.Notifications", "/org/freedesktop/Notifications", "org.freedesktop.Notifications")
_WATCHER = "org.kde.StatusNotifierWatcher"


def post(session, summary, replaces=0):
    """Posts a notification as another program; returns the number from the daemon."""
    arguments = ("Some program", replaces, "", summary, "a body", ["default", "Open"], {}, -1)
    return session.bus.call(*_NOTIFICATIONS, "Notify", "(susssasa{sv}i)", *arguments)[0]


class ComponentsTest(unittest.TestCase):
    def test_has_nothing_that_is_not_wanted(self):
        with Session(tray="none", notifications="none", keyring="absent", accessibility=False) as session:
            self.assertIsNone(session.tray)
            self.assertIsNone(session.notifications)
            self.assertIsNone(session.keyring)
            self.assertIsNone(session.accessibility)
            for service in (_WATCHER, _NOTIFICATIONS[0], "org.freedesktop.secrets", "org.a11y.Bus"):
                self.assertFalse(session.bus.has(service), service)

    def test_every_panel_comes_late_ends_crashes_and_comes_again(self):
        for windowing, panel in (("x11", "xfce"), ("x11", "lxqt"), ("wayland", "waybar")):
            with self.subTest(panel), Session(windowing, panel, late=("tray",)) as session:
                self.assertFalse(session.bus.has(_WATCHER))
                session.tray.start()
                self.assertTrue(session.bus.has(_WATCHER))
                first = session.tray.program.pid
                session.tray.stop()
                self.assertFalse(session.bus.has(_WATCHER))
                session.tray.start()
                session.tray.stop(signal.SIGKILL)
                self.assertFalse(session.bus.has(_WATCHER))
                session.tray.start()
                self.assertTrue(session.bus.has(_WATCHER))
                self.assertNotEqual(session.tray.program.pid, first)

    def test_every_notification_daemon_answers_and_comes_again(self):
        for windowing, daemon in (("x11", "dunst"), ("x11", "xfce"), ("wayland", "mako")):
            with self.subTest(daemon), Session(windowing, notifications=daemon) as session:
                number = post(session, "before")
                session.notifications.stop(signal.SIGKILL)
                with self.assertRaises(BusError) as refused:
                    post(session, "between")
                self.assertTrue(refused.exception.is_absence)
                session.notifications.start()
                # A new daemon numbers from the beginning.
                self.assertEqual(post(session, "after"), number)
                summaries = [posted.summary for posted in session.posted.posted()]
                self.assertEqual(summaries, ["before", "between", "after"])

    def test_reads_what_was_posted_to_the_letter(self):
        with Session(tray="none", keyring="absent") as session:
            number = post(session, "Grüße <b>&amp;</b>")
            post(session, "another", replaces=number)
            first, second = eventually(
                lambda: len(session.posted.posted()) == 2 and session.posted.posted(), "two notifications"
            )

        self.assertEqual(first.summary, "Grüße <b>&amp;</b>")
        self.assertEqual(first.body, "a body")
        self.assertEqual(first.actions, ("default", "Open"))
        self.assertEqual((first.replaces, second.replaces), (0, number))

    def test_keyring_keeps_its_content_over_a_restart(self):
        with Session(tray="none", notifications="none") as session:
            self.assertFalse(session.keyring.is_locked)
            self.store(session)
            self.assertEqual(self.kept(session), ["alice"])
            session.keyring.restart()
            self.assertFalse(session.keyring.is_locked)
            self.assertEqual(self.kept(session), ["alice"])

    def test_keyring_can_be_locked_and_still_tells_what_is_in_it(self):
        with Session(tray="none", notifications="none") as session:
            self.store(session)
            session.keyring.lock()
            self.assertTrue(session.keyring.is_locked)
            self.assertEqual(self.kept(session), ["alice"])

    def test_keyring_is_locked_from_the_start_when_that_is_wanted(self):
        with Session(tray="none", notifications="none", keyring="locked") as session:
            self.assertTrue(session.keyring.is_locked)
            session.keyring.restart()
            self.assertTrue(session.keyring.is_locked)

    def test_browser_remembers_addresses_and_tokens(self):
        with Session(tray="none", notifications="none", keyring="absent") as session:
            first, second = "https://example.org/a?b=c&d=%20e#f", "http://127.0.0.1:1/"
            self.assertEqual(session.start("opener", ["xdg-open", first]).wait(), 0)
            opener = session.start("opener", ["xdg-open", second], {"XDG_ACTIVATION_TOKEN": "token-1"})
            self.assertEqual(opener.wait(), 0)
            eventually(lambda: len(session.browser.opened()) == 2, "two addresses")
            opened = [(one.address, one.token) for one in session.browser.opened()]

        self.assertEqual(opened, [(first, ""), (second, "token-1")])

    def store(self, session):
        script = "printf %s 'a secret' | secret-tool store --label=Sample service sample account alice"
        self.assertEqual(session.start("secret-tool", ["sh", "-c", script]).wait(), 0)

    def kept(self, session):
        return [attributes["account"] for attributes in session.keyring.items()]


if __name__ == "__main__":
    unittest.main()
