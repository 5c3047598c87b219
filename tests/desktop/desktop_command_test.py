#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""The desktop from the shell: a command runs in it, controls it, and returns its exit code."""

import os
import signal
import subprocess
import unittest

from headless import eventually
from headless.processes import adopt_orphans, descendants

_HERE = os.path.dirname(os.path.abspath(__file__))
_BUILD = os.environ.get("VELMORA_BUILD", os.path.join(_HERE, "..", "..", "build"))
_BARE = ["--tray", "none", "--notifications", "none", "--keyring", "absent"]


def start(options, script):

    script = f"control() {{ {os.path.join(_HERE, 'control')} \"$@\"; }}\n{script}"
    return subprocess.Popen(
        [os.path.join(_HERE, "session"), *options, "--", "sh", "-c", script],
        stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
    )  # fmt: skip


def run(options, script):
    process = start(options, script)
    output, errors = process.communicate()
    return process.returncode, output, errors


class CommandTest(unittest.TestCase):
    def test_gives_the_exit_code_and_the_output_of_the_command(self):
        self.assertEqual(run(_BARE, "echo out; echo err >&2; exit 7"), (7, "out\n", "err\n"))

    def test_a_command_that_dies_of_a_signal_fails_as_in_a_shell(self):
        self.assertEqual(run(_BARE, "kill -9 $$")[0], 137)

    def test_controls_what_is_shown(self):
        sample = os.path.join(_BUILD, "tests", "sample_window")
        script = f"""
            {sample} &
            until control read label 'Nothing happened' 2>/dev/null; do :; done
            control press 'push button' Count; until control read label 'Counted 1' 2>/dev/null; do :; done
            control click-on 'list item' two; until control read label 'Clicked two' 2>/dev/null; do :; done
            control key ctrl+r; until control read label Refreshed 2>/dev/null; do :; done
            until control items | grep sample; do :; done
            control click-tray; until control read label Activated 2>/dev/null; do :; done
            control menu; control choose Greet; until control read label Greeted 2>/dev/null; do :; done
            control windows | grep -c "title='Sample'"
            control picture "$HOME/screen.png" && wc -c <"$HOME/screen.png"
        """
        code, output, errors = run(["--notifications", "none", "--keyring", "absent"], script)

        self.assertEqual((code, errors), (0, ""))
        lines = output.splitlines()
        self.assertEqual(lines[:4], ["Nothing happened", "Counted 1", "Clicked two", "Refreshed"])
        self.assertRegex(lines[4], "sample_window Active$")
        self.assertEqual(lines[5:10], ["Activated", "Greet", "---", "Leave", "Greeted"])
        self.assertEqual(lines[10], "1")
        self.assertGreater(int(lines[11]), 1000)

    def test_controls_the_parts_of_the_desktop(self):
        script = """
            control stop notifications; control start notifications; control kill tray; control start tray
            xdg-open https://example.org/; until control opened | grep .; do :; done
            control stop keyring
        """
        options = ["--tray", "lxqt", "--notifications", "xfce"]
        options += ["--keyring", "absent"]
        code, output, errors = run(options, script)
        self.assertEqual((code, output), (1, "https://example.org/\n"))
        self.assertEqual(errors, "control: the session has no component keyring\n")

    def test_refuses_what_it_does_not_know(self):
        code, output, errors = run(_BARE, "control sing")
        self.assertEqual((code, output), (1, ""))
        self.assertRegex(errors, "the verbs are: .*click, .*windows")
        self.assertEqual(run(_BARE, "control click 1")[0], 1)
        self.assertEqual(run(_BARE, "control read label Nobody")[2], "control: nothing is shown that is a label 'Nobody'\n")

    def test_control_outside_of_a_session_says_so(self):
        answer = subprocess.run([os.path.join(_HERE, "control"), "windows"], capture_output=True, text=True, check=False)
        self.assertEqual((answer.returncode, answer.stderr), (2, "control: this is not inside a session\n"))

    def test_ends_completely_when_it_is_asked_to(self):
        adopt_orphans()
        before = descendants()
        process = start([], "echo up; exec sleep 1000")
        self.assertEqual(process.stdout.readline(), "up\n")

        process.send_signal(signal.SIGTERM)
        process.communicate()

        self.assertEqual(process.returncode, 143)
        eventually(lambda: not descendants() - before, "all processes of the session to end")


if __name__ == "__main__":
    unittest.main()
