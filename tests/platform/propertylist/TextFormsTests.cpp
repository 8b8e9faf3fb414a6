// The XML form and the text form.
#include <gtest/gtest.h>

#include "tests/platform/propertylist/Lists.h"

using namespace wickerlane;
using namespace wickerlane::test;
using namespace std::string_literals;

namespace {

struct Value {
    std::string text;
    Object *value;
};

struct Refusal {
    std::string text;
    const char *reason;
};

std::string xml(std::string_view contents) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
           "<!DOCTYPE plist PUBLIC \"-//example//DTD PLIST 1.0//EN\" \"http://example.com/list.dtd\">\n"
           "<plist version=\"1.0\">" +
           std::string(contents) + "</plist>\n";
}

Object *date(double seconds) {
    return autorelease(Date::createWithReferenceSeconds(seconds));
}

std::string utf16(std::string_view text, bool isBigEndian) {
    std::string bytes;
    for (const char16_t unit : u"\uFEFF"s + String::of(text)->utf16()) {
        const char high = static_cast<char>(unit >> 8);
        const char low = static_cast<char>(unit & 0xFF);
        bytes += isBigEndian ? std::string{high, low} : std::string{low, high};
    }
    return bytes;
}

std::string repeated(std::string_view text, std::size_t times) {
    std::string all;
    while (times-- != 0)
        all += text;
    return all;
}

void expectValues(std::span<const Value> values, PropertyListFormat expected) {
    for (const Value &v : values) {
        SCOPED_TRACE(v.text.substr(0, 200));
        Ref<Error> error;
        PropertyListFormat format{};
        const auto read = readBack(v.text, &error, &format);
        ASSERT_TRUE(read) << error->localizedDescription()->utf8();
        EXPECT_FALSE(error);
        EXPECT_EQ(format, expected);
        EXPECT_TRUE(areEqual(read.get(), v.value)) << read->description()->utf8();
        if (const auto *number = as<Number>(read.get())) {
            EXPECT_EQ(number->kind(), as<Number>(v.value)->kind());
        }
    }
}

void expectRefusals(std::span<const Refusal> refusals) {
    for (const Refusal &r : refusals)
        EXPECT_THAT(reasonFor(r.text), testing::HasSubstr(r.reason)) << r.text.substr(0, 200);
}

TEST(XMLPropertyList, ValuesAreRead) {
    const Value values[] = {
        {xml("<string>a &lt;&amp;&#xE9; <![CDATA[<b>]]><!-- no --></string>"), String::of("a <&\u00E9 <b>")},
        {xml("<string/>"), String::of("")},
        {xml("<integer> 42\n</integer>"), Number::of(42)},
        {xml("<integer>-0x10</integer>"), Number::of(-16)},
        {xml("<integer>+9223372036854775807</integer>"), Number::of(INT64_MAX)},
        {xml("<integer>9223372036854775808</integer>"), Number::of(std::uint64_t{1} << 63)},
        {xml("<integer>18446744073709551615</integer>"), Number::of(UINT64_MAX)},
        {xml("<integer>-9223372036854775808</integer>"), Number::of(INT64_MIN)},
        {xml("<real>0.1</real>"), Number::of(0.1)},
        {xml("<real>+1e3</real>"), Number::of(1000.0)},
        {xml("<real>-inf</real>"), Number::of(-HUGE_VAL)},
        {xml("<true/>"), Number::of(true)},
        {xml("<false></false>"), Number::of(false)},
        {xml("<date>2001-01-01T00:00:00Z</date>"), date(0)},
        {xml("<date>2024-02-29T23:59:59Z</date>"), date(730943999)},
        {xml("<date>1969-12-31T23:59:59Z</date>"), date(-978307201)},
        {xml("<date>0001-01-01T00:00:00Z</date>"), date(-63113904000)},
        {xml("<data>\n  AAEC\n  /w==\n</data>"), makeData("\0\1\2\xFF"s)},
        {xml("<data>+/8=</data>"), makeData("\xFB\xFF")},
        {xml("<data/>"), makeData("")},
        {xml("<array> <true/> <!-- x --> <array/> </array>"), Array::of({Number::of(true), Array::of({})})},
        {xml("<dict><key>b</key><dict/><key>a</key><string>x</string></dict>"),
         dictionary({{"a", String::of("x")}, {"b", dictionary({})}})},
        {" <plist><true/></plist>", Number::of(true)},
        {"\xEF\xBB\xBF<plist><true/></plist>", Number::of(true)},
        {utf16("<?xml version=\"1.0\"?><plist><string>\u00E9</string></plist>", true), String::of("\u00E9")},
        {"<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><plist><string>\xE9</string></plist>",
         String::of("\u00E9")},
        {xml(repeated("<array>", 512) + repeated("</array>", 512)),
         autorelease(readBack(repeated("(", 512) + repeated(")", 512)))},
    };
    expectValues(values, PropertyListFormat::xml);
}

