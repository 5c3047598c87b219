#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""Tokens are followed through a whole run: they reach GitHub and the keyring, and nothing else."""

import base64
import os
import re
import subprocess
import unittest

from headless import eventually
from velmora import PROGRAM, Simulator, VelmoraTest

_REPOSITORY = "user-1/repository-0001"
_TOKENS = "/login/oauth/access_token"
# All that a program starts, connects to, opens and writes; the ends of descriptors are named, and no text is cut.
_CALLS = "execve,connect,openat,creat,write,writev,pwrite64,pwritev,sendto,sendmsg,sendmmsg"
_TRACER = ["strace", "--daemonize", "-f", "-yy", "-v", "-s", "65536", "-e", f"trace={_CALLS}"]
# All logging that the program and its libraries have.
_TALKATIVE = {"QT_LOGGING_RULES": "*=true", "G_MESSAGES_DEBUG": "all", "QDBUS_DEBUG": "1"}
# Answers that may tempt the program to tell what it has sent.
_FAULTS = (
    {"status": 401, "body": "{}"},
    {"status": 500, "body": "<html>"},
    {"status": 200, "body": "<html>"},
    {"status": 302, "headers": {"Location": "http://127.0.0.2:9/"}},
    {"truncateAfter": 20},
    {"status": 403, "headers": {"retry-after": "1"}},
)


def _forms(secret):
    """The secret, its beginning, and the encodings in which programs write."""
    raw = secret.encode()
    shifted = [base64.b64encode(b" " * count + raw)[4:-4] for count in range(3)]
    return [raw[:20], raw.hex().encode(), raw.hex().upper().encode(), *shifted]


