#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""Item, menu and windows on whole desktops: GNOME, with and without the extension that shows tray items, and Plasma."""

import math
import re
import unittest

import shells
from headless import eventually
from headless.waiting import never


class Stories:
    """What holds on every desktop."""

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

    def test_a_tray_that_goes_and_comes_back_opens_no_window(self):
        session = self.desktop()
        velmora = self.start_demo(session)
        session.tray.stop()
        session.tray.start()
        velmora.wait_for_item()
        never(velmora.is_open, "a window has opened", shells.LONGER_THAN_PATIENCE)

    def test_without_a_tray_the_window_is_the_program(self):
        session = self.desktop(tray="none")
        velmora = self.start(session, "--demo")
        velmora.window()
        velmora.wait_until_active()
        session.screen.click(5, session.screen.height // 2)
        never(lambda: not velmora.is_open(), "the window has closed", 2)

    def test_without_a_tray_escape_closes_the_window_and_another_start_opens_it(self):
        session = self.desktop(tray="none")
        velmora = self.start(session, "--demo")
        velmora.window()
        velmora.wait_until_active()
        session.screen.key("Escape")
        velmora.wait_until_closed()
        again = self.start(session, "--demo")
        eventually(lambda: again.program.exit_code == 0, "the second one to end")
        velmora.wait_until_active()


class Gnome:
    """GNOME's top bar."""

    def test_a_double_click_opens_the_window_below_the_top_bar(self):
        session = self.desktop()
        velmora = self.open_demo(session)
        (window,) = velmora.windows()
        bar = session.windows.evaluate("Main.panel.height")
        self.assertGreaterEqual(window.y, bar)
        self.assertLess(window.y, bar + 100)
        session.screen.key("Escape")
        velmora.wait_until_closed()

    def test_the_window_has_name_and_icon_of_the_program(self):
        session = self.desktop()
        velmora = self.start(session, "--background")
        velmora.wait_for_item()
        session.tray.activate()
        velmora.wait_until_active()
        eventually(lambda: session.windows.application(velmora.pid) == ("Velmora", shells.APPLICATION), "its name")


class Plasma:
    """Plasma's panel and its daemon."""

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
                never(velmora.is_open, "a window has opened", shells.LONGER_THAN_PATIENCE)
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


class GnomeX11Test(X11, Gnome, Stories, shells.GnomeX11):
    pass


class GnomeWaylandTest(Wayland, Gnome, Stories, shells.GnomeWayland):
    """The compositor draws no frames, so that the windows have a title bar of their own."""

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


class PlasmaX11Test(X11, Plasma, Stories, shells.PlasmaX11):
    def test_the_window_opens_above_the_panel(self):
        session = self.desktop()
        velmora = self.open_demo(session)
        (window,) = velmora.windows()
        self.assertEqual(window.y + window.height, session.windows.panel().y)


class PlasmaWaylandTest(Wayland, Plasma, Stories, shells.PlasmaWayland):
    pass


if __name__ == "__main__":
    unittest.main()
