# SPDX-License-Identifier: MIT
"""What the precompiled header would hide: a header that uses a name and includes nothing that declares it.

Every header is compiled alone, but below the precompiled header, for parsing Qt once for each of them takes minutes. So
the names that the precompiled header declares are looked for here."""

import re

from cpp_text import without_texts

# What the precompiled header includes, and by which names a header that needs it is known.
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
# Qt's other headers bring these along.
_EVERYWHERE_IN_QT = {"QByteArray", "QList", "QObject", "QString"}
_INCLUDE = re.compile(r'^\s*#\s*include\s*(?:"([^"]+)"|<([^>]+)>)', re.MULTILINE)


def _included(path, read, seen):
    """The headers of libraries that a file of ours includes, itself or through others of ours."""
    result = set()
    for own, library in _INCLUDE.findall(read(path) or ""):
        if library:
            result.add(library)
        elif own not in seen:
            seen.add(own)
            result |= _included(own, read, seen)
    return result


def missing(path, read):
    """The headers that the header at the path should include, as (line, name). read(path) is the text of a header of
    ours by the path that others include it with, or None."""
    text = without_texts(read(path))
    included = _included(path, read, {path})
    has_qt = any(name.startswith("Q") for name in included)
    for name, pattern in _NAMES.items():
        use = re.search(pattern, text)
        forward = re.search(rf"^class {name};", text, re.MULTILINE)
        brought = name in included or (has_qt and name in _EVERYWHERE_IN_QT)
        if use and not brought and not forward:
            yield text.count("\n", 0, use.start()) + 1, name
