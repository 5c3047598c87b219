#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""Velmora on whole desktops: GNOME, with and without the extension that shows tray items, and Plasma."""

import math
import re
import unittest

from headless import eventually
from headless.keyring import PASSWORD
from headless.waiting import never
from shells import Desktop
from velmora import Simulator, VelmoraTest

# Seconds; longer than Velmora waits for a tray at login.
_LONGER_THAN_PATIENCE = 12.0
_APPLICATION = "com.tarvik.Velmora"
_REPOSITORY = "user-1/repository-0001"
_REFUSED = "Notifications are disabled for Velmora in System Settings."


class Shell(Desktop):
    """What holds on every desktop."""

    def connect(self, session):
        """A program with an account and a deployment under way; returns GitHub, the program and its window."""
        github = Simulator(session)
        github.small_world([{"environment": "production", "state": "IN_PROGRESS"}])
        velmora = self.start(session, "--background", environment=github.environment)
        velmora.wait_for_item()
        session.tray.activate()
        window = velmora.window()
        window.find("push button", "Add GitHub account").press()
        github.approve()
        self.permit_keyring(session)
        window.find("label", "Deployment in progress")
        velmora.wait_until_active()
        return github, velmora, window

    def permit_keyring(self, session):
        """Answers what the desktop asks about its keyring when a first credential is stored: here nothing."""

    def test_the_item_shows_a_number_and_its_menu_opens_the_window(self):
        session = self.desktop()
        velmora = self.start_demo(session)
        item = session.tray.item()
        eventually(lambda: item.read("Title").isdigit(), "a number in the tray")
        self.assertEqual(item.menu()[0].label, "Open Velmora")
        session.tray.open_menu()
        session.screen.key("Down", "Return")
        velmora.window().find("label", "Velmora Demo")

    def test_starting_it_again_opens_the_window_of_the_one_that_runs(self):
        session = self.desktop()
        velmora = self.start_demo(session)
        again = self.start(session, "--demo")
        eventually(lambda: again.program.exit_code == 0, "the second one to end")
        velmora.window().find("label", "Velmora Demo")

    def test_it_follows_dark_and_light_while_it_runs(self):
        session = self.desktop()
        self.follow_schemes(session, self.open_demo(session))

    def test_it_follows_dark_and_light_beside_a_portal(self):
        session = self.desktop(portal=True)
        velmora = self.open_demo(session)
        eventually(lambda: session.bus.has("org.freedesktop.portal.Desktop"), "the portal")
        self.follow_schemes(session, velmora)

    def test_it_is_dark_from_its_start(self):
        session = self.desktop()
        session.windows.choose_scheme("dark")
        velmora = self.open_demo(session)
        eventually(lambda: self.is_dark(session, velmora), "the window to be dark")

    def follow_schemes(self, session, velmora):
        for scheme, is_dark in (("dark", True), ("light", False)):
            session.windows.choose_scheme(scheme)
            eventually(lambda: self.is_dark(session, velmora) == is_dark, f"the window to be {scheme}")

    def test_large_text_makes_an_open_window_larger(self):
        session = self.desktop()
        velmora = self.open_demo(session)
        (before,) = velmora.windows()
        session.windows.scale_text(1.5)
        grown = eventually(lambda: self.wider(velmora, before.width), "the window to grow")
        session.windows.scale_text(1.0)
        eventually(lambda: velmora.windows()[0].width < grown, "the window to shrink again")

    def wider(self, velmora, width):
        """The width of the window if it is more than this, or None."""
        (window,) = velmora.windows()
        return window.width if window.width > width else None

    def test_a_failure_is_one_notification_whose_button_opens_the_log(self):
        session = self.desktop()
        github, velmora, _ = self.connect(session)
        log = f"{github.address}/the-log"
        github.tell("world", {"deployment": {"repository": _REPOSITORY, "state": "FAILURE", "logUrl": log}})
        session.screen.key("ctrl+r")

        def failures():
            return [title for title in session.windows.notifications() if "failed" in title]

        self.assertEqual(len(eventually(failures, "the notification")), 1)
        session.windows.press_in_notification("Open log")
        eventually(lambda: log in [page.address for page in session.browser.opened()], "the log")

    def test_a_refusal_of_notifications_is_said_until_they_are_allowed_and_switched_on(self):
        session = self.desktop()
        session.windows.allow_notifications(_APPLICATION, False)
        _, velmora, _ = self.connect(session)
        settings = velmora.open_settings()
        session.screen.key("ctrl+4")
        settings.find("label", _REFUSED)
        session.windows.allow_notifications(_APPLICATION, True)
        switch = settings.find("check box", "Notify me when deployments fail")
        self.assertNotIn("checked", switch.states)
        switch.do("Toggle")
        eventually(lambda: "checked" in switch.states, "the switch to be on")
        eventually(lambda: not settings.all("label", _REFUSED), "the refusal to go")

    def test_a_locked_keyring_is_unlocked_from_the_window(self):
        session = self.desktop()
        _, velmora, window = self.connect(session)
        session.keyring.lock()
        session.screen.key("ctrl+r")
        # The desktop asks for the password; the user declines first.
        self.wait_for_prompt(session, velmora)
        session.screen.key("Escape")
        velmora.wait_until_active()
        unlock = window.find("push button", "Unlock")
        eventually(lambda: "sensitive" in unlock.states, "the button")
        unlock.press()
        self.wait_for_prompt(session, velmora)
        self.answer_prompt(session)
        eventually(lambda: not window.all("push button", "Unlock"), "the button to go")
        window.find("label", "Deployment in progress")
        self.assertFalse(session.keyring.is_locked)
        velmora.wait_until_active()

    def wait_for_prompt(self, session, velmora):
        """Waits until the desktop asks for the password of the keyring, and the window knows that it has no focus."""
        eventually(lambda: self.is_prompting(session), "the question for the password")
        eventually(lambda: not velmora.takes_keys(), "the window to lose the focus")

    def is_prompting(self, session):
        raise NotImplementedError

    def answer_prompt(self, session):
        raise NotImplementedError

    def test_a_tray_that_goes_and_comes_back_opens_no_window(self):
        session = self.desktop()
        velmora = self.start_demo(session)
        session.tray.stop()
        session.tray.start()
        velmora.wait_for_item()
        never(velmora.is_open, "a window has opened", _LONGER_THAN_PATIENCE)

    def test_without_a_tray_the_window_is_the_program(self):
        session = self.desktop(tray="none")
        velmora = self.start(session, "--demo")
        velmora.window()
        velmora.wait_until_active()
        session.screen.click(5, session.screen.height // 2)
        never(lambda: not velmora.is_open(), "the window has closed", 2)

    def is_dark(self, session, velmora):
        (window,) = velmora.windows()
        return session.screen.picture((window.x + 20, window.y + 40, 200, 200)).brightness() < 0.5


class Gnome(Shell):
    """GNOME; its tray items are shown by an extension."""

    def test_a_double_click_opens_the_window_below_the_top_bar(self):
        session = self.desktop()
        velmora = self.open_demo(session)
        (window,) = velmora.windows()
        bar = session.windows.evaluate("Main.panel.height")
        self.assertGreaterEqual(window.y, bar)
        self.assertLess(window.y, bar + 100)
        session.screen.key("Escape")
        velmora.wait_until_closed()

    def test_locking_the_screen_opens_no_window(self):
        session = self.desktop()
        velmora = self.start_demo(session)
        session.windows.evaluate("Main.sessionMode.pushMode('unlock-dialog')")
        never(velmora.is_open, "a window has opened", _LONGER_THAN_PATIENCE)
        session.windows.evaluate("Main.sessionMode.popMode('unlock-dialog')")
        velmora.wait_for_item()
        self.assertFalse(velmora.is_open())

    def test_a_first_keyring_is_declined_and_then_made_while_connecting(self):
        session = self.desktop(keyring="new")
        github = Simulator(session)
        github.small_world([{"environment": "production", "state": "IN_PROGRESS"}])
        velmora = self.start(session, "--background", environment=github.environment)
        velmora.wait_for_item()
        session.tray.activate()
        window = velmora.window()
        window.find("push button", "Add GitHub account").press()
        self.wait_for_prompt(session, velmora)
        session.screen.key("Escape")
        window.find("label", "The keyring was not unlocked. Try again and unlock it when you are asked.")
        window.find("push button", "Add GitHub account").press()
        self.wait_for_prompt(session, velmora)
        session.screen.type(PASSWORD)
        session.screen.key("Tab")
        session.screen.type(PASSWORD)
        session.screen.key("Return")
        window.find("push button", "Copy code")
        # One was asked for before the keyring was declined.
        for code in github.ask("GET", "codes")["userCodes"]:
            github.tell("approve", {"userCode": code})
        window.find("label", "Deployment in progress")
        self.assertEqual(len(session.keyring.items()), 1)

    def is_prompting(self, session):
        return session.windows.evaluate("Main.modalCount") > 0

    def answer_prompt(self, session):
        session.screen.type(PASSWORD)
        session.screen.key("Return")


class Plasma(Shell):
    """Plasma with its own wallet, which is not running at first."""

    def desktop(self, **options):
        return super().desktop(**{"keyring": "kwallet"} | options)

    def permit_keyring(self, session):
        session.keyring.permit_creation(PASSWORD)

    def is_prompting(self, session):
        return session.keyring.is_asking()

    def answer_prompt(self, session):
        session.keyring.enter(PASSWORD)

    def test_a_click_opens_the_window_and_escape_closes_it(self):
        session = self.desktop()
        velmora = self.open_demo(session)
        session.screen.key("Escape")
        velmora.wait_until_closed()

    def test_a_restart_of_the_shell_or_of_its_daemon_opens_no_window(self):
        for part in ("restart", "restart_daemon"):
            with self.subTest(part):
                session = self.desktop()
                velmora = self.start_demo(session)
                getattr(session.windows, part)()
                velmora.wait_for_item()
                never(velmora.is_open, "a window has opened", _LONGER_THAN_PATIENCE)
                session.end()

class Wayland:
    """What holds where the compositor places the window."""

    def test_the_header_moves_the_window_which_has_no_frame_and_stays_open(self):
        session = self.desktop()
        velmora = self.open_demo(session)
        shown = velmora.window()
        eventually(lambda: shown.all("list item"), "the deployments")
        (window,) = velmora.windows()
        # With a frame it would be larger than its content.
        content = shown.children()[0].place[2:]
        self.assertEqual((window.width, window.height), content)
        start = (window.x + window.width // 2, window.y + 20)
        session.screen.drag(start, (start[0] + 100, start[1] + 80))
        eventually(lambda: [moved.x - window.x for moved in velmora.windows()] == [100], "the window to be moved")
        velmora.wait_until_active()
        session.screen.key("Escape")
        velmora.wait_until_closed()


    def test_window_and_settings_are_sharp_and_whole_at_every_scale(self):
        widths = set()
        for scale in (1, 1.25, 1.5, 2):
            with self.subTest(scale):
                session = self.desktop(scales=(scale,), size=(1920, 1200))
                velmora = self.open_traced_demo(session)
                # Below the greater scale the compositor makes it smaller, which stays sharp.
                self.assertEqual(self.buffer_scale(velmora), math.ceil(scale))
                widths.add(self.whole_window(session, velmora, scale).width)
                velmora.open_settings()
                self.assertEqual(self.buffer_scale(velmora), math.ceil(scale))
                self.whole_window(session, velmora, scale)
                session.end()
        self.assertEqual(len(widths), 1)

    def open_traced_demo(self, session):
        """A demo that prints what it tells the compositor; its window is open. (The tracing leaks.)"""
        velmora = self.start(session, "--demo", "--background",
                             environment={"WAYLAND_DEBUG": "1", "ASAN_OPTIONS": "detect_leaks=0"})  # fmt: skip
        velmora.wait_for_item()
        session.tray.item().activate(0, 0)
        velmora.wait_until_active()
        return velmora

    def buffer_scale(self, velmora):
        """The pixels for a point in the last window that was shown."""
        return int(re.findall(r"wl_surface@\d+\.set_buffer_scale\((\d)\)", velmora.program.output())[-1])

    def whole_window(self, session, velmora, scale):
        """The only window, after a look whether the screen holds it, and whether it holds its texts."""
        (window,) = velmora.windows()
        self.assertGreaterEqual(window.x, 0)
        self.assertLessEqual(window.x + window.width, session.screen.width / scale)
        self.assertLessEqual(window.y + window.height, session.screen.height / scale)
        for label in velmora.window().all("label"):
            x, _, width, _ = label.place
            self.assertGreaterEqual(x, 0)
            self.assertLessEqual(x + width, window.width, label)
        return window


class X11:
    """What holds where a program hears of all clicks."""

    def test_a_click_on_the_bare_desktop_closes_the_window(self):
        session = self.desktop()
        velmora = self.open_demo(session)
        (window,) = velmora.windows()
        session.screen.click(window.x + 20, window.y + 20)
        never(lambda: not velmora.is_open(), "a click inside has closed the window", 2)
        session.screen.click(100, session.screen.height // 2)
        velmora.wait_until_closed()


class GnomeX11Test(X11, Gnome, VelmoraTest):
    windowing = "gnome-x11"


class GnomeWaylandTest(Wayland, Gnome, VelmoraTest):
    """The compositor draws no frames, so that the windows have a title bar of their own."""

    windowing = "gnome-wayland"

    def test_the_settings_are_moved_by_their_title_bar_and_have_a_button_that_closes_them(self):
        session = self.desktop()
        velmora = self.open_demo(session)
        velmora.open_settings()
        self.move_and_close(session, velmora, "Velmora Demo Settings")

    def test_the_window_without_a_tray_is_moved_by_its_title_and_has_a_button_that_closes_it(self):
        session = self.desktop(tray="none")
        velmora = self.start(session, "--demo")
        window = velmora.window()
        velmora.wait_until_active()
        eventually(lambda: window.all("list item"), "the deployments")
        self.move_and_close(session, velmora, "Velmora Demo")

    def move_and_close(self, session, velmora, title):
        (window,) = velmora.windows()
        x, y = velmora.window().find("label", title).middle
        start = (window.x + x, window.y + y)
        # With a frame that Qt draws, this maximised a window of a fixed size.
        session.screen.double_click(*start)
        session.screen.drag(start, (start[0] + 60, start[1] + 40))
        moved = (window.x + 60, window.y + 40)
        eventually(lambda: [(w.x, w.y) for w in velmora.windows()] == [moved], "the window to be moved")
        velmora.wait_until_active()
        session.click(velmora.window().find("push button", "Close"))
        velmora.wait_until_closed()


    def test_the_window_is_sharp_on_each_of_two_screens(self):
        session = self.desktop(scales=(1, 2))
        velmora = self.open_traced_demo(session)
        self.assertEqual(self.buffer_scale(velmora), 1)
        session.windows.move_to_screen(velmora.pid, 1)
        eventually(lambda: self.buffer_scale(velmora) == 2, "the window to be drawn anew")
        session.windows.move_to_screen(velmora.pid, 0)
        eventually(lambda: self.buffer_scale(velmora) == 1, "the window to be drawn anew")


class PlasmaX11Test(X11, Plasma, VelmoraTest):
    windowing = "plasma-x11"

    def test_the_window_opens_above_the_panel(self):
        session = self.desktop()
        velmora = self.open_demo(session)
        (window,) = velmora.windows()
        self.assertEqual(window.y + window.height, session.windows.panel().y)


class PlasmaWaylandTest(Wayland, Plasma, VelmoraTest):
    windowing = "plasma-wayland"


if __name__ == "__main__":
    unittest.main()
