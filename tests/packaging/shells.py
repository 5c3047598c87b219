# SPDX-License-Identifier: MIT
"""Asks real shells for completions of a command line, with the completion files of this source tree."""

import os
import pty
import re
import subprocess
import time

_COMPLETIONS = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "packaging", "completions")
_PATIENCE = 60  # seconds


def completion_file(name):
    return os.path.realpath(os.path.join(_COMPLETIONS, name))


class _Shell:
    def __init__(self, program, home):
        """Makes the shell find the program first; the user's configuration is not read."""
        path = os.path.dirname(program) + ":/usr/bin:/bin"
        self._home = home
        self._environment = {"PATH": path, "HOME": home, "ZDOTDIR": home, "TERM": "dumb", "LC_ALL": "C.UTF-8"}

    def _output(self, *command):
        result = subprocess.run(
            command, env=self._environment, check=True, capture_output=True, text=True, timeout=_PATIENCE)
        assert not result.stderr, result.stderr
        return result.stdout


class Bash(_Shell):
    _SCRIPT = """
        source "$1"
        COMP_WORDS=("${@:2}")
        COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
        _velmora
        printf '%s\\n' "${COMPREPLY[@]}"
    """

    def offers(self, line):
        words = []
        for word in line.split(" "):
            # bash treats "=" as a word of its own, and drops an empty word after it.
            words += [part for part in re.split("(=)", word) if part] or [""]
        return set(self._output("bash", "-c", self._SCRIPT, "bash", completion_file("velmora.bash"), *words).split())


class Fish(_Shell):
    _SCRIPT = "source $argv[1]; complete --do-complete $argv[2]"

    def offers(self, line):
        output = self._output("fish", "--no-config", "-c", self._SCRIPT, completion_file("velmora.fish"), line)
        offered = {text.split("\t")[0] for text in output.splitlines()}
        # fish treats an option and its value as one word.
        typed = line.split(" ")[-1].rpartition("=")
        return {text.removeprefix("".join(typed[:2])) for text in offered}


class Zsh(_Shell):
    """An interactive shell on a terminal, because zsh completes only there."""

    _SETTINGS = """
        unsetopt auto_list beep
        fpath=(%s $fpath)
        autoload -Uz compinit
        compinit -u -D
        typeset -ga offered
        # Whatever a completion adds is noted, beside being added. The calls with these options only ask.
        compadd() {
          local -a found
          if [[ " $* " != *' -'[OAD]' '* ]]; then
            builtin compadd -O found "$@"
            offered+=($found)
          fi
          builtin compadd "$@"
        }
        zle-line-init() { : >$HOME/ready }
        zle -N zle-line-init
        finish() { print -rl -- $offered >$HOME/offered; exit }
        zle -N finish
        bindkey '^X' finish
    """

    def offers(self, line):
        with open(os.path.join(self._home, ".zshrc"), "w", encoding="utf-8") as settings:
            settings.write(self._SETTINGS % os.path.dirname(completion_file("_velmora")))
        process, terminal = pty.fork()
        if process == 0:
            os.execvpe("zsh", ["zsh", "--no-global-rcs", "-i"], self._environment)
        try:
            self._wait_for("ready")
            os.write(terminal, line.encode() + b"\t\x18")
            return set(self._wait_for("offered").split())
        finally:
            os.close(terminal)
            os.waitpid(process, 0)

    def _wait_for(self, name):
        path = os.path.join(self._home, name)
        end = time.monotonic() + _PATIENCE
        while not os.path.exists(path):
            assert time.monotonic() < end, f"zsh has not got to {name}"
            time.sleep(0.02)
        time.sleep(0.05)
        with open(path, encoding="utf-8") as file:
            text = file.read()
        os.remove(path)
        return text


ALL = {"bash": Bash, "fish": Fish, "zsh": Zsh}