class SecretsTest(VelmoraTest):
    def setUp(self):
        self.desktop = self.session()
        # With this lifetime each use of a token renews it.
        self.github = Simulator(self.desktop, "--token-lifetime", "200")
        self.github.small_world([{"environment": "production", "state": "IN_PROGRESS"}])
        self.captured = self.desktop.folder("captured")
        monitor = self.desktop.start("monitor", ["dbus-monitor", "--session", "--binary"])
        eventually(monitor.output, "the first message on the bus")
        self.environment = self.github.environment | _TALKATIVE
        # The check for leaks traces the program as well, and only one can.
        self.environment["ASAN_OPTIONS"] = os.environ.get("ASAN_OPTIONS", "") + ":detect_leaks=0"

    def tracer(self):
        return [*_TRACER, "-o", f"{self.captured}/{len(os.listdir(self.captured))}"]

    def start_command(self, command):
        words = [*self.tracer(), PROGRAM, "--verbose", *command.split()]
        return self.desktop.start(f"velmora-{command}", words, self.environment)

    def run_commands(self, *commands):
        for command in commands:
            self.start_command(command).wait()

    def connect(self):
        connecting = self.start_command("connect")
        self.github.approve()
        self.assertEqual(connecting.wait(), 0, connecting.output())

    def meet(self, path, action):
        """Has a refresh meet this answer."""
        before = len(self.github.requests(path))
        self.github.tell("rules", {"path": path, "times": 1, "action": action})
        refreshing = self.start_command("refresh")
        eventually(lambda: len(self.github.requests(path)) > before, f"a request for {path}")
        refreshing.wait()
        self.github.ask("DELETE", "rules")

    def live(self):
        """A run with as much in it as possible, in the tray and then in the terminal."""
        velmora = self.start(
            self.desktop, "--verbose", "--background", environment=self.environment, tracer=self.tracer()
        )
        window = velmora.open_by_click()
        window.find("push button", "Add GitHub account").press()
        self.github.approve()
        window.find("list item", "In progress, 1")
        for path in "/user/installations", "/graphql":
            for action in _FAULTS[:-1]:
                self.meet(path, action)
        self.run_commands("accounts", "installations", "repositories --refresh", "status --json", "diagnose")
        self.github.tell("world", {"deployment": {"repository": _REPOSITORY, "state": "FAILURE"}})
        eventually(self.desktop.posted.posted, "a notification")
        self.meet("/graphql", _FAULTS[-1])
        self.meet(_TOKENS, _FAULTS[1])
        self.connect()
        self.assertEqual(velmora.end(), 0)
        # A renewal whose answer is late on a busy machine is given up at the end, which costs the session.
        self.connect()
        self.run_commands("watch --once", "diagnose", "status --json")
        self.meet(_TOKENS, _FAULTS[4])
        self.connect()

    def secrets(self):
        """What GitHub was sent, and what the keyring holds."""
        search = ["secret-tool", "search", "--all", "xdg:schema", "com.tarvik.velmora.credential"]
        held = subprocess.run(search, env=self.desktop.environment, capture_output=True, check=True, timeout=60)
        texts = [held.stdout.decode()]
        for request in self.github.ask("GET", "requests"):
            texts += [request["body"], *(value for _, value in request["headers"])]
        return {kind: {found for text in texts for found in re.findall(pattern, text)} for kind, pattern in (
            ("access", r"ghu_\w+"), ("refresh", r"ghr_\w+"), ("device", r"(?<=device_code=)\w+"),
        )}  # fmt: skip

    def lines(self):
        for name in os.listdir(self.captured):
            with open(f"{self.captured}/{name}", "rb") as file:
                yield from file

    def files(self):
        """All files of the session but what was captured: logs, profile, messages on the bus."""
        for folder, folders, names in os.walk(self.desktop.root):
            if self.captured.startswith(folder) and "captured" in folders:
                folders.remove("captured")
            for path in (f"{folder}/{name}" for name in names):
                if os.path.isfile(path):
                    with open(path, "rb") as file:
                        yield path, file.read()

    def test_tokens_reach_github_and_the_keyring_and_nothing_else(self):
        self.live()
        secrets = self.secrets()
        self.assertGreater(len(secrets["access"]), 10)
        self.assertGreater(len(secrets["refresh"]), 10)
        self.assertEqual(len(secrets["device"]), 4)
        forms = [form for kind in secrets.values() for secret in kind for form in _forms(secret)]

        def reveals(text):
            return any(form in text for form in forms)

        github = self.github.address.removeprefix("http://").encode()
        # The kernel no longer knows the addresses of a connection that GitHub has just reset; all peers are checked below.
        to_github = re.compile(rb"\d+ +\w+\(\d+<TCP:\[(\d+|[\d.]+:\d+->" + re.escape(github) + rb")\]>, ")
        sent, peers, opened, started = 0, set(), set(), set()
        for line in self.lines():
            if reveals(line):
                self.assertRegex(line, to_github)
                sent += 1
            peers.update(re.findall(rb'sin6?_port=htons\((\d+)\).*"([^"]+)"', line))
            opened.update(re.findall(rb'openat\([^,]+, "([^"]+)", O_(?:WRONLY|RDWR)', line))
            started.update(re.findall(rb'execve\("([^"]+)"', line))
        # What was captured is complete, or the search would find nothing for the wrong reason.
        self.assertGreater(sent, 20)
        self.assertIn(PROGRAM.encode(), started)
        home, root = self.desktop.environment["XDG_CONFIG_HOME"].encode(), f"{self.desktop.root}/".encode()
        self.assertIn(home + b"/velmora", {os.path.dirname(path) for path in opened})
        host, _, port = github.partition(b":")
        self.assertEqual(peers, {(port, host)})
        self.assertEqual([path for path in opened if not path.startswith((root, b"/dev/", b"/proc/"))], [])

        files = dict(self.files())
        self.assertIn(b"velmora.github", files[f"{self.desktop.root}/logs/velmora.log"])
        self.assertIn(b"org.freedesktop.Secret", files[f"{self.desktop.root}/logs/monitor.log"])
        self.assertEqual([path for path, content in files.items() if reveals(content)], [])


if __name__ == "__main__":
    unittest.main()
