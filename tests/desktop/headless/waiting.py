# SPDX-License-Identifier: MIT
"""Waits for other processes by polling."""

import time

# Seconds. Long enough for a very busy machine; used up only on failure.
PATIENCE = 60.0
_PAUSE = 0.02


def eventually(condition, what, seconds=PATIENCE):
    """Returns the first true result of the condition. Raises TimeoutError, which names `what`."""
    end = time.monotonic() + seconds
    while True:
        answer = condition()
        if answer:
            return answer
        if time.monotonic() > end:
            raise TimeoutError(f"waited {seconds:g} seconds for {what}")
        time.sleep(_PAUSE)


def never(condition, what, seconds):
    """Raises AssertionError if the condition becomes true within this time."""
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        if condition():
            raise AssertionError(what)
        time.sleep(_PAUSE)
