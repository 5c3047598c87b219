# SPDX-License-Identifier: MIT
"""The program under test in a session, and a simulated GitHub for it."""

import json
import os
import re
import shutil
import unittest
import urllib.request

from headless import Session, eventually
from headless.waiting import PATIENCE

BUILD = os.path.abspath(
    os.environ.get("VELMORA_BUILD", os.path.join(os.path.dirname(__file__), "..", "..", "build"))
)
PROGRAM = os.path.join(BUILD, "bin", "velmora")
SIMULATOR = os.path.join(BUILD, "bin", "velmora-simulator")
SAMPLE = os.path.join(BUILD, "tests", "sample_window")
_PACKAGING = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "packaging")
_SERVICE = "com.tarvik.Velmora"
_SERVICE_OF_DEMO = "com.tarvik.Velmora.Demo"
_SETTINGS = ("Velmora Settings", "Velmora Demo Settings")


def install(session):
    """Puts name and picture of the program where the desktop looks for them."""
    data = session.environment["XDG_DATA_HOME"]
    icons = f"{data}/icons/hicolor/scalable/apps"
    os.makedirs(icons, exist_ok=True)
    shutil.copy(f"{_PACKAGING}/icons/{_SERVICE}.svg", icons)
    with open(f"{_PACKAGING}/{_SERVICE}.desktop", encoding="utf-8") as file:
        entry = file.read()
    # GNOME ignores entries whose program is not found.
    with open(f"{data}/applications/{_SERVICE}.desktop", "w", encoding="utf-8") as file:
        file.write(entry.replace("Exec=velmora", f"Exec={PROGRAM}"))


class Simulator:
    """A simulated GitHub that the test controls; it has no story."""

    def __init__(self, session, *options):
        command = [SIMULATOR, "--port", "0", "--no-story", "--interval", "1", *options]
        self._program = session.start("simulator", command)
        line = self._program.until(lambda: re.search(r"listening on (http://\S+)", self._program.output()))
        self.address = line.group(1)

    @property
    def environment(self):
        """The environment that makes Velmora use this GitHub."""
        return {
            "GITHUB_CLIENT_ID": "Iv23liVelmoraDemo001",
            "VELMORA_API_URL": self.address,
            "VELMORA_GRAPHQL_URL": f"{self.address}/graphql",
            "VELMORA_LOGIN_URL": f"{self.address}/login",
            "VELMORA_WEB_URL": self.address,
        }

    def ask(self, method, path, body=None):
        """Sends a request to the control endpoint; returns the answer."""
        data = None if body is None else json.dumps(body).encode()
        request = urllib.request.Request(f"{self.address}/_control/{path}", data, method=method)
        with urllib.request.urlopen(request, timeout=10) as answer:
            return json.load(answer)

    def tell(self, path, body):
        return self.ask("POST", path, body)

    def small_world(self, deployments=()):
        """One identity with one repository and these deployments, in the format of the control endpoint."""
        size = {"identities": 1, "installations": 1, "repositories": 1, "deployments": 0}
        self.tell("world", {"replace": size})
        for deployment in deployments:
            self.tell("world", {"deployment": {"repository": "user-1/repository-0001", **deployment}})

    def approve(self):
        """Waits for a device code, approves and returns it."""
        code = eventually(lambda: self.ask("GET", "codes")["userCodes"], "a code to approve")[0]
        self.tell("approve", {"userCode": code})
        return code

    def requests(self, path):
        """The latest requests for the path."""
        return [request for request in self.ask("GET", "requests") if request["path"] == path]


class Velmora:
    """The program, started in a session. `tracer` is a command that runs it under its own process id."""

    def __init__(self, session, *arguments, environment=None, tracer=()):
        self._session = session
        self.program = session.start("velmora", [*tracer, PROGRAM, *arguments], environment)

    @property
    def pid(self):
        return self.program.pid

    def wait_until_running(self):
        """Waits until it owns its name on the bus, which it requests before it shows anything."""
        bus = self._session.bus
        eventually(lambda: bus.has(_SERVICE) or bus.has(_SERVICE_OF_DEMO), "Velmora's name on the bus")

    def windows(self):
        return [window for window in self._session.windows.list() if window.pid == self.pid]

    def is_open(self):
        return bool(self.windows())

    def window(self):
        """Waits for the window; returns its program's accessible object."""
        eventually(self.is_open, "Velmora's window")
        return self._session.accessibility.program(self.pid)

    def has_item(self):
        tray = self._session.tray
        return tray is not None and any(item.pid == self.pid for item in tray.items())

    def wait_for_item(self):
        eventually(self.has_item, "Velmora's item in the tray")

    def wait_until_closed(self):
        eventually(lambda: not self.is_open(), "Velmora's window to close")

    def wait_until_active(self):
        """Waits until the window receives keys, which is shortly after it is shown."""
        eventually(lambda: any(window.is_active for window in self.windows()), "the window to be active")
        eventually(self.takes_keys, "the window to know that it is active")

    def takes_keys(self):
        """Whether a window is active as the program sees it, which is later than the desktop does."""
        return any("active" in window.states for window in self._session.accessibility.program(self.pid).children())

    def open_by_click(self):
        self.wait_for_item()
        self._session.tray.click()
        return self.window()

    def open_by_menu(self):
        """For a program that was started again: a panel may go on drawing the item of the one before, which a click
        would hit."""
        self.wait_for_item()
        next(item for item in self._session.tray.items() if item.pid == self.pid).choose("Open Velmora")
        return self.window()

    def open_settings(self):
        """Opens the settings by the keys of the window, which they replace."""
        self.wait_until_active()
        self._session.screen.key("ctrl+comma")
        settings = self.settings()
        self.wait_until_active()
        return settings

    def settings(self):
        """Waits until only the settings are shown; returns their accessible window."""
        eventually(lambda: [window.title in _SETTINGS for window in self.windows()] == [True], "the settings")
        return self.window().find(name=self.windows()[0].title)

    def click_row(self, window, part):
        """Waits for a row whose sentence contains `part`, and clicks it; returns the sentence."""

        def row():
            return next((row for row in window.all("list item") if part in row.name), None)

        found = eventually(row, f"a row with {part!r}")
        name = found.name
        self._session.click(found)
        return name

    def end(self):
        """Ends the program; returns its exit code."""
        self.program.end(patience=PATIENCE)
        return self.program.exit_code


class VelmoraTest(unittest.TestCase):
    """Gives each test a session; a failure shows the logs of Velmora and of the session."""

    def session(self, *arguments, **options):
        session = Session(*arguments, **options)
        session.__enter__()
        self.addCleanup(session.end)
        return session

    def start(self, session, *arguments, **options):
        velmora = Velmora(session, *arguments, **options)
        self.addCleanup(self.expect_clean_end, velmora)
        return velmora

    def expect_clean_end(self, velmora):
        """Fails the test if the program crashed or a sanitizer ended it."""
        code = velmora.end()
        if code != 0:
            self.fail(f"velmora ended with {code}: {velmora.program.output()}")
