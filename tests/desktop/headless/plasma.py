# SPDX-License-Identifier: MIT
"""KDE Plasma: windows, tray items, notifications and wallet, on X11 and on Wayland."""

import os
import shutil
import subprocess
import sys

from . import login_manager
from .bus import BusError, start_bus
from .display import Window
from .tray import TrayHost
from .waiting import eventually

_SHELL = "org.kde.plasmashell"
_WINDOW_MANAGER = "org.kde.KWin"
_DAEMON = ("org.kde.kded5", "/kded", "org.kde.kded5")
_LOCKER = ("org.freedesktop.ScreenSaver", "/ScreenSaver", "org.freedesktop.ScreenSaver")
_TRAY_MODULE = "statusnotifierwatcher"
_NOTIFICATIONS = "org.freedesktop.Notifications"
_WAYLAND_SOCKET = "wayland-plasma"
# More than a black screen with a pointer has.
_COLOURS_OF_PICTURE = 100
_SCHEMES = {"light": "BreezeLight", "dark": "BreezeDark"}
# The text of org.kde.KGlobalSettings.notifyChange.
_FONT_CHANGED = 1
# Files of a profile that has been used before, without animations and services that have nothing to do here.
_FONT = "DejaVu Sans"
_POINTS = 10
_FILES = {
    "kdeglobals": f"[General]\nfont={_FONT},{_POINTS},-1,5,50,0,0,0,0,0\n[KDE]\nAnimationDurationFactor=0\n",
    "baloofilerc": "[Basic Settings]\nIndexing-Enabled=false\n",
    "ksplashrc": "[KSplash]\nEngine=none\n",
    "kscreenlockerrc": "[Daemon]\nAutolock=false\nLockOnResume=false\n",
    "kded5rc": "".join(
        f"[Module-{module}]\nautoload=false\n"
        for module in ("kscreen", "freespacenotifier", "networkmanagement", _TRAY_MODULE)
    ),
}
_LIST = """\
for (const window of workspace.clientList()) {
    const place = window.frameGeometry;
    if (!window.minimized)
        print("MARK " + [window.dock, window.pid, place.x, place.y, place.width, place.height,
                         window === workspace.activeClient, window.caption].join("|"));
}
print("MARK end");
"""

_PLAIN_BACKGROUND = """\
for (const desktop of desktops()) {
    desktop.wallpaperPlugin = "org.kde.color";
    desktop.currentConfigGroup = ["Wallpaper", "org.kde.color", "General"];
    desktop.writeConfig("Color", "61,90,110");
}
"""