TEST(XMLPropertyList, AnythingElseIsRefusedWithItsLine) {
    const std::string bomb = "<!ENTITY a \"ha\"><!ENTITY b \"&a;&a;&a;\">";
    const Refusal refusals[] = {
        {"<!DOCTYPE plist [" + bomb + "]><plist><string>&b;</string></plist>", "in line 1"},
        {"<!DOCTYPE plist SYSTEM \"file:///etc/passwd\" []><plist><true/></plist>", "document type"},
        {xml("<string>&unknown;</string>"), "entity is not known in line 3"},
        {xml("\n<integer>12a</integer>"), "\"integer\" is no such value in line 4"},
        {xml("<integer/>"), "no such value"},
        {xml("<integer>--1</integer>"), "no such value"},
        {xml("<integer>18446744073709551616</integer>"), "no such value"},
        {xml("<integer>-9223372036854775809</integer>"), "no such value"},
        {xml("<integer>1.5</integer>"), "no such value"},
        {xml("<real>1,5</real>"), "no such value"},
        {xml("<real>1e999</real>"), "no such value"},
        {xml("<real>+-1</real>"), "no such value"},
        {xml("<date>2023-02-29T00:00:00Z</date>"), "no such value"},
        {xml("<date>1900-02-29T00:00:00Z</date>"), "no such value"},
        {xml("<date>2023-01-01T24:00:00Z</date>"), "no such value"},
        {xml("<date>2023-01-01</date>"), "no such value"},
        {xml("<data>A===</data>"), "no such value"},
        {xml("<data>AA</data>"), "no such value"},
        {xml("<data>AA==AA==</data>"), "no such value"},
        {xml("<data>A!==</data>"), "no such value"},
        {xml("<true>x</true>"), "boolean"},
        {xml("<null/>"), "element is not known"},
        {xml("<string><b/></string>"), "holds an element"},
        {xml("<true/><true/>"), "more than one"},
        {xml("<array>x</array>"), "text stands between"},
        {xml("<array><plist/></array>"), "stands in another"},
        {xml("<array><key>x</key></array>"), "key stands"},
        {xml("<key>x</key>"), "key stands"},
        {xml("<dict><true/></dict>"), "has no key"},
        {xml("<dict><key>a</key></dict>"), "has no value"},
        {xml("<dict><key>a</key><key>b</key></dict>"), "key stands"},
        {xml(""), "no value"},
        {"<?xml version=\"1.0\"?><list/>", "not a property list"},
        {"<plist><array>", "in line 1"},
        {"<plist><true/></plist><plist/>", "in line 1"},
        {xml("<string>\xFF</string>"), "in line 3"},
        {xml(repeated("<array>", 513)), "512 levels"},
    };
    expectRefusals(refusals);
}

