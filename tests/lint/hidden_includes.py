# SPDX-License-Identifier: MIT
"""Finds includes that the precompiled header hides: a header uses a name without including its declaration.

The build compiles each header alone, but with the precompiled header, because parsing Qt for each takes minutes. The
names that the precompiled header declares are therefore checked here."""

import re

from cpp_text import without_texts

# The includes of the precompiled header, and the names by which a header shows that it needs them.
_NAMES = {
    "QCoroTask": r"QCoro::Task\b",
    "QByteArray": r"\bQByteArray\b",
    "QHash": r"\bQHash\b",
    "QList": r"\bQList\b",
    "QObject": r"\bQ_OBJECT\b|:\s*public QObject\b",
    "QPointer": r"\bQPointer\b",
    "QString": r"\bQString\b",
    "QTimer": r"\bQTimer\b",
    "QUrl": r"\bQUrl\b",
    "algorithm": r"\bstd::(?:ranges::|max\b|min\b|clamp\b)",
    "chrono": r"\bstd::chrono\b",
    "functional": r"\bstd::function\b",
    "memory": r"\bstd::(?:unique_ptr|shared_ptr|weak_ptr|make_unique|make_shared)\b",
    "optional": r"\bstd::(?:optional|nullopt)\b",
    "stop_token": r"\bstd::stop_(?:token|source|callback)\b",
    "utility": r"\bstd::(?:move|forward|exchange|swap|pair)\b",
    "variant": r"\bstd::(?:variant|visit|monostate|get_if|holds_alternative)\b",
}
# All other headers of Qt include these.
_EVERYWHERE_IN_QT = {"QByteArray", "QList", "QObject", "QString"}
_INCLUDE = re.compile(r'^\s*#\s*include\s*(?:"([^"]+)"|<([^>]+)>)', re.MULTILINE)


def _included(path, read, seen):
    """The library headers that one of our files includes, directly or through our other headers."""
    result = set()
    for own, library in _INCLUDE.findall(read(path) or ""):
        if library:
            result.add(library)
        elif own not in seen:
            seen.add(own)
            result |= _included(own, read, seen)
    return result


def missing(path, read):
    """The missing includes of the header at the path, as (line, name). read(path) returns the text of one of our
    headers by its include path, or None."""
    text = without_texts(read(path))
    included = _included(path, read, {path})
    has_qt = any(name.startswith("Q") for name in included)
    for name, pattern in _NAMES.items():
        use = re.search(pattern, text)
        forward = re.search(rf"^class {name};", text, re.MULTILINE)
        brought = name in included or (has_qt and name in _EVERYWHERE_IN_QT)
        if use and not brought and not forward:
            yield text.count("\n", 0, use.start()) + 1, name
