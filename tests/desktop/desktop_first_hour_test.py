#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""The first hour: from the first start, without an account or an installation, to the first deployment."""

import unittest

from headless import eventually
from headless.waiting import PATIENCE, never
from velmora import PROGRAM, SAMPLE, Simulator, VelmoraTest

_REPOSITORY = "user-1/repository-0001"
# Seconds; shorter than the time between two polls.
_AT_ONCE = 20


class FirstHourTest(VelmoraTest):
    def begin(self, *arguments):
        self.desktop = self.session(*arguments, notifications="none")
        self.github = Simulator(self.desktop)
        size = {"identities": 1, "installations": 0, "repositories": 1, "deployments": 0}
        self.github.tell("world", {"replace": size})
        self.github.tell("world", {"deployment": {"repository": _REPOSITORY, "state": "IN_PROGRESS"}})

    def install(self):
        self.github.tell("world", {"installation": {"identity": "user-1", "repositories": [_REPOSITORY]}})

    def pages(self):
        return [page.address.removeprefix(self.github.address) for page in self.desktop.browser.opened()]

    def connect(self):
        """Connects an account; returns the window, which says that the App is not installed."""
        velmora = self.start(self.desktop, "--background", environment=self.github.environment)
        window = velmora.open_by_click()
        window.find("push button", "Add GitHub account").press()
        # As with a user, the page for the code is open before the code is entered.
        eventually(lambda: self.pages() == ["/login/device"], "the page for the code")
        self.github.approve()
        window.find("push button", "Install on GitHub")
        window.find("label", "Install Velmora on GitHub")
        self.assertEqual(window.all("label", "Connect GitHub"), [])
        return velmora, window

    def follow_the_first_user(self, *arguments):
        self.begin(*arguments)
        velmora, window = self.connect()
        eventually(lambda: len(self.pages()) == 2, "GitHub's two pages")
        self.desktop.screen.key("Escape")
        velmora.wait_until_closed()
        self.install()

        velmora.open_by_click()

        window.find("list item", "In progress, 1", _AT_ONCE)
        window.find("label", "Deployment in progress")
        self.assertEqual(self.pages(), ["/login/device", "/apps/tarvik-velmora/installations/new"])

    def test_leads_to_the_first_deployment_on_x11(self):
        self.follow_the_first_user("x11")

    def test_leads_to_the_first_deployment_on_wayland(self):
        self.follow_the_first_user("wayland", "waybar")

    def test_finds_the_installation_without_a_hand(self):
        self.begin()
        _, window = self.connect()
        self.install()
        window.find("list item", "In progress, 1")

    def test_says_at_once_in_an_open_window_what_is_installed_meanwhile(self):
        self.begin()
        velmora, _ = self.connect()
        settings = velmora.open_settings()
        settings.find("label", "No installations")
        elsewhere = self.desktop.start("sample", [SAMPLE])
        field = self.desktop.accessibility.program(elsewhere.pid).find("text", "Name")
        self.desktop.click(field)
        eventually(lambda: "focused" in field.states, "another window with the focus")
        self.install()
        settings.find("label", "No installations")

        self.velmora("settings")

        settings.find("label", "1 installation", _AT_ONCE)

    def test_the_buttons_lead_to_the_page_and_to_the_repositories(self):
        self.begin()
        velmora, window = self.connect()
        eventually(lambda: len(self.pages()) == 2, "GitHub's two pages")
        window.find("push button", "Install on GitHub").press()
        eventually(lambda: len(self.pages()) == 3, "the page once more")
        self.assertIn(self.pages()[2], self.pages()[:2])
        self.assertTrue(self.pages()[2].endswith("/installations/new"))
        self.install()
        self.desktop.screen.key("ctrl+r")
        window.find("list item", "In progress, 1")
        self.velmora("repositories", "--none")
        window.find("label", "No repositories selected")

        window.find("push button", "Choose repositories").press()

        velmora.window().find(name="Choose which repositories Velmora monitors.")

    def test_leads_to_the_first_deployment_in_the_terminal(self):
        self.begin()
        connecting = self.desktop.start("connect", [PROGRAM, "connect"], self.github.environment)
        self.github.approve()
        eventually(lambda: "Connected as user-1" in connecting.output(), "the account")
        eventually(lambda: len(self.pages()) == 2, "GitHub's two pages")
        watching = self.desktop.start("watch", [PROGRAM, "watch"], self.github.environment)
        eventually(lambda: "Velmora is not installed anywhere. Install it: " in watching.output(), "the advice")
        self.assertIn("Velmora: Install Velmora on GitHub", watching.output())
        self.install()

        eventually(lambda: _REPOSITORY in watching.output(), "the deployment")

        self.assertIn("in progress", watching.output())
        never(lambda: len(self.pages()) > 2, "another page", 1)
        watching.end(patience=PATIENCE)
        self.assertEqual(watching.exit_code, 0)

    def velmora(self, *arguments):
        program = self.desktop.start("velmora-command", [PROGRAM, *arguments], self.github.environment)
        eventually(lambda: program.exit_code is not None, "the command to end")
        self.assertEqual(program.exit_code, 0, program.output())


if __name__ == "__main__":
    unittest.main()
