#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""The settings: a second account, its monitored repositories, and what a restart keeps."""

import base64
import json
import os
import re
import unittest

from headless import eventually
from headless.bus import BusError
from velmora import PROGRAM, SAMPLE, Simulator, VelmoraTest

_FIRST = "mira-oakes"
_SECOND = "tobias-renn"
# An organisation of both users, and one of each.
_SHARED = "harbourlight"
_OF_FIRST = "quillworks"
_OF_SECOND = "pinecrest-labs"
_NOTIFY_SUCCESSES = "Notify me when deployments succeed"
_NOTIFY_FAILURES = "Notify me when deployments fail"
_NOTIFY_APPROVALS = "Notify me when deployments wait for approval"
_EVERYBODYS = "everybody's deployments"
_ONLY_MINE = "only those I started"
_LAUNCH_AT_LOGIN = "Launch Velmora at login"
# More than the controls of any tab.
_LONGEST_WALK = 30


class Settings:
    """The settings window, used through accessible objects, mouse and keys."""

    def __init__(self, desktop, velmora):
        self._desktop = desktop
        self._window = velmora.settings()

    def find(self, role=None, name=None):
        return self._window.find(role, name)

    def wait_until_gone(self, name):
        eventually(lambda: not self._window.all(name=name), f"{name!r} to go")

    def is_usable(self, button):
        return "sensitive" in self.find("push button", button).states

    def click(self, role, name):
        self._desktop.click(self.find(role, name))

    def key(self, *keys):
        self._desktop.screen.key(*keys)

    def type(self, text):
        self._desktop.screen.type(text)

    def enter(self, keys, text):
        """Goes to a tab and waits for this text on it."""
        self.key(keys)
        self.find(name=text)

    def enter_accounts(self):
        self.enter("ctrl+1", "GitHub accounts")

    def enter_repositories(self):
        self.enter("ctrl+2", "Choose which repositories Velmora monitors.")
        self.expect_focus("text", "Search repositories")

    def enter_general(self):
        self.enter("ctrl+4", "Startup")

    def code(self):
        """Waits for the code in the panel."""

        def shown():
            return next((text for text in self._window.texts() if re.fullmatch(r"[A-Z0-9]{4}-[A-Z0-9]{4}", text)), None)

        self.find("label", "Enter this code on GitHub")
        return eventually(shown, "the code")

    def accounts(self):
        """The logins of the rows, in order."""
        rows = self.find("filler", "GitHub accounts").children()
        # Separators have no name.
        return [row.name for row in rows if row.name]

    def expect_account(self, login, *texts):
        """Waits until the row of the account shows exactly these texts, buttons last."""
        expected = [login, *texts]
        _expect(lambda: [text for text in self.find("filler", login).texts() if text != "·"], expected)

    def expect_installations(self, expected):
        """Waits for these installations: login and state of the switch, in order."""
        _expect(self._installations, expected)

    def _installations(self):
        return _choices(self.find("filler", "Installations").children(), "check box")

    def expect_repositories(self, expected):
        """Waits for these rows, visible or not: the state of the switch by name."""
        _expect(lambda: _choices(self.find("list", "Repositories").children(), "list item"), sorted(expected.items()))

    def expect_focus(self, role, name):
        eventually(lambda: (self._focus() or ())[:2] == (role, name), f"the focus on {name!r}")

    def walk_to(self, role, name):
        """Presses Tab until this control has the focus."""
        for _ in range(_LONGEST_WALK):
            before = self._focus()
            if before and before[:2] == (role, name):
                return
            self.key("Tab")
            eventually(lambda: self._focus() not in (None, before), "the focus to go on")
        raise AssertionError(f"Tab does not lead to {name!r}")

    def expect_switch(self, name, is_on):
        eventually(lambda: ("checked" in self.find("check box", name).states) == is_on, f"{name!r} to be {is_on}")

    def _focus(self):
        """Role, name and place of the focused object; some objects have the same name."""
        claims = [one for one in self._window.all() if "focused" in one.states]
        # Focus proxies report the focus, too; the actual control comes last. The current tab and the current row of a
        # list always report it.
        found = [one for one in claims if one.role not in ("page tab", "list item")]
        if found and found[-1].role == "list":
            found += [one for one in claims if one.role == "list item"]
        return (found[-1].role, found[-1].name, found[-1].place) if found else None


def _choices(elements, role):
    """Name and state of each switch; None while accessible name and state disagree."""
    choices = []
    for element in elements:
        if element.role == role:
            name, _, words = element.name.rpartition(", ")
            if {"monitored": True, "not monitored": False}[words] != ("checked" in element.states):
                return None
            choices.append((name, words == "monitored"))
    return choices


