#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""Tests that flatpak-builder accepts the manifest, and that the sandbox has exactly the expected permissions.

Builds nothing: that needs the runtime, which is not a package of this system."""

import configparser
import json
import os
import re
import subprocess
import tempfile
import unittest

_PACKAGING = os.path.realpath(os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "packaging"))
_ID = "com.tarvik.Velmora"
_MANIFEST = os.path.join(_PACKAGING, _ID + ".yml")

# Each widens the sandbox. Change this list only together with a reason in the manifest.
_PERMISSIONS = {
    "--share=network",
    "--share=ipc",
    "--socket=wayland",
    "--socket=fallback-x11",
    "--talk-name=org.freedesktop.secrets",
    "--talk-name=org.kde.StatusNotifierWatcher",
}


class FlatpakManifestTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        # flatpak-builder creates a state folder even for this.
        with tempfile.TemporaryDirectory(prefix="velmora-flatpak.") as folder:
            shown = subprocess.run(["flatpak-builder", "--show-manifest", _MANIFEST], cwd=folder, check=True,
                                   capture_output=True, text=True, timeout=60)
        cls.manifest = json.loads(shown.stdout)
        cls.complaints = shown.stderr

    def test_everything_in_it_is_understood(self):
        self.assertEqual(self.complaints, "")
        with open(_MANIFEST, encoding="utf-8") as file:
            modules = re.findall(r"^  - name: (.*)$", file.read(), re.MULTILINE)
        self.assertEqual([module["name"] for module in self.manifest["modules"]], modules)
        self.assertEqual(modules[-1], "velmora")

    def test_permissions_are_those_agreed_on(self):
        self.assertEqual(sorted(self.manifest["finish-args"]), sorted(_PERMISSIONS))

    def test_each_permission_says_what_it_is_for(self):
        with open(_MANIFEST, encoding="utf-8") as file:
            lines = file.read().splitlines()
        given = [number for number, line in enumerate(lines) if line.startswith("  - --")]
        self.assertEqual(len(given), len(_PERMISSIONS))
        for number in given:
            self.assertRegex(lines[number - 1], r"^  # \S", lines[number])

    def test_it_starts_the_program_of_the_desktop_file(self):
        entry = configparser.ConfigParser(interpolation=None)
        entry.optionxform = str
        entry.read(os.path.join(_PACKAGING, _ID + ".desktop"))
        self.assertEqual(self.manifest["id"], _ID)
        self.assertEqual(self.manifest["command"], entry["Desktop Entry"]["Exec"])

    def test_sources_have_a_fixed_version(self):
        for module in self.manifest["modules"]:
            for source in module["sources"]:
                with self.subTest(module=module["name"]):
                    if source["type"] == "dir":
                        self.assertEqual(source["path"], "..")
                        continue
                    self.assertEqual(source["type"], "git")
                    self.assertTrue(source["url"].startswith("https://"))
                    self.assertRegex(source["tag"], r"\d+\.\d+")


if __name__ == "__main__":
    unittest.main()
