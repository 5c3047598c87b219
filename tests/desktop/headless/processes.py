# SPDX-License-Identifier: MIT
"""Starts the processes of a session, and ends all of them."""

import ctypes
import os
import signal
import subprocess
import time

from .waiting import PATIENCE, eventually

_PR_SET_CHILD_SUBREAPER = 36
# Seconds between SIGTERM and SIGKILL.
_GRACE = 3.0
# How many characters of a program's output to include in an error.
_ENOUGH = 2000


class Program:
    """A child of this process with its own log. The kernel kills it if this process dies."""

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
        """The exit code, or the negative number of a signal; None while the program runs."""
        return self._process.poll()

    @property
    def is_running(self):
        return self.exit_code is None

    def output(self):
        """Its output and error output so far."""
        with open(self.log, encoding="utf-8", errors="replace") as file:
            return file.read()

    def until(self, condition):
        """Waits for a true result of the condition; raises RuntimeError if the program ends or takes too long."""

        def answer():
            if not self.is_running:
                raise RuntimeError(f"{self.name} ended with {self.exit_code}: {self.output()[-_ENOUGH:]}")
            return condition()

        try:
            return eventually(answer, self.name)
        except TimeoutError as error:
            raise RuntimeError(f"{error}: {self.output()[-_ENOUGH:]}") from None

    def wait(self, seconds=PATIENCE):
        """Waits for its end; returns the exit code."""
        eventually(lambda: not self.is_running, f"{self.name} to end", seconds)
        return self.exit_code

    def send(self, number):
        if self.is_running:
            os.kill(self.pid, number)

    def end(self, number=signal.SIGTERM, patience=_GRACE):
        """Sends the signal, and SIGKILL after `patience` seconds; waits for the end."""
        self.send(number)
        try:
            self.wait(patience)
        except TimeoutError:
            self._process.kill()
            self._process.wait()


def adopt_orphans():
    """Makes this process adopt orphaned descendants from now on."""
    if ctypes.CDLL(None, use_errno=True).prctl(_PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0) != 0:
        raise OSError(ctypes.get_errno(), "prctl(PR_SET_CHILD_SUBREAPER)")


def _parents():
    parents = {}
    for entry in os.listdir("/proc"):
        if not entry.isdigit():
            continue
        try:
            with open(f"/proc/{entry}/stat", encoding="utf-8", errors="replace") as file:
                # The name in parentheses may contain anything, even parentheses.
                fields = file.read().rpartition(")")[2].split()
        except OSError:
            continue
        parents[int(entry)] = (int(fields[1]), fields[0])
    return parents


def descendants():
    """The process ids of all descendants of this process, without zombies."""
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
    """Ends all descendants but the spared ones; returns those that survived SIGKILL."""
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
