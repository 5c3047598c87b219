// SPDX-License-Identifier: MIT
#include "support/hostile_texts.h"

namespace velmora::testing
{

namespace
{

using Texts = QList<HostileText>;

/// Appears as given, and needs no escape.
void plain(Texts &texts, const char *name, const QString &text)
{
    texts.append({name, text, text, text});
}

/// Appears as given, but must be escaped for a server that interprets markup.
void escaped(Texts &texts, const char *name, const char *text, const char *markup)
{
    texts.append({name, QString::fromUtf8(text), QString::fromUtf8(text), QString::fromUtf8(markup)});
}

/// Appears different from what was given.
void changed(Texts &texts, const char *name, const QString &given, const QString &shown)
{
    texts.append({name, given, shown, shown});
}

void appendTags(Texts &texts)
{
    escaped(texts, "bold", "<b>x</b>", "&lt;b&gt;x&lt;/b&gt;");
    escaped(texts, "bold, ampersand and picture", "<b>x</b> & <img src=\"file:///etc/passwd\">",
        "&lt;b&gt;x&lt;/b&gt; &amp; &lt;img src=&quot;file:///etc/passwd&quot;&gt;");
    escaped(texts, "italic", "<i>x</i>", "&lt;i&gt;x&lt;/i&gt;");
    escaped(texts, "underlined", "<u>x</u>", "&lt;u&gt;x&lt;/u&gt;");
    escaped(texts, "capital tag", "<B>x</B>", "&lt;B&gt;x&lt;/B&gt;");
    escaped(texts, "link", "<a href=\"https://evil.example\">click</a>",
        "&lt;a href=&quot;https://evil.example&quot;&gt;click&lt;/a&gt;");
    escaped(
        texts, "script link", "<a href='javascript:alert(1)'>x</a>", "&lt;a href='javascript:alert(1)'&gt;x&lt;/a&gt;");
    escaped(texts, "remote picture", "<img src='http://evil.example/p.png' alt='x'/>",
        "&lt;img src='http://evil.example/p.png' alt='x'/&gt;");
    escaped(texts, "picture with handler", "<img src=x onerror=alert(1)>", "&lt;img src=x onerror=alert(1)&gt;");
    escaped(texts, "script", "<script>alert(1)</script>", "&lt;script&gt;alert(1)&lt;/script&gt;");
    escaped(texts, "style", "<style>*{display:none}</style>", "&lt;style&gt;*{display:none}&lt;/style&gt;");
    escaped(texts, "span", "<span size='99999'>x</span>", "&lt;span size='99999'&gt;x&lt;/span&gt;");
    escaped(texts, "large font", "<span font='9999'>x", "&lt;span font='9999'&gt;x");
    escaped(texts, "unclosed tag", "<b>x", "&lt;b&gt;x");
    escaped(texts, "closed only", "x</b>", "x&lt;/b&gt;");
    escaped(texts, "crossed tags", "<b><i>x</b></i>", "&lt;b&gt;&lt;i&gt;x&lt;/b&gt;&lt;/i&gt;");
    escaped(texts, "half a tag", "<b", "&lt;b");
    escaped(texts, "empty tag", "<>", "&lt;&gt;");
    escaped(texts, "less than", "1 < 2", "1 &lt; 2");
    escaped(texts, "greater than", "2 > 1", "2 &gt; 1");
    escaped(texts, "arrow", "a -> b => c <- d", "a -&gt; b =&gt; c &lt;- d");
    escaped(texts, "line break tag", "a<br>b<br/>c", "a&lt;br&gt;b&lt;br/&gt;c");
    escaped(texts, "paragraph", "<p>x</p>", "&lt;p&gt;x&lt;/p&gt;");
    escaped(texts, "table", "<table><tr><td>x</td></tr></table>",
        "&lt;table&gt;&lt;tr&gt;&lt;td&gt;x&lt;/td&gt;&lt;/tr&gt;&lt;/table&gt;");
    escaped(texts, "comment", "<!-- x -->", "&lt;!-- x --&gt;");
    escaped(texts, "CDATA", "<![CDATA[x]]>", "&lt;![CDATA[x]]&gt;");
    escaped(texts, "instruction", "<?xml version=\"1.0\"?>", "&lt;?xml version=&quot;1.0&quot;?&gt;");
    escaped(texts, "document type", "<!DOCTYPE x [<!ENTITY a \"b\">]>",
        "&lt;!DOCTYPE x [&lt;!ENTITY a &quot;b&quot;&gt;]&gt;");
    escaped(texts, "nested angle brackets", "<<b>>", "&lt;&lt;b&gt;&gt;");
    escaped(texts, "template", "std::vector<std::string>", "std::vector&lt;std::string&gt;");
    escaped(texts, "mail address", "Jo <jo@example.com>", "Jo &lt;jo@example.com&gt;");
    escaped(texts, "vector picture", "<svg onload=alert(1)>", "&lt;svg onload=alert(1)&gt;");
}

void appendEntities(Texts &texts)
{
    escaped(texts, "ampersand", "a & b", "a &amp; b");
    escaped(texts, "two ampersands", "make && make install", "make &amp;&amp; make install");
    escaped(texts, "ampersand at the end", "x &", "x &amp;");
    escaped(texts, "escaped tag", "&lt;b&gt;", "&amp;lt;b&amp;gt;");
    escaped(texts, "twice escaped", "&amp;lt;", "&amp;amp;lt;");
    escaped(texts, "no-break space entity", "&nbsp;", "&amp;nbsp;");
    escaped(texts, "decimal entity", "&#60;b&#62;", "&amp;#60;b&amp;#62;");
    escaped(texts, "hexadecimal entity", "&#x3c;b&#x3e;", "&amp;#x3c;b&amp;#x3e;");
    escaped(texts, "entity of nothing", "&#0;", "&amp;#0;");
    escaped(texts, "entity without end", "&lt", "&amp;lt");
    escaped(texts, "unknown entity", "&evil;", "&amp;evil;");
    escaped(texts, "query", "https://example.com/?a=1&b=2", "https://example.com/?a=1&amp;b=2");
    escaped(texts, "double quotes", "said \"no\"", "said &quot;no&quot;");
    plain(texts, "apostrophe", QStringLiteral("it's"));
    plain(texts, "apostrophes", QStringLiteral("''''"));
    plain(texts, "backtick", QStringLiteral("`id`"));
}

void appendCommandsAndFormats(Texts &texts)
{
    plain(texts, "command", QStringLiteral("$(touch /tmp/x); `id` | sh"));
    plain(texts, "format", QStringLiteral("%s %n %d %1 %2 %L1 %%"));
    plain(texts, "environment", QStringLiteral("$HOME ${PATH} %PATH%"));
    plain(texts, "backslashes", QStringLiteral("C:\\new\\table \\n \\t \\\\"));
    plain(texts, "backslash at the end", QStringLiteral("x\\"));
    plain(texts, "escape in letters", QStringLiteral("\\e[31m \\u0000 \\x41"));
    plain(texts, "option", QStringLiteral("--urgency=critical"));
    plain(texts, "Markdown", QStringLiteral("**x** [a](https://evil.example) `c`"));
    plain(texts, "braces", QStringLiteral("{{x}} ${{ secrets.TOKEN }}"));
    plain(texts, "semicolons", QStringLiteral("a;b;c;"));
    plain(texts, "square brackets", QStringLiteral("[group]"));
    plain(texts, "equals", QStringLiteral("key=value"));
    plain(texts, "hash", QStringLiteral("#1 !2 @3"));
    plain(texts, "address of a script", QStringLiteral("javascript:alert(1)"));
    plain(texts, "number", QStringLiteral("0"));
    plain(texts, "word of a format", QStringLiteral("null"));
}

void appendControls(Texts &texts)
{
    changed(texts, "null", QStringLiteral("a") + QChar(0) + QStringLiteral("b"), QStringLiteral("ab"));
    changed(texts, "bell", QStringLiteral("a\ab"), QStringLiteral("ab"));
    changed(texts, "backspaces", QStringLiteral("good\b\b\b\bevil"), QStringLiteral("goodevil"));
    changed(texts, "carriage return", QStringLiteral("good\revil"), QStringLiteral("goodevil"));
    changed(texts, "colour of a terminal", QStringLiteral("\033[31mred\033[0m"), QStringLiteral("[31mred[0m"));
    changed(texts, "title of a terminal", QStringLiteral("\033]0;evil\a"), QStringLiteral("]0;evil"));
    changed(texts, "delete", QStringLiteral("a\x7f") + QStringLiteral("b"), QStringLiteral("ab"));
    changed(texts, "form feed and vertical tab", QStringLiteral("a\f\vb"), QStringLiteral("ab"));
    changed(texts, "one-byte terminal control", QStringLiteral("a\u009b31mb"), QStringLiteral("a31mb"));
    changed(texts, "next line", QStringLiteral("a\u0085b"), QStringLiteral("ab"));
    changed(texts, "tab", QStringLiteral("a\tb"), QStringLiteral("a b"));
    QString all;
    for (char16_t control = 0; control < 0x20; ++control) {
        if (control != u'\n' && control != u'\t')
            all += QChar(control);
    }
    for (char16_t control = 0x7f; control < 0xa0; ++control)
        all += QChar(control);
    changed(texts, "all controls", all + QStringLiteral("x"), QStringLiteral("x"));
    changed(texts, "controls only", all, QString());
    texts.append(
        {"tag hidden by controls", QStringLiteral("<\1b\2>x"), QStringLiteral("<b>x"), QStringLiteral("&lt;b&gt;x")});
}

void appendLines(Texts &texts)
{
    plain(texts, "two lines", QStringLiteral("a\nb"));
    plain(texts, "empty line", QStringLiteral("a\n\nb"));
    plain(texts, "many lines", QStringLiteral("\n").repeated(40) + QStringLiteral("x"));
    plain(texts, "line break at the end", QStringLiteral("a\n"));
    changed(texts, "lines of another system", QStringLiteral("a\r\nb\r\n"), QStringLiteral("a\nb\n"));
    changed(texts, "line separator", QStringLiteral("a\u2028b"), QStringLiteral("a\nb"));
    changed(texts, "paragraph separator", QStringLiteral("a\u2029b"), QStringLiteral("a\nb"));
    plain(texts, "spaces", QStringLiteral("   x   "));
    plain(texts, "spaces only", QStringLiteral("   "));
    plain(texts, "nothing", QString());
}

void appendDirections(Texts &texts)
{
    changed(texts, "override to the left", QStringLiteral("a\u202egpj.exe"), QStringLiteral("agpj.exe"));
    changed(texts, "override to the right", QStringLiteral("\u202dabc\u202c"), QStringLiteral("abc"));
    changed(texts, "embeddings", QStringLiteral("\u202aabc\u202b"), QStringLiteral("abc"));
    changed(texts, "isolates", QStringLiteral("\u2066a\u2067b\u2068c\u2069"), QStringLiteral("abc"));
    changed(texts, "overrides never closed", QStringLiteral("\u202e").repeated(200) + QStringLiteral("x"),
        QStringLiteral("x"));
    changed(texts, "old shaping controls", QStringLiteral("a\u206ab\u206f"), QStringLiteral("ab"));
    plain(texts, "Hebrew", QStringLiteral("שלום עולם"));
    plain(texts, "Arabic", QStringLiteral("مرحبا بالعالم"));
    texts.append(
        {"override before a tag", QStringLiteral("\u202e<b>"), QStringLiteral("<b>"), QStringLiteral("&lt;b&gt;")});
}

void appendCharacters(Texts &texts)
{
    const QChar high(0xD83D);
    const QChar low(0xDE00);
    plain(texts, "emoji", QStringLiteral("🚀 deployed 🎉"));
    plain(texts, "family of emoji", QStringLiteral("👩‍👩‍👧‍👦"));
    plain(texts, "flags", QStringLiteral("🇩🇪🇫🇷🏴󠁧󠁢󠁥󠁮󠁧󠁿"));
    plain(texts, "skin tone", QStringLiteral("👍🏿"));
    plain(texts, "Chinese", QStringLiteral("部署失败"));
    plain(texts, "Devanagari", QStringLiteral("परिनियोजन"));
    plain(texts, "rare ideograph", QStringLiteral("𠜎𠜱"));
    plain(texts, "marks upon marks", QStringLiteral("Z̴̡̢̛͎a̵͓l̸̫g̷̰o̶"));
    plain(texts, "zero-width characters", QStringLiteral("a\u200bb\u200dc\ufeffd"));
    plain(texts, "mathematical letters", QStringLiteral("𝖇𝖔𝖑𝖉"));
    plain(texts, "private use", QStringLiteral("\ue000"));
    plain(texts, "replacement", QStringLiteral("\ufffd"));
    plain(texts, "full-width brackets", QStringLiteral("＜b＞x＜／b＞"));
    changed(
        texts, "first half of a pair", QStringLiteral("a") + high + QStringLiteral("b"), QStringLiteral("a\ufffdb"));
    changed(
        texts, "second half of a pair", QStringLiteral("a") + low + QStringLiteral("b"), QStringLiteral("a\ufffdb"));
    changed(texts, "half at the end", QStringLiteral("a") + high, QStringLiteral("a\ufffd"));
    changed(texts, "halves the wrong way round", QString(low) + high, QStringLiteral("\ufffd\ufffd"));
    changed(
        texts, "no character", QStringLiteral("a") + QChar(0xFFFF) + QChar(0xFDD0), QStringLiteral("a\ufffd\ufffd"));
}

void appendLengths(Texts &texts)
{
    const QString dots = QStringLiteral("…");
    const QString long499 = QStringLiteral("x").repeated(499);
    plain(texts, "as long as it may be", long499 + QStringLiteral("x"));
    changed(texts, "one too long", long499 + QStringLiteral("xy"), long499 + dots);
    changed(texts, "ten thousand", QStringLiteral("x").repeated(10'000), long499 + dots);
    changed(texts, "a million", QStringLiteral("x").repeated(1'000'000), long499 + dots);
    // An odd number, so that the cut would split a surrogate pair.
    changed(
        texts, "ten thousand emoji", QStringLiteral("🚀").repeated(10'000), QStringLiteral("🚀").repeated(249) + dots);
    texts.append({"ten thousand tags", QStringLiteral("<b>").repeated(10'000),
        QStringLiteral("<b>").repeated(166) + QStringLiteral("<") + dots,
        QStringLiteral("&lt;b&gt;").repeated(166) + QStringLiteral("&lt;") + dots});
    texts.append({"ampersands to the limit", QStringLiteral("&").repeated(501),
        QStringLiteral("&").repeated(499) + dots, QStringLiteral("&amp;").repeated(499) + dots});
    changed(texts, "mark at the cut", QStringLiteral("x").repeated(498) + QStringLiteral("e\u0301yz"),
        QStringLiteral("x").repeated(498) + dots);
    changed(texts, "one letter with ten thousand marks",
        QStringLiteral("e") + QStringLiteral("\u0301").repeated(10'000),
        QStringLiteral("e") + QStringLiteral("\u0301").repeated(498) + dots);
    changed(texts, "ten thousand controls before a word", QStringLiteral("\a").repeated(10'000) + QStringLiteral("x"),
        QStringLiteral("x"));
}

} // namespace

QList<HostileText> hostileTexts()
{
    Texts texts;
    appendTags(texts);
    appendEntities(texts);
    appendCommandsAndFormats(texts);
    appendControls(texts);
    appendLines(texts);
    appendDirections(texts);
    appendCharacters(texts);
    appendLengths(texts);
    return texts;
}

} // namespace velmora::testing
