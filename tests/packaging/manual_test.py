#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""Tests that the manual page is valid and describes exactly the program's commands and options.

Usage: manual_test.py PROGRAM [arguments of unittest]"""

import os
import re
import subprocess
import sys
import unittest

sys.dont_write_bytecode = True
import program_help  # noqa: E402

_PROGRAM = os.path.realpath(sys.argv.pop(1)) if len(sys.argv) > 1 else ""
_PAGE = os.path.realpath(
    os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "packaging", "velmora.1"))


def _run(*command):
    # Long lines, so that nothing wraps.
    environment = {**os.environ, "LC_ALL": "C.UTF-8", "MANWIDTH": "1000"}
    return subprocess.run(command, check=True, capture_output=True, text=True, timeout=60, env=environment)


class ManualTest(unittest.TestCase):
    def test_it_is_understood_without_a_warning(self):
        self.assertEqual(_run("man", "--warnings", "--local-file", _PAGE).stderr, "")
        _run("mandoc", "-T", "lint", "-W", "warning", _PAGE)

    def test_it_is_found_by_its_subject(self):
        self.assertIn('"velmora - watch GitHub deployments"', _run("lexgrog", _PAGE).stdout)

    def test_it_tells_of_what_the_program_has(self):
        page = _run("man", "--local-file", _PAGE).stdout
        options, commands = set(), set()
        for words, help_text in program_help.everything(_PROGRAM).items():
            options |= help_text.options
            commands.add(" ".join(words))
        commands.remove("")
        self.assertEqual(set(re.findall(r"--[a-z]+(?:-[a-z]+)*", page)), options)
        section = page.partition("\nCOMMANDS\n")[2].partition("\nOPTIONS\n")[0]
        self.assertEqual(set(re.findall(r"^ {7}([a-z]+(?: remove)?)", section, re.MULTILINE)), commands)


if __name__ == "__main__":
    unittest.main()
