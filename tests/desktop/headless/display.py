# SPDX-License-Identifier: MIT
"""The screen: a display server in memory, with a window manager or a compositor on it, a pointer and a keyboard."""

import dataclasses
import glob
import json
import os
import re
import subprocess

from .picture import Picture
from .waiting import eventually

_NOBODY = 65534
# How long a picture waits for what moves, in seconds.
_RESTLESSNESS = 2.0
# Number, title, size, place in the parent, place on the screen.
_LINE_OF_TREE = re.compile(
    r'^ *(0x[0-9a-f]+) (?:"(.*)"|\(has no name\)): .*?(\d+)x(\d+)[+-]-?\d+[+-]-?\d+ +[+](-?\d+)[+](-?\d+)$', re.M
)


@dataclasses.dataclass(frozen=True)
class Window:
    """A window that is shown. Its place is absolute, in pixels."""

    title: str
    pid: int
    x: int
    y: int
    width: int
    height: int
    is_active: bool

    def overlaps(self, other):
        across = self.x < other.x + other.width and other.x < self.x + self.width
        return across and self.y < other.y + other.height and other.y < self.y + self.height


class Screen:
    """An Xvfb. Its pointer and keyboard serve a compositor inside it as well."""

    def __init__(self, session, size):
        self.width, self.height = size
        self._session = session
        self._memory = session.folder("screen")
        reader, writer = os.pipe()
        arguments = ["Xvfb", "-displayfd", str(writer), "-screen", "0", f"{self.width}x{self.height}x24"]
        arguments += ["-nolisten", "tcp", "-noreset", "-fbdir", self._memory]
        self._program = session.launch("screen", arguments, descriptors=(writer,))
        os.close(writer)
        # Without a server there is no writer, and the read ends.
        with os.fdopen(reader) as file:
            number = file.readline().strip()
        if not number:
            raise RuntimeError(f"the display server did not start: {self._program.output()}")
        self.name = f":{number}"

    def end(self):
        """Takes the display from every program, as the end of a session does."""
        self._program.end()

    def picture(self, area=None):
        """What is shown now, or the part of it in x, y, width and height."""
        return Picture.of_window_dump(self._dump(), area)

    def settled_picture(self, area=None):
        """A picture that two looks in a row agree on. What goes on moving is taken after a moment as it is."""
        seen = [self._dump()]

        def is_settled():
            seen.append(self._dump())
            return seen.pop(0) == seen[0]

        try:
            eventually(is_settled, "the screen to settle", _RESTLESSNESS)
        except TimeoutError:
            pass
        return Picture.of_window_dump(seen[0], area)

    def _dump(self):
        with open(f"{self._memory}/Xvfb_screen0", "rb") as file:
            return file.read()

    def xdotool(self, *arguments):
        """What xdotool printed; empty when it failed, as it does when it finds nothing."""
        environment = {"PATH": os.environ["PATH"], "DISPLAY": self.name}
        command = ["xdotool", *[str(argument) for argument in arguments]]
        answer = subprocess.run(
            command, env=environment, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, check=False, timeout=30
        )
        return answer.stdout.decode() if answer.returncode == 0 else ""

    def move_pointer(self, x, y):
        # A step aside first: a pointer that is there already would not enter what has appeared below it.
        self.xdotool("mousemove", x + 1, y + 1, "mousemove", x, y)

    def click(self, x, y, button=1):
        self.move_pointer(x, y)
        self.xdotool("click", button)

    def key(self, *keys):
        """Presses keys or chords such as "Escape" or "ctrl+r", one after the other."""
        self.xdotool("key", "--delay", "20", *keys)

    def type(self, text):
        self.xdotool("type", "--delay", "20", "--", text)


