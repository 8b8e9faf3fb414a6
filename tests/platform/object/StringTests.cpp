#include "wickerlane/platform/object/String.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <clocale>
#include <cmath>
#include <cstring>
#include <thread>
#include <vector>

#include "wickerlane/platform/object/Dictionary.h"
#include "wickerlane/platform/object/Number.h"

using namespace wickerlane;

namespace {

// A string as another subsystem would write one: the two functions that it must supply, and nothing else.
class ForeignString final : public String {
public:
    explicit ForeignString(std::u16string held) : units(std::move(held)) {}
    [[nodiscard]] std::size_t length() const override { return units.size(); }
    [[nodiscard]] char16_t characterAtIndex(std::size_t index) const override { return units[index]; }

private:
    std::u16string units;
};

constexpr std::strong_ordering less = std::strong_ordering::less;
constexpr std::strong_ordering same = std::strong_ordering::equal;
constexpr std::strong_ordering more = std::strong_ordering::greater;
constexpr auto ignoringCase = CompareOptions::caseInsensitive;
constexpr auto ignoringMarks = CompareOptions::diacriticInsensitive;
constexpr auto numeric = CompareOptions::numeric;

const char *const texts[] = {
    "",
    "plain",
    "größer",
    "日本語",
    "a😀b",
    "\U0010FFFF",
    "e\u0301",
    ("a text that is long enough to be taken in more than one piece, since the pieces that "
     "are compared at once hold a hundred and twenty-eight units, é")};

TEST(Strings, AreEqualWhateverTheirClasses) {
    for (const char *text : texts) {
        SCOPED_TRACE(text);
        const auto plain = String::create(text);
        const std::u16string units = plain->utf16();
        const auto adopted = String::createAdopting(strdup(text));
        const auto changeable = MutableString::create(text);
        const auto foreign = makeRef<ForeignString>(units);
        const String *const all[] = {plain.get(), adopted.get(), changeable.get(), foreign.get(),
                                     String::createWithUTF16(units).leak()};
        for (const String *one : all) {
            EXPECT_EQ(one->utf8(), text);
            EXPECT_EQ(std::strlen(one->UTF8String()), std::strlen(text));
            ASSERT_EQ(one->length(), units.size());
            for (std::size_t i = 0; i < units.size(); ++i)
                EXPECT_EQ(one->characterAtIndex(i), units[i]);
            for (const String *other : all) {
                EXPECT_TRUE(one->isEqual(other));
                EXPECT_EQ(one->compare(other), same);
                EXPECT_EQ(one->hash(), other->hash());
                EXPECT_EQ(one->compare(other, ignoringCase | numeric), same);
                EXPECT_EQ(one->compare(other, numeric, {0, 1000}, "de_DE"), same);
            }
            EXPECT_FALSE(one->isEqual(String::of(std::string(text) + "x")));
            EXPECT_FALSE(one->isEqual(nullptr));
            EXPECT_EQ(one->hash(), String::hashOfUTF8(text));
            EXPECT_EQ(String::format("<%@>", one)->utf8(), "<" + std::string(text) + ">");
        }
        all[4]->release();
    }
}

TEST(Strings, AForeignStringIsAKeyLikeAnyOther) {
    const auto foreign = makeRef<ForeignString>(u"schl\u00FCssel");
    const auto dictionary = MutableDictionary::create();
    dictionary->set(foreign.get(), Number::of(1));
    dictionary->set("schl\u00FCssel", Number::of(2));
    EXPECT_EQ(dictionary->count(), 1U);
    EXPECT_TRUE(areEqual(dictionary->get(String::of("schl\u00FCssel")), Number::of(2)));
    EXPECT_TRUE(areEqual(dictionary->get(foreign.get()), Number::of(2)));
    EXPECT_EQ(String::of("b")->compare(makeRef<ForeignString>(u"a").get()), more);
    EXPECT_EQ(makeRef<ForeignString>(u"a")->compare(String::of("b")), less);
    // A lone surrogate is no UTF-8 character, but it is a unit like another.
    const auto lone = makeRef<ForeignString>(u"\xD83D");
    EXPECT_EQ(lone->utf8(), "\uFFFD");
    EXPECT_FALSE(lone->isEqual(String::of("\uFFFD")));
    EXPECT_TRUE(lone->isEqual(makeRef<ForeignString>(u"\xD83D").get()));
}

TEST(Strings, TakeNoIllFormedText) {
    using namespace std::string_view_literals;
    for (const std::string_view bad :
         {"\xFF"sv, "a\x80"sv, "\xC0\x80"sv, "\xC3"sv, "\xE0\x80\x80"sv, "\xED\xA0\x80"sv,
          "\xF4\x90\x80\x80"sv, "\xF0\x9F\x98"sv, "12345678\xC3"sv, "\xF8\x88\x80\x80\x80"sv}) {
        EXPECT_FALSE(String::create(bad)) << testing::PrintToString(bad);
        EXPECT_EQ(String::of(bad), nullptr);
        EXPECT_FALSE(String::createAdopting(strdup(std::string(bad).c_str())));
    }
    EXPECT_FALSE(String::create(static_cast<const char *>(nullptr)));
    EXPECT_EQ(String::create("a\0b"sv)->length(), 3U);
    EXPECT_EQ(MutableString::create("a\xE2\x82z")->utf8(), "a\uFFFDz");
    EXPECT_EQ(String::createWithUTF16(u"\xDE00x\xD83D")->utf8(), "\uFFFDx\uFFFD");
}

TEST(Strings, UnitsAreFoundOnManyThreadsAtOnce) {
    std::string text;
    for (int i = 0; i < 1000; ++i)
        text += "ä😀";
    const auto string = String::create(text);
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&] {
            for (std::size_t i = 0; i < string->length(); i += 3)
                EXPECT_EQ(string->characterAtIndex(i), u'ä');
        });
    for (std::thread &thread : threads)
        thread.join();
}

