# SPDX-License-Identifier: MIT
"""The plain-await rule: what a statement with co_await must not contain.

Compilers destroy temporaries of such statements twice, or compile them to a crash. The rule: no {…}
initialiser, no lambda and no ?: beside a co_await, no co_await in the condition of an if, while, switch
or for, and none in a catch block. Everything is put into named locals first.
"""

from cpp_text import lambda_body, matching, starts_lambda, tokens

_CONDITIONS = ("if", "while", "switch", "for")
_DECLARES = ("namespace", "class", "struct", "union", "enum", "extern")
_BODY_AFTER = (")", "const", "noexcept", "override", "final", "mutable", "try")


class _Checker:
    def __init__(self, items):
        self.items = items
        self.findings = []

    def report(self, index, message):
        finding = (self.items[index].line, message)
        if finding not in self.findings:
            self.findings.append(finding)

    def block(self, start, end, is_function, in_catch=False):
        """Checks the statements between two braces, or of the whole file."""
        index = start
        while index < end:
            index = self.statement(index, end, is_function, in_catch)

    def statement(self, start, end, is_function, in_catch):
        """Checks the statement at `start`; returns the start of the next one."""
        first = self.items[start].text
        if first in (";", "}"):
            return start + 1
        if first == "{":
            close = matching(self.items, start)
            self.block(start + 1, close, is_function, in_catch)
            return close + 1
        if first in ("else", "do", "try", "public", "private", "protected", ":"):
            return start + 1
        if is_function and first in _CONDITIONS:
            return self.condition(start, in_catch)
        if is_function and first == "catch":
            opening = matching(self.items, start + 1) + 1
            close = matching(self.items, opening)
            self.block(opening + 1, close, True, True)
            return close + 1
        return self.plain(start, end, is_function, in_catch)

    def condition(self, start, in_catch):
        opening = start + 1
        while self.items[opening].text != "(":
            opening += 1
        close = matching(self.items, opening)
        part = opening + 1
        depth = 0
        is_range = self.items[start].text == "for"
        for index in range(opening + 1, close):
            text = self.items[index].text
            depth += (text in "([{") - (text in ")]}")
            if text == ";" and depth == 0:
                awaits = self.expression(part, index, in_catch)
                if awaits and part != opening + 1:
                    self.report(awaits[0], "co_await in the condition of for")
                part = index + 1
                is_range = False
        awaits = self.expression(part, close, in_catch)
        if awaits and not is_range:
            self.report(awaits[0], f"co_await in the condition of {self.items[start].text}")
        return close + 1

    def plain(self, start, end, is_function, in_catch):
        """Checks a statement or declaration up to its ";" or its block."""
        index = start
        while index < end:
            text = self.items[index].text
            if text == ";" or text == "}":
                break
            if text == ":" and is_function and self.items[start].text in ("case", "default"):
                break
            if starts_lambda(self.items, index):
                index = matching(self.items, lambda_body(self.items, index))
            elif text in "([":
                index = matching(self.items, index)
            elif text == "{":
                close = matching(self.items, index)
                if self.opens_block(start, index, is_function):
                    self.expression(start, index, in_catch)
                    declares = self.declares(start, index)
                    self.block(index + 1, close, not declares)
                    return close + 1
                index = close
            index += 1
        self.expression(start, index, in_catch)
        return index + 1

    def declares(self, start, brace):
        texts = [item.text for item in self.items[start:brace]]
        return any(word in texts for word in _DECLARES) and not ("(" in texts and texts[-1] in _BODY_AFTER)

    def opens_block(self, start, brace, is_function):
        if self.declares(start, brace):
            return True
        if is_function:
            return False
        texts = [item.text for item in self.items[start:brace]]
        if texts[-1] in _BODY_AFTER:
            return True
        if "->" in texts and "(" in texts:
            return True
        # The constructor's body after the last member initialiser.
        return texts[-1] == "}"

    def expression(self, start, end, in_catch):
        """Checks an expression, and the bodies of its lambdas as separate functions. Returns its awaits."""
        awaits, offence = [], None
        index = start
        while index < end:
            text = self.items[index].text
            if text == "co_await" and self.items[index - 1].text != "operator":
                awaits.append(index)
            elif starts_lambda(self.items, index):
                offence = offence or "a lambda"
                body = lambda_body(self.items, index)
                close = matching(self.items, body)
                self.block(body + 1, close, True)
                index = close
            elif text == "{":
                offence = offence or "a {…} initialiser"
            elif text == "?":
                offence = offence or "?:"
            index += 1
        if awaits and offence:
            self.report(awaits[0], f"co_await beside {offence} in one statement")
        if awaits and in_catch:
            self.report(awaits[0], "co_await in a catch block")
        return awaits


def check(source):
    """Returns pairs of line and message."""
    items = tokens(source)
    checker = _Checker(items)
    if any(item.text == "co_await" for item in items):
        checker.block(0, len(items), False)
    return sorted(checker.findings)
