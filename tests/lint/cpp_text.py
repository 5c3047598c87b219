# SPDX-License-Identifier: MIT
"""Splits C++ into tokens, without comments, string contents and preprocessor lines."""

import re
from typing import NamedTuple

_SKIPPED = re.compile(
    r"""
      //[^\n]*
    | /\*.*?\*/
    | (?:u8|u|U|L)?R"(?P<fence>[^()\\\s]{0,16})\(.*?\)(?P=fence)"
    | (?:u8|u|U|L)?"(?:\\.|[^"\\\n])*"
    | (?<![0-9A-Fa-f])(?:u8|u|U|L)?'(?:\\.|[^'\\\n])+'
    | ^[ \t]*\#(?:\\\n|[^\n])*
    """,
    re.VERBOSE | re.DOTALL | re.MULTILINE,
)
_TOKEN = re.compile(r"[A-Za-z_]\w*|\d[\w.']*|::|->|\[\[|\]\]|<=>|&&|\|\||[^\s\w]")


class Token(NamedTuple):
    text: str
    line: int


def without_texts(source):
    """The source with comments and preprocessor lines blanked and strings emptied."""

    def blank(match):
        lines = "\n" * match.group().count("\n")
        return ('""' if match.group().endswith('"') else " ") + lines

    return _SKIPPED.sub(blank, source)


def tokens(source):
    result, line, position = [], 1, 0
    text = without_texts(source)
    for match in _TOKEN.finditer(text):
        line += text.count("\n", position, match.start())
        position = match.start()
        # Split into single brackets: such a pair may also belong to a subscript inside a subscript or a lambda.
        if match.group() in ("[[", "]]"):
            result += [Token(match.group()[0], line)] * 2
        else:
            result.append(Token(match.group(), line))
    return result


_CLOSING = {"(": ")", "[": "]", "{": "}"}


def matching(items, start):
    """The index of the bracket that closes the one at `start`."""
    stack = []
    for index in range(start, len(items)):
        text = items[index].text
        if text in _CLOSING:
            stack.append(_CLOSING[text])
        elif stack and text == stack[-1]:
            stack.pop()
            if not stack:
                return index
    return len(items) - 1


def starts_lambda(items, index):
    """Whether the "[" at `index` opens the captures of a lambda: neither a subscript nor an attribute."""
    if items[index].text != "[":
        return False
    previous = items[index - 1].text if index else ""
    if previous == "[" or (index + 1 < len(items) and items[index + 1].text == "["):
        return False
    if previous in (")", "]") or previous == '"':
        return False
    keyword = previous in ("return", "co_return", "co_await", "co_yield", "case", "else", "do")
    return keyword or not re.fullmatch(r"\w+", previous)


def lambda_body(items, index):
    """The index of the "{" of the lambda whose captures start at `index`."""
    index = matching(items, index) + 1
    while index < len(items) and items[index].text != "{":
        if items[index].text == "(":
            index = matching(items, index)
        index += 1
    return index
