#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""A bar that shows the output of `velmora status`, set up as in the README."""

import json
import os
import re
import unittest

from headless import eventually
from velmora import PROGRAM, VelmoraTest

_MODULE = {
    "exec": f"{PROGRAM} --demo status --format waybar --follow",
    "return-type": "json",
    "format": "{icon} {}",
    "format-icons": {"active": "up", "failed": "down", "ok": "fine", "default": "other"},
    "on-click": f"{PROGRAM} --demo show",
}
_MODULE_HEIGHT = 28


class WaybarTest(VelmoraTest):
    def setUp(self):
        self.desktop = self.session("wayland", "waybar")
        self.velmora = self.start(self.desktop, "--demo")
        item = self.desktop.tray.item()
        eventually(lambda: item.read("Title").isdigit(), "a number in the tray")
        folder = os.path.join(self.desktop.environment["XDG_CONFIG_HOME"], "bar")
        os.makedirs(folder)
        configuration = {
            "position": "bottom",
            "height": _MODULE_HEIGHT,
            "modules-left": ["custom/velmora"],
            "custom/velmora": _MODULE,
        }
        path = os.path.join(folder, "config")
        with open(path, "w", encoding="utf-8") as file:
            json.dump(configuration, file)
        self.bar = self.desktop.start("bar", ["waybar", "-c", path])

    def label(self):
        return next(iter(self.desktop.accessibility.program(self.bar.pid).all("label")), None)

    def wait_for_text(self, pattern):
        def is_there():
            label = self.label()
            return label is not None and re.fullmatch(pattern, label.name.strip()) is not None

        eventually(is_there, f"{pattern} in the bar")

    def test_shows_what_the_tray_shows_and_opens_its_window(self):
        self.wait_for_text(r"up [1-9]\d*")
        self.assertFalse(self.velmora.is_open())
        # The bar is not a managed window; its place is known from its configuration.
        x, _ = self.label().middle
        self.desktop.screen.click(x, self.desktop.screen.height - _MODULE_HEIGHT // 2)
        self.velmora.window().find("label", "Velmora Demo")

    def test_goes_on_when_the_tray_program_has_ended(self):
        self.wait_for_text(r"up [1-9]\d*")
        self.assertEqual(self.velmora.end(), 0)
        self.wait_for_text("other")


if __name__ == "__main__":
    unittest.main()
