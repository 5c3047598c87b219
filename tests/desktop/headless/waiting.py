# SPDX-License-Identifier: MIT
"""Waiting for other processes, which announce nothing: by looking again and again."""

import time

# Long enough for a machine whose processors are all busy with something else; nobody waits for it when all goes well.
PATIENCE = 60.0
_PAUSE = 0.02


def eventually(condition, what, seconds=PATIENCE):
    """Returns the first true answer of the condition. Raises TimeoutError, which names what did not come."""
    end = time.monotonic() + seconds
    while True:
        answer = condition()
        if answer:
            return answer
        if time.monotonic() > end:
            raise TimeoutError(f"waited {seconds:g} seconds for {what}")
        time.sleep(_PAUSE)


def never(condition, what, seconds):
    """Looks for that long whether the condition stays untrue; raises AssertionError when it comes true."""
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        if condition():
            raise AssertionError(what)
        time.sleep(_PAUSE)
