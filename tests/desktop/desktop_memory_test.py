#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""What an answer takes of the program's memory. Measures the program as it is built for people: sanitizers keep what is
freed."""

import base64
import gzip
import re
import unittest

from headless import eventually
from velmora import PROGRAM, Simulator, VelmoraTest

_MIB = 1024 * 1024
_MOST = 24 * _MIB
# What the program does beside it takes and returns some.
_NOISE = 1 * _MIB
# A little less than the program accepts.
_LARGE = 3 * _MIB - 4096


def _filled(beginning, item, end):
    count = (_LARGE - len(beginning) - len(end)) // (len(item) + 1)
    return beginning + ",".join([item] * count) + end


_BOMB = base64.b64encode(gzip.compress(b" " * (200 * _MIB))).decode()
_ANSWERS = {
    "without an end": {"status": 200, "endlessBody": True},
    "packed, 200 MiB": {"status": 200, "headers": [["Content-Encoding", "gzip"]], "bodyBase64": _BOMB},
    "a refusal without an end": {"status": 403, "endlessBody": True},
    "large, of one text": {"status": 200, "body": _filled('{"data":"', "x" * 1000, '"}')},
    "large, of many values": {"status": 200, "body": _filled('{"data":{"nodes":[', '{"id":"R_1"}', "]}}")},
    "large, of nulls": {"status": 200, "body": _filled('{"data":{"nodes":[', "null", "]}}")},
}


class MemoryTest(VelmoraTest):
    def setUp(self):
        self.desktop = self.session(notifications="none")
        self.github = Simulator(self.desktop)
        self.github.small_world([{"environment": "production", "state": "IN_PROGRESS"}])
        connecting = self.desktop.start("velmora-connect", [PROGRAM, "connect"], self.github.environment)
        self.github.approve()
        self.assertEqual(connecting.wait(), 0)
        self.velmora = self.start(self.desktop, "--background", environment=self.github.environment)
        self.velmora.wait_for_item()

    def memory(self, kind):
        """The program's own memory ("RssAnon"), what it has mapped of files ("RssFile"), or the most that it ever had of
        both ("VmHWM"), in bytes."""
        with open(f"/proc/{self.velmora.pid}/status", encoding="utf-8") as file:
            return int(re.search(rf"^{kind}:\s*(\d+) kB", file.read(), re.MULTILINE).group(1)) * 1024

    def forget_the_most(self):
        with open(f"/proc/{self.velmora.pid}/clear_refs", "w", encoding="utf-8") as file:
            file.write("5")

    def refresh(self):
        self.desktop.start("velmora-refresh", [PROGRAM, "refresh"], self.github.environment).wait()

    def meet(self, path, action):
        """Has a refresh meet this answer; returns by how much the program's memory grew meanwhile, at the most."""
        self.github.ask("DELETE", "requests")
        self.github.tell("rules", {"path": path, "action": action})
        self.forget_the_most()
        before = self.memory("VmHWM")
        self.refresh()
        self.assertTrue(self.github.requests(path))
        growth = self.memory("VmHWM") - before
        self.github.ask("DELETE", "rules")
        return growth

    def wait_until_unmapped(self):
        """The program unmaps the code of its start 15 seconds later, which would hide how much an answer takes."""
        mapped = self.memory("RssFile")
        eventually(lambda: self.memory("RssFile") < mapped / 2, "the code of the start to be unmapped", 60)

    def test_no_answer_takes_more_than_24_mib_and_nothing_of_it_stays(self):
        self.wait_until_unmapped()
        for _ in range(3):
            self.refresh()
        before = self.memory("RssAnon")
        for path in "/graphql", "/user/installations":
            for name, action in _ANSWERS.items():
                with self.subTest(f"{path}: {name}"):
                    growth = self.meet(path, action)
                    self.assertLess(growth / _MIB, _MOST / _MIB)
                    # The answer was read, until it was too large.
                    self.assertGreater(growth / _MIB, 1)
        self.refresh()
        eventually(lambda: self.memory("RssAnon") < before + _NOISE, "the memory of the answers")


if __name__ == "__main__":
    unittest.main()
