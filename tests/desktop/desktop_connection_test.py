#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""From the first start to the deployments of an account, against a simulated GitHub."""

import os
import shutil
import unittest

from headless import eventually
from velmora import SAMPLE, Simulator, VelmoraTest

_PROMPT = "Connect a GitHub account, then choose the personal account or organisation where Velmora should be installed."
_WAITING = {"action": {"hang": True}}


class ConnectionTest(VelmoraTest):
    def setUp(self):
        self.desktop = self.session(notifications="none")
        self.github = Simulator(self.desktop)
        self.github.small_world([
            {"environment": "production", "state": "IN_PROGRESS", "logUrl": f"{self.github.address}/the-log",
             "environmentUrl": f"{self.github.address}/the-environment"},
            {"environment": "staging", "state": "FAILURE", "ageSeconds": 3600},
        ])  # fmt: skip

    def start_velmora(self):
        return self.start(self.desktop, "--background", environment=self.github.environment)

    def connect(self, velmora):
        window = velmora.open_by_click()
        window.find("push button", "Add GitHub account").press()
        self.github.approve()
        window.find("label", "Deployment in progress")
        return window

    def test_leads_from_the_prompt_over_the_code_to_the_deployments(self):
        velmora = self.start_velmora()
        window = velmora.open_by_click()
        # As the status line and as the heading of the prompt.
        eventually(lambda: len(window.all("label", "Connect GitHub")) == 2, "the prompt")
        window.find("label", _PROMPT)

        window.find("push button", "Add GitHub account").press()
        window.find("label", "Enter this code on GitHub")
        code = eventually(lambda: self.github.ask("GET", "codes")["userCodes"], "a code")[0]
        self.assertIn(code, window.texts())
        window.find("push button", "Open GitHub").press()
        page = eventually(self.desktop.browser.opened, "GitHub's page for the code")[0]
        self.assertTrue(page.address.startswith(self.github.address), page.address)

        self.github.approve()

        row = window.find("list item", "In progress, 1")
        self.assertIn("showing", row.states)
        window.find("list item", "Failed, 1")
        eventually(lambda: self.desktop.tray.item().read("Title") == "1", "the number in the tray")

    def test_says_that_it_loads_from_the_authorisation_on(self):
        window = self.start_velmora().open_by_click()
        window.find("push button", "Add GitHub account").press()
        code = eventually(lambda: self.github.ask("GET", "codes")["userCodes"], "a code")[0]
        self.github.tell("rules", {"path": "/user/installations", **_WAITING})

        self.github.tell("approve", {"userCode": code})

        window.find("label", "Refreshing deployments")
        window.find("label", "Loading deployments…")
        self.assertEqual(window.all("label", "Connect GitHub"), [])

    def test_a_click_opens_the_log_the_environment_or_the_deployments_of_the_repository(self):
        velmora = self.start_velmora()
        window = self.connect(velmora)
        log, environment, deployments = [f"{self.github.address}/{page}" for page in
            ("the-log", "the-environment", "user-1/repository-0001/deployments")]  # fmt: skip

        def opened():
            # Connecting opens pages, too, perhaps later.
            pages = [page.address for page in self.desktop.browser.opened()]
            return [page for page in pages if not page.endswith(("/login/device", "/installations/new"))]

        velmora.click_row(window, "production")
        eventually(lambda: opened() == [log], "the log")
        x, y, width, height = next(row for row in window.all("list item") if "production" in row.name).place
        self.desktop.screen.click(x + width - 24, y + height // 2)
        eventually(lambda: opened() == [log, environment], "the environment")
        velmora.click_row(window, "staging")
        eventually(lambda: opened() == [log, environment, deployments], "the deployments of the repository")

    def test_assistive_technology_opens_what_a_click_opens(self):
        window = self.connect(self.start_velmora())
        self.assertEqual([(each.role, each.name) for each in window.children()], [("frame", "Velmora")])
        row = next(row for row in window.all("list item") if "production" in row.name)
        names = ["Press", "Open environment", "Copy commit ID", "Copy link to log", "Copy link to environment",
                 "Mute user-1/repository-0001", "Show production without notifications", "Hide production"]
        self.assertEqual(row.actions(), names)

        row.do("Press")
        row.do("Open environment")

        pages = [f"{self.github.address}/{page}" for page in ("the-log", "the-environment")]
        eventually(lambda: set(pages) <= {page.address for page in self.desktop.browser.opened()}, "both pages")

    def test_the_code_can_be_copied(self):
        velmora = self.start_velmora()
        window = velmora.open_by_click()
        window.find("push button", "Add GitHub account").press()
        code = eventually(lambda: self.github.ask("GET", "codes")["userCodes"], "a code")[0]

        self.desktop.click(window.find("push button", "Copy code"))

        sample = self.desktop.start("sample", [SAMPLE])
        field = self.desktop.accessibility.program(sample.pid).find("text", "Name")
        self.desktop.click(field)
        eventually(lambda: "focused" in field.states, "the focus")
        self.desktop.screen.key("ctrl+v")
        eventually(lambda: field.text == code, "the code in another program")

    def test_a_browser_that_cannot_be_started_is_said_with_the_address_to_copy(self):
        programs = self.desktop.folder("programs")
        # The program that starts Velmora is found, but no browser.
        os.symlink(shutil.which("setpriv"), f"{programs}/setpriv")
        environment = {**self.github.environment, "PATH": programs}
        window = self.start(self.desktop, "--background", environment=environment).open_by_click()
        window.find("push button", "Add GitHub account").press()
        page = f"{self.github.address}/login/device"

        window.find("label", "The browser could not be started.")
        window.find("label", page)
        self.desktop.click(window.find("push button", "Copy address"))

        sample = self.desktop.start("sample", [SAMPLE])
        field = self.desktop.accessibility.program(sample.pid).find("text", "Name")
        self.desktop.click(field)
        eventually(lambda: "focused" in field.states, "the focus")
        self.desktop.screen.key("ctrl+v")
        eventually(lambda: field.text == page, "the address in another program")

    def test_cancel_leads_back_to_the_prompt(self):
        window = self.start_velmora().open_by_click()
        window.find("push button", "Add GitHub account").press()

        window.find("push button", "Cancel").press()

        window.find("label", _PROMPT)

    def test_keeps_the_account_in_the_keyring_and_the_deployments_over_a_restart(self):
        self.assertEqual(self.desktop.keyring.items(), [])
        velmora = self.start_velmora()
        self.connect(velmora)
        self.assertEqual(len(self.desktop.keyring.items()), 1)
        self.assertEqual(velmora.end(), 0)

        # From now on GitHub does not answer, so the window shows the cache.
        self.github.tell("rules", _WAITING)
        window = self.start_velmora().open_by_menu()

        window.find("list item", "In progress, 1")
        window.find("list item", "Failed, 1")

    def test_ctrl_r_asks_github_again(self):
        window = self.connect(self.start_velmora())
        before = len(self.github.requests("/graphql"))
        self.github.tell("world", {"deployment": {"repository": "user-1/repository-0001", "state": "SUCCESS"}})

        self.desktop.screen.key("ctrl+r")

        eventually(lambda: len(self.github.requests("/graphql")) > before, "another request")
        window.find("list item", "Completed, 1")

    def test_shows_saved_data_when_github_fails_and_recovers(self):
        window = self.connect(self.start_velmora())
        self.github.tell("rules", {"path": "/graphql", "action": {"status": 503, "body": "<html>"}})
        self.desktop.screen.key("ctrl+r")
        window.find("label", "Showing saved data")
        window.find("list item", "In progress, 1")

        self.github.ask("DELETE", "rules")
        self.desktop.screen.key("ctrl+r")

        window.find("label", "Deployment in progress")


if __name__ == "__main__":
    unittest.main()
