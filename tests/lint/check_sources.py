#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Checks every file of the repository against source_rules.py, and src and the tests as wholes.

Usage: check_sources.py [root]"""

import os
import re
import sys

sys.dont_write_bytecode = True
import hidden_includes  # noqa: E402
import named_tests  # noqa: E402
import source_rules  # noqa: E402
import unheard_signals  # noqa: E402

_SKIPPED_FOLDERS = {".git", "build", "node_modules", "corpus", "__pycache__"}
_SKIPPED_FILES = {".git", "LICENSE", "package-lock.json"}
_SOURCE_SUFFIXES = (".h", ".cpp", ".py", ".cmake", "CMakeLists.txt", ".sh", ".js", ".mjs")


def files(root):
    for folder, folders, names in os.walk(root):
        folders[:] = sorted(name for name in folders if name not in _SKIPPED_FOLDERS)
        for name in sorted(names):
            path = os.path.join(folder, name)
            if name not in _SKIPPED_FILES and not os.path.islink(path):
                yield os.path.relpath(path, root)


def is_source(path, text):
    return path.endswith(_SOURCE_SUFFIXES) or text.startswith("#!")


def check(path, text):
    rules = list(source_rules.TEXT_RULES)
    if is_source(path, text):
        rules += source_rules.SOURCE_RULES
    for rule in rules:
        for line, message in rule(path, text):
            yield f"{path}:{line}: {message}"


def check_headers(root):
    """Every header of the program and of the simulator must include what it uses, without the precompiled header."""
    roots = [os.path.join(root, "src"), root]

    def read(path):
        for folder in roots:
            if os.path.isfile(os.path.join(folder, path)):
                with open(os.path.join(folder, path), encoding="utf-8") as file:
                    return file.read()
        return None

    for path in files(root):
        if path.endswith(".h") and path.startswith(("src/", "simulator/")):
            for line, name in hidden_includes.missing(path.removeprefix("src/"), read):
                yield f"{path}:{line}: <{name}> is not included"


def main():
    root = sys.argv[1] if len(sys.argv) > 1 else os.path.join(os.path.dirname(__file__), "..", "..")
    findings, count, product, tested = [], 0, {}, {}
    for path in files(root):
        with open(os.path.join(root, path), "rb") as file:
            content = file.read()
        try:
            text = content.decode("utf-8")
        except UnicodeDecodeError:
            continue
        count += 1
        findings += check(path, text)
        if path.startswith("src/") and source_rules.is_cpp(path):
            product[path] = text
        elif path == named_tests.DOCUMENT or re.fullmatch(r"tests/[^/]+/[^/]+\.(cpp|py)", path):
            tested[path] = text
    findings += [f"{named_tests.DOCUMENT}:{line}: {message}" for line, message in named_tests.check(tested)]
    findings += [f"{path}:{line}: {message}" for path, line, message in unheard_signals.check(product)]
    findings += check_headers(root)
    print("\n".join(findings), end="\n" if findings else "")
    print(f"{count} files, {len(findings)} findings")
    # With fewer files the walk must have missed the sources.
    return 1 if findings or count < 50 else 0


if __name__ == "__main__":
    sys.exit(main())
