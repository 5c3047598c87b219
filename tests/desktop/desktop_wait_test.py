#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""`velmora wait` beside a Velmora in the tray, and alone."""

import json
import re
import shlex
import unittest

from headless import eventually
from velmora import PROGRAM, Simulator, VelmoraTest

_REPOSITORY = "user-1/repository-0001"


class WaitTest(VelmoraTest):
    def setUp(self):
        self.desktop = self.session(notifications="none")
        self.github = Simulator(self.desktop)
        self.github.small_world()
        self.commands = 0

    def run_command(self, *words):
        self.commands += 1
        return self.desktop.start(f"command-{self.commands}", [PROGRAM, *words], self.github.environment)

    def connect(self):
        connecting = self.run_command("connect")
        self.github.approve()
        self.assertEqual(connecting.wait(), 0, connecting.output())

    def start_velmora(self):
        velmora = self.start(self.desktop, "--background", environment=self.github.environment)
        window = velmora.open_by_click()
        window.find("push button", "Add GitHub account").press()
        self.github.approve()
        window.find("label", "No recent deployments")
        return velmora

    def wait_for(self, *words):
        """Starts a wait in a terminal, and goes on once it waits."""
        self.commands += 1
        line = shlex.join([PROGRAM, "wait", _REPOSITORY, *words])
        command = ["script", "--quiet", "--return", "--flush", "--command", line, "/dev/null"]
        waiting = self.desktop.start(f"wait-{self.commands}", command, self.github.environment | {"TERM": "xterm"})
        eventually(lambda: "Waiting for a deployment" in waiting.output(), "the wait to begin")
        return waiting

    def deploy(self, **change):
        return self.github.tell("world", {"deployment": {"repository": _REPOSITORY, **change}})["id"]

    def refresh(self):
        self.assertEqual(self.run_command("refresh").wait(), 0)

    def test_beside_the_tray_the_end_of_the_deployment_is_the_code(self):
        velmora = self.start_velmora()
        for state, code in (("SUCCESS", 0), ("FAILURE", 1)):
            with self.subTest(state):
                waiting = self.wait_for("--environment", state.lower(), "--json")
                deployment = self.deploy(environment=state.lower(), state="IN_PROGRESS")
                self.refresh()
                eventually(lambda: ": in progress" in waiting.output(), "the deployment to be seen")
                self.assertIsNone(waiting.exit_code)
                self.deploy(id=deployment, state=state)
                self.refresh()
                self.assertEqual(waiting.wait(), code, waiting.output())
                printed = json.loads(re.search(r"\{.*\}", waiting.output()).group())
                self.assertEqual((printed["id"], printed["state"]), (deployment, state.lower()))
        self.assertTrue(velmora.program.is_running)

    def test_when_the_tray_ends_the_wait_goes_on_alone(self):
        velmora = self.start_velmora()
        waiting = self.wait_for()
        self.assertEqual(velmora.end(), 0)
        deployment = self.deploy(state="IN_PROGRESS")
        eventually(lambda: ": in progress" in waiting.output(), "the deployment to be seen")
        self.deploy(id=deployment, state="SUCCESS")
        self.assertEqual(waiting.wait(), 0, waiting.output())

    def test_alone_it_asks_github_by_itself(self):
        self.connect()
        waiting = self.wait_for()
        deployment = self.deploy(state="IN_PROGRESS")
        eventually(lambda: ": in progress" in waiting.output(), "the deployment to be seen")
        self.deploy(id=deployment, state="FAILURE")
        self.assertEqual(waiting.wait(), 1, waiting.output())
        self.assertIn("The deployment failed", waiting.output())

    def test_when_the_time_is_over_nothing_has_ended(self):
        self.connect()
        waiting = self.run_command("wait", _REPOSITORY, "--timeout", "3s")
        self.assertEqual(waiting.wait(), 3, waiting.output())


if __name__ == "__main__":
    unittest.main()
