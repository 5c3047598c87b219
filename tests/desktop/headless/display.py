# SPDX-License-Identifier: MIT
"""The screen: a display server in memory with a window manager or compositor, a pointer and a keyboard."""

import ctypes
import dataclasses
import glob
import json
import os
import re
import subprocess

from .picture import Picture
from .waiting import eventually

_NOBODY = 65534
# The buttons of the pointer in a mask of modifiers.
_BUTTONS = 0x1F00
# How long a picture waits for animations to end, in seconds.
_RESTLESSNESS = 2.0
# Number, title, size, position in the parent, position on the screen.
_LINE_OF_TREE = re.compile(
    r'^ *(0x[0-9a-f]+) (?:"(.*)"|\(has no name\)): .*?(\d+)x(\d+)[+-]-?\d+[+-]-?\d+ +[+](-?\d+)[+](-?\d+)$', re.M
)


@dataclasses.dataclass(frozen=True)
class Window:
    """A visible window. Its position is relative to the screen, in pixels."""

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
    """An Xvfb. A nested compositor uses its pointer and keyboard, too."""

    def __init__(self, session, size):
        self.width, self.height = size
        self._session = session
        self._memory = session.folder("screen")
        reader, writer = os.pipe()
        arguments = ["Xvfb", "-displayfd", str(writer), "-screen", "0", f"{self.width}x{self.height}x24"]
        arguments += ["-nolisten", "tcp", "-noreset", "-fbdir", self._memory]
        self._program = session.launch("screen", arguments, descriptors=(writer,))
        os.close(writer)
        # If the server ends, the pipe has no writer and the read returns.
        with os.fdopen(reader) as file:
            number = file.readline().strip()
        if not number:
            raise RuntimeError(f"the display server did not start: {self._program.output()}")
        self.name = f":{number}"

    def end(self):
        """Ends the display server, so that all programs lose the display."""
        self._program.end()

    def picture(self, area=None):
        """The current contents of the screen, or of the area x, y, width, height."""
        return Picture.of_window_dump(self._dump(), area)

    def settled_picture(self, area=None):
        """A picture that two dumps in a row agree on; the last one if the screen keeps changing."""
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
        """Runs xdotool; returns its output, which is empty if it fails or finds nothing."""
        environment = {"PATH": os.environ["PATH"], "DISPLAY": self.name}
        command = ["xdotool", *[str(argument) for argument in arguments]]
        answer = subprocess.run(
            command, env=environment, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, check=False, timeout=30
        )
        return answer.stdout.decode() if answer.returncode == 0 else ""

    def move_pointer(self, x, y):
        # Move aside first: a pointer that is already there would not enter a window that appeared below it.
        self.xdotool("mousemove", x + 1, y + 1, "mousemove", x, y)

    def click(self, x, y, button=1):
        self.move_pointer(x, y)
        self.xdotool("click", button)
        # The window manager holds a click back until it has looked at the window. What is held back is passed on with
        # the place where the pointer is then, so the pointer stays until the button counts as released.
        eventually(lambda: not self._is_button_pressed(), "the click to be passed on")

    def _is_button_pressed(self):
        xlib = ctypes.CDLL("libX11.so.6")
        xlib.XOpenDisplay.restype = ctypes.c_void_p
        xlib.XDefaultRootWindow.restype = ctypes.c_ulong
        display = ctypes.c_void_p(xlib.XOpenDisplay(self.name.encode()))
        root = ctypes.c_ulong(xlib.XDefaultRootWindow(display))
        mask = ctypes.c_uint()
        windows = [ctypes.byref(ctypes.c_ulong()) for _ in range(2)]
        places = [ctypes.byref(ctypes.c_int()) for _ in range(4)]
        xlib.XQueryPointer(display, root, *windows, *places, ctypes.byref(mask))
        xlib.XCloseDisplay(display)
        return bool(mask.value & _BUTTONS)

    def double_click(self, x, y):
        self.move_pointer(x, y)
        self.xdotool("click", "--repeat", "2", "--delay", "80", 1)
        eventually(lambda: not self._is_button_pressed(), "the clicks to be passed on")

    def drag(self, start, end):
        """Moves the pointer from a place to another one with the first button pressed."""
        halfway = [(here + there) // 2 for here, there in zip(start, end)]
        self.move_pointer(*start)
        # Compositors begin a move once the program has asked for it.
        self.xdotool("mousedown", 1, "sleep", 0.3, "mousemove", *halfway, "sleep", 0.3, "mousemove", *end,
                     "sleep", 0.3, "mouseup", 1)  # fmt: skip

    def key(self, *keys):
        """Presses keys or chords such as "Escape" or "ctrl+r" in turn."""
        self.xdotool("key", "--delay", "20", *keys)

    def type(self, text):
        self.xdotool("type", "--delay", "20", "--", text)


class X11Windows:
    """xfwm4 on the screen. `startable` are the services that the bus may start for it."""

    startable = ()

    def __init__(self, session, screen):
        self._session = session
        self._screen = screen
        environment = {"DISPLAY": screen.name, "XDG_SESSION_TYPE": "x11"}
        session.environment |= environment | {"GDK_BACKEND": "x11", "QT_QPA_PLATFORM": "xcb"}

    def start(self):
        """Starts the window manager. It needs the session's bus, so it is not started before."""
        compositor = "on" if self._session.is_blending else "off"
        command = ["xfwm4", f"--compositor={compositor}", "--sm-client-disable"]
        self._manager = self._session.launch("window-manager", command)
        self._manager.until(lambda: self._screen.xdotool("get_num_desktops"))

    def list(self):
        active = self._screen.xdotool("getactivewindow").strip()
        shown = self._screen.xdotool("search", "--onlyvisible", "--maxdepth", "3", "--name", ".*").split()
        tree = self._tree()
        windows = []
        for number in shown:
            # Windows missing from the tree were closed meanwhile. Those of the window manager are skipped.
            pid = int(self._screen.xdotool("getwindowpid", number).strip() or self._manager.pid)
            if number in tree and pid != self._manager.pid:
                title, *place = tree[number]
                place = _inside_shadow(place, self._extents(number))
                windows.append(Window(title, pid, *place, number == active))
        return windows

    def _extents(self, number):
        """What the window says to be its shadow, from the left, right, top and bottom."""
        command = ["xprop", "-id", number, "-notype", "_GTK_FRAME_EXTENTS"]
        return [int(pixels) for pixels in re.findall(r"\d+", self._asked(command))] or [0, 0, 0, 0]

    def _tree(self):
        """Title, x, y, width and height of every window. The positions from xdotool count the frame twice."""
        listed = eventually(self._listed, "xwininfo to list the windows")
        tree = {}
        for number, title, width, height, x, y in _LINE_OF_TREE.findall(listed):
            tree[str(int(number, 16))] = (title, int(x), int(y), int(width), int(height))
        return tree

    def _listed(self):
        """The output of xwininfo; empty if it fails because a window is closed meanwhile."""
        return self._asked(["xwininfo", "-root", "-tree"])

    def _asked(self, command):
        """The output of a program that asks the display server; empty if it fails."""
        environment = {"PATH": os.environ["PATH"], "LC_ALL": "C.UTF-8", "DISPLAY": self._screen.name}
        answer = subprocess.run(
            command, env=environment, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, check=False, timeout=30
        )
        return answer.stdout.decode() if answer.returncode == 0 else ""


def _inside_shadow(place, extents):
    x, y, width, height = place
    left, right, top, bottom = extents
    return x + left, y + top, width - left - right, height - top - bottom


class WaylandWindows:
    """sway; its only output is a window that fills the screen."""

    startable = ()

    def __init__(self, session, screen):
        folder = session.folder("wayland")
        configuration = f"{folder}/sway.conf"
        with open(configuration, "w", encoding="utf-8") as file:
            file.write(f"xwayland disable\noutput X11-1 resolution {screen.width}x{screen.height}\n")
            file.write("default_border none\ndefault_floating_border none\n")
        user = None
        if os.geteuid() == 0:
            # sway refuses to run as root, so it runs as another user.
            user = _NOBODY
            os.chmod(session.root, 0o711)
            os.chown(folder, user, user)
        environment = {"PATH": os.environ["PATH"], "LC_ALL": "C.UTF-8", "HOME": folder, "XDG_RUNTIME_DIR": folder}
        environment |= {"DISPLAY": screen.name, "WLR_BACKENDS": "x11", "WLR_RENDERER": "pixman"}
        command = ["sway", "-c", configuration]
        compositor = session.launch("compositor", command, environment=environment, user=user)
        self._socket = compositor.until(lambda: _first(f"{folder}/sway-ipc.*"))
        # WAYLAND_DISPLAY may be an absolute path.
        environment = {"WAYLAND_DISPLAY": compositor.until(lambda: _first(f"{folder}/wayland-?"))}
        environment |= {"XDG_SESSION_TYPE": "wayland", "XDG_CURRENT_DESKTOP": "sway", "SWAYSOCK": self._socket}
        session.environment |= environment | {"GDK_BACKEND": "wayland", "QT_QPA_PLATFORM": "wayland"}
        # The only window beside the root window, which comes first.
        search = ("search", "--onlyvisible", "--maxdepth", "1", "--name", ".*")
        window = compositor.until(lambda: screen.xdotool(*search).split()[1:])[0]
        screen.xdotool("windowmove", window, 0, 0, "windowfocus", window)

    def start(self):
        """Does nothing: the compositor runs already, because programs of the bus need its socket."""

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
