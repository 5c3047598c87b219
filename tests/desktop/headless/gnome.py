# SPDX-License-Identifier: MIT
"""GNOME Shell: windows, tray items by its indicator extension, notifications and prompts, on X11 and on Wayland."""

import json
import os
import subprocess

from .bus import BusError, start_bus
from .display import Window
from .tray import TrayHost
from .waiting import eventually

_SHELL = "org.gnome.Shell"
_INDICATORS = "ubuntu-appindicators@ubuntu.com"
_EVALUATOR = "evaluator@velmora-tests"
_WAYLAND_SOCKET = "wayland-gnome"
_SETTINGS = (
    ("org.gnome.shell", "disable-user-extensions", "false"),
    ("org.gnome.shell", "disable-extension-version-validation", "true"),
    ("org.gnome.shell", "welcome-dialog-last-shown-version", "'99'"),
    ("org.gnome.desktop.interface", "enable-animations", "false"),
    ("org.gnome.desktop.screensaver", "lock-enabled", "false"),
    ("org.gnome.desktop.session", "idle-delay", "0"),
    ("org.gnome.desktop.background", "picture-options", "'none'"),
)
_METADATA = {
    "uuid": _EVALUATOR,
    "name": "Evaluator",
    "description": "Evaluates expressions of tests in the shell",
    "shell-version": ["43"],
    "session-modes": ["user", "unlock-dialog"],
}
_EXTENSION = """\
const {Gio} = imports.gi;
const Main = imports.ui.main;
const description = '<node><interface name="velmora.Tests"><method name="Evaluate"><arg type="s" direction="in"/>' +
    '<arg type="b" direction="out"/><arg type="s" direction="out"/></method></interface></node>';

class Evaluator {
    Evaluate(expression) {
        try {
            return [true, JSON.stringify(eval(expression)) ?? 'null'];
        } catch (error) {
            return [false, String(error)];
        }
    }
}

let exported = null;

function init() {}

function enable() {
    exported = Gio.DBusExportedObject.wrapJSObject(description, new Evaluator());
    exported.export(Gio.DBus.session, '/velmora/Tests');
}

function disable() {
    exported.unexport();
}
"""
_SCHEMES = {"light": "'default'", "dark": "'prefer-dark'"}
_PERMISSION = "org.gnome.desktop.notifications.application:/org/gnome/desktop/notifications/application/{}/"
_WINDOWS = """\
global.get_window_actors().map(actor => actor.meta_window)
    .filter(window => window.showing_on_its_workspace() && !window.minimized).map(window => {
        const place = window.get_frame_rect();
        return [window.get_title() ?? '', window.get_pid(), place.x, place.y, place.width, place.height,
                window.has_focus()];
    })
"""
_MOVE = """\
global.get_window_actors().map(actor => actor.meta_window).find(window => window.get_pid() === PID)
    .move_to_monitor(NUMBER)
"""
_ITEM_PLACE = """\
(() => {
    const [item] = Object.entries(Main.panel.statusArea).filter(([name, _]) => name.startsWith('appindicator-'))
        .map(([_, item]) => item);
    // Until it has its label it is not where it will be.
    if ((item?._label?.text ?? '') !== LABEL)
        return null;
    const [x, y] = item.get_transformed_position();
    const middle = [Math.round(x + item.width / 2), Math.round(y + item.height / 2)];
    // Before its first layout it is elsewhere.
    return Math.abs(middle[1] - Main.panel.height / 2) <= 1 ? middle : null;
})()
"""
_MENU_IS_OPEN = """\
Object.entries(Main.panel.statusArea)
    .some(([name, item]) => name.startsWith('appindicator-') && item.menu.isOpen && item.menu.numMenuItems > 0)
"""
_APPLICATIONS = """\
global.get_window_actors().map(actor => actor.meta_window).filter(window => window.get_pid() === PID)
    .map(window => imports.gi.Shell.WindowTracker.get_default().get_window_app(window))
    .map(application => [application.get_name(), application.get_icon().to_string()])
"""
_NOTIFICATIONS = """\
Main.messageTray.getSources().flatMap(source => source.notifications).map(notification => notification.title)
"""
_LISTED = """\
Main.panel.statusArea.dateMenu._messageList._notificationSection._messages
    .filter(message => message.mapped && message.notification) // one that goes has none
    .map(message => {
        const [x, y] = message.get_transformed_position();
        return [message.notification.title, Math.round(x + message.width / 2), Math.round(y + message.height / 2)];
    })
"""
_PRESS = """\
Main.messageTray.getSources().flatMap(source => source.notifications).flatMap(notification => notification.actions)
    .find(action => action.label === LABEL).callback()
"""


