#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""The part of logind that unlocks the screen of a session, on the system bus of the test."""

from gi.repository import Gio, GLib

NAME = "org.freedesktop.login1"
SESSION = "/org/freedesktop/login1/session/test"
SESSION_INTERFACE = f"{NAME}.Session"
_MANAGER = "/org/freedesktop/login1"
_DESCRIPTION = f"""\
<node>
  <interface name="{NAME}.Manager">
    <method name="GetSession"><arg type="s" direction="in"/><arg type="o" direction="out"/></method>
    <method name="GetSessionByPID"><arg type="u" direction="in"/><arg type="o" direction="out"/></method>
  </interface>
  <interface name="{SESSION_INTERFACE}">
    <method name="Unlock"/>
    <method name="SetLockedHint"><arg type="b" direction="in"/></method>
    <signal name="Lock"/>
    <signal name="Unlock"/>
  </interface>
</node>
"""


def _answer(connection, _sender, path, interface, method, _arguments, call):
    """All processes are in the only session."""
    print(method, flush=True)
    if path == _MANAGER:
        call.return_value(GLib.Variant("(o)", (SESSION,)))
        return
    if method == "Unlock":
        connection.emit_signal(None, path, interface, method, None)
    call.return_value(None)


def _offer(connection, _name):
    described = Gio.DBusNodeInfo.new_for_xml(_DESCRIPTION)
    for path, interface in zip((_MANAGER, SESSION), described.interfaces):
        connection.register_object(path, interface, _answer, None, None)


if __name__ == "__main__":
    Gio.bus_own_name(Gio.BusType.SYSTEM, NAME, Gio.BusNameOwnerFlags.NONE, _offer, None, None)
    GLib.MainLoop().run()
