# SPDX-License-Identifier: MIT
"""Rules about texts and about C++ that no compiler checks. Each takes a path and a text, and yields (line, message)."""

import re

import plain_await
from cpp_text import matching, starts_lambda, tokens, without_texts

# What each folder of src may include, beside itself.
_LAYERS = {
    "support": [],
    "model": ["support"],
    "github": ["support", "model"],
    "platform": ["support"],
    "accounts": ["support", "model", "github", "platform"],
    "installations": ["support", "model", "github", "platform", "accounts"],
    "notifications": ["support", "model", "platform"],
    "monitor": ["support", "model", "github", "platform", "accounts", "installations", "notifications"],
    "control": ["support", "model", "github", "platform", "accounts", "installations", "notifications", "monitor"],
    "ui": ["support", "model", "github", "platform", "accounts", "installations", "notifications", "monitor"],
    "cli": [
        "support", "model", "github", "platform", "accounts", "installations", "notifications", "monitor", "control",
    ],
    "diagnostics": ["support", "model", "github", "platform", "accounts"],
    "app": None,
}
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
            allowed = _LAYERS.get(parts[1], [])
            if allowed is not None and target[0] in _LAYERS and target[0] not in (parts[1], *allowed):
                yield line, f"{parts[1]} must not know {target[0]}"
        own = parts[:2] == ["src", target[0]] and "linux" in parts
        if "linux" in target[:-1] and not own and parts[0] != "tests" and parts[:2] != ["src", "app"]:
            yield line, "only src/app knows the adapters of a platform"


def plain_awaits(path, text):
    if is_cpp(path):
        yield from plain_await.check(text)


def connects(path, text):
    """A functor without a context object outlives what it captured."""
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
    """AUTOMOC overlooks a Q_OBJECT that shares its line."""
    if not is_cpp(path):
        return
    for number, line in enumerate(without_texts(text).split("\n"), 1):
        if re.search(r"\bQ_OBJECT\b", line) and line.strip() != "Q_OBJECT":
            yield number, "Q_OBJECT stands on a line of its own"


def verified_peers(path, text):
    """A certificate that does not verify is an error, for everybody and always."""
    if not is_cpp(path) or not path.startswith("src/"):
        return
    for item in tokens(text):
        if item.text in ("ignoreSslErrors", "setPeerVerifyMode", "VerifyNone", "QueryPeer", "setDefaultConfiguration"):
            yield item.line, f"{item.text} takes part in switching the check of certificates off"


def header_guard(path, text):
    if path.endswith(".h") and not re.search(r"^#pragma once$", text, re.MULTILINE):
        yield 1, "no #pragma once"


_MARK = re.compile(r"\b(TO" r"DO|FIX" r"ME|X" r"XX)\b(?!: \S+ \S+ \S+)")
# Texts refer to nothing outside of the repository.
_OUTSIDE = re.compile(
    r"\bParts? \d+\.\d+|\bspe" r"c\.md\b|\.\./shar" r"ed\b|(?<![\w.])/wor" r"k/|/tmp/w" r"t/|\bissue #?\d+\b", re.IGNORECASE
)


def marks(path, text):
    for match in _MARK.finditer(text):
        yield _line(text, match.start()), f"{match.group(1)} without a reason (\"{match.group(1)}: why, in words\")"


def outside_references(path, text):
    for match in _OUTSIDE.finditer(text):
        yield _line(text, match.start()), f"\"{match.group()}\" means nothing to a reader of this repository"


def file_size(path, text):
    # Tests grow by cases, which stay readable in a long file.
    if is_cpp(path) and not path.startswith("tests/") and text.count("\n") > 400:
        yield 401, "more than 400 lines; split it"


SOURCE_RULES = [licence, layers, plain_awaits, connects, meta_object_macro, verified_peers, header_guard, file_size]
TEXT_RULES = [marks, outside_references]
