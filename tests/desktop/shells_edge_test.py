#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""The edge of the window on whole desktops: its line, round corners and shadow, and where it stands by them."""

import unittest

from headless import eventually
from headless.waiting import never
from shells import Desktop
from velmora import VelmoraTest

# Pixels between the window and the panel.
_GAP = 6
# More than an empty desktop and the shadow have.
_COLOURS_OF_TEXT = 100


def is_shade(colour, of):
    """Whether the colour is a darker shade of the other one."""
    return colour != of and all(part <= whole for part, whole in zip(colour, of))


class Edge(Desktop):
    """What holds on every desktop that blends windows."""

    def desktop(self, **options):
        return super().desktop(**{"blending": True} | options)

    def open_demo(self, session):
        """A demo whose window shows its rows, and does not grow any more."""
        velmora = super().open_demo(session)
        shown = velmora.window()
        eventually(lambda: shown.all("list item"), "the deployments")
        return velmora

    def test_the_window_has_a_line_around_it_round_corners_and_a_shadow(self):
        session = self.desktop()
        # A background of one colour.
        session.windows.tidy()
        velmora = self.open_demo(session)
        x, y, width, height = self.edge(session, velmora)
        picture = self.picture(session, velmora)
        line = picture.pixel(x, y + height // 2)
        self.assertEqual(picture.pixel(x + width // 2, y + height - 1), line)
        self.assertNotEqual(picture.pixel(x + width // 2, y + height - 4), line)
        # Around the line and in the corners is the background, in the shadow.
        background = picture.pixel(x - 60, y + height // 2)
        right, bottom = x + width - 1, y + height - 1
        places = [(x, y), (right, y), (x, bottom), (right, bottom), (x - 3, y + height // 2), (right - 60, bottom + 3)]
        for place in places:
            self.assertTrue(is_shade(picture.pixel(*place), background), place)

    def edge(self, session, velmora):
        """Where the line around the window is, on the screen: x, y, width and height. Waits until that is settled."""
        seen = [self.line(session, velmora, velmora.window().children()[0])]

        def is_settled():
            seen.append(self.line(session, velmora, velmora.window().children()[0]))
            return seen[-1] == seen[-2] and self.holds(self.frame(velmora), seen[-1])

        eventually(is_settled, "the window to stay as it is")
        return seen[-1]

    def picture(self, session, velmora):
        """A picture of the screen once the only window is drawn, with all the shades of its letters."""
        area = self.frame(velmora)
        eventually(lambda: len(session.screen.picture(area).colours()) > _COLOURS_OF_TEXT, "the window to be drawn")
        return session.screen.settled_picture()

    def line(self, session, velmora, shown):
        """Where the line around the first part of an accessible window is."""
        left, top, _, _ = self.frame(velmora) if session.is_on_wayland else (0, 0, 0, 0)
        x, y, width, height = shown.children()[0].place
        return left + x - 1, top + y - 1, width + 2, height + 2

    def holds(self, frame, line):
        """Whether the frame that the desktop knows is that of a window with this line. On Wayland it has the shadow."""
        return frame[2] >= line[2] and frame[3] >= line[3]

    def frame(self, velmora):
        """Where the only window is to the desktop."""
        (window,) = velmora.windows()
        return window.x, window.y, window.width, window.height


class Wayland(Edge):
    """What holds where the compositor places the window."""

    def test_the_footer_of_a_window_that_has_grown_moves_it_but_its_shadow_does_not(self):
        session = self.desktop()
        velmora = self.open_demo(session)
        x, y, width, height = self.edge(session, velmora)
        (window,) = velmora.windows()
        footer = (x + width // 2, y + height - 8)
        session.screen.drag(footer, (footer[0] + 100, footer[1] + 80))
        eventually(lambda: [moved.x - window.x for moved in velmora.windows()] == [100], "the window to be moved")
        (window,) = velmora.windows()
        place = (window.x, window.y)
        x, y, width, height = self.edge(session, velmora)
        shadow = (x + width // 2, y + height + 4)
        session.screen.drag(shadow, (shadow[0] + 100, shadow[1] - 80))
        # A click beside the window may close it.
        never(lambda: [(w.x, w.y) for w in velmora.windows()] not in ([], [place]), "the window has moved", 2)


class X11(Edge):
    """What holds where the window places itself."""

    def holds(self, frame, line):
        return frame == line

    def test_a_click_at_the_shadow_closes_the_window(self):
        session = self.desktop()
        velmora = self.open_demo(session)
        x, y, width, height = self.edge(session, velmora)
        session.screen.click(x + width // 2, y + height - 2)
        never(lambda: not velmora.is_open(), "a click at the edge has closed the window", 2)
        session.screen.click(x - 3, y + height // 2)
        velmora.wait_until_closed()


class GnomeX11EdgeTest(X11, VelmoraTest):
    windowing = "gnome-x11"

    def test_the_window_stands_off_the_top_bar_and_the_side_of_the_screen(self):
        session = self.desktop()
        velmora = self.open_demo(session)
        (window,) = velmora.windows()
        self.assertEqual(window.y, session.windows.evaluate("Main.panel.height") + _GAP)
        self.assertEqual(window.x + window.width, session.screen.width - _GAP)


class GnomeWaylandEdgeTest(Wayland, VelmoraTest):
    windowing = "gnome-wayland"

    def test_the_settings_with_their_title_bar_have_round_corners_and_a_shadow(self):
        session = self.desktop()
        session.windows.tidy()
        velmora = self.open_demo(session)
        # The first part is the title bar.
        x, y, width, height = self.line(session, velmora, velmora.open_settings())
        picture = self.picture(session, velmora)
        background = picture.pixel(x - 60, y + 60)
        for place in ((x, y), (x + width - 1, y), (x - 3, y + 60)):
            self.assertTrue(is_shade(picture.pixel(*place), background), place)
        self.assertFalse(is_shade(picture.pixel(x, y + height), background))


class PlasmaX11EdgeTest(X11, VelmoraTest):
    windowing = "plasma-x11"

    def test_the_window_stands_off_the_panel_where_windows_are_blended(self):
        session = self.desktop()
        velmora = self.open_demo(session)
        (window,) = velmora.windows()
        self.assertEqual(window.y + window.height, session.windows.panel().y - _GAP)

    def test_the_window_has_square_corners_where_windows_are_not_blended(self):
        session = self.desktop(blending=False)
        velmora = self.open_demo(session)
        x, y, _, height = self.edge(session, velmora)
        picture = self.picture(session, velmora)
        self.assertEqual(picture.pixel(x, y), picture.pixel(x, y + height // 2))


class PlasmaWaylandEdgeTest(Wayland, VelmoraTest):
    windowing = "plasma-wayland"


if __name__ == "__main__":
    unittest.main()
