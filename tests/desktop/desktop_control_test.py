#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""A test can use this desktop like a user: on X11 and Wayland, by pointer, keys and screen reader."""

import os
import struct
import unittest
import zlib

from headless import Session, eventually
from headless.bus import BusError

_SAMPLE = os.path.join(
    os.environ.get("VELMORA_BUILD", os.path.join(os.path.dirname(__file__), "..", "..", "build")),
    "tests", "sample_window",
)  # fmt: skip
_RED = b"\xff\x00\x00"


class ControlTest:
    """Tests for both kinds of display; the sample window is open."""

    windowing = ""

    @classmethod
    def setUpClass(cls):
        cls.session = Session(cls.windowing, notifications="none", keyring="absent")
        cls.session.__enter__()
        cls.addClassCleanup(cls.session.end)

    def setUp(self):
        self.sample = self.session.start("sample", [_SAMPLE])
        self.addCleanup(self.sample.end)
        self.window = self.session.accessibility.program(self.sample.pid).find(name="Sample")
        self.window.find("label", "Nothing happened")
        eventually(lambda: self.session.window_of(self.sample).is_active, "the window to come to the front")

    def test_lists_the_window_with_its_place(self):
        window = self.session.window_of(self.sample)

        self.assertEqual((window.title, window.width, window.height), ("Sample", 320, 300))
        self.assertTrue(window.is_active)
        self.assertGreater(window.y, 0)

    def test_lists_no_window_that_has_gone(self):
        self.sample.end()

        eventually(lambda: self.sample.pid not in [window.pid for window in self.session.windows.list()], "no window")

    def test_presses_what_the_tree_shows(self):
        button = self.window.find("push button", "Count")

        button.press()
        self.window.find("label", "Counted 1")
        button.press()

        self.window.find("label", "Counted 2")

    def test_clicks_what_the_tree_shows(self):
        self.session.click(self.window.find("push button", "Count"))
        self.window.find("label", "Counted 1")

        self.session.click(self.window.find("list item", "two"))

        self.window.find("label", "Clicked two")

    def test_reads_states(self):
        box = self.window.find("check box", "Remember")
        self.assertNotIn("checked", box.states)
        self.assertLessEqual({"enabled", "showing", "focusable"}, box.states)

        box.do("Toggle")

        eventually(lambda: "checked" in box.states, "a check mark")

    def test_types_and_reads_text(self):
        field = self.window.find("text", "Name")

        self.session.click(field)
        eventually(lambda: "focused" in field.states, "the focus")
        self.session.screen.type("a <b> & c/d")
        eventually(lambda: field.text == "a <b> & c/d", "the typed text")
        field.write("ünder")

        eventually(lambda: field.text == "ünder", "the written text")

    def test_presses_chords(self):
        self.session.screen.key("ctrl+r")

        self.window.find("label", "Refreshed")

    def test_finds_the_item_of_the_tray_and_reads_it(self):
        item = self.session.tray.item()

        self.assertEqual(item.pid, self.sample.pid)
        self.assertEqual(item.read("Title"), "sample_window")
        self.assertEqual(item.read("Status"), "Active")

    def test_clicks_the_item_of_the_tray(self):
        self.session.tray.item()
        self.session.tray.click()

        self.window.find("label", "Activated")

    def test_reads_and_uses_the_menu_of_the_item(self):
        item = self.session.tray.item()
        greet, separator, leave = item.menu()
        self.assertEqual((greet.label, greet.is_enabled), ("Greet", True))
        self.assertTrue(separator.is_separator)
        self.assertEqual((leave.label, leave.is_enabled), ("Leave", False))
        with self.assertRaisesRegex(AssertionError, 'no entry "Sing"'):
            item.choose("Sing")

        item.choose("Greet")

        self.window.find("label", "Greeted")

    def test_takes_pictures_of_the_screen_and_of_the_window(self):
        x, y = self.session.tray.place()
        eventually(lambda: self.session.screen.picture().pixel(x, y) == (255, 0, 0), "the red square in the tray")

        picture = self.session.picture_of(self.sample)

        self.assertEqual((picture.width, picture.height), (320, 300))
        self.assertGreater(len(picture.colours()), 5)
        self.assertNotIn(_RED, picture.colours())
        path = os.path.join(self.session.root, "window.png")
        picture.save(path)
        self.assertEqual(size_and_pixels(path), (320, 300, b"".join(picture.rows())))

    def test_says_what_is_there_when_something_is_not_found(self):
        with self.assertRaisesRegex(TimeoutError, "push button 'Discount' below .* 'Sample'"):
            self.window.find("push button", "Discount", seconds=0.1)
        with self.assertRaisesRegex(AssertionError, r"label 'Nothing happened' has no action 'Press'"):
            self.window.find("label", "Nothing happened").press()
        self.assertIn("push button 'Count'", self.window.outline())

    def test_an_object_that_has_gone_says_so(self):
        self.sample.end()

        with self.assertRaises(BusError):
            self.window.name


class X11ControlTest(ControlTest, unittest.TestCase):
    windowing = "x11"


class WaylandControlTest(ControlTest, unittest.TestCase):
    windowing = "wayland"


def size_and_pixels(path):
    """Reads back a PNG written by Picture and undoes its filter."""
    with open(path, "rb") as file:
        content = file.read()
    width, height = struct.unpack_from(">II", content, 16)
    length = struct.unpack_from(">I", content, 33)[0]
    lines = zlib.decompress(content[41 : 41 + length])
    rows = []
    for y in range(height):
        line = lines[y * (width * 3 + 1) :][: width * 3 + 1]
        assert line[0] == 1
        row = bytearray(line[1:])
        for at in range(3, len(row)):
            row[at] = (row[at] + row[at - 3]) & 0xFF
        rows.append(bytes(row))
    return width, height, b"".join(rows)


if __name__ == "__main__":
    unittest.main()
