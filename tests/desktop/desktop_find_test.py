#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""Finding deployments by typing in the window."""

import unittest

from headless import eventually
from velmora import Simulator, VelmoraTest


class FindTest(VelmoraTest):
    def start_velmora(self, windowing):
        self.desktop = self.session(windowing, notifications="none")
        self.github = Simulator(self.desktop)
        self.github.small_world([
            {"environment": "production", "state": "SUCCESS", "creator": "user-1"},
            {"environment": "staging", "state": "FAILURE", "commitOid": "c0ffee" + 34 * "0"},
            {"environment": "preview", "state": "IN_PROGRESS"},
        ])  # fmt: skip
        velmora = self.start(self.desktop, "--background", environment=self.github.environment)
        self.window = velmora.open_by_click()
        self.window.find("push button", "Add GitHub account").press()
        self.github.approve()
        self.window.find("list item", "In progress, 1")
        velmora.wait_until_active()
        return velmora

    def type(self, text):
        self.desktop.screen.type(text)

    def press(self, keys):
        self.desktop.screen.key(keys)

    def environments(self):
        rows = (row.name.split(", ") for row in self.window.all("list item"))
        return [row[1] for row in rows if row[0].startswith("user-1/")]

    def expect(self, *environments):
        """Waits until the rows of these environments are left, and their number is said."""
        eventually(lambda: self.environments() == list(environments), f"the rows of {environments}")
        self.window.find("label", f"{len(environments)} of 3 deployments found")

    def test_letters_find_and_escape_shows_all_before_it_closes(self):
        for windowing in ("x11", "wayland"):
            with self.subTest(windowing):
                velmora = self.start_velmora(windowing)
                self.type("PROD")
                self.expect("production")
                field = self.window.find("text", "Find deployments")
                eventually(lambda: "focused" in field.states, "the focus in the field")
                self.assertEqual(field.text, "PROD")
                self.press("ctrl+a")
                self.type("c0ff user-1/")
                self.expect("staging")

                # The keys of the list go on working.
                self.press("Down")
                self.press("Delete")
                eventually(lambda: any(", dismissed" in row.name for row in self.window.all("list item")), "a dismissal")
                self.press("Escape")
                eventually(lambda: len(self.environments()) == 3, "all rows")
                self.assertTrue(velmora.is_open())

                self.press("ctrl+f")
                self.type("none")
                self.window.find("label", "No results for “none”")
                self.window.find("push button", "Show all").press()
                eventually(lambda: len(self.environments()) == 3, "all rows again")
                self.type("staging")
                self.expect("staging")
                self.press("Escape")
                self.press("Escape")
                velmora.wait_until_closed()
                self.assertEqual(velmora.end(), 0)
                self.desktop.end()

    def test_the_search_is_gone_when_the_window_was_closed(self):
        velmora = self.start_velmora("x11")
        self.type("staging")
        self.expect("staging")
        self.desktop.tray.click()
        velmora.wait_until_closed()
        self.window = velmora.open_by_click()
        eventually(lambda: len(self.environments()) == 3, "all rows")


if __name__ == "__main__":
    unittest.main()
