# SPDX-License-Identifier: MIT
"""Reads the program's help."""

import re
import subprocess


class Help:
    """The options and commands in the help of a command."""

    def __init__(self, program, *command):
        text = subprocess.run(
            [program, *command, "--help"], check=True, capture_output=True, text=True, timeout=60).stdout
        self.options = set(re.findall(r"^ +(?:-\w,)?(--[a-z-]+)", text, re.MULTILINE))
        _, _, commands = text.partition("\nSubcommands:\n")
        self.commands = set(re.findall(r"^ +([a-z]+) ", commands, re.MULTILINE))


def everything(program):
    """The help of the program and of all its commands, by the words of the command."""
    found, left = {}, [()]
    while left:
        words = left.pop()
        found[words] = Help(program, *words)
        left += [(*words, command) for command in sorted(found[words].commands)]
    return found
