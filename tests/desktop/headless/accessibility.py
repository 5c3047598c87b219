# SPDX-License-Identifier: MIT
"""The accessible objects of windows, read from the accessibility bus like a screen reader does."""

from .bus import Bus, BusError
from .waiting import PATIENCE, eventually

_LAUNCHER = ("org.a11y.Bus", "/org/a11y/bus")
_REGISTRY = ("org.a11y.atspi.Registry", "/org/a11y/atspi/accessible/root")
_NOTHING = "/org/a11y/atspi/null"
_INTERFACE = "org.a11y.atspi."
# By the number of the bit in a set of states; unused states are left out.
_STATES = {
    1: "active", 3: "busy", 4: "checked", 5: "collapsed", 8: "enabled", 10: "expanded", 11: "focusable",
    12: "focused", 16: "modal", 20: "pressed", 22: "selectable", 23: "selected", 24: "sensitive", 25: "showing",
    30: "visible", 39: "default", 41: "checkable", 43: "read-only",
}  # fmt: skip
_SCREEN = 0


class Accessible:
    """An accessible object. Nothing is cached. Raises BusError if the object no longer exists."""

    def __init__(self, bus, service, path):
        self._bus = bus
        self._address = (service, path)

    def __eq__(self, other):
        return isinstance(other, Accessible) and self._address == other._address

    def __hash__(self):
        return hash(self._address)

    def __repr__(self):
        try:
            return f"{self.role} {self.name!r}"
        except BusError:
            return "what has gone"

    @property
    def name(self):
        return self._read("Accessible", "Name")

    @property
    def description(self):
        return self._read("Accessible", "Description")

    @property
    def role(self):
        """Such as "push button", "label" or "list item"."""
        return self._call("Accessible", "GetRoleName")[0]

    @property
    def states(self):
        (words,) = self._call("Accessible", "GetState")
        bits = sum(word << (32 * index) for index, word in enumerate(words))
        return {name for bit, name in _STATES.items() if bits >> bit & 1}

    @property
    def pid(self):
        """The process of its program."""
        return self._bus.process_of(self._address[0])

    @property
    def text(self):
        """The whole text of a line edit, label or other object with text."""
        return self._call("Text", "GetText", "(ii)", 0, -1)[0]

    @property
    def place(self):
        """x, y, width and height; relative to the screen on X11, to the window on Wayland."""
        return self._call("Component", "GetExtents", "(u)", _SCREEN)[0]

    @property
    def middle(self):
        x, y, width, height = self.place
        return x + width // 2, y + height // 2

    def children(self):
        found = self._call("Accessible", "GetChildren")[0]
        return [Accessible(self._bus, *address) for address in found if address[1] != _NOTHING]

    def actions(self):
        """The names of its actions, in the program's order."""
        return [name for name, _, _ in self._call("Action", "GetActions")[0]]

    def do(self, action):
        names = self.actions()
        if action not in names:
            raise AssertionError(f"{self!r} has no action {action!r}, only {names}")
        self._call("Action", "DoAction", "(i)", names.index(action))

    def press(self):
        self.do("Press")

    def focus(self):
        self._call("Component", "GrabFocus")

    def write(self, text):
        """Replaces the text of a field."""
        self._call("EditableText", "SetTextContents", "(s)", text)

    def descendants(self):
        """All descendants that are shown, in the order of the tree; none below a hidden object."""
        for child in self.children():
            try:
                if "showing" in child.states:
                    yield child
                    yield from child.descendants()
            except BusError:
                # It disappeared during the search, and its descendants with it.
                continue

    def all(self, role=None, name=None):
        """The descendants that are shown and have this role and exactly this name."""
        return list(self._fitting(role, name))

    def names(self, role):
        """The names of the descendants that are shown and have this role."""
        found = []
        for candidate in self._fitting(role, None):
            try:
                found.append(candidate.name)
            except BusError:
                continue
        return found

    def focused(self):
        """The descendant that is shown and has the focus, or None."""
        return next((element for element in self.descendants() if "focused" in element.states), None)

    def find(self, role=None, name=None, seconds=PATIENCE):
        """Waits for the first result of `all`."""
        what = f"{role or 'anything'} {'' if name is None else repr(name)} below {self!r}"
        return eventually(lambda: next(self._fitting(role, name), None), what, seconds)

    def _fitting(self, role, name):
        for candidate in self.descendants():
            try:
                fits = role in (None, candidate.role) and name in (None, candidate.name)
            except BusError:
                continue
            if fits:
                yield candidate

    def texts(self):
        """The names of all descendants that are shown."""
        return [candidate.name for candidate in self.all() if candidate.name]

    def outline(self, depth=0):
        """The tree as text, for writing tests and understanding failures."""
        lines = ["  " * depth + f"{self!r} {sorted(self.states & {'checked', 'focused', 'selected', 'showing'})}"]
        for child in self.children():
            try:
                lines += child.outline(depth + 1).splitlines()
            except BusError:
                continue
        return "\n".join(lines)

    def _call(self, interface, method, signature="()", *arguments):
        return self._bus.call(*self._address, _INTERFACE + interface, method, signature, *arguments)

    def _read(self, interface, name):
        return self._bus.read(*self._address, _INTERFACE + interface, name)


class Accessibility:
    """The accessibility bus of the session; accessibility is switched on for all programs."""

    def __init__(self, session):
        self._session = session
        session.bus.write(*_LAUNCHER, "org.a11y.Status", "IsEnabled", "b", True)
        (address,) = session.bus.call(*_LAUNCHER, "org.a11y.Bus", "GetAddress")
        self._bus = Bus(address)
        self._root = Accessible(self._bus, *_REGISTRY)

    def programs(self):
        return self._root.children()

    def program(self, pid, seconds=PATIENCE):
        """Waits for the root object of the process."""
        return eventually(lambda: self._of(pid), f"the windows of process {pid}", seconds)

    def _of(self, pid):
        for program in self.programs():
            try:
                if program.pid == pid:
                    return program
            except BusError:
                continue
        return None

    def close(self):
        self._bus.close()