class PlasmaShell:
    """KWin, kded and plasmashell; on Wayland KWin is nested in the screen."""

    startable = ("org.kde.ActivityManager", "org.kde.kglobalaccel", "org.kde.kiod5", "ca.desrt.dconf")

    def __init__(self, session, screen):
        self._session = session
        self._screen = screen
        self._lists = 0
        display = {"DISPLAY": screen.name, "XDG_SESSION_TYPE": "x11"}
        if session.is_on_wayland:
            display = {"WAYLAND_DISPLAY": _WAYLAND_SOCKET, "XDG_SESSION_TYPE": "wayland"}
        session.environment |= display | {
            "XDG_CURRENT_DESKTOP": "KDE", "XDG_SESSION_DESKTOP": "KDE", "DESKTOP_SESSION": "plasma",
            "KDE_FULL_SESSION": "true", "KDE_SESSION_VERSION": "5", "XDG_MENU_PREFIX": "kf5-",
            "XDG_SESSION_CLASS": "user", "LIBGL_ALWAYS_SOFTWARE": "1",
            # Without anything on it: Plasma gets along without logind and the like.
            "DBUS_SYSTEM_BUS_ADDRESS": f"unix:path={session.runtime_folder}/system-bus",
        }  # fmt: skip

    def start(self):
        self._system_bus = start_bus(self._session, (), "system-bus")
        for name, content in _FILES.items():
            with open(self._file(name), "w", encoding="utf-8") as file:
                file.write(content)
        self._write("kwinrc", ["Compositing"], "Enabled", str(self._session.is_blending).lower())
        # A login writes the colours of the scheme. Nothing is done for the scheme that is taken for the present one.
        for scheme in ("dark", "light"):
            self.choose_scheme(scheme, QT_QPA_PLATFORM="offscreen")
        self._launch_window_manager()
        self._launch_daemon()
        self._launch()

    def restart(self):
        """Restarts plasmashell, as after a crash."""
        self._program.end()
        eventually(lambda: not self._session.bus.has(_SHELL), "the shell to leave the bus")
        self._launch()

    def restart_daemon(self):
        """Restarts kded, which knows the tray items."""
        self._daemon.end()
        eventually(lambda: not self._session.bus.has(_DAEMON[0]), "kded to leave the bus")
        self._launch_daemon()

    def choose_scheme(self, scheme, **environment):
        """Light or dark, as in the system settings."""
        self._run("plasma-apply-colorscheme", _SCHEMES[scheme], **environment)

    def allow_notifications(self, application, are_allowed):
        """The switches of the application with this id in the system settings."""
        for key in ("ShowPopups", "ShowInHistory"):
            self._write("plasmanotifyrc", ["Applications", application], key, str(are_allowed).lower())

    def _write(self, file, groups, key, value):
        """Changes a setting in a file of the user's, as the system settings do."""
        within = [word for group in groups for word in ("--group", group)]
        self._run("kwriteconfig5", "--file", file, *within, "--key", key, value)

    def lock_screen(self):
        """Locks the screen, as its keys do; returns once it shows nothing else."""
        self._permit_unlocking()
        before = self._screen.picture()
        self._session.bus.call(*_LOCKER, "Lock", milliseconds=30000)
        eventually(self.is_locked, "the screen to be locked")
        eventually(lambda: self._has_drawn(before), "the lock screen")

    def unlock_screen(self):
        """Unlocks the screen, as `loginctl unlock-session` does."""
        self._system_bus.call(
            login_manager.NAME, login_manager.SESSION, login_manager.SESSION_INTERFACE, "Unlock"
        )
        eventually(lambda: not self.is_locked(), "the screen to be unlocked")

    def is_locked(self):
        return self._session.bus.call(*_LOCKER, "GetActive")[0]

    def _has_drawn(self, before):
        """Whether the screen has changed, and is no longer black, which it is at first."""
        now = self._screen.picture()
        return now != before and len(now.colours()) > _COLOURS_OF_PICTURE

    def _permit_unlocking(self):
        """Starts what the lock screen needs for its end, without which other tests do: no password opens it."""
        if self._system_bus.has(login_manager.NAME):
            return
        manager = self._session.launch("login-manager", [sys.executable, login_manager.__file__])
        manager.until(lambda: self._system_bus.has(login_manager.NAME))
        if not self._session.is_on_wayland:
            # On Wayland KWin locks the screen itself.
            self._session.launch("session-manager", ["ksmserver"])
        manager.until(lambda: "GetSession" in manager.output() and self._session.bus.has(_LOCKER[0]))

    def scale_text(self, factor):
        """Chooses a font in another size; a factor of 1 is the size at the start."""
        font = f"{_FONT},{round(_POINTS * factor)},-1,5,50,0,0,0,0,0"
        self._write("kdeglobals", ["General"], "font", font)
        self._run("dbus-send", "--session", "--type=signal", "/KGlobalSettings",
                  "org.kde.KGlobalSettings.notifyChange", f"int32:{_FONT_CHANGED}", "int32:0")  # fmt: skip

    def tidy(self):
        """Takes away the background picture, which has a licence of its own."""
        self.evaluate(_PLAIN_BACKGROUND)

    def evaluate(self, script):
        """What a script of Plasma's desktop scripting prints."""
        (printed,) = self._session.bus.call(
            _SHELL, "/PlasmaShell", "org.kde.PlasmaShell", "evaluateScript", "(s)", script
        )
        return printed

    def list(self):
        return [window for _, window in self._all() if window.pid != self._program.pid]

    def panel(self):
        """Where its only panel is."""
        return next(window for is_panel, window in self._all() if is_panel)

    def notifications(self):
        """The titles of the notifications that are shown."""
        return self.accessible().names("notification")

    def press_in_notification(self, label):
        """Presses the button with this label in a notification."""
        self.accessible().find("push button", label).press()

    def open_history(self):
        """Opens the list of notifications in the panel."""
        self.accessible().find("push button", "Notifications").press()

    def history(self):
        """The titles in the list of notifications while that is open."""
        return [name for name in self.accessible().names("filler") if name]

    def dismiss_in_history(self):
        """Takes the only notification off the open list."""
        self.accessible().find("push button", "Close").press()

    def accessible(self):
        """Panel, notifications and all else that plasmashell shows."""
        return self._session.accessibility.program(self._program.pid)

    def _all(self):
        """All windows that are not minimized, each with whether it is a panel."""
        self._lists += 1
        mark = f"list-{self._lists}"
        script = f"{self._session.folder('scripts')}/{mark}.js"
        with open(script, "w", encoding="utf-8") as file:
            file.write(_LIST.replace("MARK", mark))
        bus = self._session.bus
        scripting = (_WINDOW_MANAGER, "/Scripting", "org.kde.kwin.Scripting")
        (number,) = bus.call(*scripting, "loadScript", "(ss)", script, mark)
        bus.call(_WINDOW_MANAGER, f"/{number}", "org.kde.kwin.Script", "run")
        *lines, _ = eventually(lambda: self._printed(mark), "KWin's answer")
        bus.call(*scripting, "unloadScript", "(s)", mark)
        return [_window(line) for line in lines]

    def _printed(self, mark):
        """What the script has printed, once it has ended; the last line says so."""
        lines = [line.partition(f"{mark} ")[2] for line in self._manager.output().splitlines() if f"{mark} " in line]
        return lines if lines and lines[-1] == "end" else None

    def _file(self, name):
        return f"{self._session.environment['XDG_CONFIG_HOME']}/{name}"

    def _run(self, *command, **environment):
        # A missing X server is complained about on Wayland.
        subprocess.run(command, env=self._session.environment | environment, stdout=subprocess.DEVNULL,
                       stderr=subprocess.DEVNULL, check=True, timeout=60)  # fmt: skip

    def _launch_window_manager(self):
        environment = {**self._session.environment, "QT_LOGGING_RULES": "kwin_scripting.debug=true;js.debug=true"}
        command = ["kwin_x11"]
        if self._session.is_on_wayland:
            environment |= {"KWIN_COMPOSE": "Q", "DISPLAY": self._screen.name}
            environment.pop("WAYLAND_DISPLAY")
            # Without Xwayland, which would look for a free display number among those of other sessions.
            (scale,) = self._session.scales
            width, height = (str(round(pixels / scale)) for pixels in (self._screen.width, self._screen.height))
            command = [self._compositor(), "--x11-display", self._screen.name, "--width", width, "--height", height,
                       "--scale", str(scale), "--socket", _WAYLAND_SOCKET]
        self._manager = self._session.launch("window-manager", command, environment=environment)
        self._manager.until(lambda: self._session.bus.has(_WINDOW_MANAGER))

    def _compositor(self):
        """A copy of KWin: the file has a capability that may keep it from being run, and that a copy lacks."""
        copy = f"{self._session.root}/kwin_wayland"
        shutil.copyfile(shutil.which("kwin_wayland"), copy)
        os.chmod(copy, 0o700)
        return copy

    def _launch_daemon(self):
        self._daemon = self._session.launch("kded", ["kded5"])
        self._daemon.until(self._daemon_has_started)

    def _daemon_has_started(self):
        # It has its name before it answers.
        try:
            return self._session.bus.call(*_DAEMON, "loadedModules")
        except BusError:
            return False

    def _launch(self):
        self._program = self._session.launch("shell", ["plasmashell", "--no-respawn"])
        self._program.until(self._has_started)

    def _has_started(self):
        try:
            return self.evaluate("print(panels().length)") == "1" and self._session.bus.has(_NOTIFICATIONS)
        except BusError:
            return False


