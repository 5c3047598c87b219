#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Tests that the rules find what they should, and nothing else."""

import sys
import unittest

sys.dont_write_bytecode = True
import check_sources  # noqa: E402
import hidden_includes  # noqa: E402
import named_tests  # noqa: E402
import plain_await  # noqa: E402
import source_rules  # noqa: E402
import unheard_signals  # noqa: E402

REFUSED_AWAITS = {
    "a lambda as argument": "co_await f([x] { return x; });",
    "a lambda awaited in place": "co_await [t]() -> Task<> { co_return; }();",
    "an aggregate as argument": "const auto r = co_await f(Request{.name = n});",
    "a braced argument": "co_await f({a, b});",
    "an empty braced argument": "co_await f(x, {});",
    "a braced result": "const Record r{.a = x, .t = co_await g()};",
    "a braced return": "co_return Record{co_await g()};",
    "?: around": "const auto x = b ? co_await g() : h();",
    "the condition of if": "if (co_await f()) { g(); }",
    "a negated condition": "if (!co_await f()) return;",
    "part of a condition": "if (x && co_await f()) return;",
    "the condition after an init statement": "if (const auto r = f(); co_await g(r)) return;",
    "the condition of while": "while (co_await f()) { g(); }",
    "the condition of do": "do { g(); } while (co_await f());",
    "the condition of switch": "switch (co_await f()) { case 1: break; }",
    "the condition of for": "for (int i = 0; co_await f(i); ++i) g();",
    "a catch block": "try { f(); } catch (const Error &error) { co_await g(); }",
    "nested deep": "for (auto x : xs) { if (x) { try { co_await f({x}); } catch (...) { } } }",
    "after case": "switch (x) { case A: co_await f({x}); break; }",
    "inside a lambda": "auto fn = [] (int x) -> Task<> { co_await f({x}); };",
    "after an attribute": "[[maybe_unused]] const auto x = co_await f(List{1});",
    "over lines": "const auto x = co_await f(a,\n    Request{.name = n});",
}

ACCEPTED_AWAITS = {
    "a named local": "Request r{.a = 1};\nconst auto x = co_await f(std::move(r));",
    "a lambda before": "auto fn = [x] { return x ? 1 : 2; };\nco_await f(std::move(fn));",
    "a constructor": "co_await f(T(x));",
    "a sum": "co_await f(a + b);",
    "awaits in awaits": "co_await f(co_await g());",
    "through a pointer": "const auto x = co_await m_client->f(y);",
    "the init statement of if": "if (const auto r = co_await f(); !r) co_return;",
    "a range-for": "for (const auto &item : items) { co_await f(item); }",
    "a range-for over an await": "for (const auto &item : co_await f()) { g(item); }",
    "try around": "try { const auto x = co_await f(); co_return x; } catch (const Error &) { failed = true; }",
    "a return without await": "const auto x = co_await f();\nco_return Record{x};",
    "after a braced loop": "for (int i = 0; i < 3; ++i) { a[i] = {i}; }\nco_await f();",
    "beside a comment": "co_await f(); // not {…}, not [x] and not ?:",
    "a text with signs": 'co_await f("{?[x]{}");',
    "a subscript": "co_await f(a[0], b[i][j]);",
    "a lambda that awaits, as argument of a plain call": "launch([] () -> Task<> { co_await f(); }(), x);",
    "else": "if (x) { f(); } else { co_await g(); }",
    "after a catch block": "try { f(); } catch (...) { g(); }\nco_await h();",
    "an attribute": "[[maybe_unused]] const auto x = co_await f();",
}

FRAMES = [
    "QCoro::Task<> Store::work(int x)\n{{\n{}\n}}\n",
    "namespace velmora {{ class A : public B {{ public: QCoro::Task<> f() const override {{ {}\n}} int m = 0; }}; }}",
    "template <typename T>\nauto f(T x) -> QCoro::Task<T>\n{{ {}\n}}",
    "A::A() : m_a{{1}}, m_b(2) {{ }}\nnamespace {{ constexpr int k[] = {{1, 2}};\nTask<> g(int x)\n{{ {}\n}} }}",
    'extern "C" {{ int x; }}\nenum class E {{ A, B }};\nstruct S {{ int a = 1; int b{{2}}; }};\nTask<> g() {{ {}\n}}',
]