TEST(Strings, CompareAsTheOptionsSay) {
    const struct {
        const char *left, *right;
        CompareOptions options;
        const char *locale;
        std::strong_ordering order;
    } cases[] = {
        {"a", "B", CompareOptions::none, nullptr, more},
        {"a", "B", ignoringCase, nullptr, less},
        {"STRASSE", "stra\u00DFe", ignoringCase, nullptr, same},
        {"\u00C9t\u00E9", "ete", ignoringCase | ignoringMarks, nullptr, same},
        {"\u00E9", "e\u0301", CompareOptions::none, nullptr, more},
        {"\u00E9", "e\u0301", ignoringMarks, nullptr, same},
        {"\U0001F600", "\uFB01", CompareOptions::none, nullptr, less}, // by units, not by code points
        {"Photo 9", "Photo 10", CompareOptions::none, nullptr, more},
        {"Photo 9", "Photo 10", numeric, nullptr, less},
        {"Photo 99999999999999999999998", "Photo 99999999999999999999999", numeric, nullptr, less},
        {"a01b", "a1b", numeric, nullptr, same},
        {"a1", "a1b", numeric, nullptr, less},
        {"ab", "a1", numeric, nullptr, more},
        {"\u00E4", "z", CompareOptions::none, nullptr, more},
        {"\u00E4", "z", CompareOptions::none, "de_DE", less},
        {"\u00E4", "z", CompareOptions::none, "sv_SE", more},
        {"a", "A", CompareOptions::none, "en_US", less},
        {"a", "A", ignoringCase, "en_US", same},
        {"a", "\u00E1", ignoringCase, "en_US", less},
        {"a", "\u00E1", ignoringCase | ignoringMarks, "en_US", same},
        {"a", "A", ignoringMarks, "en_US", less},
        {"x2", "x10", numeric, "en_US", less},
        {"x2", "x10", CompareOptions::none, "en_US", more},
        {"a", "b", CompareOptions::none, "", less},
        {"a", "b", CompareOptions::none, "@@@no such locale%n%s@@@", less},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(std::string(c.left) + " / " + c.right + " / " + (c.locale != nullptr ? c.locale : "-"));
        const String *left = String::of(c.left);
        const String *right = String::of(c.right);
        EXPECT_EQ(left->compare(right, c.options, {0, left->length()}, c.locale), c.order);
        EXPECT_EQ(right->compare(left, c.options, {0, right->length()}, c.locale), 0 <=> c.order);
    }
    EXPECT_EQ(String::of("photo 9")->localizedStandardCompare(String::of("Photo 10")), less);
    const String *text = String::of("xABCx");
    EXPECT_EQ(text->compare(String::of("abc"), ignoringCase, {1, 3}), same);
    EXPECT_EQ(text->compare(String::of("BCx"), CompareOptions::none, {2, String::notFound}), same);
    EXPECT_EQ(text->compare(String::empty(), CompareOptions::none, {99, 5}), same);
}

TEST(Strings, CollateOnManyThreadsAtOnce) {
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([t] {
            const char *const locales[] = {"de_DE", "sv_SE", "en_US", "fr_FR"};
            const auto left = String::create("\u00E4");
            const auto right = String::create("z");
            for (int i = 0; i < 200; ++i) {
                const char *locale = locales[(i + t) % 4];
                EXPECT_EQ(left->compare(right.get(), CompareOptions::none, {0, 1}, locale),
                          locale == locales[1] ? more : less);
            }
        });
    for (std::thread &thread : threads)
        thread.join();
}