class GnomeShell:
    """The shell as the session's window manager; on Wayland it is nested in the screen."""

    startable = ("ca.desrt.dconf", "org.gnome.Shell.Notifications", "org.gnome.Shell.Extensions", "org.gnome.ScreenSaver")

    def __init__(self, session, screen):
        self._session = session
        self._screen = screen
        display = {"DISPLAY": screen.name, "XDG_SESSION_TYPE": "x11"}
        if session.is_on_wayland:
            display = {"WAYLAND_DISPLAY": _WAYLAND_SOCKET, "XDG_SESSION_TYPE": "wayland"}
        session.environment |= display | {
            "XDG_CURRENT_DESKTOP": "GNOME", "XDG_SESSION_DESKTOP": "gnome", "DESKTOP_SESSION": "gnome",
            "XDG_MENU_PREFIX": "gnome-", "XDG_SESSION_CLASS": "user", "GNOME_SHELL_SESSION_MODE": "user",
            "GSETTINGS_BACKEND": "dconf", "LIBGL_ALWAYS_SOFTWARE": "1",
            # Without anything on it: the shell gets along without logind and the like.
            "DBUS_SYSTEM_BUS_ADDRESS": f"unix:path={session.runtime_folder}/system-bus",
        }  # fmt: skip

    def start(self):
        self._install_evaluator()
        start_bus(self._session, (), "system-bus").close()
        for schema, key, value in _SETTINGS:
            self.set(schema, key, value)
        # It would round the scale otherwise.
        self.set("org.gnome.mutter", "experimental-features", "['scale-monitor-framebuffer']")
        self.set(_SHELL.lower(), "enabled-extensions", f"['{_EVALUATOR}']")
        if not self._session.is_on_wayland:
            # Tells programs the scale of texts.
            self._session.launch("settings", ["/usr/libexec/gsd-xsettings"])
        self._launch()

    def restart(self):
        """Restarts the shell, as after a crash. On X11 programs keep their windows."""
        self._program.end()
        eventually(lambda: not self._session.bus.has(_SHELL), "the shell to leave the bus")
        self._launch()

    def set(self, schema, key, value):
        """Changes a setting of the desktop; the value is in GVariant's text format."""
        command = ["gsettings", "set", schema, key, value]
        subprocess.run(command, env=self._session.environment, check=True, timeout=60)

    def choose_scheme(self, scheme):
        """Light or dark, as in the system settings."""
        self.set("org.gnome.desktop.interface", "color-scheme", _SCHEMES[scheme])

    def lock_screen(self):
        """Has the shell do what it does behind its lock screen, which needs a display manager: it hides all windows, and
        switches its extensions off."""
        self.evaluate("Main.sessionMode.pushMode('unlock-dialog')")

    def unlock_screen(self):
        self.evaluate("Main.sessionMode.popMode('unlock-dialog')")

    def scale_text(self, factor):
        self.set("org.gnome.desktop.interface", "text-scaling-factor", str(factor))

    def allow_notifications(self, application, are_allowed):
        """The switch of the application with this id in the system settings."""
        self.set(_PERMISSION.format(application.replace(".", "-").lower()), "enable", str(are_allowed).lower())

    def move_to_screen(self, pid, number):
        """Moves the only window of the process to another screen."""
        self.evaluate(_MOVE.replace("PID", str(pid)).replace("NUMBER", str(number)))

    def tidy(self):
        """Takes away what the shell says about this machine."""
        self.evaluate("Main.messageTray.getSources().forEach(source => source.destroy())")

    def evaluate(self, expression):
        """The value of an expression in JavaScript in the shell."""
        succeeded, answer = self._session.bus.call(
            _SHELL, "/velmora/Tests", "velmora.Tests", "Evaluate", "(s)", expression
        )
        if not succeeded:
            raise RuntimeError(answer)
        return json.loads(answer)

    def list(self):
        windows = [Window(*values) for values in self.evaluate(_WINDOWS)]
        return [window for window in windows if window.pid != self._program.pid]

    def application(self, pid):
        """Name and icon that the shell shows for the only window of the process."""
        (shown,) = self.evaluate(_APPLICATIONS.replace("PID", str(pid)))
        return tuple(shown)

    def notifications(self):
        """The titles in the shell's list of notifications."""
        return self.evaluate(_NOTIFICATIONS)

    def press_in_notification(self, label):
        """Presses the button with this label in a notification."""
        self.evaluate(_PRESS.replace("LABEL", json.dumps(label)))

    def open_history(self):
        """Opens the list of notifications, which takes what is shown of one off the screen."""
        self.evaluate("Main.panel.statusArea.dateMenu.menu.open()")

    def history(self):
        """The titles in the list of notifications while that is open."""
        return [title for title, _, _ in self.evaluate(_LISTED)]

    def click_in_history(self, title):
        """Clicks the only notification with this title in the open list."""
        seen = [None]

        def is_resting():
            seen.append(self.evaluate(_LISTED))
            return seen[-1] == seen[-2]

        eventually(is_resting, "the list to stay as it is")
        (place,) = [place for listed, *place in seen[-1] if listed == title]
        self._screen.click(*place)

    def _install_evaluator(self):
        folder = f"{self._session.environment['XDG_DATA_HOME']}/gnome-shell/extensions/{_EVALUATOR}"
        os.makedirs(folder)
        with open(f"{folder}/metadata.json", "w", encoding="utf-8") as file:
            json.dump(_METADATA, file)
        with open(f"{folder}/extension.js", "w", encoding="utf-8") as file:
            file.write(_EXTENSION)

    def _launch(self):
        environment = {**self._session.environment, "DISPLAY": self._screen.name}
        environment.pop("WAYLAND_DISPLAY", None)
        command = ["gnome-shell", "--x11", "--sm-disable"]
        if self._session.is_on_wayland:
            environment["MUTTER_DEBUG_DUMMY_MODE_SPECS"] = f"{self._screen.width}x{self._screen.height}"
            scales = self._session.scales
            environment["MUTTER_DEBUG_NUM_DUMMY_MONITORS"] = str(len(scales))
            environment["MUTTER_DEBUG_DUMMY_MONITOR_SCALES"] = ",".join(map(str, scales))
            # Without Xwayland, which would look for a free display number among those of other sessions.
            command = ["gnome-shell", "--nested", "--wayland", "--no-x11", "--wayland-display", _WAYLAND_SOCKET]
        self._program = self._session.launch("shell", command, environment=environment)
        self._program.until(self._has_started)
        # It begins with its overview, as at a login.
        self.evaluate("Main.overview.hide()")
        self._program.until(lambda: not self.evaluate("Main.overview.visible"))
        if self._session.is_on_wayland:
            search = ("search", "--onlyvisible", "--maxdepth", "1", "--name", ".*")
            window = self._program.until(lambda: self._screen.xdotool(*search).split()[1:])[0]
            self._screen.xdotool("windowmove", window, 0, 0, "windowfocus", window)

    def _has_started(self):
        try:
            return not self.evaluate("Main.layoutManager._startingUp")
        except BusError:
            return False


