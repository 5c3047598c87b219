#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""From the tray item to the page of a deployment, and panels that come and go."""

import signal
import unittest

from headless import eventually
from headless.waiting import never
from velmora import SAMPLE, VelmoraTest

_NO_TRAY = "This desktop shows no tray. Starting Velmora again opens this window."
# Seconds; longer than Velmora waits for a tray at login.
_LONGER_THAN_PATIENCE = 12.0


class MainPath:
    """From the item to the page of a deployment, on every kind of display."""

    windowing = ""
    tray = None

    def test_shows_what_is_deployed_and_opens_its_page(self):
        session = self.session(self.windowing, self.tray)
        velmora = self.start(session, "--demo")

        item = session.tray.item()
        self.assertEqual(item.pid, velmora.pid)
        self.assertEqual(item.read("Id"), "com.tarvik.Velmora")
        self.assertEqual(item.read("Status"), "Active")
        # The number of deployments in progress, once they are loaded.
        eventually(lambda: item.read("Title").isdigit(), "a number in the tray")

        window = velmora.open_by_click()
        window.find("label", "Velmora Demo")
        window.find("label", "Deployment in progress")

        # While the demo connects its accounts in turn, their codes replace the list.
        def sections():
            return [row.name.split(",")[0] for row in window.all("list item") if row.name.count(",") == 1]

        self.assertEqual(eventually(sections, "the deployments")[0], "In progress")
        eventually(lambda: any(text.startswith("Updated ") for text in window.texts()), "the time of the update")

        row = velmora.click_row(window, "failed")
        repository = row.split(",")[0]
        opened = eventually(session.browser.opened, "a page in the browser")
        self.assertRegex(opened[0].address, rf"^http://127\.0\.0\.1:\d+/{repository}/(actions/runs/\d+|deployments$)")
        self.assertEqual(len(opened), 1)

        self.check_place(session, velmora)

    def check_place(self, session, velmora):
        """Checks the place of the window."""


class XfceMainPathTest(MainPath, VelmoraTest):
    windowing = "x11"

    def check_place(self, session, velmora):
        # Directly below the panel, at the edge with the item.
        (window,) = eventually(velmora.windows, "the window in the list")
        panel = next(window for window in session.windows.list() if window.pid == session.tray.program.pid)
        self.assertEqual(window.y, panel.y + panel.height)
        self.assertEqual(window.x + window.width, session.screen.width)


class LXQtMainPathTest(XfceMainPathTest):
    tray = "lxqt"


class WaylandMainPathTest(MainPath, VelmoraTest):
    windowing = "wayland"

    def check_place(self, session, velmora):
        # It floats: a tiled window would fill the screen below the panel.
        (window,) = velmora.windows()
        self.assertLess(window.width, session.screen.width / 2)
        self.assertLess(window.height, session.screen.height - 100)


class ComingAndGoingTest(VelmoraTest):
    """Panels that start late, crash, or are absent."""

    def wait_for_focus(self, session, program):
        eventually(
            lambda: any(window.is_active and window.pid == program.pid for window in session.windows.list()),
            "the focus to be where it was",
        )

    def test_the_item_comes_back_after_a_restart_and_after_a_crash_of_the_panel(self):
        for tray in ("xfce", "lxqt"):
            with self.subTest(tray):
                session = self.session(tray=tray, notifications="none", keyring="absent")
                velmora = self.start(session, "--demo", "--background")
                velmora.wait_for_item()

                session.tray.restart()
                velmora.open_by_click()
                velmora.wait_until_active()
                session.tray.stop(signal.SIGKILL)
                session.tray.start()
                session.screen.key("Escape")
                velmora.wait_until_closed()

                velmora.open_by_click()
                velmora.end()
                session.end()

    def test_a_panel_that_restarts_opens_no_window_and_takes_no_focus(self):
        for tray in ("xfce", "lxqt"):
            with self.subTest(tray):
                session = self.session(tray=tray, notifications="none", keyring="absent")
                velmora = self.start(session, "--demo")
                velmora.wait_for_item()
                sample = session.start("sample", [SAMPLE])
                session.window_of(sample)
                self.wait_for_focus(session, sample)

                session.tray.stop(signal.SIGKILL)
                # Longer than a panel may take to return.
                never(velmora.windows, "a window opens by itself", seconds=14)
                session.tray.start()

                velmora.wait_for_item()
                never(velmora.windows, "a window opens by itself", seconds=1)
                self.wait_for_focus(session, sample)
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

    def test_without_a_tray_the_window_stays_beside_others(self):
        session = self.session(tray="none", notifications="none", keyring="absent")
        velmora = self.start(session, "--demo")
        velmora.window()
        sample = session.start("sample", [SAMPLE])
        name = session.accessibility.program(session.window_of(sample).pid).find("text", "Name")

        session.click(name)
        eventually(lambda: "focused" in name.states, "the focus where the click was")

        never(lambda: not velmora.is_open(), "a click at another window closed the only one", 0.7)

    def test_on_gnome_it_tells_once_how_to_get_a_tray(self):
        session = self.session(tray="none", notifications="none", keyring="absent")
        gnome = {"XDG_CURRENT_DESKTOP": "GNOME"}

        def notice():
            velmora = self.start(session, environment=gnome)
            window = velmora.window()
            shown = eventually(lambda: [text for text in window.texts() if text.startswith(_NO_TRAY)], "the reason")
            self.assertEqual(velmora.end(), 0)
            return shown[0]

        self.assertIn("AppIndicator", notice())
        self.assertEqual(notice(), _NO_TRAY)


if __name__ == "__main__":
    unittest.main()
