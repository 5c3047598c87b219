#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""The item in the tray and the window behind it, as a person meets them."""

import signal
import unittest

from headless import eventually
from headless.waiting import never
from velmora import SAMPLE, VelmoraTest

_NO_TRAY = "This desktop shows no tray. Starting Velmora again opens this window."
# Longer than a tray is waited for at login.
_LONGER_THAN_PATIENCE = 12.0


class MainPath:
    """From the item to the page of a deployment; the same on every display."""

    windowing = ""
    tray = None

    def test_shows_what_is_deployed_and_opens_its_page(self):
        session = self.session(self.windowing, self.tray)
        velmora = self.start(session, "--demo")

        item = session.tray.item()
        self.assertEqual(item.pid, velmora.pid)
        self.assertEqual(item.read("Id"), "com.tarvik.Velmora")
        self.assertEqual(item.read("Status"), "Active")
        # The number of what is in progress, as soon as that is known.
        eventually(lambda: item.read("Title").isdigit(), "a number in the tray")

        window = velmora.open_by_click()
        window.find("label", "Velmora Demo")
        window.find("label", "Deployment in progress")
        sections = [row.name.split(",")[0] for row in window.all("list item") if row.name.count(",") == 1]
        self.assertEqual(sections[0], "In progress")
        self.assertTrue(any(text.startswith("Updated ") for text in window.texts()))

        row = velmora.click_row(window, "failed")
        repository = row.split(",")[0]
        opened = eventually(session.browser.opened, "a page in the browser")
        self.assertRegex(opened[0].address, rf"^http://127\.0\.0\.1:\d+/{repository}/(actions/runs/\d+|deployments$)")
        self.assertEqual(len(opened), 1)

        self.check_place(session, velmora)

    def check_place(self, session, velmora):
        """Where the window is."""


class XfceMainPathTest(MainPath, VelmoraTest):
    windowing = "x11"

    def check_place(self, session, velmora):
        # Flush under the panel, at the edge where the item is.
        (window,) = velmora.windows()
        panel = next(window for window in session.windows.list() if window.pid == session.tray.program.pid)
        self.assertEqual(window.y, panel.y + panel.height)
        self.assertEqual(window.x + window.width, session.screen.width)


class LXQtMainPathTest(XfceMainPathTest):
    tray = "lxqt"


class WaylandMainPathTest(MainPath, VelmoraTest):
    windowing = "wayland"

    def check_place(self, session, velmora):
        # It floats: a tiled window would be as high as the screen below the panel.
        (window,) = velmora.windows()
        self.assertLess(window.width, session.screen.width / 2)
        self.assertLess(window.height, session.screen.height - 100)


class WindowTest(VelmoraTest):
    """How the window opens and closes."""

    def setUp(self):
        self.desktop = self.session(notifications="none", keyring="absent")
        self.velmora = self.start(self.desktop, "--demo", "--background")

    def test_starts_without_a_window_and_opens_on_a_click(self):
        self.velmora.wait_for_item()
        self.assertFalse(self.velmora.is_open())

        self.velmora.open_by_click()

        self.assertTrue(self.velmora.windows()[0].is_active)

    def test_a_second_click_closes_it_and_does_not_open_it_again(self):
        for _ in range(3):
            self.velmora.open_by_click()
            self.desktop.tray.click()
            self.velmora.wait_until_closed()
            never(self.velmora.is_open, "the click that closed the window opened it again", 0.7)

    def test_escape_closes_it(self):
        self.velmora.open_by_click()
        self.desktop.screen.key("Escape")

        self.velmora.wait_until_closed()
        self.assertTrue(self.velmora.program.is_running)

    def test_a_click_at_another_window_closes_it(self):
        sample = self.desktop.start("sample", [SAMPLE])
        self.desktop.window_of(sample)
        # Two items are in the tray now: the menu opens the window whichever is where.
        item = eventually(
            lambda: next((item for item in self.desktop.tray.items() if item.pid == self.velmora.pid), None), "the item"
        )
        item.choose("Open Velmora")
        self.velmora.window()
        self.assertTrue(self.velmora.windows()[0].is_active)

        name = self.desktop.accessibility.program(sample.pid).find("text", "Name")
        self.desktop.click(name)

        self.velmora.wait_until_closed()
        # The click is the other window's.
        eventually(lambda: "focused" in name.states, "the focus where the click was")

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
        self.desktop.screen.key("ctrl+q")

        self.assertEqual(self.velmora.program.wait(), 0)

    def test_the_end_of_the_session_ends_it_in_order(self):
        self.velmora.open_by_click()
        self.velmora.program.send(signal.SIGTERM)

        self.assertEqual(self.velmora.program.wait(), 0)

    def test_keys_reach_a_row_and_open_its_page(self):
        window = self.velmora.open_by_click()
        eventually(lambda: window.all("list item"), "rows")
        for _ in range(12):
            if any("focused" in element.states for element in window.all("list") + window.all("list item")):
                break
            self.desktop.screen.key("Tab")
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


class ComingAndGoingTest(VelmoraTest):
    """Panels that come late, crash, or are not there at all."""

    def test_the_item_comes_back_after_a_restart_and_after_a_crash_of_the_panel(self):
        for tray in ("xfce", "lxqt"):
            with self.subTest(tray):
                session = self.session(tray=tray, notifications="none", keyring="absent")
                velmora = self.start(session, "--demo", "--background")
                velmora.wait_for_item()

                session.tray.restart()
                velmora.open_by_click()
                session.tray.stop(signal.SIGKILL)
                session.tray.start()
                session.screen.key("Escape")
                velmora.wait_until_closed()

                velmora.open_by_click()
                velmora.end()
                session.end()

    def test_the_item_appears_on_a_panel_that_comes_later(self):
        session = self.session(notifications="none", keyring="absent", late=("tray",))
        velmora = self.start(session, "--demo", "--background")
        velmora.wait_until_running()

        session.tray.start()

        velmora.open_by_click()

    def test_without_a_tray_the_window_opens_by_itself_and_says_why(self):
        session = self.session(tray="none", notifications="none", keyring="absent")
        velmora = self.start(session, "--demo")

        window = velmora.window()

        window.find(name=_NO_TRAY)

    def test_a_tray_that_comes_after_all_takes_the_reason_away(self):
        session = self.session(notifications="none", keyring="absent", late=("tray",))
        velmora = self.start(session, "--demo")
        window = velmora.window()
        window.find(name=_NO_TRAY)

        session.tray.start()

        velmora.wait_for_item()
        eventually(lambda: not window.all(name=_NO_TRAY), "the reason to go")

    def test_without_a_tray_a_start_at_login_stays_silent_until_it_is_started_by_hand(self):
        session = self.session(tray="none", notifications="none", keyring="absent")
        velmora = self.start(session, "--demo", "--background")
        velmora.wait_until_running()
        never(velmora.is_open, "a start at login opened the window", _LONGER_THAN_PATIENCE)

        second = self.start(session, "--demo")

        self.assertEqual(second.program.wait(), 0)
        velmora.window().find(name=_NO_TRAY)


if __name__ == "__main__":
    unittest.main()