TEST(Strings, FindTextsBetweenWholeCharacters) {
    constexpr auto backwards = CompareOptions::backwards;
    constexpr auto anchored = CompareOptions::anchored;
    constexpr Range none{String::notFound, 0};
    const struct {
        const char *text, *searched;
        CompareOptions options;
        Range found;
    } cases[] = {
        {"abcabc", "bc", CompareOptions::none, {1, 2}},
        {"abcabc", "bc", backwards, {4, 2}},
        {"abcabc", "bc", anchored, none},
        {"abcabc", "bc", anchored | backwards, {4, 2}},
        {"abcabc", "abc", anchored, {0, 3}},
        {"abc", "", CompareOptions::none, none},
        {"abc", "abcd", CompareOptions::none, none},
        {"x\u00DFy", "SS", ignoringCase, {1, 1}},
        {"x\u00DFy", "s", ignoringCase, none}, // half of a character
        {"x\u00DFy s", "s", ignoringCase | backwards, {4, 1}},
        {"cafe\u0301!", "E", ignoringCase | ignoringMarks, {3, 2}},
        {"\U0001F600\u00C4", "\u00E4", ignoringCase, {2, 1}},
        {"aaa", "aa", backwards, {1, 2}},
    };
    for (const auto &c : cases)
        EXPECT_EQ(String::of(c.text)->rangeOf(String::of(c.searched), c.options), c.found)
            << c.text << " / " << c.searched << " at "
            << String::of(c.text)->rangeOf(String::of(c.searched), c.options).location;
}

TEST(Strings, GiveDerivedTextsThatAreValid) {
    const String *text = String::of("a\U0001F600\u00C4z");
    EXPECT_EQ(text->substring({3, 99})->utf8(), "\u00C4z");
    EXPECT_EQ(text->substring({0, 2})->utf8(), "a\uFFFD");
    EXPECT_EQ(text->substring({99, 1})->utf8(), "");
    EXPECT_EQ(text->lowercase()->utf8(), "a\U0001F600\u00E4z");
    EXPECT_EQ(String::of("stra\u00DFe")->uppercase()->utf8(), "STRASSE");
    EXPECT_EQ(text->appending("\xFF!")->utf8(), "a\U0001F600\u00C4z\uFFFD!");
    EXPECT_TRUE(text->hasPrefix("a") && text->hasSuffix("z") && !text->hasPrefix("z") && text->hasSuffix(""));
}

TEST(Strings, GiveTheNumberThatBeginsThem) {
    const struct {
        const char *text;
        std::int64_t integer;
        double real;
    } cases[] = {
        {"42", 42, 42},
        {" \t\n-7x", -7, -7},
        {"+3.75e2rest", 3, 375},
        {"", 0, 0},
        {"-", 0, 0},
        {".5", 0, 0.5},
        {".", 0, 0},
        {"1e", 1, 1},
        {"1e+", 1, 1},
        {"0x10", 0, 0},
        {"inf", 0, 0},
        {"nan", 0, 0},
        {"- 5", 0, 0},
        {"9223372036854775807", INT64_MAX, 9223372036854775807.0},
        {"9223372036854775808", INT64_MAX, 9223372036854775808.0},
        {"-9223372036854775808", INT64_MIN, -9223372036854775808.0},
        {"-99999999999999999999", INT64_MIN, -1e20},
        {"1e999", 1, DBL_MAX},
        {"-1e999", -1, -DBL_MAX},
        {"1e-999", 1, 0},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(String::of(c.text)->integerValue(), c.integer) << c.text;
        EXPECT_EQ(String::of(c.text)->doubleValue(), c.real) << c.text;
    }
}

TEST(MutableStrings, StayValidThroughEveryChange) {
    const auto text = MutableString::create("a\u00C4");
    EXPECT_EQ(text->utf8(), "a\u00C4");
    text->append("b");
    EXPECT_EQ(text->utf8(), "a\u00C4b");
    text->append(String::of("\U0001F600"));
    text->appendFormat("%d", 5);
    EXPECT_EQ(text->utf8(), "a\u00C4b\U0001F6005");
    text->replace({3, 1}, String::empty()); // half of a pair
    EXPECT_EQ(text->utf8(), "a\u00C4b\uFFFD5");
    text->replace({1, 99}, text.get());
    EXPECT_EQ(text->length(), 6U);
    text->replace({99, 1}, String::of("!"));
    EXPECT_EQ(text->characterAtIndex(6), u'!');
    text->setString(text.get());
    EXPECT_EQ(text->length(), 7U);
}

} // namespace