class PlainAwaitTest(unittest.TestCase):
    def test_refused_forms_are_found_once_in_every_frame(self):
        for name, code in REFUSED_AWAITS.items():
            for frame in FRAMES:
                with self.subTest(name, frame=frame):
                    self.assertEqual(len(plain_await.check(frame.format(code))), 1)

    def test_accepted_forms_pass_in_every_frame(self):
        for name, code in ACCEPTED_AWAITS.items():
            for frame in FRAMES:
                with self.subTest(name, frame=frame):
                    self.assertEqual(plain_await.check(frame.format(code)), [])

    def test_an_operator_is_no_await(self):
        code = "class A {\n    Awaiter operator co_await() const { return Awaiter{m_state}; }\n};"
        self.assertEqual(plain_await.check(code), [])

    def test_the_line_is_that_of_the_await(self):
        self.assertEqual(plain_await.check("Task<> f()\n{\n    int x;\n    co_await g({x});\n}\n")[0][0], 4)


class RulesTest(unittest.TestCase):
    def found(self, rule, path, text):
        return len(list(rule(path, text)))

    def test_layers(self):
        rule = source_rules.layers
        self.assertEqual(self.found(rule, "src/model/a.cpp", '#include "github/b.h"\n'), 1)
        self.assertEqual(self.found(rule, "src/cli/a.cpp", '#include "ui/b.h"\n'), 1)
        self.assertEqual(self.found(rule, "src/notifications/a.h", '#include "monitor/b.h"\n'), 1)
        self.assertEqual(self.found(rule, "src/github/a.cpp", '#include "model/b.h"\n#include "support/c.h"\n'), 0)
        self.assertEqual(self.found(rule, "src/app/a.cpp", '#include "cli/b.h"\n'), 0)

    def test_adapters(self):
        rule, text = source_rules.layers, '#include "platform/portal_request.h"\n'
        self.assertEqual(self.found(rule, "src/monitor/a.cpp", text), 1)
        self.assertEqual(self.found(rule, "simulator/a.cpp", text), 1)
        for path in ("src/platform/b.cpp", "src/app/main.cpp", "tests/platform/b_test.cpp"):
            self.assertEqual(self.found(rule, path, text), 0, path)
        self.assertEqual(self.found(rule, "src/monitor/a.cpp", '#include "platform/preferences.h"\n'), 0)

    def test_connect_needs_a_context(self):
        rule = source_rules.connects
        self.assertEqual(self.found(rule, "a.cpp", "connect(a, &A::b, [this] { f(1, 2); });"), 1)
        self.assertEqual(self.found(rule, "a.cpp", "QObject::connect(&a, &A::b, [&](int x) { f(x); });"), 1)
        self.assertEqual(self.found(rule, "a.cpp", "QTimer::singleShot(5, [this] { f(); });"), 1)
        self.assertEqual(self.found(rule, "a.cpp", "connect(a, &A::b, this, [this] { f(1, 2); });"), 0)
        self.assertEqual(self.found(rule, "a.cpp", "connect(a, &A::b, this);"), 0)
        self.assertEqual(self.found(rule, "a.cpp", "QTimer::singleShot(5, this, [this] { f(); });"), 0)

    def test_q_object_has_its_own_line(self):
        rule = source_rules.meta_object_macro
        self.assertEqual(self.found(rule, "a.h", "class A { Q_OBJECT\n};"), 1)
        self.assertEqual(self.found(rule, "a.h", "class A {\n    Q_OBJECT\n}; // Q_OBJECT"), 0)

    def test_certificates_are_always_verified(self):
        rule = source_rules.verified_peers
        self.assertEqual(self.found(rule, "src/a/a.cpp", "reply->ignoreSslErrors();"), 1)
        self.assertEqual(self.found(rule, "src/a/a.cpp", "c.setPeerVerifyMode(QSslSocket::VerifyNone);"), 2)
        self.assertEqual(self.found(rule, "src/a/a.h", "QSslConfiguration::setDefaultConfiguration(c);"), 1)
        self.assertEqual(self.found(rule, "src/a/a.cpp", '// ignoreSslErrors\nlog("ignoreSslErrors");'), 0)
        self.assertEqual(self.found(rule, "tests/a/a.cpp", "reply->ignoreSslErrors();"), 0)

    def test_licence_and_guard(self):
        self.assertEqual(self.found(source_rules.licence, "a.h", "int a;"), 1)
        self.assertEqual(self.found(source_rules.licence, "a.h", "// SPDX-License-Identifier: MIT\n"), 0)
        self.assertEqual(self.found(source_rules.licence, "a", "#!/bin/sh\n# SPDX-License-Identifier: MIT\n"), 0)
        self.assertEqual(self.found(source_rules.header_guard, "a.h", "int a;"), 1)
        self.assertEqual(self.found(source_rules.header_guard, "a.h", "#pragma once\n"), 0)

    def test_marks_need_a_reason(self):
        mark = "TO" + "DO"
        self.assertEqual(self.found(source_rules.marks, "a.md", f"// {mark} later"), 1)
        self.assertEqual(self.found(source_rules.marks, "a.md", f"// {mark}: Qt 6.5 fixes the leak"), 0)

    def test_signals_that_nothing_connects(self):
        header = "class A {\nclass B { int c; };\nQ_SIGNALS:\n    void told(int);\n    void lost();\nprivate:\n    void f();\n};"
        source = "connect(m_a.get(), &A::told, this, &C::lost);"
        found = unheard_signals.check({"src/a/a.h": header, "src/a/a.cpp": source})
        self.assertEqual(list(found), [("src/a/a.h", 5, "nothing in src connects to A::lost")])
        self.assertEqual(list(unheard_signals.check({"a.h": header, "a.cpp": source + "untilTrue(a, &A::lost);"})), [])
        exported = header.replace("class B", 'Q_CLASSINFO("D-Bus Interface", "a") class B')
        self.assertEqual(list(unheard_signals.check({"a.h": exported})), [])

    def test_tests_that_a_document_names_exist(self):
        def found(document, test):
            return list(named_tests.check({named_tests.DOCUMENT: document, "tests/a/a_test.cpp": test}))

        self.assertEqual(found("x\n| a fault | `a/breaks` |", "    void breaks()"), [])
        self.assertEqual(found("x\n| a fault | `a/breaks` |", "    void mends()"), [(2, "there is no test a/breaks")])
        self.assertEqual(found("`b/breaks`", "    void breaks()"), [(1, "there is no test b/breaks")])
        self.assertEqual(found("`a/test_breaks`", "    def test_breaks(self):"), [])
        self.assertEqual(found("`tests/`, `x`", ""), [])

    def test_headers_include_what_they_use(self):
        def missing(**texts):
            return [name for _, name in hidden_includes.missing("a", lambda path: texts.get(path.removesuffix(".h")))]

        self.assertEqual(missing(a="std::optional<int> f();"), ["optional"])
        self.assertEqual(missing(a="#include <optional>\nstd::optional<int> f();"), [])
        self.assertEqual(missing(a='#include "b.h"\nstd::optional<int> f();', b="#include <optional>"), [])
        self.assertEqual(missing(a='#include "b.h"\nQHash<int, int> f();', b='#include "a.h"'), ["QHash"])
        self.assertEqual(missing(a="QString f(); // std::move"), ["QString"])
        self.assertEqual(missing(a="class QString;\nvoid f(const QString &);"), [])
        self.assertEqual(missing(a="#include <QSize>\nQString f();"), [])

    def test_every_rule_is_applied(self):
        bad = "class A { Q_OBJECT };\n"
        self.assertEqual(len(list(check_sources.check("src/a/a.h", bad))), 3)
        self.assertEqual(list(check_sources.check("docs/a.md", bad)), [])


if __name__ == "__main__":
    unittest.main()
