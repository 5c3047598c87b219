#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""The window behind the item: opening, closing and keys."""

import signal
import unittest

from gi.repository import GLib
from headless import eventually
from headless.waiting import never
from velmora import SAMPLE, Velmora, VelmoraTest

# Pixels between the window and the panel.
_GAP = 6
_APPLICATION = ("com.tarvik.Velmora.Demo", "/com/tarvik/Velmora/Demo", "org.freedesktop.Application")


class WindowTest(VelmoraTest):
    """How the window opens and closes."""

    def setUp(self):
        self.desktop = self.session(notifications="none", keyring="absent")
        self.velmora = self.start(self.desktop, "--demo", "--background")

    def test_starts_without_a_window_and_opens_on_a_click(self):
        self.velmora.wait_for_item()
        self.assertFalse(self.velmora.is_open())

        self.velmora.open_by_click()

        self.velmora.wait_until_active()

    def test_a_second_click_closes_it_and_does_not_open_it_again(self):
        for _ in range(3):
            self.velmora.open_by_click()
            self.desktop.tray.click()
            self.velmora.wait_until_closed()
            never(self.velmora.is_open, "the click that closed the window opened it again", 0.7)

    def test_escape_closes_it(self):
        self.velmora.open_by_click()
        self.velmora.wait_until_active()
        self.desktop.screen.key("Escape")

        self.velmora.wait_until_closed()
        self.assertTrue(self.velmora.program.is_running)

    def test_a_click_at_another_window_closes_it(self):
        sample = self.desktop.start("sample", [SAMPLE])
        self.desktop.window_of(sample)
        # Two items are in the tray now; the menu works wherever the item is.
        item = eventually(
            lambda: next((item for item in self.desktop.tray.items() if item.pid == self.velmora.pid), None), "the item"
        )
        item.choose("Open Velmora")
        self.velmora.wait_until_active()

        name = self.desktop.accessibility.program(sample.pid).find("text", "Name")
        self.desktop.click(name)

        self.velmora.wait_until_closed()
        # The other window gets the click.
        eventually(lambda: "focused" in name.states, "the focus where the click was")

    def test_a_click_that_moves_no_focus_closes_it(self):
        self.velmora.open_by_click()
        self.velmora.wait_until_active()
        # There is nothing but the background.
        self.desktop.screen.click(100, self.desktop.screen.height - 100)

        self.velmora.wait_until_closed()

    def test_a_click_into_it_leaves_it_open(self):
        window = self.velmora.open_by_click()
        self.desktop.click(window.find("label", "Velmora Demo"))

        never(lambda: not self.velmora.is_open(), "a click into the window closed it", 0.7)

    def test_menu_opens_the_window_first_of_all_and_ends_the_program_last(self):
        item = self.desktop.tray.item()
        labels = [entry.label for entry in item.menu() if not entry.is_separator]
        self.assertEqual((labels[0], labels[-1]), ("Open Velmora", "Quit"))

        item.choose("Open Velmora")
        self.velmora.window()
        item.choose("Quit")

        self.assertEqual(self.velmora.program.wait(), 0)
        eventually(lambda: not self.desktop.tray.items(), "the item to leave the tray")

    def test_quit_in_the_window_ends_the_program(self):
        self.velmora.open_by_click().find("push button", "Quit").press()

        self.assertEqual(self.velmora.program.wait(), 0)

    def test_ctrl_q_ends_the_program(self):
        self.velmora.open_by_click()
        self.velmora.wait_until_active()
        self.desktop.screen.key("ctrl+q")

        self.assertEqual(self.velmora.program.wait(), 0)

    def test_the_end_of_the_session_ends_it_in_order(self):
        self.velmora.open_by_click()
        self.velmora.program.send(signal.SIGTERM)

        self.assertEqual(self.velmora.program.wait(), 0)

    def test_keys_reach_a_row_and_open_its_page(self):
        window = self.velmora.open_by_click()
        eventually(lambda: window.all("list item"), "rows")
        focused = window.focused()
        while focused is None or focused.role not in ("list", "list item"):
            before = focused
            self.desktop.screen.key("Tab")
            eventually(lambda before=before: window.focused() not in (None, before), "the focus to go on")
            focused = window.focused()
        self.desktop.screen.key("Down", "Return")

        eventually(self.desktop.browser.opened, "a page in the browser")

    def test_starting_it_again_opens_the_window_of_the_first(self):
        self.velmora.wait_for_item()

        second = self.start(self.desktop, "--demo")

        self.assertEqual(second.program.wait(), 0)
        self.velmora.window()
        self.assertEqual(len(self.desktop.tray.items()), 1)

    def test_starting_it_again_at_login_opens_nothing(self):
        self.velmora.wait_for_item()

        second = self.start(self.desktop, "--demo", "--background")

        self.assertEqual(second.program.wait(), 0)
        never(self.velmora.is_open, "a start at login opened the window", 0.5)



