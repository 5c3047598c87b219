# SPDX-License-Identifier: MIT
"""Velmora on GNOME and on Plasma, each on X11 and on Wayland: what the tests of all four share."""

from headless import eventually
from headless.keyring import PASSWORD
from velmora import Simulator, VelmoraTest, install

APPLICATION = "com.tarvik.Velmora"
REPOSITORY = "user-1/repository-0001"
# Seconds; longer than Velmora waits for a tray at login.
LONGER_THAN_PATIENCE = 12.0


class Desktop:
    """A test on GNOME Shell or Plasma."""

    windowing = ""

    def desktop(self, **options):
        """A session in which Velmora is installed."""
        return self.session(self.windowing, install=install, **options)

    def start_demo(self, session):
        velmora = self.start(session, "--demo", "--background")
        velmora.wait_for_item()
        return velmora

    def open_demo(self, session):
        """A demo whose window was opened by its item."""
        velmora = self.start_demo(session)
        session.tray.activate()
        velmora.wait_until_active()
        return velmora


class Shell(Desktop, VelmoraTest):
    """What the tests of one desktop share."""

    # The keyring that has the password of the login, and is open after it.
    keyring_of_login = ""

    def start_simulator(self, session):
        """A GitHub with a deployment under way."""
        github = Simulator(session)
        github.small_world([{"environment": "production", "state": "IN_PROGRESS"}])
        return github

    def open_for(self, session, github):
        """The program and its window, which was opened by its item."""
        velmora = self.start(session, "--background", environment=github.environment)
        velmora.wait_for_item()
        session.tray.activate()
        return velmora, velmora.window()

    def connect(self, session):
        """A program with an account and a deployment under way; returns GitHub, the program and its window."""
        github = self.start_simulator(session)
        velmora, window = self.open_for(session, github)
        window.find("push button", "Add GitHub account").press()
        github.approve()
        self.permit_keyring(session)
        window.find("label", "Deployment in progress")
        velmora.wait_until_active()
        return github, velmora, window

    def fail_deployment(self, github, **facts):
        github.tell("world", {"deployment": {"repository": REPOSITORY, "state": "FAILURE", **facts}})

    def permit_keyring(self, session):
        """Answers what the desktop asks about its keyring when a first credential is stored: here nothing."""

    def wait_for_prompt(self, session, velmora):
        """Waits until the desktop asks for the password of the keyring, and the window knows that it has no focus."""
        eventually(lambda: self.is_prompting(session), "the question for the password")
        eventually(lambda: not velmora.takes_keys(), "the window to lose the focus")

    def is_prompting(self, session):
        raise NotImplementedError

    def answer_prompt(self, session):
        raise NotImplementedError

    def is_dark(self, session, velmora):
        (window,) = velmora.windows()
        return session.screen.picture((window.x + 20, window.y + 40, 200, 200)).brightness() < 0.5


class Gnome(Shell):
    """GNOME; its tray items are shown by an extension."""

    keyring_of_login = "unlocked"

    def is_prompting(self, session):
        return session.windows.evaluate("Main.modalCount") > 0

    def answer_prompt(self, session):
        session.screen.type(PASSWORD)
        session.screen.key("Return")


class Plasma(Shell):
    """Plasma with its own wallet, which is not running at first."""

    keyring_of_login = "kwallet-login"

    def desktop(self, **options):
        return super().desktop(**{"keyring": "kwallet"} | options)

    def permit_keyring(self, session):
        session.keyring.permit_creation(PASSWORD)

    def is_prompting(self, session):
        return session.keyring.is_asking()

    def answer_prompt(self, session):
        session.keyring.enter(PASSWORD)


class GnomeX11(Gnome):
    windowing = "gnome-x11"


class GnomeWayland(Gnome):
    windowing = "gnome-wayland"


class PlasmaX11(Plasma):
    windowing = "plasma-x11"


class PlasmaWayland(Plasma):
    windowing = "plasma-wayland"
