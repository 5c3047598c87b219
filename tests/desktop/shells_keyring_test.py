#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""The keyrings of GNOME and Plasma: open since the login, locked, declined and new."""

import unittest

import shells
from headless import eventually
from headless.keyring import PASSWORD


class Stories:
    """What holds on every desktop."""

    def test_a_keyring_that_the_login_has_opened_asks_nothing(self):
        session = self.desktop(keyring=self.keyring_of_login)
        github = self.start_simulator(session)
        velmora, window = self.open_for(session, github)
        window.find("push button", "Add GitHub account").press()
        github.approve()
        # A question would keep the credential, and so the list, waiting for an answer.
        window.find("label", "Deployment in progress")
        self.assertFalse(self.is_prompting(session))
        self.assertEqual(len(session.keyring.items()), 1)
        velmora.end()
        _, window = self.open_for(session, github)
        window.find("label", "Deployment in progress")
        self.assertFalse(self.is_prompting(session))
        self.assertFalse(session.keyring.is_locked)

    def test_a_locked_keyring_is_unlocked_from_the_window(self):
        session = self.desktop()
        _, velmora, window = self.connect(session)
        session.keyring.lock()
        session.screen.key("ctrl+r")
        # The desktop asks for the password; the user declines first.
        self.wait_for_prompt(session, velmora)
        session.screen.key("Escape")
        velmora.wait_until_active()
        unlock = window.find("push button", "Unlock")
        eventually(lambda: "sensitive" in unlock.states, "the button")
        unlock.press()
        self.wait_for_prompt(session, velmora)
        self.answer_prompt(session)
        eventually(lambda: not window.all("push button", "Unlock"), "the button to go")
        window.find("label", "Deployment in progress")
        self.assertFalse(session.keyring.is_locked)
        velmora.wait_until_active()


class GnomeStories(Stories):
    """GNOME makes a first keyring itself."""

    def test_a_first_keyring_is_declined_and_then_made_while_connecting(self):
        session = self.desktop(keyring="new")
        github = self.start_simulator(session)
        velmora, window = self.open_for(session, github)
        window.find("push button", "Add GitHub account").press()
        self.wait_for_prompt(session, velmora)
        session.screen.key("Escape")
        window.find("label", "The keyring was not unlocked. Try again and unlock it when you are asked.")
        window.find("push button", "Add GitHub account").press()
        self.wait_for_prompt(session, velmora)
        session.screen.type(PASSWORD)
        session.screen.key("Tab")
        session.screen.type(PASSWORD)
        session.screen.key("Return")
        window.find("push button", "Copy code")
        # One was asked for before the keyring was declined.
        for code in github.ask("GET", "codes")["userCodes"]:
            github.tell("approve", {"userCode": code})
        window.find("label", "Deployment in progress")
        self.assertEqual(len(session.keyring.items()), 1)


class GnomeX11Test(GnomeStories, shells.GnomeX11):
    pass


class GnomeWaylandTest(GnomeStories, shells.GnomeWayland):
    pass


class PlasmaX11Test(Stories, shells.PlasmaX11):
    pass


class PlasmaWaylandTest(Stories, shells.PlasmaWayland):
    pass


if __name__ == "__main__":
    unittest.main()
