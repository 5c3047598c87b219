#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""Tests the completion files in real shells: they offer exactly what the program's help names.

Usage: completions_test.py PROGRAM [arguments of unittest]"""

import functools
import os
import subprocess
import sys
import tempfile
import unittest

sys.dont_write_bytecode = True
import program_help  # noqa: E402
import shells  # noqa: E402

_PROGRAM = os.path.realpath(sys.argv.pop(1)) if len(sys.argv) > 1 else ""
Help = functools.partial(program_help.Help, _PROGRAM)
_SYNTAX_CHECKS = {
    "velmora.bash": ["bash", "-n"], "_velmora": ["zsh", "-n"], "velmora.fish": ["fish", "--no-execute"]}


class CompletionsTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="velmora-completions.")
        self.addCleanup(folder.cleanup)
        self.shells = {name: shell(_PROGRAM, folder.name) for name, shell in shells.ALL.items()}
        self.folder = folder.name

    def in_every_shell(self, line, expected):
        for name, shell in self.shells.items():
            with self.subTest(shell=name, line=line):
                self.assertEqual(shell.offers(line), expected)

    def test_shells_can_read_the_files(self):
        for name, command in _SYNTAX_CHECKS.items():
            subprocess.run([*command, shells.completion_file(name)], check=True, timeout=60)

    def test_commands_are_those_of_the_help(self):
        expected = Help().commands
        self.assertIn("watch", expected)
        self.in_every_shell("velmora ", expected)
        self.in_every_shell("velmora accounts ", Help("accounts").commands)

    def test_options_are_those_of_the_help(self):
        everywhere = Help().options - {"--background"}
        self.assertIn("--demo", everywhere)
        self.in_every_shell("velmora --", Help().options)
        for command in sorted(Help().commands):
            self.in_every_shell(f"velmora {command} --", Help(command).options | everywhere)
        self.in_every_shell("velmora accounts remove --", Help("accounts", "remove").options | everywhere)

    def test_the_beginning_of_a_word_chooses(self):
        self.in_every_shell("velmora ins", {"installations"})
        self.in_every_shell("velmora --demo wat", {"watch"})
        self.in_every_shell("velmora watch --onc", {"--once"})
        self.in_every_shell("velmora watch wat", set())

    def test_logins_are_those_of_the_connected_accounts(self):
        self.use_accounts('[{"id":1,"login":"mira-oakes"},{"id":2,"login":"tobias_renn"}]')
        self.in_every_shell("velmora accounts remove ", {"mira-oakes", "tobias_renn"})
        self.in_every_shell("velmora accounts remove to", {"tobias_renn"})
        self.in_every_shell("velmora accounts remove mira-oakes ", set())

    def test_a_login_is_never_evaluated(self):
        trap = "touch ${HOME}/evaluated"
        self.use_accounts('[{"login":"$(%s)"},{"login":"`%s`"},{"login":"a"}]' % (trap, trap))
        self.in_every_shell("velmora accounts remove ", {"a"})
        self.assertFalse(os.path.exists(os.path.join(self.folder, "evaluated")))

    def test_nothing_is_offered_when_the_accounts_cannot_be_listed(self):
        self.use_program("echo 'The keyring is locked.' >&2; exit 1")
        self.in_every_shell("velmora accounts remove ", set())

    def test_only_the_accounts_are_asked_for(self):
        self.use_program('echo "$*" >>"$HOME/asked"')
        for line in ("velmora ", "velmora --", "velmora installations --enable ", "velmora installations --disable ",
                     "velmora repositories --include ", "velmora repositories --exclude ", "velmora status --format "):
            for shell in self.shells.values():
                shell.offers(line)
        self.assertFalse(os.path.exists(os.path.join(self.folder, "asked")))
        self.in_every_shell("velmora installations --enable ", set())
        self.in_every_shell("velmora repositories --exclude ", set())

    def test_kinds_of_notifications(self):
        kinds = {"failures", "successes", "approvals"}
        self.in_every_shell("velmora notifications --enable ", kinds)
        self.in_every_shell("velmora notifications --disable ap", {"approvals"})

    def test_formats_of_the_status(self):
        self.in_every_shell("velmora status --format ", {"waybar"})
        self.in_every_shell("velmora status --format=", {"waybar"})
        self.in_every_shell("velmora status --format=way", {"waybar"})

    def use_accounts(self, answer):
        self.use_program(f"[ \"$*\" = 'accounts --json' ] && cat <<'ANSWER'\n{answer}\nANSWER")

    def use_program(self, script):
        """Makes the shells find this script in place of the program."""
        path = os.path.join(self.folder, "velmora")
        with open(path, "w", encoding="utf-8") as file:
            file.write(f"#!/bin/sh\n{script}\n")
        os.chmod(path, 0o755)
        self.shells = {name: shell(path, self.folder) for name, shell in shells.ALL.items()}


if __name__ == "__main__":
    unittest.main()
