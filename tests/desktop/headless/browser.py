# SPDX-License-Identifier: MIT
"""A fake web browser that records the addresses it is told to open."""

import dataclasses
import os

_SCRIPT = """\
#!/bin/sh
printf '%s\\t%s\\n' "$XDG_ACTIVATION_TOKEN" "$1" >>'{record}'
"""
_ENTRY = """\
[Desktop Entry]
Type=Application
Name=Browser
Exec={script} %u
MimeType=x-scheme-handler/http;x-scheme-handler/https;
"""
_ASSOCIATIONS = """\
[Default Applications]
x-scheme-handler/http=browser.desktop
x-scheme-handler/https=browser.desktop
"""


@dataclasses.dataclass(frozen=True)
class Opened:
    """An opened address with its activation token, which is empty for none."""

    address: str
    token: str


class Browser:
    """The default browser of the session, however programs look it up."""

    def __init__(self, session):
        self._record = f"{session.root}/opened"
        script = f"{session.root}/browser"
        _write(script, _SCRIPT.format(record=self._record))
        os.chmod(script, 0o755)
        _write(f"{session.environment['XDG_DATA_HOME']}/applications/browser.desktop", _ENTRY.format(script=script))
        _write(f"{session.environment['XDG_CONFIG_HOME']}/mimeapps.list", _ASSOCIATIONS)
        session.environment["BROWSER"] = script

    def opened(self):
        """All opened addresses, the oldest first."""
        if not os.path.exists(self._record):
            return []
        with open(self._record, encoding="utf-8") as file:
            lines = file.read().splitlines()
        return [Opened(address, token) for token, _, address in (line.partition("\t") for line in lines)]


def _write(path, content):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "w", encoding="utf-8") as file:
        file.write(content)
