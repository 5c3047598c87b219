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


def are_shades(picture, places, ground):
    """Whether the picture has a darker shade there than at another place."""

    def is_shade(colour, of):
        return colour != of and all(part <= whole for part, whole in zip(colour, of))

    return all(is_shade(picture.pixel(*place), picture.pixel(*ground)) for place in places)


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
        right, bottom = x + width - 1, y + height - 1
        middle = (x + width // 2, y + height // 2)
        line = [(x, middle[1]), (right, middle[1]), (middle[0], y), (middle[0], bottom)]
        shaded = [(x, y), (right, y), (x, bottom), (right, bottom), (x - 3, middle[1]), (right - 60, bottom + 3)]

        def is_drawn():
            picture = session.screen.picture()
            colours = {picture.pixel(*place) for place in line}
            return (
                len(colours) == 1
                and picture.pixel(middle[0], bottom - 3) not in colours
                and are_shades(picture, shaded, (x - 60, middle[1]))
            )

        eventually(is_drawn, "the edge to be drawn")

    def edge(self, session, velmora):
        """Where the line around the window is, on the screen: x, y, width and height. Waits until that is settled."""
        seen = [self.line(session, velmora, velmora.window().children()[0])]

        def is_settled():
            seen.append(self.line(session, velmora, velmora.window().children()[0]))
            return seen[-1] == seen[-2] and self.holds(self.frame(velmora), seen[-1])

        eventually(is_settled, "the window to stay as it is")
        return seen[-1]

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
        shaded = [(x, y), (x + width - 1, y), (x - 3, y + 60)]

        def is_drawn():
            picture = session.screen.picture()
            background = (x - 60, y + 60)
            return are_shades(picture, shaded, background) and not are_shades(picture, [(x, y + height)], background)

        eventually(is_drawn, "the edge to be drawn")


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

        def is_square():
            picture = session.screen.picture()
            side = (x, y + height // 2)
            return picture.pixel(x, y) == picture.pixel(*side) != picture.pixel(side[0] + 1, side[1])

        eventually(is_square, "the line to go round the corner")


class PlasmaWaylandEdgeTest(Wayland, VelmoraTest):
    windowing = "plasma-wayland"


if __name__ == "__main__":
    unittest.main()
