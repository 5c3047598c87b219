# SPDX-License-Identifier: MIT
"""A complete desktop without a screen, for tests: see session.py."""

from .accessibility import Accessible
from .picture import Picture
from .session import Session
from .waiting import eventually

__all__ = ["Accessible", "Picture", "Session", "eventually"]
