# SPDX-License-Identifier: MIT
"""What the tests on whole desktops share."""


class Desktop:
    """A test on GNOME Shell or Plasma."""

    windowing = ""

    def desktop(self, **options):
        return self.session(self.windowing, **options)

    def start_demo(self, session):
        velmora = self.start(session, "--demo", "--background")
        velmora.wait_for_item()
        return velmora

    def open_demo(self, session):
        """A demo whose window was opened by its item."""
        velmora = self.start_demo(session)
        session.tray.activate()
        velmora.wait_until_active()
        return velmora
