# SPDX-License-Identifier: MIT
"""Checks that the tests which docs/reliability.md names exist."""

import re

DOCUMENT = "docs/reliability.md"
_NAME = re.compile(r"`([\w-]+)/(\w+)`")
_TEST = re.compile(r"\b(?:void|def) (\w+)\(")


def check(texts):
    """Yields (line, message). `texts` maps the paths of the document and of all tests to their texts."""
    tests = {(path.split("/")[1], name) for path, text in texts.items() if path.startswith("tests/")
             for name in _TEST.findall(text)}  # fmt: skip
    for number, line in enumerate(texts[DOCUMENT].split("\n"), 1):
        for folder, name in _NAME.findall(line):
            if (folder, name) not in tests:
                yield number, f"there is no test {folder}/{name}"