TEST(TextPropertyList, ValuesAreRead) {
    auto *pairs = dictionary({{"Yes", String::of("Ja")}, {"a.b", String::of("a.b")}});
    const Value values[] = {
        {"/* table */\n\"Yes\" = \"Ja\"; // the answer\na.b;\n", pairs},
        {"\xEF\xBB\xBF\"Yes\"=\"Ja\";\"a.b\";", pairs},
        {utf16("\"Yes\" = Ja;\na.b = a.b;", true), pairs},
        {utf16("\"Yes\" = Ja;\na.b = a.b;", false), pairs},
        {"{ Yes = Ja; a.b; }", pairs},
        {"", dictionary({})},
        {" /* nothing */ ", dictionary({})},
        {"k = 1; k = 2;", dictionary({{"k", String::of("2")}})},
        {"\"\" = \"\";", dictionary({{"", String::of("")}})},
        {"url = http://host/a//b; // comment", dictionary({{"url", String::of("http://host/a//b")}})},
        {"n = { a = (1, (), { b = <0fA0 01>; },); }; m = <>;",
         dictionary({{"n", dictionary({{"a", Array::of({String::of("1"), Array::of({}),
                                                        dictionary({{"b", makeData("\x0F\xA0\x01")}})})}})},
                     {"m", makeData("")}})},
        {R"('it"s')", String::of("it\"s")},
        {R"("tab\tquote\"\'back\\ \a\b\f\n\r\v")", String::of("tab\tquote\"'back\\ \a\b\f\n\r\v")},
        {R"("\U00e9\u20AC\101\351\0")", String::of("\u00E9\u20ACA\u00E9\0"s)},
        {R"("\Ud83d\Ude00 \ud83d \Ud83d\U0041")", String::of("\U0001F600 \uFFFD \uFFFDA")},
        {R"("\U41x \1018")", String::of("Ax A8")},
        {"\"two\nlines \\\nthree \\\u00E9\"", String::of("two\nlines \nthree \u00E9")},
        {"( a, b )", Array::of({String::of("a"), String::of("b")})},
        {"<00>", makeData("\0"s)},
    };
    expectValues(values, PropertyListFormat::text);
}

TEST(TextPropertyList, AnythingElseIsRefusedWithItsLine) {
    const Refusal refusals[] = {
        {"\"a\" = \"b\"", "not followed by ';' in line 1"},
        {"\"a\" = \"b\";\n\"c\" \"d\";", "neither '=' nor ';' in line 2"},
        {"a = b;\n/* c", "comment does not end in line 2"},
        {"a = b;\n\n\"c = d;\n\n", "quoted text does not end in line 3"},
        {"a = \"\\", "does not end"},
        {"a = ", "cut off"},
        {"a = ;", "begins with a character"},
        {"a = b;}", "begins with a character"},
        {"{ a = b; ", "cut off"},
        {"{ a = b }", "not followed by ';'"},
        {"(a b)", "neither ',' nor ')'"},
        {"(a,,b)", "begins with a character"},
        {"(a", "neither ',' nor ')'"},
        {"<0g>", "hexadecimal"},
        {"<012>", "odd number"},
        {"<01", "does not end"},
        {"a b", "more than one value"},
        {"\"\\U\"", "no hexadecimal digits"},
        {"\"\\777\"", "octal"},
        {"{ (a) = b; }", "begins with a character"},
        {"a = \"\xFF\";", "neither valid UTF-8"},
        {"\xFF\xFE"
         "a",
         "within a unit"},
        {"\1\2\3", "begins with a character"},
        {std::string(4, '\0'), "begins with a character"},
        {repeated("(", 513), "512 levels"},
        {"a = " + repeated("{ a = ", 512), "512 levels"},
    };
    expectRefusals(refusals);
}

TEST(PropertyList, ReadsNoTreeThatTakesMoreMemoryThanItIsGiven) {
    const auto numbers = MutableArray::create();
    for (std::int64_t i = 0; i < 2000; ++i)
        numbers->append(Number::create(i).get());
    const auto binary = createPropertyListData(numbers.get());
    // The same number again and again: one object, and many references to it.
    const auto same = MutableArray::create();
    for (int i = 0; i < 20'000; ++i)
        same->append(Number::of(1));
    const auto references = createPropertyListData(same.get());
    const auto textOf = [](const Ref<Data> &data) {
        return std::string(static_cast<const char *>(data->bytes()), data->length());
    };
    const std::string lists[] = {textOf(binary), textOf(references),
                                 xml("<array>" + repeated("<true/>", 2000) + "</array>"),
                                 "(" + repeated("a,", 2000) + ")", "(" + repeated("{},", 2000) + ")"};
    for (const std::string &list : lists) {
        Ref<Error> error;
        EXPECT_FALSE(createPropertyListObject(std::as_bytes(std::span(list)), &error, nullptr, 100'000));
        ASSERT_TRUE(error);
        EXPECT_EQ(error->code(), static_cast<std::int64_t>(PropertyListErrorCode::tooLarge));
        EXPECT_TRUE(createPropertyListObject(std::as_bytes(std::span(list)), &error, nullptr, 1'000'000));
    }
}

} // namespace