class X11Windows:
    """xfwm4 on the screen."""

    def __init__(self, session, screen):
        self._session = session
        self._screen = screen
        environment = {"DISPLAY": screen.name, "XDG_SESSION_TYPE": "x11"}
        session.environment |= environment | {"GDK_BACKEND": "x11", "QT_QPA_PLATFORM": "xcb"}

    def start(self):
        """Starts the window manager, which needs the session's bus."""
        command = ["xfwm4", "--compositor=off", "--sm-client-disable"]
        self._manager = self._session.launch("window-manager", command)
        self._manager.until(lambda: self._screen.xdotool("get_num_desktops"))

    def list(self):
        active = self._screen.xdotool("getactivewindow").strip()
        shown = self._screen.xdotool("search", "--onlyvisible", "--maxdepth", "3", "--name", ".*").split()
        tree = self._tree()
        windows = []
        for number in shown:
            # What is in no tree has gone while we looked. The window manager has windows of its own.
            pid = int(self._screen.xdotool("getwindowpid", number).strip() or self._manager.pid)
            if number in tree and pid != self._manager.pid:
                title, *place = tree[number]
                windows.append(Window(title, pid, *place, number == active))
        return windows

    def _tree(self):
        """Title, x, y, width and height of every window. The places that xdotool tells count the frame twice."""
        listed = eventually(self._listed, "xwininfo to list the windows")
        tree = {}
        for number, title, width, height, x, y in _LINE_OF_TREE.findall(listed):
            tree[str(int(number, 16))] = (title, int(x), int(y), int(width), int(height))
        return tree

    def _listed(self):
        """What xwininfo prints; empty when it failed, as it does when a window is closed while it asks for it."""
        command = ["xwininfo", "-root", "-tree", "-display", self._screen.name]
        environment = {"PATH": os.environ["PATH"], "LC_ALL": "C.UTF-8"}
        answer = subprocess.run(
            command, env=environment, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, check=False, timeout=30
        )
        return answer.stdout.decode() if answer.returncode == 0 else ""


class WaylandWindows:
    """sway, whose only output is a window that fills the screen."""

    def __init__(self, session, screen):
        folder = session.folder("wayland")
        configuration = f"{folder}/sway.conf"
        with open(configuration, "w", encoding="utf-8") as file:
            file.write(f"xwayland disable\noutput X11-1 resolution {screen.width}x{screen.height}\n")
            file.write("default_border none\ndefault_floating_border none\n")
        user = None
        if os.geteuid() == 0:
            # sway refuses to run as root: it, and only it, is somebody else.
            user = _NOBODY
            os.chmod(session.root, 0o711)
            os.chown(folder, user, user)
        environment = {"PATH": os.environ["PATH"], "LC_ALL": "C.UTF-8", "HOME": folder, "XDG_RUNTIME_DIR": folder}
        environment |= {"DISPLAY": screen.name, "WLR_BACKENDS": "x11", "WLR_RENDERER": "pixman"}
        command = ["sway", "-c", configuration]
        compositor = session.launch("compositor", command, environment=environment, user=user)
        self._socket = compositor.until(lambda: _first(f"{folder}/sway-ipc.*"))
        # WAYLAND_DISPLAY may be a whole path.
        environment = {"WAYLAND_DISPLAY": compositor.until(lambda: _first(f"{folder}/wayland-?"))}
        environment |= {"XDG_SESSION_TYPE": "wayland", "XDG_CURRENT_DESKTOP": "sway", "SWAYSOCK": self._socket}
        session.environment |= environment | {"GDK_BACKEND": "wayland", "QT_QPA_PLATFORM": "wayland"}
        # The only window but the root, which comes first.
        search = ("search", "--onlyvisible", "--maxdepth", "1", "--name", ".*")
        window = compositor.until(lambda: screen.xdotool(*search).split()[1:])[0]
        screen.xdotool("windowmove", window, 0, 0, "windowfocus", window)

    def start(self):
        """Nothing more: programs need to know the compositor's socket before the session's bus can start them."""

    def list(self):
        command = ["swaymsg", "--socket", self._socket, "--type", "get_tree", "--raw"]
        tree = json.loads(subprocess.run(command, stdout=subprocess.PIPE, check=True, timeout=30).stdout)
        return [
            Window(node["name"] or "", node["pid"], *(node["rect"][key] for key in ("x", "y", "width", "height")),
                   node["focused"])
            for node in _nodes(tree)
            if "pid" in node and node.get("visible")
        ]


def _first(pattern):
    return next(iter(sorted(glob.glob(pattern))), None)


def _nodes(node):
    yield node
    for child in node["nodes"] + node["floating_nodes"]:
        yield from _nodes(child)
