// The binary format: what is written byte for byte, what comes back, and what hostile bytes get.
#include <gtest/gtest.h>

#include <limits>

#include "tests/platform/propertylist/Lists.h"

using namespace wickerlane;
using namespace wickerlane::test;
using namespace std::string_literals;

namespace {

// Equal also in what kind each number is of, which isEqual() passes over.
void expectSame(const Object *a, const Object *b) {
    ASSERT_TRUE(areEqual(a, b)) << a->description()->utf8() << " / " << b->description()->utf8();
    if (const auto *number = as<Number>(a)) {
        EXPECT_EQ(number->kind(), as<Number>(b)->kind());
    }
    if (const auto *array = as<Array>(a))
        for (std::size_t i = 0; i < array->count(); ++i)
            expectSame(array->at(i), as<Array>(b)->at(i));
    if (const auto *dictionary = as<Dictionary>(a))
        for (std::size_t i = 0; i < dictionary->count(); ++i) { // in the same order
            EXPECT_TRUE(areEqual(dictionary->begin()[i].key, as<Dictionary>(b)->begin()[i].key));
            expectSame(dictionary->begin()[i].value, as<Dictionary>(b)->begin()[i].value);
        }
}

TEST(BinaryPropertyList, BytesAreThoseOfTheFormat) {
    struct Case {
        const char *what;
        Object *root;
        std::string bytes;
    };
    auto *shared = Array::of({});
    const Case cases[] = {
        {"a pair", dictionary({{"a", Number::of(1)}}),
         "bplist00\xD1\x01\x02\x51"
         "a\x10\x01\x08\x0B\x0D\0\0\0\0\0\0\x01\x01\0\0\0\0\0\0\0\x03\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\x0F"s},
        {"integers", Array::of({Number::of(255), Number::of(256), Number::of(65536), Number::of(-1)}),
         assemble(
             {"\xA4\1\2\3\4"s, "\x10\xFF"s, "\x11\1\0"s, "\x12\0\1\0\0"s, "\x13"s + std::string(8, '\xFF')})},
        {"8 and 16 byte integers", Array::of({Number::of(0x100000000), Number::of(std::uint64_t{1} << 63)}),
         assemble({"\xA2\1\2"s, "\x13\0\0\0\1\0\0\0\0"s, "\x14\0\0\0\0\0\0\0\0\x80\0\0\0\0\0\0\0"s})},
        {"reals, a date, booleans",
         Array::of({Number::of(1.5), autorelease(Date::createWithReferenceSeconds(-2)), Number::of(true),
                    Number::of(false)}),
         assemble(
             {"\xA4\1\2\3\4"s, "\x23\x3F\xF8\0\0\0\0\0\0"s, "\x33\xC0\0\0\0\0\0\0\0"s, "\x09"s, "\x08"s})},
        {"text in and outside ASCII, data",
         Array::of({String::of("ab"), String::of("\u00E9\U0001F600"), makeData("\1\2")}),
         assemble({"\xA3\1\2\3"s, "\x52"s + "ab", "\x63\0\xE9\xD8\x3D\xDE\0"s, "\x42\1\2"s})},
        {"counts from 15 on", String::of(std::string(15, 'x')),
         assemble({"\x5F\x10\x0F"s + std::string(15, 'x')})},
        {"a large count", makeData(std::string(256, 'x')),
         assemble({"\x4F\x11\1\0"s + std::string(256, 'x')})},
        {"equal values once, whatever kind of integer; reals and negative zero apart",
         Array::of({String::of("x"), Number::of(7), String::of("x"), Number::of(7U), Number::of(7.0),
                    Number::of(0.0), Number::of(-0.0), makeData("x"), makeData("x")}),
         assemble({"\xA9\1\2\1\2\3\4\5\6\6"s, "\x51x"s, "\x10\7"s, "\x23\x40\x1C\0\0\0\0\0\0"s,
                   "\x23\0\0\0\0\0\0\0\0"s, "\x23\x80\0\0\0\0\0\0\0"s, "\x41x"s})},
        {"one container twice, an equal one apart", Array::of({shared, shared, Array::of({})}),
         assemble({"\xA3\1\1\2"s, "\xA0"s, "\xA0"s})},
        {"keys before values, containers before their contents",
         dictionary({{"k", dictionary({{"x", Number::of(1)}})}, {"l", Array::of({String::of("k")})}}),
         assemble({"\xD2\1\2\3\6"s, "\x51k"s, "\x51l"s, "\xD1\4\5"s, "\x51x"s, "\x10\1"s, "\xA1\1"s})},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(written(c.root), c.bytes);
        const auto back = readBack(c.bytes);
        ASSERT_TRUE(back);
        EXPECT_TRUE(areEqual(c.root, back.get()));
    }
}

TEST(BinaryPropertyList, ReferencesAndOffsetsGrowWithTheList) {
    // With 256 objects a reference takes two bytes, and one byte more of objects makes offsets longer.
    for (const int count : {1, 254, 255, 256, 65534, 65535, 70000}) {
        SCOPED_TRACE(count);
        auto array = MutableArray::create();
        for (int i = 0; i < count; ++i)
            array->append(Number::of(i));
        const std::string bytes = written(array.get());
        const int objects = count + 1;
        EXPECT_EQ(bytes.at(bytes.size() - 25), objects <= 0xFF ? 1 : (objects <= 0xFFFF ? 2 : 4));
        expectSame(array.get(), readBack(bytes).get());
    }
    for (const std::size_t size : {244, 245, 65523, 65524}) {
        const std::string bytes = written(makeData(std::string(size, 'x')));
        const std::size_t table = bytes.size() - 32 - static_cast<std::size_t>(bytes.at(bytes.size() - 26));
        EXPECT_EQ(bytes.at(bytes.size() - 26), table <= 0xFF ? 1 : (table <= 0xFFFF ? 2 : 4)) << size;
        EXPECT_TRUE(readBack(bytes)) << size;
    }
}

TEST(BinaryPropertyList, ValuesComeBackExactly) {
    auto all = MutableArray::create();
    for (const std::int64_t n : {std::int64_t{0}, std::int64_t{127}, std::int64_t{128}, std::int64_t{1} << 32,
                                 std::numeric_limits<std::int64_t>::max(), std::int64_t{-1},
                                 std::int64_t{-129}, std::numeric_limits<std::int64_t>::min()})
        all->append(Number::of(n));
    for (const std::uint64_t n : {std::uint64_t{1} << 63, std::numeric_limits<std::uint64_t>::max()})
        all->append(Number::of(n));
    for (const double d :
         {0.1, 5e-324, 1.7976931348623157e308, std::numeric_limits<double>::infinity(), 1e100}) {
        all->append(Number::of(d));
        all->append(autorelease(Date::createWithReferenceSeconds(d)));
    }
    all->append(String::of(""));
    all->append(String::of("with\0a NUL"s));
    all->append(makeData(""));
    all->append(dictionary({}));
    all->append(dictionary({{"z", Number::of(true)}, {"a", Number::of(false)}, {"m", all->at(3)}}));
    auto text = MutableString::create("gr\u00FC\u00DF");
    all->append(text.get());
    const std::string bytes = written(all.get());
    const auto back = readBack(bytes);
    ASSERT_TRUE(back);
    expectSame(all.get(), back.get());
    EXPECT_EQ(as<MutableArray>(back.get()), nullptr);
    EXPECT_EQ(written(back.get()), bytes);

    const auto nan = readBack(written(Number::of(std::numeric_limits<double>::quiet_NaN())));
    EXPECT_NE(as<Number>(nan.get())->doubleValue(), as<Number>(nan.get())->doubleValue());
}

TEST(BinaryPropertyList, AnythingElseIsRefusedWithItsPlace) {
    auto loop = MutableArray::create();
    auto around = MutableDictionary::create();
    around->set("loop", loop.get());
    loop->append(around.get());
    const void *pointers[] = {nullptr};
    auto plain = Array::createWithCallBacks(pointers, nullptr);
    struct Case {
        Object *root;
        const char *reason;
    };
    const Case cases[] = {
        {URL::of("http://host/"), "Property list: a value of class URL cannot be written."},
        {dictionary({{"albums", Array::of({Number::of(1), dictionary({{"link", URL::of("x:y")}})})}}),
         "Property list: a value of class URL cannot be written at albums.1.link."},
        {dictionary({{"a", autorelease(Dictionary::create({{Number::of(1), Number::of(2)}}))}}),
         "Property list: a key is a Number, not text, in the dictionary at a."},
        {loop.get(), "Property list: a container contains itself at 0.loop."},
        {plain.get(), "Property list: an array holds something other than objects."},
    };
    for (const Case &c : cases) {
        Ref<Error> error;
        EXPECT_FALSE(createPropertyListData(c.root, &error));
        ASSERT_TRUE(error) << c.reason;
        EXPECT_EQ(error->localizedDescription()->utf8(), c.reason);
        EXPECT_TRUE(areEqual(error->domain(), platformErrorDomain));
        EXPECT_EQ(error->code(), static_cast<std::int64_t>(PropertyListErrorCode::unsupported));
        EXPECT_FALSE(createPropertyListData(c.root)) << "also without anyone to tell";
    }
    loop->removeAll();
    Ref<Error> error;
    EXPECT_FALSE(createPropertyListData(nullptr, &error));
    EXPECT_FALSE(error);
}

TEST(BinaryPropertyList, DepthIsLimitedOnEveryWay) {
    const auto nested = [](std::size_t depth) {
        Ref<Array> inner = Array::create();
        for (; depth > 1; --depth)
            inner = Array::create({inner.get()});
        return inner;
    };
    const auto deepest = nested(propertyListDepthLimit);
    const std::string bytes = written(deepest.get());
    ASSERT_FALSE(bytes.empty());
    EXPECT_TRUE(readBack(bytes));

    // Containers that are met first near the root, then again far below it.
    const auto makeLadder = [](std::size_t rungs) {
        Ref<Array> rung = Array::create();
        auto ladder = MutableArray::create();
        for (std::size_t i = 0; i < rungs; ++i) {
            ladder->append(rung.get());
            rung = Array::create({rung.get()});
        }
        return ladder;
    };
    EXPECT_TRUE(readBack(written(makeLadder(propertyListDepthLimit - 1).get())));
    for (const Ref<Array> &tooDeep : {nested(propertyListDepthLimit + 1), Ref<Array>(makeLadder(600))}) {
        Ref<Error> error;
        EXPECT_FALSE(createPropertyListData(tooDeep.get(), &error));
        ASSERT_TRUE(error);
        EXPECT_EQ(error->code(), static_cast<std::int64_t>(PropertyListErrorCode::tooLarge));
    }

    const auto reference = [](std::size_t i) {
        return std::string{static_cast<char>(i >> 8), static_cast<char>(i)};
    };
    std::vector<std::string> chain;
    std::vector<std::string> ladder{"\xAF\x11\2\x58"s};
    for (std::size_t i = 0; i < 600; ++i) {
        chain.push_back("\xA1" + reference(i + 1));
        ladder[0] += reference(i + 1);
        ladder.push_back(i == 0 ? "\xA0"s : "\xA1" + reference(i));
    }
    chain.push_back("\xA0");
    for (const auto &objects : {chain, ladder})
        EXPECT_THAT(reasonFor(assemble(objects, {.referenceSize = 2})), testing::HasSubstr("512 levels"));
}

TEST(BinaryPropertyList, SharedContainersStayShared) {
    // Written out in full this would hold 2 to the 100th elements.
    std::vector<std::string> objects;
    for (char i = 0; i < 100; ++i)
        objects.push_back("\xA2"s + static_cast<char>(i + 1) + static_cast<char>(i + 1));
    objects.push_back("\xA0");
    const std::string bytes = assemble(objects);
    const auto root = readBack(bytes);
    ASSERT_TRUE(root);
    EXPECT_EQ(written(root.get()), bytes);
}

TEST(BinaryPropertyList, OtherWritersMayChooseOtherSizes) {
    struct Case {
        std::string bytes;
        Object *value;
    };
    const std::string minusTwo = "\x14"s + std::string(15, '\xFF') + "\xFE";
    const Case cases[] = {
        {assemble({"\x22\x3F\xC0\0\0"s}), Number::of(1.5)},
        {assemble({"\x13\0\0\0\0\0\0\0\5"s}), Number::of(5)},
        {assemble({minusTwo}), Number::of(-2)},
        {assemble({"\x14"s + std::string(15, '\0') + "\5"}), Number::of(5)},
        {assemble({"\x5F\x12\0\0\0\1x"s}), String::of("x")},
        {assemble({"\x51x"s}, {.offsetSize = 8, .referenceSize = 8}), String::of("x")},
        {assemble({"\x51x"s, "\xA1\0\0\0"s}, {.offsetSize = 3, .referenceSize = 3, .root = 1}),
         Array::of({String::of("x")})},
        {assemble({"\xD2\1\1\2\3"s, "\x51k"s, "\x10\1"s, "\x10\2"s}), dictionary({{"k", Number::of(2)}})},
        {assemble({"\x61\xD8\0"s}), String::of("\uFFFD")},
    };
    for (const Case &c : cases) {
        const auto read = readBack(c.bytes);
        ASSERT_TRUE(read) << reasonFor(c.bytes);
        expectSame(c.value, read.get());
    }
}

TEST(BinaryPropertyList, CorruptListsAreRefusedWithAReason) {
    constexpr std::uint64_t huge = std::uint64_t{1} << 60;
    struct Case {
        std::string bytes;
        const char *reason;
    };
    const std::string padding(1 << 20, 'x');
    const Case cases[] = {
        {"bplist00", "cut off"},
        {"bplist16" + std::string(64, '\0'), "version"},
        {assemble({"\x08"s}, {.offsetSize = 0}), "size"},
        {assemble({"\x08"s}, {.offsetSize = 9}), "size"},
        {assemble({"\x08"s}, {.referenceSize = 0}), "size"},
        {assemble({padding}, {.count = huge}), "more objects"},
        {assemble({padding}, {.count = ~std::uint64_t{0}}), "more objects"},
        {assemble({"\x08"s}, {.count = 0}), "root"},
        {assemble({"\x08"s}, {.root = 1}), "root"},
        {assemble({"\x08"s}, {.table = 8}), "table"},
        {assemble({"\x08"s}, {.table = ~std::uint64_t{0}}), "table"},
        {assemble({"\xA1\1"s}), "no object"},
        {assemble({"\xA1\0"s}), "itself"},
        {assemble({"\xA1\1"s, "\xD1\2\0"s, "\x51k"s}), "itself"},
        {assemble({"\xD1\1\1"s, "\x10\1"s}), "key is not text"},
        {assemble({"\xD1\1\1"s, "\xA0"s}), "key is not text"},
        {assemble({"\xAF\x13\x10\0\0\0\0\0\0\0"s + padding}), "past the end"},
        {assemble({"\xDF\x13\x7F\xFF\xFF\xFF\xFF\xFF\xFF\xFF"s + padding}), "past the end"},
        {assemble({"\x6F\x13\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF"s + padding}), "past the end"},
        {assemble({"\x4F\x13\0\0\0\0\0\0\0\1"s}), "past the end"},
        {assemble({"\x5F"s}), "count"},
        {assemble({"\x5F\x10"s}), "count"},
        {assemble({"\x5F\x51x"s}), "count"},
        {assemble({"\x5F\x14" + std::string(15, '\0') + "\1x"}), "count"},
        {assemble({"\x11\1"s}), "past the end"},
        {assemble({"\x15"s + std::string(32, '\0')}), "16 bytes"},
        {assemble({"\x1F"s}), "past the end"},
        {assemble({"\x14\0\0\0\0\0\0\0\1\0\0\0\0\0\0\0\0"s}), "64 bits"},
        {assemble({"\x14"s + std::string(8, '\xFF') + std::string(8, '\0')}), "64 bits"},
        {assemble({"\x21\0\0"s}), "size"},
        {assemble({"\x32\0\0\0\0"s}), "size"},
        {assemble({"\x51\x80"s}), "ASCII"},
        {assemble({"\0"s}), "no kind"},
        {assemble({"\x80\1"s}), "no kind"},
        {assemble({"\xC0"s}), "no kind"},
    };
    for (const Case &c : cases)
        EXPECT_THAT(reasonFor(c.bytes), testing::HasSubstr(c.reason))
            << testing::PrintToString(c.bytes.substr(0, 60));

    // A thousand arrays of a thousand elements that all lie in the same two thousand bytes.
    std::string overlapping = "\xAF\x11\3\xE8"s;
    for (int i = 1; i <= 1000; ++i)
        overlapping += {static_cast<char>(i >> 8), static_cast<char>(i)};
    std::string bytes = "bplist00" + overlapping + "\x08"s;
    const std::size_t table = bytes.size();
    bytes += "\0\x08"s;
    for (int i = 1; i <= 1000; ++i)
        bytes += "\0\x08"s;
    bytes += trailer({.offsetSize = 2, .referenceSize = 2, .count = 1001, .table = table});
    EXPECT_THAT(reasonFor(bytes), testing::HasSubstr("overlap"));
}

TEST(BinaryPropertyList, DamageNeverDoesMoreThanSpoilTheList) {
    const std::string bytes = written(dictionary({
        {"numbers",
         Array::of({Number::of(1), Number::of(-5), Number::of(2.5), Number::of(~std::uint64_t{0})})},
        {"more",
         dictionary({{"date", autorelease(Date::createWithReferenceSeconds(1))}, {"yes", Number::of(true)}})},
        {"text", String::of("\u00E9t\u00E9")},
        {"data", makeData("0123456789abcdef")},
    }));
    ASSERT_TRUE(readBack(bytes));
    for (std::size_t length = 1; length < bytes.size(); ++length)
        EXPECT_FALSE(as<Dictionary>(readBack(bytes.substr(0, length)).get())) << length;
    for (std::size_t place = 0; place < bytes.size(); ++place) {
        for (int value = 0; value < 256; ++value) {
            std::string damaged = bytes;
            damaged[place] = static_cast<char>(value);
            if (const auto read = readBack(damaged)) {
                const std::string again = written(read.get());
                ASSERT_FALSE(again.empty()) << place << " " << value;
                ASSERT_EQ(written(readBack(again).get()), again) << place << " " << value;
            }
        }
    }
}

} // namespace
