# SPDX-License-Identifier: MIT
"""What the program says about its own command line."""

import re
import subprocess


class Help:
    """The options and the commands that the help of a command names."""

    def __init__(self, program, *command):
        text = subprocess.run(
            [program, *command, "--help"], check=True, capture_output=True, text=True, timeout=60).stdout
        self.options = set(re.findall(r"^ +(?:-\w,)?(--[a-z-]+)", text, re.MULTILINE))
        _, _, commands = text.partition("\nSubcommands:\n")
        self.commands = set(re.findall(r"^ +([a-z]+) ", commands, re.MULTILINE))


def everything(program):
    """The help of the program and of each of its commands, by the words that call them."""
    found, left = {}, [()]
    while left:
        words = left.pop()
        found[words] = Help(program, *words)
        left += [(*words, command) for command in sorted(found[words].commands)]
    return found