def _expect(read, expected):
    """Waits until `read` returns the expected value; a failure names the last value instead."""
    seen = []

    def is_there():
        try:
            seen[:] = [read()]
        except BusError:
            # An object disappeared meanwhile.
            return False
        return seen == [expected]

    try:
        eventually(is_there, "what is expected")
    except TimeoutError:
        raise AssertionError(f"{seen} instead of [{expected}]") from None


class SettingsTest(VelmoraTest):
    """A desktop, a simulated GitHub, and a Velmora without accounts."""

    notifications = "none"

    def setUp(self):
        self.desktop = self.session(notifications=self.notifications)
        self.github = Simulator(self.desktop)
        self.start_velmora()

    def start_velmora(self):
        self.velmora = self.start(self.desktop, "--background", environment=self.github.environment)

    def restart(self):
        """Restarts Velmora; returns its settings window."""
        self.assertEqual(self.velmora.end(), 0)
        self.start_velmora()
        return self.open()

    def open(self):
        self.velmora.wait_for_item()
        self.item().choose("Settings…")
        return Settings(self.desktop, self.velmora)

    def item(self):
        return next(item for item in self.desktop.tray.items() if item.pid == self.velmora.pid)

    def connect(self, settings, login):
        """Connects an account on the Accounts tab by approving the code shown there."""
        settings.click("push button", "Add account")
        self.github.tell("approve", {"userCode": settings.code(), "login": login})
        settings.find("filler", login)

    def names(self, *owners):
        """The repositories of these owners."""
        names = [repository["nameWithOwner"] for repository in self.github.ask("GET", "world")["repositories"]]
        return [name for name in names if name.partition("/")[0] in owners]

    def preferences(self):
        with open(f"{self.desktop.environment['XDG_CONFIG_HOME']}/velmora/preferences.json", encoding="utf-8") as file:
            return json.load(file)

    def known_accounts(self):
        """The logins in the preferences file."""
        key = f"github.accounts@{self.github.address}"
        accounts = json.loads(base64.b64decode(self.preferences()[key]["data"]))
        return [account["login"] for account in accounts]


class OpeningTest(SettingsTest):
    """The window itself."""

    def is_active(self):
        return [window.title for window in self.velmora.windows() if window.is_active] == ["Velmora Settings"]

    def test_ctrl_comma_opens_them_and_escape_closes_them(self):
        self.velmora.open_by_click()
        settings = self.velmora.open_settings()
        settings.find("label", "No GitHub accounts")
        eventually(self.is_active, "the settings to be active")

        self.desktop.screen.key("Escape")

        self.velmora.wait_until_closed()
        self.assertTrue(self.velmora.program.is_running)

    def test_the_menu_opens_them_and_opening_them_again_raises_the_one_window(self):
        self.open().enter_general()
        sample = self.desktop.start("sample", [SAMPLE])
        cover = self.desktop.window_of(sample)
        self.desktop.click(self.desktop.accessibility.program(sample.pid).find("text", "Name"))
        eventually(lambda: not self.is_active(), "the other window to be active")
        (window,) = self.velmora.windows()
        self.assertTrue(cover.overlaps(window))

        self.item().choose("Settings…")

        eventually(self.is_active, "the settings to be active again")
        (again,) = self.velmora.windows()
        self.assertEqual((again.x, again.y), (window.x, window.y))
        # It is the same window, in the same state.
        self.velmora.settings().find("label", "Startup")


