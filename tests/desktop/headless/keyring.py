# SPDX-License-Identifier: MIT
"""The keyring of the session."""

import glob

from .bus import BusError
from .component import Component
from .waiting import eventually

_SERVICE = "org.freedesktop.secrets"
_PATH = "/org/freedesktop/secrets"
_INTERFACE = "org.freedesktop.Secret.Service"
_DEFAULT = f"{_PATH}/aliases/default"

PASSWORD = "a password of nothing"


class SecretService:
    """What programs ask for a default keyring, whichever program keeps it."""

    def items(self):
        """The attributes of all items, locked or not; secrets are not read."""
        bus = self.session.bus
        paths = bus.read(_SERVICE, _DEFAULT, "org.freedesktop.Secret.Collection", "Items")
        return [bus.read(_SERVICE, path, "org.freedesktop.Secret.Item", "Attributes") for path in paths]


class Keyring(SecretService, Component):
    """gnome-keyring with one keyring, which `PASSWORD` opens, or "new", with none."""

    name = "keyring"
    startable = ("org.gnome.keyring.SystemPrompter", "org.gnome.keyring.PrivatePrompter")
    service = _SERVICE

    def __init__(self, session, state):
        folder = f"{session.runtime_folder}/keyring"
        command = ["gnome-keyring-daemon", "--foreground", "--components=secrets", f"--control-directory={folder}"]
        super().__init__(session, command)
        self._state = state

    def start(self):
        """Starts the keyring in the state that the session was created with: unlocked, locked or new."""
        # The password creates the first keyring; later it unlocks it, as at a login.
        self.unlocks = self._state == "unlocked" or (self._state == "locked" and not self._exists())
        self.standard_input = PASSWORD.encode() if self.unlocks else None
        command = self.arguments
        self.arguments = command + ["--unlock"] if self.unlocks else command
        super().start()
        self.arguments = command
        if self._state == "locked":
            self.lock()

    def is_ready(self):
        # The default keyring appears shortly after the service.
        try:
            is_there = self.session.bus.call(_SERVICE, _PATH, _INTERFACE, "ReadAlias", "(s)", "default")[0] != "/"
            return is_there or self._state == "new"
        except BusError:
            return False

    def lock(self):
        self.session.bus.call(_SERVICE, _PATH, _INTERFACE, "Lock", "(ao)", [_DEFAULT])
        eventually(lambda: self.is_locked, "the keyring to lock")

    @property
    def is_locked(self):
        return self.session.bus.read(_SERVICE, _DEFAULT, "org.freedesktop.Secret.Collection", "Locked")

    def _exists(self):
        return bool(glob.glob(f"{self.session.environment['XDG_DATA_HOME']}/keyrings/*.keyring"))
