# SPDX-License-Identifier: MIT
"""Finds signals that are never connected, which compilers do not report."""

from cpp_text import matching, tokens

_SECTIONS = ("public", "protected", "private")


def _opens_class(items, index):
    """The name of the class whose body starts with the "{" at `index`; None for other blocks."""
    start = index
    while start > 0 and items[start - 1].text not in (";", "{", "}", "class", "struct"):
        start -= 1
    if start == 0 or items[start - 1].text != "class" or items[start - 2].text == "enum":
        return None
    return items[start].text


def declared(text):
    """Yields (class, signal, line), except for classes on the session bus: other processes connect to those."""
    items = tokens(text)
    blocks, in_signals, exported = [], False, set()
    for index, item in enumerate(items):
        if item.text == "{":
            blocks.append(_opens_class(items, index))
            in_signals = False
        elif item.text == "}" and blocks:
            blocks.pop()
            in_signals = False
        elif item.text == "Q_CLASSINFO" and blocks:
            exported.add(blocks[-1])
        elif item.text in ("Q_SIGNALS", *_SECTIONS):
            in_signals = item.text == "Q_SIGNALS"
        elif in_signals and items[index - 1].text == "void" and items[index + 1].text == "(":
            if blocks[-1] not in exported:
                yield blocks[-1], item.text, item.line


def heard(text):
    """Yields (class, signal) for each signal that the text connects or waits for."""
    items = tokens(text)
    for index, item in enumerate(items[:-1]):
        if item.text not in ("connect", "untilTrue") or items[index + 1].text != "(":
            continue
        for position in range(index + 2, matching(items, index + 1) - 3):
            if items[position].text == "&" and items[position + 2].text == "::":
                yield items[position + 1].text, items[position + 3].text
                break


def check(sources):
    """Yields (path, line, message). `sources` maps the paths of src to their texts."""
    connected = {signal for text in sources.values() for signal in heard(text)}
    for path, text in sources.items():
        if path.endswith(".h"):
            for owner, name, line in declared(text):
                if (owner, name) not in connected:
                    yield path, line, f"nothing in src connects to {owner}::{name}"