class BlendingTest(VelmoraTest):
    """A window manager that blends windows with what is behind them."""

    def test_it_stands_off_the_panel_and_its_shadow_takes_no_clicks(self):
        desktop = self.session(notifications="none", keyring="absent", blending=True)
        velmora = self.start(desktop, "--demo", "--background")
        content = velmora.open_by_click().children()[0].children()[0]
        velmora.wait_until_active()

        def stands_in_its_line():
            (window,) = velmora.windows()
            x, y, width, height = content.place
            is_line = (window.x, window.y, window.width, window.height) == (x - 1, y - 1, width + 2, height + 2)
            return window if is_line else None

        window = eventually(stands_in_its_line, "the window to stand where its line is")
        (panel,) = (other for other in desktop.windows.list() if other.pid != velmora.pid)
        self.assertEqual(window.y, panel.y + panel.height + _GAP)
        self.assertEqual(window.x + window.width, desktop.screen.width - _GAP)

        desktop.screen.click(window.x + 1, window.y + window.height // 2)
        never(lambda: not velmora.is_open(), "a click at the line closed the window", 0.7)
        desktop.screen.click(window.x - 4, window.y + window.height // 2)
        velmora.wait_until_closed()


class StrangerTest(VelmoraTest):
    """Calls that any program of the session may send."""

    def test_a_token_that_is_none_ends_nothing(self):
        for windowing in ("x11", "wayland"):
            with self.subTest(windowing):
                session = self.session(windowing, notifications="none", keyring="absent")
                velmora = self.start(session, "--demo", "--background")
                velmora.wait_until_running()
                # While the window is open, a token is passed to the compositor at once.
                session.bus.call(*_APPLICATION, "Activate", "(a{sv})", {})
                velmora.window()
                sample = session.start("sample", [SAMPLE])
                session.window_of(sample)
                for token in ("A" * 5000, "A" * 4080, "a\nb"):
                    data = {"activation-token": GLib.Variant("s", token)}
                    session.bus.call(*_APPLICATION, "Activate", "(a{sv})", data)

                session.bus.call(*_APPLICATION, "Activate", "(a{sv})", {})
                velmora.window()
                self.assertTrue(velmora.program.is_running)
                velmora.end()
                session.end()


class RefusedConfigurationTest(VelmoraTest):
    """Without a terminal, a window shows why the program cannot start."""

    def test_is_shown_until_the_window_is_closed(self):
        for windowing in ("x11", "wayland"):
            with self.subTest(windowing):
                session = self.session(windowing, notifications="none", keyring="absent")
                velmora = Velmora(session, environment={"VELMORA_GITHUB_HOST": "https://not a host"})
                window = velmora.window()
                window.find("label", "Velmora cannot start")
                self.assertIn("VELMORA_GITHUB_HOST", " ".join(window.texts()))
                self.assertFalse(session.bus.has("com.tarvik.Velmora"))

                window.find("push button", "Quit").press()

                eventually(lambda: not velmora.program.is_running, "the end")
                self.assertEqual(velmora.program.exit_code, 1)
                session.end()


class LookTest(VelmoraTest):
    """Whether the windows look as the desktop wants."""

    _SETTINGS = {"GSETTINGS_BACKEND": "keyfile"}  # a file that all programs of the session share

    def setUp(self):
        self.desktop = self.session(notifications="none", keyring="absent")

    def _choose(self, scheme):
        command = ["gsettings", "set", "org.gnome.desktop.interface", "color-scheme", scheme]
        self.assertEqual(self.desktop.start("gsettings", command, self._SETTINGS).wait(), 0)

    def _open(self):
        velmora = self.start(self.desktop, "--demo", "--background", environment=self._SETTINGS)
        velmora.open_by_menu()
        return velmora

    def _brightness(self, velmora):
        """Of the footer, where no text is, from 0 to 255."""
        window = self.desktop.window_of(velmora.program)
        footer = self.desktop.screen.picture((window.x + window.width // 2, window.y + window.height - 6, 1, 1))
        return sum(footer.pixel(0, 0)) // 3

    def test_an_open_window_becomes_dark_with_the_desktop_and_light_again(self):
        velmora = self._open()
        eventually(lambda: self._brightness(velmora) > 200, "a light window")

        self._choose("prefer-dark")
        eventually(lambda: self._brightness(velmora) < 80, "a dark window")

        self._choose("default")
        eventually(lambda: self._brightness(velmora) > 200, "a light window again")

    def test_a_start_on_a_dark_desktop_is_dark(self):
        self._choose("prefer-dark")

        velmora = self._open()

        eventually(lambda: self._brightness(velmora) < 80, "a dark window")


if __name__ == "__main__":
    unittest.main()
