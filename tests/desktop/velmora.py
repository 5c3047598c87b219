# SPDX-License-Identifier: MIT
"""The program under test in a session, and the stand-in for GitHub that it can be given."""

import json
import os
import re
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
_SERVICE = "com.tarvik.Velmora"
_SERVICE_OF_DEMO = "com.tarvik.Velmora.Demo"
_SETTINGS = "Velmora Settings"


class Simulator:
    """A stand-in for GitHub that the test controls; nothing in it changes by itself."""

    def __init__(self, session, *options):
        command = [SIMULATOR, "--port", "0", "--no-story", "--interval", "1", *options]
        self._program = session.start("simulator", command)
        line = self._program.until(lambda: re.search(r"listening on (http://\S+)", self._program.output()))
        self.address = line.group(1)

    @property
    def environment(self):
        """What Velmora needs to take it for GitHub."""
        return {
            "GITHUB_CLIENT_ID": "Iv23liVelmoraDemo001",
            "VELMORA_API_URL": self.address,
            "VELMORA_GRAPHQL_URL": f"{self.address}/graphql",
            "VELMORA_LOGIN_URL": f"{self.address}/login",
            "VELMORA_WEB_URL": self.address,
        }

    def ask(self, method, path, body=None):
        """A request to the control endpoint."""
        data = None if body is None else json.dumps(body).encode()
        request = urllib.request.Request(f"{self.address}/_control/{path}", data, method=method)
        with urllib.request.urlopen(request, timeout=10) as answer:
            return json.load(answer)

    def tell(self, path, body):
        return self.ask("POST", path, body)

    def small_world(self, deployments=()):
        """One identity, one repository, and these deployments of it, as the control endpoint takes them."""
        size = {"identities": 1, "installations": 1, "repositories": 1, "deployments": 0}
        self.tell("world", {"replace": size})
        for deployment in deployments:
            self.tell("world", {"deployment": {"repository": "user-1/repository-0001", **deployment}})

    def approve(self):
        """Approves the code that Velmora asked for, once it has, and returns it."""
        code = eventually(lambda: self.ask("GET", "codes")["userCodes"], "a code to approve")[0]
        self.tell("approve", {"userCode": code})
        return code

    def requests(self, path):
        """The latest requests for that path."""
        return [request for request in self.ask("GET", "requests") if request["path"] == path]


class Velmora:
    """The program, started in a session."""

    def __init__(self, session, *arguments, environment=None):
        self._session = session
        environment = dict(environment or {})
        if session.environment["XDG_SESSION_TYPE"] == "wayland" and "ASAN_OPTIONS" in session.environment:
            # The libraries that speak Wayland leave to the end of the process what they should have let go.
            environment["ASAN_OPTIONS"] = session.environment["ASAN_OPTIONS"] + ":detect_leaks=0"
        self.program = session.start("velmora", [PROGRAM, *arguments], environment)

    @property
    def pid(self):
        return self.program.pid

    def wait_until_running(self):
        """Returns when it has its name on the bus, which it takes before it shows anything."""
        bus = self._session.bus
        eventually(lambda: bus.has(_SERVICE) or bus.has(_SERVICE_OF_DEMO), "Velmora's name on the bus")

    def windows(self):
        return [window for window in self._session.windows.list() if window.pid == self.pid]

    def is_open(self):
        return bool(self.windows())

    def window(self):
        """The accessible window, once it is shown."""
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
        """Keys go to the window from then on, which is a moment after it is shown."""
        eventually(lambda: any(window.is_active for window in self.windows()), "the window to be active")

    def open_by_click(self):
        self.wait_for_item()
        self._session.tray.click()
        return self.window()

    def open_settings(self):
        """From the window by its keys; the settings take its place."""
        self.wait_until_active()
        self._session.screen.key("ctrl+comma")
        return self.settings()

    def settings(self):
        """The accessible window of the settings, once it is all that is shown."""
        eventually(lambda: [window.title for window in self.windows()] == [_SETTINGS], "the settings")
        return self.window().find(name=_SETTINGS)

    def click_row(self, window, part):
        """Clicks the first row whose sentence has that part, once there is one; returns its sentence."""

        def row():
            return next((row for row in window.all("list item") if part in row.name), None)

        found = eventually(row, f"a row with {part!r}")
        name = found.name
        self._session.click(found)
        return name

    def end(self):
        """Asks it to end, and returns its exit code."""
        self.program.end(patience=PATIENCE)
        return self.program.exit_code


class VelmoraTest(unittest.TestCase):
    """A session for each test; what Velmora and the session wrote is shown when the test fails."""

    def session(self, *arguments, **options):
        session = Session(*arguments, **options)
        session.__enter__()
        self.addCleanup(session.end)
        return session

    def start(self, session, *arguments, environment=None):
        velmora = Velmora(session, *arguments, environment=environment)
        self.addCleanup(self.expect_clean_end, velmora)
        return velmora

    def expect_clean_end(self, velmora):
        """A program that has crashed, or that a sanitizer ended, fails its test whatever the test was about."""
        code = velmora.end()
        if code != 0:
            self.fail(f"velmora ended with {code}: {velmora.program.output()}")
