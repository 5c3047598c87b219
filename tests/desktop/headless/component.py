# SPDX-License-Identifier: MIT
"""A part of the desktop that can come late, end, and come again."""

import signal

from .waiting import eventually


class Component:
    """A program that serves a name on the session bus.

    `name` is for logs, `service` is the name on the bus, `arguments` the command. Subclasses prepare files in
    `prepare` and may wait for more than the name in `is_ready`.
    """

    name = ""
    service = ""
    standard_input = None

    def __init__(self, session, arguments):
        self.session = session
        self.arguments = arguments
        self.program = None

    def prepare(self):
        """Writes what the program reads when it starts."""

    def is_ready(self):
        return self.session.bus.has(self.service)

    @property
    def is_running(self):
        return self.program is not None and self.program.is_running

    def start(self):
        """Returns when the component can be used."""
        if self.is_running:
            raise RuntimeError(f"{self.name} runs already")
        self.prepare()
        self.program = self.session.launch(self.name, self.arguments, standard_input=self.standard_input)
        self.program.until(self.is_ready)

    def stop(self, number=signal.SIGTERM):
        """Returns when the bus knows that it has gone. SIGKILL is a crash."""
        self.program.end(number)
        eventually(lambda: not self.session.bus.has(self.service), f"{self.name} to leave the bus")

    def restart(self):
        self.stop()
        self.start()