class AccountsTest(SettingsTest):
    """Connected accounts and monitored installations."""

    def test_connects_a_second_account_with_the_code_that_it_shows(self):
        settings = self.open()
        self.connect(settings, _FIRST)
        settings.expect_account(_FIRST, "Connected", "3 installations", "Remove")
        opened = self.desktop.browser.opened
        eventually(lambda: len(opened()) == 2, "the pages of the first connection")

        settings.click("push button", "Add account")
        code = settings.code()
        self.assertFalse(settings.is_usable("Add account"))
        self.assertEqual(self.github.ask("GET", "codes")["userCodes"], [code])
        self.github.tell("approve", {"userCode": code, "login": _SECOND})

        settings.expect_account(_SECOND, "Connected", "3 installations", "Remove")
        settings.expect_account(_FIRST, "Connected", "3 installations", "Remove")
        self.assertEqual(settings.accounts(), [_FIRST, _SECOND])
        settings.expect_installations(
            [(_SHARED, True), (_SHARED, True), (_FIRST, True), (_OF_SECOND, True), (_OF_FIRST, True), (_SECOND, True)]
        )
        settings.wait_until_gone("Enter this code on GitHub")
        self.assertTrue(settings.is_usable("Add account"))
        eventually(lambda: len(opened()) == 4, "the pages of the second connection")
        pages = ["login/device", "apps/tarvik-velmora/installations/new"]
        # Each is opened by a process of its own, of which the second may be the quicker one.
        self.assertCountEqual(
            [page.address for page in opened()[2:]], [f"{self.github.address}/{page}" for page in pages]
        )
        self.assertEqual(len(self.desktop.keyring.items()), 2)
        eventually(lambda: self.known_accounts() == [_FIRST, _SECOND], "both accounts on the disk")

    def test_keeps_the_switches_of_installations(self):
        settings = self.open()
        self.connect(settings, _SECOND)
        settings.expect_installations([(_SHARED, True), (_OF_SECOND, True), (_SECOND, True)])

        settings.click("check box", f"{_OF_SECOND}, monitored")
        settings.expect_installations([(_SHARED, True), (_OF_SECOND, False), (_SECOND, True)])
        settings.enter_accounts()
        settings.expect_focus("push button", "Add account")
        settings.walk_to("check box", f"{_SECOND}, monitored")
        settings.key("space")
        settings.expect_installations([(_SHARED, True), (_OF_SECOND, False), (_SECOND, False)])
        settings = self.restart()
        settings.expect_installations([(_SHARED, True), (_OF_SECOND, False), (_SECOND, False)])

        settings.walk_to("check box", f"{_OF_SECOND}, not monitored")
        settings.key("space")
        settings.click("check box", f"{_SHARED}, monitored")
        settings.expect_installations([(_SHARED, False), (_OF_SECOND, True), (_SECOND, False)])
        self.restart().expect_installations([(_SHARED, False), (_OF_SECOND, True), (_SECOND, False)])

    def test_leaves_nothing_of_an_account_that_is_removed(self):
        for repository in self.names(_SHARED)[0], self.names(_OF_SECOND)[0]:
            self.github.tell("world", {"deployment": {"repository": repository, "state": "IN_PROGRESS"}})
        settings = self.open()
        self.connect(settings, _FIRST)
        (kept,) = self.desktop.keyring.items()
        self.connect(settings, _SECOND)
        settings.expect_account(_SECOND, "Connected", "3 installations", "Remove")
        self.assertEqual(len(self.desktop.keyring.items()), 2)
        self.expect_owners(present=[_SHARED, _OF_SECOND])

        self.desktop.click(settings.find("filler", _SECOND).find("push button", "Remove"))

        settings.wait_until_gone(_SECOND)
        self.assertEqual(settings.accounts(), [_FIRST])
        settings.expect_installations([(_SHARED, True), (_FIRST, True), (_OF_FIRST, True)])
        settings.enter_repositories()
        settings.expect_repositories(dict.fromkeys(self.names(_FIRST, _OF_FIRST, _SHARED), True))
        eventually(lambda: self.desktop.keyring.items() == [kept], "the credential to leave the keyring")
        eventually(lambda: self.known_accounts() == [_FIRST], "the account to leave the disk")
        self.expect_owners(present=[_SHARED], absent=[_OF_SECOND, _SECOND])

        # Remove the last account, too; it stays removed after a restart.
        settings.enter_accounts()
        settings.click("push button", "Remove")
        settings.find("label", "No GitHub accounts")
        settings.wait_until_gone("Installations")
        eventually(lambda: self.desktop.keyring.items() == [], "the credential to leave the keyring")
        eventually(lambda: self.known_accounts() == [], "the account to leave the disk")
        self.restart().find("label", "No GitHub accounts")

    def expect_owners(self, present, absent=()):
        """Waits until the main window lists deployments of all `present` and no `absent` owners."""
        window = self.velmora.open_by_click()

        def fits():
            try:
                rows = [row.name for row in window.find("list", "Deployments").children()]
            except BusError:
                # A row left the list meanwhile.
                return False
            owners = {row.partition("/")[0] for row in rows if "/" in row}
            return owners.issuperset(present) and not owners.intersection(absent)

        eventually(fits, f"deployments of {present} and none of {list(absent)}")
        self.assertEqual(window.all("label", "Showing saved data"), [])
        self.desktop.screen.key("Escape")
        self.velmora.settings()