class Indicators(TrayHost):
    """The extension of the shell that shows tray items. A single click shows the menu of an item, by its design."""

    name = "indicators"

    def __init__(self, session, _):
        super().__init__(session, ())
        self._shell = session.windows

    @property
    def is_running(self):
        return self.is_ready()

    def start(self):
        self._shell.evaluate(f"Main.extensionManager.enableExtension('{_INDICATORS}')")
        eventually(self.is_ready, "the indicator extension")

    def stop(self, _=None):
        self._shell.evaluate(f"Main.extensionManager.disableExtension('{_INDICATORS}')")
        eventually(lambda: not self.session.bus.has(self.service), "the indicator extension to end")

    def place(self):
        def labelled():
            label = json.dumps(self.item().read("XAyatanaLabel"))
            return self._shell.evaluate(_ITEM_PLACE.replace("LABEL", label))

        return eventually(labelled, "the item in the top bar")

    def open_menu(self):
        """Opens the menu of the only item by a click, and waits until it takes keys."""
        self.click()
        eventually(lambda: self._shell.evaluate(_MENU_IS_OPEN), "the menu of the item")

    def activate(self):
        """Waits until the only item is drawn, and activates it by a double click."""
        eventually(self._is_drawn, "the item to be drawn")
        self.session.screen.double_click(*self.place())
