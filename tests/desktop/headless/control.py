# SPDX-License-Identifier: MIT
"""The verbs of `control VERB …`, which the shell uses to control the session it runs in."""

import json
import os
import signal
import socket

from .bus import BusError

VARIABLE = "VELMORA_DESKTOP_CONTROL"
_COMPONENTS = ("tray", "notifications", "keyring")


class Control:
    """Carries out the verbs. A verb returns its output; a failure is an exception with a text."""

    def __init__(self, session):
        self._session = session
        self._verbs = {
            name[5:].replace("_", "-"): getattr(self, name) for name in dir(self) if name.startswith("verb_")
        }

    def answer(self, words):
        verb = self._verbs.get(words[0]) if words else None
        if verb is None:
            raise ValueError(f"the verbs are: {', '.join(sorted(self._verbs))}")
        try:
            return verb(*words[1:]) or ""
        except TypeError as error:
            raise ValueError(f"{words[0]}: {error}") from None

    def verb_start(self, component):
        self._component(component).start()

    def verb_stop(self, component):
        self._component(component).stop()

    def verb_kill(self, component):
        self._component(component).stop(signal.SIGKILL)

    def verb_picture(self, path):
        self._session.screen.settled_picture().save(path)

    def verb_click(self, x, y, button="1"):
        self._session.screen.click(int(x), int(y), int(button))

    def verb_click_tray(self, button="1"):
        self._session.tray.click(int(button))

    def verb_key(self, *keys):
        self._session.screen.key(*keys)

    def verb_type(self, text):
        self._session.screen.type(text)

    def verb_windows(self):
        return "\n".join(str(window) for window in self._session.windows.list())

    def verb_items(self):
        names = ("Id", "Title", "Status")
        return "\n".join(" ".join(item.read(name) for name in names) for item in self._session.tray.items())

    def verb_menu(self):
        return "\n".join("---" if entry.is_separator else entry.label for entry in self._session.tray.item().menu())

    def verb_choose(self, label):
        self._session.tray.item().choose(label)

    def verb_outline(self):
        return "\n".join(program.outline() for program in self._programs())

    def verb_read(self, role, name):
        found = self._find(role, name)
        try:
            return found.text
        except BusError:
            return found.name

    def verb_press(self, role, name):
        self._find(role, name).press()

    def verb_click_on(self, role, name, button="1"):
        self._session.click(self._find(role, name), int(button))

    def verb_opened(self):
        return "\n".join(opened.address for opened in self._session.browser.opened())

    def verb_posted(self):
        return "\n".join(f"{posted.summary}\t{posted.body!r}" for posted in self._session.posted.posted())

    def _component(self, name):
        if name not in _COMPONENTS or getattr(self._session, name) is None:
            raise ValueError(f"the session has no component {name}")
        return getattr(self._session, name)

    def _programs(self):
        return self._session.accessibility.programs()

    def _find(self, role, name):
        for program in self._programs():
            found = program.all(role, name)
            if found:
                return found[0]
        raise ValueError(f"nothing is shown that is a {role} {name!r}")


class Server:
    """Listens for verbs at a socket in the session's folder. `serve` must be called repeatedly."""

    def __init__(self, session):
        self._control = Control(session)
        self.path = os.path.join(session.root, "control")
        self._socket = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
        self._socket.bind(self.path)
        self._socket.listen()

    def serve(self, seconds):
        """Waits for one request for at most this time, and answers it."""
        self._socket.settimeout(seconds)
        try:
            connection, _ = self._socket.accept()
        except TimeoutError:
            return
        with connection, connection.makefile("rw", encoding="utf-8") as stream:
            connection.settimeout(None)
            answer = {"output": "", "error": ""}
            try:
                answer["output"] = self._control.answer(json.loads(stream.readline()))
            except (ValueError, AssertionError, RuntimeError, OSError, BusError) as error:
                answer["error"] = str(error)
            stream.write(json.dumps(answer) + "\n")

    def close(self):
        self._socket.close()


def ask(words):
    """Sends the verb to the session of this process; returns output and error."""
    with socket.socket(socket.AF_UNIX, socket.SOCK_STREAM) as connection:
        connection.connect(os.environ[VARIABLE])
        with connection.makefile("rw", encoding="utf-8") as stream:
            stream.write(json.dumps(words) + "\n")
            stream.flush()
            answer = json.loads(stream.readline())
    return answer["output"], answer["error"]
