# SPDX-License-Identifier: MIT
"""A private message bus that can activate only chosen services, and calls on any bus."""

import os

from gi.repository import Gio, GLib

_SERVICE_FOLDER = "/usr/share/dbus-1/services"
_CONFIGURATION = """\
<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:path={socket}</listen>
  <servicedir>{services}</servicedir>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
"""
_DRIVER = ("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus")
_PROPERTIES = "org.freedesktop.DBus.Properties"
_GONE = ("org.freedesktop.DBus.Error.ServiceUnknown", "org.freedesktop.DBus.Error.NameHasNoOwner")


class BusError(Exception):
    """An error as the answer to a call; `name` is its D-Bus name."""

    def __init__(self, call, error):
        super().__init__(f"{call}: {error.message}")
        self.name = Gio.DBusError.get_remote_error(error) or error.domain

    @property
    def is_absence(self):
        """The called name has no owner."""
        return self.name in _GONE


class Bus:
    """A connection of the test to a bus. Calls block, for five seconds at most."""

    def __init__(self, address):
        self.address = address
        flags = Gio.DBusConnectionFlags
        self._connection = Gio.DBusConnection.new_for_address_sync(
            address, flags.AUTHENTICATION_CLIENT | flags.MESSAGE_BUS_CONNECTION, None, None
        )

    def call(self, service, path, interface, method, signature="()", *arguments, milliseconds=5000):
        """Returns the values of the answer; raises BusError for an error or without an answer."""
        try:
            answer = self._connection.call_sync(
                service, path, interface, method, GLib.Variant(signature, arguments), None,
                Gio.DBusCallFlags.NONE, milliseconds, None,
            )
        except GLib.Error as error:
            raise BusError(f"{service} {path} {interface}.{method}", error) from None
        return answer.unpack()

    def read(self, service, path, interface, name):
        """The value of a property."""
        return self.call(service, path, _PROPERTIES, "Get", "(ss)", interface, name)[0]

    def write(self, service, path, interface, name, signature, value):
        self.call(
            service, path, _PROPERTIES, "Set", "(ssv)", interface, name, GLib.Variant(signature, value)
        )

    def read_all(self, service, path, interface):
        return self.call(service, path, _PROPERTIES, "GetAll", "(s)", interface)[0]

    def has(self, name):
        """Whether the name has an owner."""
        return self.call(*_DRIVER, "NameHasOwner", "(s)", name)[0]

    def process_of(self, name):
        """The process id of the name's owner."""
        return self.call(*_DRIVER, "GetConnectionUnixProcessID", "(s)", name)[0]

    def close(self):
        self._connection.close_sync(None)


def start_bus(session, services, name="bus"):
    """Starts a bus that can activate the named services if they are installed, and connects to it. Its socket has the
    name in the runtime folder."""
    folder = session.folder(f"services-of-{name}")
    for service in services:
        original = f"{_SERVICE_FOLDER}/{service}.service"
        if os.path.exists(original):
            _copy_without_systemd(original, f"{folder}/{service}.service")
    socket = f"{session.runtime_folder}/{name}"
    configuration = f"{session.root}/{name}.conf"
    with open(configuration, "w", encoding="utf-8") as file:
        file.write(_CONFIGURATION.format(socket=socket, services=folder))
    command = ["dbus-daemon", "--nofork", "--nopidfile", f"--config-file={configuration}"]
    return session.launch(name, command).until(lambda: _connect(f"unix:path={socket}"))


def _copy_without_systemd(original, copy):
    """A session has no systemd, which the bus would ask to start the service."""
    with open(original, encoding="utf-8") as file:
        lines = [line for line in file if not line.startswith("SystemdService=")]
    with open(copy, "w", encoding="utf-8") as file:
        file.writelines(lines)


def _connect(address):
    try:
        return Bus(address)
    except GLib.Error:
        return None
