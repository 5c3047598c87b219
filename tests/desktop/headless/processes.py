# SPDX-License-Identifier: MIT
"""Processes of a session: how they start, and how every one of them ends."""

import ctypes
import os
import signal
import subprocess
import time

from .waiting import PATIENCE, eventually

_PR_SET_CHILD_SUBREAPER = 36
# Between a polite end and a hard one.
_GRACE = 3.0
# Of what a program wrote, in characters, for whoever reads an error.
_ENOUGH = 2000


class Program:
    """A child of this process with a log of its own. The kernel kills it when this process dies."""

    def __init__(self, name, arguments, environment, log, *, user=None, standard_input=None, descriptors=()):
        self.name = name
        self.log = log
        command = ["setpriv", "--pdeathsig", "KILL"]
        if user is not None:
            command += [f"--reuid={user}", f"--regid={user}", "--clear-groups"]
        with open(log, "ab") as output:
            self._process = subprocess.Popen(
                command + ["--"] + [os.fspath(argument) for argument in arguments],
                env=environment,
                stdin=subprocess.PIPE if standard_input is not None else subprocess.DEVNULL,
                stdout=output,
                stderr=output,
                pass_fds=descriptors,
            )
        if standard_input is not None:
            self._process.stdin.write(standard_input)
            self._process.stdin.close()

    @property
    def pid(self):
        return self._process.pid

    @property
    def exit_code(self):
        """As subprocess has it: the negative number of a signal; None while the program runs."""
        return self._process.poll()

    @property
    def is_running(self):
        return self.exit_code is None

    def output(self):
        """What it wrote until now, on both of its streams."""
        with open(self.log, encoding="utf-8", errors="replace") as file:
            return file.read()

    def until(self, condition):
        """The first true answer of the condition. RuntimeError, with what it wrote, when it ends or takes too long."""

        def answer():
            if not self.is_running:
                raise RuntimeError(f"{self.name} ended with {self.exit_code}: {self.output()[-_ENOUGH:]}")
            return condition()

        try:
            return eventually(answer, self.name)
        except TimeoutError as error:
            raise RuntimeError(f"{error}: {self.output()[-_ENOUGH:]}") from None

    def wait(self, seconds=PATIENCE):
        """The exit code, once it has ended."""
        eventually(lambda: not self.is_running, f"{self.name} to end", seconds)
        return self.exit_code

    def send(self, number):
        if self.is_running:
            os.kill(self.pid, number)

    def end(self, number=signal.SIGTERM, patience=_GRACE):
        """Asks it to end, and after so many seconds ends it; returns when it has gone."""
        self.send(number)
        try:
            self.wait(patience)
        except TimeoutError:
            self._process.kill()
            self._process.wait()


def adopt_orphans():
    """From now on whatever a descendant of this process leaves behind becomes a child of this process."""
    if ctypes.CDLL(None, use_errno=True).prctl(_PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0) != 0:
        raise OSError(ctypes.get_errno(), "prctl(PR_SET_CHILD_SUBREAPER)")


def _parents():
    parents = {}
    for entry in os.listdir("/proc"):
        if not entry.isdigit():
            continue
        try:
            with open(f"/proc/{entry}/stat", encoding="utf-8", errors="replace") as file:
                # The name in parentheses may hold anything, parentheses too.
                fields = file.read().rpartition(")")[2].split()
        except OSError:
            continue
        parents[int(entry)] = (int(fields[1]), fields[0])
    return parents


def descendants():
    """The process ids below this process, zombies left out."""
    parents = _parents()
    found, frontier = set(), {os.getpid()}
    while frontier:
        frontier = {pid for pid, (parent, _) in parents.items() if parent in frontier} - found
        found |= frontier
    return {pid for pid in found if parents[pid][1] != "Z"}


def _reap():
    try:
        while os.waitpid(-1, os.WNOHANG)[0] != 0:
            pass
    except ChildProcessError:
        pass


def end_descendants(spared=frozenset()):
    """Ends all descendants but the spared ones, and returns those that even that did not end."""
    for number in (signal.SIGTERM, signal.SIGKILL):
        end = time.monotonic() + _GRACE
        remaining = descendants() - spared
        for pid in remaining:
            try:
                os.kill(pid, number)
            except ProcessLookupError:
                pass
        while remaining and time.monotonic() < end:
            _reap()
            remaining = descendants() - spared
            time.sleep(0.01)
        if not remaining:
            break
    _reap()
    return remaining
