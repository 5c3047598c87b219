// SPDX-License-Identifier: MIT
#include "support/json_coding.h"

#include "support/test_main.h"

#include <QTest>

using namespace velmora;
using namespace std::chrono_literals;

namespace
{

struct Item {
    qint64 id = 0;
    std::optional<WebAddress> url;
    friend bool operator==(const Item &, const Item &) = default;
};

struct Sample {
    QString name;
    qint64 count = 0;
    bool isOn = false;
    std::optional<QString> note;
    std::optional<Instant> when;
    QList<Item> items;
    friend bool operator==(const Sample &, const Sample &) = default;
};

struct Place {
    WebAddress url;
};

struct View {
    QUtf8StringView text;
};

/// A sample as other programs read it.
struct PrintedSample : Sample {
};

/// Turns single quotation marks into double ones, to keep JSON literals readable.
QByteArray quoted(QByteArray text)
{
    return text.replace('\'', '"');
}

template <typename Record>
QString failure(const QByteArray &text)
{
    try {
        (void)decodeJSON<Record>(text);
    } catch (const DecodingError &error) {
        return error.description();
    }
    return {};
}

} // namespace

template <>
struct velmora::JSONTable<Item> {
    static constexpr auto fields
        = std::tuple{velmora::json::required("id", &Item::id), velmora::json::optional("url", &Item::url)};
};

template <>
struct velmora::JSONTable<Sample> {
    static constexpr auto fields
        = std::tuple{velmora::json::required("name", &Sample::name), velmora::json::required("count", &Sample::count),
            velmora::json::required("isOn", &Sample::isOn), velmora::json::optional("note", &Sample::note),
            velmora::json::optional("when", &Sample::when), velmora::json::required("items", &Sample::items)};
};

template <>
struct velmora::JSONTable<PrintedSample> {
    static constexpr auto fields
        = std::tuple{velmora::json::computed("double", [](const Sample &of) { return 2 * of.count; }),
            velmora::json::computed("when", &Sample::when)};
};

template <>
struct velmora::JSONTable<Place> {
    static constexpr auto fields = std::tuple{velmora::json::required("url", &Place::url)};
};

template <>
struct velmora::JSONTable<View> {
    static constexpr auto fields = std::tuple{velmora::json::required("text", &View::text)};
};

class JSONCodingTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:

    void readsWhatItWrites()
    {
        const Sample sample{QStringLiteral("Größe \u0000 \"quoted\""), 9'223'372'036'854'775'807LL, true, {}, {}, {}};
        QVERIFY(decodeJSON<Sample>(encodeJSON(sample)) == sample);
        const Sample full{QStringLiteral("a"), -1, false, QStringLiteral("note"),
            parseISO8601(u"2026-05-01T12:00:00.000001Z"),
            {{1, {}}, {2, WebAddress(QStringLiteral("https://x.test/"))}}};
        QVERIFY(decodeJSON<Sample>(encodeJSON(full)) == full);
    }

    void keysStandInTheOrderOfTheTableAndAbsentValuesAreLeftOut()
    {
        const Sample sample{QStringLiteral("a"), 1, true, {}, {}, {{2, {}}}};
        QCOMPARE(encodeJSON(sample), (quoted("{'name':'a','count':1,'isOn':true,'items':[{'id':2}]}")));
    }

    void instantsAreTextForOtherPrograms()
    {
        Sample sample{QStringLiteral("a"), 1, true, {}, instantFromReferenceDate(0.25), {}};
        QCOMPARE(encodeJSON(sample), quoted("{'name':'a','count':1,'isOn':true,'when':0.25,'items':[]}"));
        QCOMPARE(encodeJSON(sample, InstantForm::ISO8601),
            quoted("{'name':'a','count':1,'isOn':true,'when':'2001-01-01T00:00:00.250000Z','items':[]}"));
    }

    void computedValuesAreWritten()
    {
        PrintedSample sample;
        sample.count = 3;
        QCOMPARE(encodeJSON(sample), quoted("{'double':6}"));
        sample.when = instantFromReferenceDate(1);
        QCOMPARE(encodeJSON(sample), quoted("{'double':6,'when':1.0}"));
    }

    void tellsTheExactPlaceOfAFault_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QString>("message");
        const auto row = [](const char *name, const QByteArray &text, const char *message) {
            QTest::newRow(name) << text << QString::fromLatin1(message);
        };
        row("missing", quoted("{'count':1,'isOn':true,'items':[]}"), "name is missing");
        row("null is missing", quoted("{'name':null,'count':1,'isOn':true,'items':[]}"), "name is missing");
        row("nested", quoted("{'name':'a','count':1,'isOn':true,'items':[{'id':1},{}]}"), "items[1].id is missing");
        row("null in a list", quoted("{'name':'a','count':1,'isOn':true,'items':[null]}"), "items[0] is not an object");
        row("nested kind", quoted("{'name':'a','count':1,'isOn':true,'items':[{'id':'x'}]}"),
            "items[0].id is not a whole number of 64 bits");
        row("text", quoted("{'name':1,'count':1,'isOn':true,'items':[]}"), "name is not a text");
        row("fraction", quoted("{'name':'a','count':1.5,'isOn':true,'items':[]}"),
            "count is not a whole number of 64 bits");
        row("over 63 bits", quoted("{'name':'a','count':9223372036854775808,'isOn':true,'items':[]}"),
            "count is not a whole number of 64 bits");
        row("boolean", quoted("{'name':'a','count':1,'isOn':1,'items':[]}"), "isOn is not a boolean");
        row("array", quoted("{'name':'a','count':1,'isOn':true,'items':{}}"), "items is not an array");
        row("seconds", quoted("{'name':'a','count':1,'isOn':true,'items':[],'when':'x'}"),
            "when is not a number of seconds");
        row("instant", quoted("{'name':'a','count':1,'isOn':true,'items':[],'when':1e300}"),
            "when is not a time that can be represented");
        row("root", "[]", "The JSON document is not an object");
    }

    void tellsTheExactPlaceOfAFault()
    {
        QFETCH(QByteArray, text);
        QFETCH(QString, message);
        QCOMPARE(failure<Sample>(text), message);
    }

    void aRequiredAddressMustBeOne()
    {
        QVERIFY(decodeJSON<Place>(quoted("{'url':'https://x.test/'}")).url
            == WebAddress(QStringLiteral("https://x.test/")));
        QCOMPARE(failure<Place>(quoted("{'url':''}")), QStringLiteral("url is not an address"));
        QCOMPARE(failure<Place>(quoted("{'url':'http://[bad'}")), QStringLiteral("url is not an address"));
    }

    void anEmptyOptionalAddressIsAbsent()
    {
        const auto sample = decodeJSON<Sample>(
            quoted("{'name':'a','count':1,'isOn':true,'items':[{'id':1,'url':''},{'id':2,'url':null}]}"));
        QVERIFY(!sample.items.at(0).url && !sample.items.at(1).url);
    }

    void theFirstOfTwoEqualKeysCountsAndUnknownOnesAreIgnored()
    {
        const auto sample = decodeJSON<Sample>(
            quoted("{'other':{'deep':[1,2]},'name':'first','name':'second','count':1,'isOn':true,'items':[]}"));
        QCOMPARE(sample.name, QStringLiteral("first"));
        const auto later = decodeJSON<Sample>(quoted("{'name':null,'name':'second','count':1,'isOn':true,'items':[]}"));
        QCOMPARE(later.name, QStringLiteral("second"));
    }

    void whatIsNotJSONIsRefused_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("blank") << QByteArray("   ");
        QTest::newRow("truncated") << (quoted("{'name':'a'"));
        QTest::newRow("two documents") << QByteArray("{}{}");
        QTest::newRow("invalid UTF-8") << QByteArray("{\"name\":\"\xff\"}");
        QTest::newRow("lone surrogate") << QByteArray("{\"name\":\"\\ud800\"}");
        QTest::newRow("more than 64 bits") << (quoted("{'other':123456789012345678901234567890}"));
        QTest::newRow("too deep") << (quoted("{'other':")) + QByteArray(2000, '[') + QByteArray(2000, ']') + '}';
    }

    void whatIsNotJSONIsRefused()
    {
        QFETCH(QByteArray, text);
        const QString message = failure<Sample>(text);
        QVERIFY2(message.startsWith(QStringLiteral("The data is not valid JSON: ")), qPrintable(message));
    }

    void keysMayComeInAnyOrder()
    {
        const Sample expected{QStringLiteral("a"), 1, true, QStringLiteral("n"), {}, {{2, {}}}};
        QVERIFY(
            decodeJSON<Sample>(quoted("{'items':[{'id':2}],'x':1,'note':'n','isOn':true,'y':2,'count':1,'name':'a'}"))
            == expected);
        QVERIFY(
            decodeJSON<Sample>(quoted("{'count':1,'name':'a','items':[{'id':2}],'isOn':true,'note':'n'}")) == expected);
    }

    void aViewOfADocumentLivesAsLongAsTheDocument()
    {
        const JSONDocument first(quoted("{'text':'Gr\\u00f6\xC3\x9F"
                                        "e'}"));
        const auto view = decodeJSON<View>(first);
        const JSONDocument second(quoted("{'text':'another'}"));
        QCOMPARE(decodeJSON<View>(second).text.toString(), QStringLiteral("another"));
        QCOMPARE(view.text.toString(), QStringLiteral("Gr\u00f6\u00dfe"));
        QCOMPARE(failure<View>(quoted("{'text':1}")), QStringLiteral("text is not a text"));
    }

    void whatWasParsedIsCleared()
    {
        const JSONParserReuse reuse;
        for (const qsizetype size : {1, 40, 4'000}) {
            const QByteArray secret(size, 's');
            const char *place = nullptr;
            {
                const JSONDocument document(quoted("{'text':'") + secret + quoted("'}"));
                const auto view = decodeJSON<View>(document);
                place = reinterpret_cast<const char *>(view.text.data());
                QCOMPARE(QByteArray(place, size), secret);
            }
            // The memory is kept for the next document.
            QCOMPARE(QByteArray(place, size), QByteArray(size, '\0'));
        }
    }

    void documentsOfEverySizeFollowEachOther()
    {
        const JSONParserReuse reuse;
        // Below, at and above the size of the kept buffer; small documents after a large one and after a broken one.
        for (const qsizetype size : {1, 1'000, 65'536, 65'537, 3'000'000, 1, 600'000, 70'000}) {
            const QByteArray text(size, 'x');
            const JSONDocument document(quoted("{'text':'") + text + quoted("'}"));
            QVERIFY(decodeJSON<View>(document).text.toString() == QString::fromLatin1(text));
            QVERIFY(!failure<Sample>(text).isEmpty());
        }
    }

    void aLargeDocumentWithAValueInEveryOtherByteIsRefused()
    {
        const auto numbers = [](qsizetype count) {
            return QByteArray("[") + QByteArray("1,").repeated(count) + QByteArray("1]");
        };
        QCOMPARE(failure<Sample>(numbers(1'000'000)), QStringLiteral("The data has too many values."));
        QCOMPARE(failure<Sample>(numbers(100'000)), QStringLiteral("The JSON document is not an object"));
        const QByteArray item = "{'id':'DE_kwDOAbcdefghi','state':'SUCCESS'},";
        QCOMPARE(failure<Sample>(quoted('[' + item.repeated(60'000) + "{}]")),
            QStringLiteral("The JSON document is not an object"));
    }

    void aFaultNeverRepeatsAValue()
    {
        QVERIFY(!failure<Sample>(quoted("{'name':'a','count':'secret','isOn':true,'items':[]}"))
                     .contains(QStringLiteral("secret")));
    }
};

VELMORA_TEST(JSONCodingTest)
#include "json_coding_test.moc"
