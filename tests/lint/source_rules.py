# SPDX-License-Identifier: MIT
"""Rules for texts and C++ that compilers do not check. Each takes a path and a text, and yields (line, message)."""

import re

import plain_await
from cpp_text import matching, starts_lambda, tokens, without_texts

# The folders of src, from the bottom up. Each may include those below it, except the listed ones.
_LAYERS = {
    "support": [],
    "model": [],
    "http": ["model"],
    "dbus": ["model", "http"],
    "github": ["dbus"],
    "platform": ["model", "http", "github"],
    "accounts": ["dbus"],
    "installations": ["dbus", "http"],
    "notifications": ["http", "github", "accounts", "installations"],
    "settings": ["dbus", "http", "github", "accounts", "installations"],
    "monitor": ["dbus", "http", "settings"],
    "presentation": ["dbus", "http"],
    "control": ["http", "presentation"],
    "ui": ["dbus", "http", "github", "control"],
    "cli": ["dbus", "http", "github", "ui"],
    "diagnostics": ["monitor", "settings", "control", "ui", "cli"],
    "app": [],
}
_ORDER = list(_LAYERS)
# Headers of adapters, named after their protocol.
_ADAPTER = re.compile(
    r"(platform|notifications|control)/(autostart|background_portal|browser|clipboard|dbus_menu|freedesktop|glib|gnome|"
    r"logind|plasma|portal|remote_control|control_service|status_notifier)"
)
_INCLUDE = re.compile(r'^\s*#\s*include\s*"([^"]+)"', re.MULTILINE)


def is_cpp(path):
    return path.endswith((".h", ".cpp"))


def _line(text, position):
    return text.count("\n", 0, position) + 1


def licence(path, text):
    if "SPDX-License-Identifier: MIT" not in "\n".join(text.split("\n")[:3]):
        yield 1, "no SPDX-License-Identifier line at the top"


def layers(path, text):
    parts = path.split("/")
    if not is_cpp(path):
        return
    for match in _INCLUDE.finditer(text):
        included = match.group(1)
        target = included.split("/")
        line = _line(text, match.start())
        if parts[0] == "src" and len(parts) > 2:
            if target[0] in _LAYERS and not _may_include(parts[1], target[0]):
                yield line, f"{parts[1]} must not know {target[0]}"
        stranger = parts[0] not in ("tests", "src") or parts[0] == "src" and parts[1] not in ("app", target[0])
        if _ADAPTER.match(included) and stranger:
            yield line, "only src/app knows the adapter behind a port"


def _may_include(folder, target):
    below = _ORDER[: _ORDER.index(folder) + 1] if folder in _LAYERS else []
    return target in below and target not in _LAYERS[folder]


def plain_awaits(path, text):
    if is_cpp(path):
        yield from plain_await.check(text)


def connects(path, text):
    """Connections to a functor need a context object; otherwise it may outlive its captures."""
    if not is_cpp(path):
        return
    items = tokens(text)
    for index, item in enumerate(items[:-1]):
        if item.text not in ("connect", "singleShot") or items[index + 1].text != "(":
            continue
        close = matching(items, index + 1)
        starts, position = [index + 2], index + 2
        while position < close:
            if items[position].text in "([{":
                position = matching(items, position)
            elif items[position].text == ",":
                starts.append(position + 1)
            position += 1
        expected = 3 if item.text == "connect" else 2
        if len(starts) == expected and starts_lambda(items, starts[-1]):
            yield item.line, f"{item.text} with a lambda and no context object"


def meta_object_macro(path, text):
    """Q_OBJECT must have a line of its own; AUTOMOC overlooks others."""
    if not is_cpp(path):
        return
    for number, line in enumerate(without_texts(text).split("\n"), 1):
        if re.search(r"\bQ_OBJECT\b", line) and line.strip() != "Q_OBJECT":
            yield number, "Q_OBJECT stands on a line of its own"


def verified_peers(path, text):
    """The program must never skip the verification of certificates."""
    if not is_cpp(path) or not path.startswith("src/"):
        return
    for item in tokens(text):
        if item.text in ("ignoreSslErrors", "setPeerVerifyMode", "VerifyNone", "QueryPeer", "setDefaultConfiguration"):
            yield item.line, f"{item.text} takes part in switching the check of certificates off"


def header_guard(path, text):
    if path.endswith(".h") and not re.search(r"^#pragma once$", text, re.MULTILINE):
        yield 1, "no #pragma once"


_MARK = re.compile(r"\b(TO" r"DO|FIX" r"ME|X" r"XX)\b(?!: \S+ \S+ \S+)")


def marks(path, text):
    for match in _MARK.finditer(text):
        yield _line(text, match.start()), f"{match.group(1)} without a reason (\"{match.group(1)}: why, in words\")"


SOURCE_RULES = [licence, layers, plain_awaits, connects, meta_object_macro, verified_peers, header_guard]
TEXT_RULES = [marks]