class RepositoriesTest(SettingsTest):
    """Monitored repositories."""

    def setUp(self):
        super().setUp()
        self.settings = self.open()
        self.connect(self.settings, _FIRST)
        self.settings.find("check box", f"{_FIRST}, monitored")
        self.settings.enter_repositories()
        self.choices = dict.fromkeys(self.names(_FIRST, _OF_FIRST, _SHARED), True)
        self.settings.expect_repositories(self.choices)

    def choose(self, name, is_on):
        """Expects that only this choice changes."""
        self.choices[name] = is_on
        self.settings.expect_repositories(self.choices)

    def expect_choices_after_restart(self):
        self.settings = self.restart()
        self.settings.enter_repositories()
        self.settings.expect_repositories(self.choices)

    def test_keeps_the_switches(self):
        first, second, third = sorted(self.choices)[:3]

        self.settings.click("list item", f"{second}, monitored")
        self.choose(second, False)
        # Down leads from the search field into the list, to the row after the clicked one.
        self.settings.click("text", "Search repositories")
        self.settings.expect_focus("text", "Search repositories")
        self.settings.key("Down", "Down", "space")
        self.choose(third, False)
        self.settings.expect_focus("list item", f"{third}, not monitored")
        self.settings.key("Up", "Up", "space")
        self.choose(first, False)
        self.settings.key("space")
        self.choose(first, True)

        self.expect_choices_after_restart()
        self.settings.click("list item", f"{second}, not monitored")
        self.choose(second, True)
        self.expect_choices_after_restart()

    def test_finds_what_is_typed(self):
        of_first = dict.fromkeys(self.names(_FIRST), True)

        self.settings.type("MIRA")
        self.settings.expect_repositories(of_first)
        # Down leads into the list; letters lead back to the field.
        self.settings.key("Down", "space")
        name = min(of_first)
        self.settings.expect_repositories(of_first | {name: False})
        self.settings.type("-zzz")
        self.settings.find("label", "No results for “MIRA-zzz”")
        self.settings.expect_focus("text", "Search repositories")

        self.settings.key("ctrl+a", "BackSpace")
        self.choose(name, False)

    def test_switches_all_off_and_on(self):
        # A search hides rows, but "all" still switches them.
        self.settings.type("mira")
        self.settings.expect_repositories(dict.fromkeys(self.names(_FIRST), True))
        self.assertFalse(self.settings.is_usable("Enable all"))
        self.settings.click("push button", "Disable all")
        self.settings.expect_repositories(dict.fromkeys(self.names(_FIRST), False))
        eventually(lambda: not self.settings.is_usable("Disable all"), "nothing more to disable")
        self.choices = dict.fromkeys(self.choices, False)
        self.expect_choices_after_restart()

        self.settings.key("alt+e")

        self.choices = dict.fromkeys(self.choices, True)
        self.settings.expect_repositories(self.choices)
        eventually(lambda: not self.settings.is_usable("Enable all"), "nothing more to enable")
        self.expect_choices_after_restart()


class GeneralTest(SettingsTest):
    """The General tab, on a desktop that shows notifications."""

    notifications = "dunst"

    def setUp(self):
        super().setUp()
        self.settings = self.open()
        self.settings.enter_general()

    def kept(self, choice):
        return self.preferences().get(f"general.{choice}", False)

    def test_keeps_what_is_told_and_whether_velmora_starts_at_login(self):
        entry = f"{self.desktop.environment['XDG_CONFIG_HOME']}/autostart/com.tarvik.Velmora.desktop"
        self.settings.expect_switch(_NOTIFY_SUCCESSES, False)
        self.settings.expect_switch(_NOTIFY_APPROVALS, False)
        self.settings.expect_switch(_LAUNCH_AT_LOGIN, False)
        self.assertFalse(os.path.exists(entry))

        self.settings.click("check box", _NOTIFY_SUCCESSES)
        self.settings.click("check box", _NOTIFY_APPROVALS)
        self.settings.walk_to("combo box", _EVERYBODYS)
        self.settings.key("Down")
        self.settings.click("check box", _LAUNCH_AT_LOGIN)
        # The desktop is asked before a notification is switched on, so that each is kept some time after its click.
        for choice in ("successNotificationsEnabled", "waitingNotificationsEnabled", "notifiesOnlyMine"):
            eventually(lambda: self.kept(choice), f"{choice} on the disk")
        eventually(lambda: os.path.exists(entry), "the entry that starts Velmora")
        with open(entry, encoding="utf-8") as file:
            self.assertRegex(file.read(), rf'(?m)^Exec="?{re.escape(PROGRAM)}"? --background$')
        self.settings = self.restart()
        self.settings.enter_general()
        self.settings.expect_switch(_NOTIFY_SUCCESSES, True)
        self.settings.expect_switch(_NOTIFY_FAILURES, True)
        self.settings.expect_switch(_NOTIFY_APPROVALS, True)
        self.settings.find("combo box", _ONLY_MINE)
        self.settings.expect_switch(_LAUNCH_AT_LOGIN, True)

        self.settings.key("alt+s")
        self.settings.walk_to("check box", _LAUNCH_AT_LOGIN)
        self.settings.key("space")
        self.settings.expect_switch(_NOTIFY_SUCCESSES, False)
        self.settings.expect_switch(_LAUNCH_AT_LOGIN, False)
        eventually(lambda: not self.kept("successNotificationsEnabled"), "the choice on the disk")
        eventually(lambda: not os.path.exists(entry), "the entry to go")


if __name__ == "__main__":
    unittest.main()
