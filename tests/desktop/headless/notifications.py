# SPDX-License-Identifier: MIT
"""Notification daemons, and the notifications that programs post."""

import dataclasses
import glob
import struct

from gi.repository import Gio, GLib

from .bus import BusError
from .component import Component

_SERVICE = ("org.freedesktop.Notifications", "/org/freedesktop/Notifications", "org.freedesktop.Notifications")
_COMMANDS = {
    "dunst": ["dunst"],
    "mako": ["mako"],
    "xfce": (glob.glob("/usr/lib/*/xfce4/notifyd/xfce4-notifyd") or ["xfce4-notifyd"])[:1],
}


@dataclasses.dataclass(frozen=True)
class Posted:
    """A call of Notify as seen on the bus."""

    application: str
    replaces: int
    icon: str
    summary: str
    body: str
    actions: tuple
    hints: dict
    timeout: int


class NotificationDaemon(Component):
    name = "notification-daemon"
    service = _SERVICE[0]

    def __init__(self, session, daemon):
        super().__init__(session, _COMMANDS[daemon])


class NotificationLog:
    """Records all posts on the session bus, with any daemon or none. GNOME passes them on to its shell, which is another
    destination."""

    def __init__(self, session):
        command = ["dbus-monitor", "--session", "--pcap", f"interface='{_SERVICE[2]}',destination='{_SERVICE[0]}'"]
        self._path = f"{session.root}/notifications.pcap"
        self._bus = session.bus
        session.launch("notification-log", command, output=self._path).until(self._hears)

    def posted(self):
        """All notifications so far, the oldest first."""
        return [Posted(*content[:5], tuple(content[5]), content[6], content[7])
                for member, content in self._calls() if member == "Notify"]

    def _hears(self):
        try:
            self._bus.call(*_SERVICE, "GetServerInformation")
        except BusError:
            pass
        return any(self._calls())

    def _calls(self):
        with open(self._path, "rb") as file:
            content = file.read()
        at = 24
        while at + 16 <= len(content):
            (length,) = struct.unpack_from("=I", content, at + 8)
            blob = content[at + 16 : at + 16 + length]
            at += 16 + length
            if len(blob) < length:
                return
            message = Gio.DBusMessage.new_from_blob(blob, Gio.DBusCapabilityFlags.NONE)
            if message.get_message_type() == Gio.DBusMessageType.METHOD_CALL:
                body = message.get_body()
                yield message.get_member(), body.unpack() if body is not None else ()
