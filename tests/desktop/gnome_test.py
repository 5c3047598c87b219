#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""Velmora on GNOME, with and without the extension that shows tray items."""

import json
import unittest

from headless import eventually
from headless.keyring import PASSWORD
from headless.waiting import never
from velmora import Simulator, VelmoraTest

# Seconds; longer than Velmora waits for a tray at login.
_LONGER_THAN_PATIENCE = 12.0
_REPOSITORY = "user-1/repository-0001"
_PERMISSION = "org.gnome.desktop.notifications.application:/org/gnome/desktop/notifications/application/com-tarvik-velmora/"
_REFUSED = "Notifications are disabled for Velmora in System Settings."
# The first button of the notification with this title.
_PRESS = """\
Main.messageTray.getSources().flatMap(source => source.notifications)
    .find(notification => notification.title === TITLE).actions[0].callback()
"""


class Gnome:
    """What holds on X11 and on Wayland."""

    windowing = ""

    def gnome(self, **options):
        return self.session(self.windowing, **options)

    def start_demo(self, session):
        velmora = self.start(session, "--demo", "--background")
        velmora.wait_for_item()
        return velmora

    def connect(self, session):
        """A program with an account and a deployment under way; returns GitHub, the program and its window."""
        github = Simulator(session)
        github.small_world([{"environment": "production", "state": "IN_PROGRESS"}])
        velmora = self.start(session, "--background", environment=github.environment)
        velmora.wait_for_item()
        session.tray.double_click()
        window = velmora.window()
        window.find("push button", "Add GitHub account").press()
        github.approve()
        window.find("label", "Deployment in progress")
        return github, velmora, window

    def test_the_item_shows_a_number_and_its_menu_opens_the_window(self):
        session = self.gnome()
        velmora = self.start_demo(session)
        item = session.tray.item()
        eventually(lambda: item.read("Title").isdigit(), "a number in the tray")
        self.assertEqual(item.menu()[0].label, "Open Velmora")
        # A click shows the menu, whose first entry opens the window.
        session.tray.open_menu()
        session.screen.key("Down", "Return")
        velmora.window().find("label", "Velmora Demo")

    def test_a_double_click_opens_the_window_below_the_top_bar(self):
        session = self.gnome()
        velmora = self.start_demo(session)
        session.tray.double_click()
        velmora.wait_until_active()
        (window,) = velmora.windows()
        bar = session.windows.evaluate("Main.panel.height")
        self.assertGreaterEqual(window.y, bar)
        self.assertLess(window.y, bar + 100)
        session.screen.key("Escape")
        velmora.wait_until_closed()

    def test_it_follows_dark_and_light_while_it_runs(self):
        session = self.gnome()
        velmora = self.start_demo(session)
        session.tray.double_click()
        velmora.wait_until_active()
        for scheme, is_dark in (("'prefer-dark'", True), ("'default'", False)):
            session.windows.set("org.gnome.desktop.interface", "color-scheme", scheme)
            eventually(lambda: self.is_dark(session, velmora) == is_dark, f"the window to be {scheme}")

    def test_large_text_makes_an_open_window_larger(self):
        session = self.gnome()
        velmora = self.start_demo(session)
        session.tray.double_click()
        velmora.wait_until_active()
        (before,) = velmora.windows()
        session.windows.set("org.gnome.desktop.interface", "text-scaling-factor", "1.5")
        eventually(lambda: velmora.windows()[0].width > before.width, "the window to grow")
        session.windows.set("org.gnome.desktop.interface", "text-scaling-factor", "1.0")
        eventually(lambda: velmora.windows()[0].width == before.width, "the window to be as before")

    def test_a_failure_is_one_notification_whose_button_opens_the_log(self):
        session = self.gnome()
        github, velmora, _ = self.connect(session)
        log = f"{github.address}/the-log"
        github.tell("world", {"deployment": {"repository": _REPOSITORY, "state": "FAILURE", "logUrl": log}})
        velmora.wait_until_active()
        session.screen.key("ctrl+r")

        def failures():
            return [title for title, _ in session.windows.notifications() if "failed" in title]

        # One, or unpacking fails.
        (title,) = eventually(failures, "the notification")
        session.windows.evaluate(_PRESS.replace("TITLE", json.dumps(title)))
        eventually(lambda: log in [page.address for page in session.browser.opened()], "the log")

    def test_a_refusal_of_notifications_is_said_until_they_are_allowed_and_switched_on(self):
        session = self.gnome()
        session.windows.set(_PERMISSION, "enable", "false")
        _, velmora, _ = self.connect(session)
        settings = velmora.open_settings()
        session.screen.key("ctrl+3")
        settings.find("label", _REFUSED)
        session.windows.set(_PERMISSION, "enable", "true")
        switch = settings.find("check box", "Notify me when deployments fail")
        self.assertNotIn("checked", switch.states)
        switch.do("Toggle")
        eventually(lambda: "checked" in switch.states, "the switch to be on")
        eventually(lambda: not settings.all("label", _REFUSED), "the refusal to go")

    def test_a_locked_keyring_is_unlocked_from_the_window(self):
        session = self.gnome()
        _, velmora, window = self.connect(session)
        session.keyring.lock()
        velmora.wait_until_active()
        session.screen.key("ctrl+r")
        # The shell asks for the password; the user declines first.
        self.wait_for_prompt(session)
        session.screen.key("Escape")
        unlock = window.find("push button", "Unlock")
        eventually(lambda: "sensitive" in unlock.states, "the button")
        unlock.press()
        self.wait_for_prompt(session)
        session.screen.type(PASSWORD)
        session.screen.key("Return")
        eventually(lambda: not window.all("push button", "Unlock"), "the button to go")
        window.find("label", "Deployment in progress")
        self.assertFalse(session.keyring.is_locked)

    def wait_for_prompt(self, session):
        eventually(lambda: session.windows.evaluate("Main.modalCount") > 0, "the question for the password")

    def test_an_extension_that_is_switched_off_and_on_opens_no_window(self):
        session = self.gnome()
        velmora = self.start_demo(session)
        session.tray.stop()
        session.tray.start()
        velmora.wait_for_item()
        never(velmora.is_open, "a window has opened", _LONGER_THAN_PATIENCE)

    def test_locking_the_screen_opens_no_window(self):
        session = self.gnome()
        velmora = self.start_demo(session)
        session.windows.evaluate("Main.sessionMode.pushMode('unlock-dialog')")
        never(velmora.is_open, "a window has opened", _LONGER_THAN_PATIENCE)
        session.windows.evaluate("Main.sessionMode.popMode('unlock-dialog')")
        velmora.wait_for_item()
        self.assertFalse(velmora.is_open())

    def test_without_the_extension_the_window_is_the_program(self):
        session = self.gnome(tray="none")
        velmora = self.start(session, "--demo")
        velmora.window()
        velmora.wait_until_active()
        session.screen.click(5, session.screen.height - 5)
        never(lambda: not velmora.is_open(), "the window has closed", 2)

    def is_dark(self, session, velmora):
        (window,) = velmora.windows()
        return session.screen.picture((window.x + 20, window.y + 20, 200, 200)).brightness() < 0.5


class GnomeX11Test(Gnome, VelmoraTest):
    windowing = "gnome-x11"


class GnomeWaylandTest(Gnome, VelmoraTest):
    windowing = "gnome-wayland"


if __name__ == "__main__":
    unittest.main()
