# SPDX-License-Identifier: MIT
"""A complete desktop without a screen, which leaves nothing behind."""

import os
import shutil
import tempfile

from .accessibility import Accessibility
from .browser import Browser
from .bus import start_bus
from .display import Screen, WaylandWindows, X11Windows
from .gnome import GnomeShell, Indicators
from .keyring import Keyring
from .notifications import NotificationDaemon, NotificationLog
from .plasma import PlasmaShell, SystemTray
from .processes import Program, adopt_orphans, descendants, end_descendants
from .tray import Tray
from .waiting import eventually
from .wallet import LoginWallet, Wallet

# PATH, and the variables of the sanitizers and of Qt's logging.
_INHERITED = ("PATH", "ASAN_OPTIONS", "UBSAN_OPTIONS", "LSAN_OPTIONS", "QT_LOGGING_RULES")
_STARTABLE = ("org.xfce.Xfconf", "org.a11y.Bus")
_PORTAL = ("org.freedesktop.portal.Desktop", "org.freedesktop.impl.portal.PermissionStore")
_PORTAL += tuple(f"org.freedesktop.impl.portal.desktop.{backend}" for backend in ("gnome", "gtk", "kde"))

# What manages the windows, and the tray and the notification daemon that go with it.
_DESKTOPS = {
    "x11": (X11Windows, "xfce", "dunst"),
    "wayland": (WaylandWindows, "waybar", "mako"),
    "gnome-x11": (GnomeShell, "indicators", "none"),
    "gnome-wayland": (GnomeShell, "indicators", "none"),
    "plasma-x11": (PlasmaShell, "plasma", "none"),
    "plasma-wayland": (PlasmaShell, "plasma", "none"),
}
WINDOWING = tuple(_DESKTOPS)
SHELLS = WINDOWING[2:]
_TRAY_HOSTS = {"indicators": Indicators, "plasma": SystemTray}
TRAYS = ("xfce", "lxqt", "waybar", *_TRAY_HOSTS, "none")
DAEMONS = ("dunst", "xfce", "mako", "none")
_WALLETS = {"kwallet": Wallet, "kwallet-login": LoginWallet}
KEYRINGS = ("unlocked", "locked", "new", *_WALLETS, "absent")