def _window(line):
    is_panel, pid, x, y, width, height, is_active, title = line.split("|", 7)
    place = (round(float(number)) for number in (x, y, width, height))
    return is_panel == "true", Window(title, int(pid), *place, is_active == "true")


class SystemTray(TrayHost):
    """The tray in plasmashell's panel, whose items kded knows."""

    name = "system-tray"

    def __init__(self, session, _):
        super().__init__(session, ())

    @property
    def is_running(self):
        return self.is_ready()

    def start(self):
        bus = self.session.bus
        bus.call(*_DAEMON, "setModuleAutoloading", "(sb)", _TRAY_MODULE, True)
        bus.call(*_DAEMON, "loadModule", "(s)", _TRAY_MODULE)
        eventually(self.is_ready, "Plasma's tray")

    def stop(self, _=None):
        bus = self.session.bus
        bus.call(*_DAEMON, "setModuleAutoloading", "(sb)", _TRAY_MODULE, False)
        bus.call(*_DAEMON, "unloadModule", "(s)", _TRAY_MODULE)
        eventually(lambda: not bus.has(self.service), "Plasma's tray to end")

    def place(self):
        # Plasma tells its panel where it is, on Wayland as well.
        return eventually(self._drawn, "the item in the panel").middle

    def _drawn(self):
        """The item as the panel draws it, which is named by its title."""
        shell = self.session.windows.accessible()
        return next(iter(shell.all("push button", self.item().read("Title"))), None)

    def open_menu(self):
        """Opens the menu of the only item, and waits until it is drawn, above the panel."""
        x, y = self.place()
        screen, above = self.session.screen, (x - 20, y - 120, 40, 40)
        before = screen.picture(above)
        self.click(button=3)
        eventually(lambda: screen.picture(above) != before, "the menu of the item")

    def activate(self):
        """Waits until the only item is drawn, and activates it by a click."""
        self.click()
