# SPDX-License-Identifier: MIT
"""A part of the desktop that can start late, end, and start again."""

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
        """Writes the files that the program reads at its start."""

    def is_ready(self):
        return self.session.bus.has(self.service)

    @property
    def is_running(self):
        return self.program is not None and self.program.is_running

    def start(self):
        """Starts the component and waits until it is ready."""
        if self.is_running:
            raise RuntimeError(f"{self.name} runs already")
        self.prepare()
        self.program = self.session.launch(self.name, self.arguments, standard_input=self.standard_input)
        self.program.until(self.is_ready)

    def stop(self, number=signal.SIGTERM):
        """Ends the component and waits until its name has left the bus. SIGKILL simulates a crash."""
        self.program.end(number)
        eventually(lambda: not self.session.bus.has(self.service), f"{self.name} to leave the bus")

    def restart(self):
        self.stop()
        self.start()
