# SPDX-License-Identifier: MIT
"""Panels that show tray items, and the items themselves."""

import dataclasses
import os

from gi.repository import GLib

from .bus import BusError
from .component import Component
from .waiting import eventually

_WATCHER = ("org.kde.StatusNotifierWatcher", "/StatusNotifierWatcher", "org.kde.StatusNotifierWatcher")
_ITEM = "org.kde.StatusNotifierItem"
_MENU = "com.canonical.dbusmenu"
_HEIGHT = 28

_XFCE = """\
<?xml version="1.0" encoding="UTF-8"?>
<channel name="xfce4-panel" version="1.0">
  <property name="configver" type="int" value="2"/>
  <property name="panels" type="array"><value type="int" value="1"/>
    <property name="panel-1" type="empty">
      <property name="position" type="string" value="p=6;x=0;y=0"/>
      <property name="position-locked" type="bool" value="true"/>
      <property name="length" type="uint" value="100"/>
      <property name="size" type="uint" value="28"/>
      <property name="plugin-ids" type="array"><value type="int" value="1"/><value type="int" value="2"/></property>
    </property>
  </property>
  <property name="plugins" type="empty">
    <property name="plugin-1" type="string" value="separator">
      <property name="expand" type="bool" value="true"/>
    </property>
    <property name="plugin-2" type="string" value="systray">
      <property name="square-icons" type="bool" value="true"/>
    </property>
  </property>
</channel>
"""
_LXQT = """\
panels=panel1

[panel1]
plugins=taskbar, statusnotifier
position=Top
desktop=0
panelSize=28

[taskbar]
type=taskbar

[statusnotifier]
alignment=Right
type=statusnotifier
"""
_WAYBAR = """\
{"layer": "top", "position": "top", "height": 28, "modules-right": ["tray"], "tray": {"icon-size": 20, "spacing": 6}}
"""

# The command of each panel, its file below the configuration folder, and the contents of that.
_PANELS = {
    "xfce": (
        ["xfce4-panel", "--disable-wm-check", "--sm-client-disable"],
        "xfce4/xfconf/xfce-perchannel-xml/xfce4-panel.xml",
        _XFCE,
    ),
    "lxqt": (["lxqt-panel"], "lxqt/panel.conf", _LXQT),
    "waybar": (["waybar"], "waybar/config", _WAYBAR),
}


class TrayHost(Component):
    """A part of the desktop that shows tray items. Subclasses say where the only item is drawn."""

    service = _WATCHER[0]

    def is_ready(self):
        try:
            return self.session.bus.read(*_WATCHER, "IsStatusNotifierHostRegistered")
        except BusError:
            return False

    def items(self):
        """The registered items whose programs answer; none without a watcher."""
        bus = self.session.bus
        try:
            registered = bus.read(*_WATCHER, "RegisteredStatusNotifierItems")
        except BusError:
            return []
        items = []
        for entry in registered:
            # Some hosts write "service@path".
            service, _, path = entry.replace("@/", "/").partition("/")
            item = TrayItem(bus, service, "/" + path if path else "/StatusNotifierItem")
            if item.is_there():
                items.append(item)
        return items

    def item(self):
        """Waits for an item and returns it; there must be only one."""
        found = eventually(self.items, "an item in the tray")
        if len(found) != 1:
            raise AssertionError(f"{len(found)} items are in the tray")
        return found[0]

    def click(self, button=1):
        """Waits until the only item is drawn, and clicks it."""
        eventually(self._is_drawn, "the item to be drawn")
        self.session.screen.click(*self.place(), button)

    def _is_drawn(self):
        """Whether the item's place has several colours; an empty panel has one."""
        x, y = self.place()
        return len(self.session.screen.picture((x - 8, y - 8, 16, 16)).colours()) > 1

    def place(self):
        """The centre of the only item."""
        raise NotImplementedError


class Tray(TrayHost):
    """A panel at the top of the screen that holds only the tray, at its right end."""

    name = "panel"

    def __init__(self, session, panel):
        command, self._file, self._content = _PANELS[panel]
        super().__init__(session, command)

    def prepare(self):
        path = f"{self.session.environment['XDG_CONFIG_HOME']}/{self._file}"
        # Keep what the panel has written since.
        if not os.path.exists(path):
            os.makedirs(os.path.dirname(path), exist_ok=True)
            with open(path, "w", encoding="utf-8") as file:
                file.write(self._content)

    def place(self):
        return self.session.screen.width - _HEIGHT // 2 - 2, _HEIGHT // 2


@dataclasses.dataclass(frozen=True)
class MenuEntry:
    """An entry of an item's menu, as a desktop reads it from the bus."""

    number: int
    label: str
    is_enabled: bool
    is_separator: bool


class TrayItem:
    """A StatusNotifierItem on the bus."""

    def __init__(self, bus, service, path):
        self._bus = bus
        self._address = (service, path)

    def is_there(self):
        try:
            return bool(self.read("Id"))
        except BusError:
            return False

    @property
    def pid(self):
        return self._bus.process_of(self._address[0])

    def read(self, name):
        """A property of the protocol, such as "Title", "Status" or "ToolTip"."""
        return self._bus.read(*self._address, _ITEM, name)

    def activate(self, x, y):
        """Does what a panel does for a left click."""
        self._bus.call(*self._address, _ITEM, "Activate", "(ii)", x, y)

    def menu(self):
        """The visible entries of its menu."""
        path = self.read("Menu")
        self._bus.call(self._address[0], path, _MENU, "AboutToShow", "(i)", 0)
        _, layout = self._bus.call(self._address[0], path, _MENU, "GetLayout", "(iias)", 0, -1, [])
        entries = []
        for number, properties, _ in layout[2]:
            if properties.get("visible", True):
                label = properties.get("label", "")
                is_separator = properties.get("type") == "separator"
                entries.append(MenuEntry(number, label, properties.get("enabled", True), is_separator))
        return entries

    def choose(self, label):
        """Clicks the menu entry with this label, mnemonics ignored."""
        for entry in self.menu():
            if entry.label.replace("_", "") == label:
                data = GLib.Variant("i", 0)
                service, path = self._address[0], self.read("Menu")
                self._bus.call(service, path, _MENU, "Event", "(isvu)", entry.number, "clicked", data, 0)
                return
        raise AssertionError(f'no entry "{label}" in {[entry.label for entry in self.menu()]}')