class Session:
    """A private home, message bus, screen, window manager, panel, notification daemon, keyring and browser.

    `windowing` is "x11" (xfwm4), "wayland" (sway), or GNOME Shell or Plasma on either, which are the tray host and the
    notification daemon as well, GNOME by its extension. `tray`, `notifications` and `keyring` choose the program, or
    "none" and "absent"; the components of these names start with the session unless they are named in `late`.
    With `portal`, the bus can start the desktop portal. With `blending`, xfwm4 and Plasma's window manager on X11 blend
    windows with what is behind them; GNOME and the compositors on Wayland always do. `scales` has the pixels for a point
    of each screen, on the shells' Wayland; where they are not 1, the pointer and the places of windows have different
    units. Only GNOME can have more than one screen. `install` is called with the session before its desktop starts.
    Use it as a context manager: all processes started in it, and their descendants, end with it. A process may have
    one session at a time; several processes may each have one.

    `screen`, `windows`, `browser` and `posted` (see the classes) always exist. `tray`, `notifications` and `keyring`
    are None if they are not wanted, and so is `accessibility`.
    """

    def __init__(self, windowing="x11", tray=None, notifications=None, keyring="unlocked", *, accessibility=True,
                 portal=False, blending=False, size=(1280, 800), scales=(1,), late=(),
                 install=lambda session: None):  # fmt: skip
        self.is_on_wayland = windowing.endswith("wayland")
        self.scales = scales
        self.is_blending = blending
        self._windows, own_tray, own_notifications = _DESKTOPS[windowing]
        self._tray = tray or own_tray
        self._notifications = notifications or own_notifications
        self._keyring = keyring
        self._accessibility = accessibility
        self._portal = portal
        self._size = size
        self._late = late
        self._install = install
        self._programs = []
        self.bus = self.accessibility = None

    def __enter__(self):
        adopt_orphans()
        self._spared = descendants()
        self.root = tempfile.mkdtemp(prefix="velmora-desktop.")
        try:
            self._come_up()
        except BaseException:
            self.end()
            raise
        return self

    def __exit__(self, *_):
        self.end()

    def folder(self, name):
        path = f"{self.root}/{name}"
        os.makedirs(path, mode=0o700, exist_ok=True)
        return path

    def start(self, name, arguments, environment=None):
        """Starts a program in the session and returns it. `environment` extends the session's environment."""
        return self.launch(name, arguments, environment=self.environment | (environment or {}))

    def launch(self, name, arguments, *, environment=None, output=None, **options):
        """Starts a part of the session itself. Parts are ended in reverse order at the end of the session."""
        log = output or f"{self.folder('logs')}/{name}.log"
        program = Program(name, arguments, environment or self.environment, log, **options)
        self._programs.append(program)
        return program

    def window_of(self, program):
        """Waits until the program shows exactly one window, and returns it."""

        def own():
            found = [window for window in self.windows.list() if window.pid == program.pid]
            return found[0] if len(found) == 1 else None

        return eventually(own, f"one window of {program.name}")

    def picture_of(self, program):
        """A picture of the program's only window, once it is still, without pointer and tooltips."""
        self.screen.move_pointer(0, self.screen.height - 1)
        window = self.window_of(program)
        eventually(lambda: not self._is_covered(window), "other windows to go from this one")
        return self.screen.settled_picture((window.x, window.y, window.width, window.height))

    def _resting_place(self, accessible):
        """Its centre, once two readings in a row agree: a window that has just opened may still move."""
        seen = [accessible.middle]

        def is_resting():
            seen.append(accessible.middle)
            return seen[-1] == seen[-2]

        eventually(is_resting, f"{accessible!r} to stay where it is")
        return seen[-1]

    def _is_covered(self, window):
        return any(other.pid != window.pid and other.overlaps(window) for other in self.windows.list())

    def click(self, accessible, button=1):
        """Clicks in the centre of the accessible object."""
        x, y = self._resting_place(accessible)
        if self.is_on_wayland:
            # On Wayland programs do not know the positions of their windows.
            window = next(window for window in self.windows.list() if window.pid == accessible.pid)
            x, y = x + window.x, y + window.y
        self.screen.click(x, y, button)

    def end(self):
        """Ends everything. Raises RuntimeError if a process could not be ended."""
        for connection in (self.accessibility, self.bus):
            if connection is not None:
                connection.close()
        self.bus = self.accessibility = None
        while self._programs:
            self._programs.pop().end()
        remaining = end_descendants(self._spared)
        shutil.rmtree(self.root, ignore_errors=True)
        if remaining:
            raise RuntimeError(f"processes that do not end: {sorted(remaining)}")

    def _come_up(self):
        self.runtime_folder = self.folder("run")
        self.environment = self._first_environment()
        self.screen = Screen(self, self._size)
        self.windows = self._windows(self, self.screen)
        # Activated programs inherit the bus's environment, which therefore needs screen and browser.
        self.browser = Browser(self)
        self._install(self)
        startable = _STARTABLE + self.windows.startable
        if self._portal:
            startable += _PORTAL
        if self._keyring != "absent":
            startable += self._kind_of_keyring().startable
        self.environment["DBUS_SESSION_BUS_ADDRESS"] = f"unix:path={self.runtime_folder}/bus"
        self.environment |= {"QT_LINUX_ACCESSIBILITY_ALWAYS_ON": "1"} if self._accessibility else {"NO_AT_BRIDGE": "1"}
        self.bus = start_bus(self, startable)
        if self._accessibility:
            self.accessibility = Accessibility(self)
        self.windows.start()
        self.posted = NotificationLog(self)
        self.keyring = self._component(self._kind_of_keyring(), "keyring", self._keyring)
        self.notifications = self._component(NotificationDaemon, "notifications", self._notifications)
        self.tray = self._component(_TRAY_HOSTS.get(self._tray, Tray), "tray", self._tray)

    def _kind_of_keyring(self):
        return _WALLETS.get(self._keyring, Keyring)

    def _component(self, kind, name, choice):
        if choice in ("none", "absent"):
            return None
        component = kind(self, choice)
        if name not in self._late:
            component.start()
        return component

    def _first_environment(self):
        environment = {name: os.environ[name] for name in _INHERITED if name in os.environ}
        environment |= {"LC_ALL": "C.UTF-8", "TZ": "UTC", "GSETTINGS_BACKEND": "memory"}
        environment |= {"HOME": self.folder("home"), "TMPDIR": self.folder("tmp")}
        for kind in ("CONFIG", "DATA", "CACHE", "STATE"):
            environment[f"XDG_{kind}_HOME"] = self.folder(f"home/{kind.lower()}")
        environment |= {"XDG_RUNTIME_DIR": self.runtime_folder, "XDG_CONFIG_DIRS": "/etc/xdg"}
        environment["XDG_DATA_DIRS"] = "/usr/local/share:/usr/share"
        return environment
