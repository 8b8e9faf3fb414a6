// Numbers, dates, UUIDs, data and index sets.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <set>

#include "wickerlane/platform/object/Data.h"
#include "wickerlane/platform/object/IndexSet.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/String.h"

using namespace wickerlane;

namespace {

TEST(Numbers, CompareByValueAcrossKinds) {
    constexpr double twoTo63 = 9223372036854775808.0;
    // Ascending; the numbers of one row are equal.
    const std::vector<std::vector<Number *>> rows = {
        {Number::of(std::nan("")), Number::of(-std::nan(""))},
        {Number::of(-HUGE_VAL)},
        {Number::of(INT64_MIN), Number::of(-twoTo63)},
        {Number::of(INT64_MIN + 1)},
        {Number::of(-1.5)},
        {Number::of(-1), Number::of(-1.0)},
        {Number::of(-0.5)},
        {Number::of(false), Number::of(0), Number::of(0U), Number::of(0.0), Number::of(-0.0)},
        {Number::of(0.5)},
        {Number::of(true), Number::of(1), Number::of(1ULL), Number::of(1.0F)},
        {Number::of((INT64_C(1) << 53)), Number::of(9007199254740992.0)},
        {Number::of((INT64_C(1) << 53) + 1)}, // no double
        {Number::of(std::nextafter(twoTo63, 0.0))},
        {Number::of(INT64_MAX), Number::of(static_cast<std::uint64_t>(INT64_MAX))},
        {Number::of(static_cast<std::uint64_t>(INT64_MAX) + 1), Number::of(twoTo63)},
        {Number::of(UINT64_MAX)},
        {Number::of(2 * twoTo63)},
    };
    for (std::size_t i = 0; i < rows.size(); ++i)
        for (std::size_t j = 0; j < rows.size(); ++j)
            for (const Number *left : rows[i])
                for (const Number *right : rows[j]) {
                    EXPECT_EQ(left->compare(right), i <=> j) << i << " " << j;
                    EXPECT_EQ(left->isEqual(right), i == j) << i << " " << j;
                    EXPECT_TRUE(i != j || left->hash() == right->hash()) << i;
                }
}

TEST(Numbers, ConvertWithinTheRangeOfEachType) {
    using Kind = Number::Kind;
    const struct {
        Number *number;
        Kind kind;
        std::int64_t asSigned;
        std::uint64_t asUnsigned;
        double real;
        const char *text;
    } cases[] = {
        {Number::of(true), Kind::boolean, 1, 1, 1, "1"},
        {Number::of('\xFF'), Kind::signedInteger, -1, UINT64_MAX, -1, "-1"},
        {Number::of(UINT64_MAX), Kind::unsignedInteger, -1, UINT64_MAX, 18446744073709551616.0,
         "18446744073709551615"},
        {Number::of(0.1), Kind::real, 0, 0, 0.1, "0.1"},
        {Number::of(-2.9), Kind::real, -2, 0, -2.9, "-2.9"},
        {Number::of(1e300), Kind::real, INT64_MAX, UINT64_MAX, 1e300, "1e+300"},
        {Number::of(-1e300), Kind::real, INT64_MIN, 0, -1e300, "-1e+300"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(c.number->kind(), c.kind);
        EXPECT_EQ(c.number->int64Value(), c.asSigned);
        EXPECT_EQ(c.number->uint64Value(), c.asUnsigned);
        EXPECT_EQ(c.number->doubleValue(), c.real);
        EXPECT_TRUE(c.number->boolValue());
        EXPECT_EQ(c.number->description()->utf8(), c.text);
    }
    EXPECT_EQ(Number::of(std::nan(""))->int64Value(), 0);
    EXPECT_EQ(Number::of(true), Number::of(true));
}

TEST(Dates, AreDescribedInUniversalTime) {
    EXPECT_EQ(Date::createWithReferenceSeconds(0)->description()->utf8(), "2001-01-01 00:00:00 +0000");
    EXPECT_EQ(Date::createWithUnixSeconds(-0.25)->description()->utf8(), "1969-12-31 23:59:59 +0000");
    EXPECT_EQ(Date::createWithUnixSeconds(1e9)->referenceSeconds(), 1e9 - 978307200);
    for (const double odd : {HUGE_VAL, -HUGE_VAL, std::nan(""), 1e300, -1e17})
        EXPECT_NE(Date::createWithReferenceSeconds(odd)->description()->length(), 0U);
}

TEST(UUIDs, ReadTheirText) {
    const auto uuid = UUID::createWithText("0a1b2c3d-4e5f-6071-8293-A4B5C6D7E8F9");
    ASSERT_TRUE(uuid);
    EXPECT_EQ(uuid->description()->utf8(), "0A1B2C3D-4E5F-6071-8293-A4B5C6D7E8F9");
    EXPECT_EQ(uuid->bytes()[15], 0xF9);
    const auto copy = UUID::createWithBytes(uuid->bytes());
    EXPECT_TRUE(copy->isEqual(uuid.get()) && copy->hash() == uuid->hash());
    EXPECT_FALSE(UUID::createRandom()->isEqual(UUID::createRandom().get()));
    for (const char *bad : {"", "0a1b2c3d-4e5f-6071-8293-A4B5C6D7E8F",
                            "0a1b2c3d-4e5f-6071-8293-A4B5C6D7E8F99", "0a1b2c3d04e5f-6071-8293-A4B5C6D7E8F9",
                            "ga1b2c3d-4e5f-6071-8293-A4B5C6D7E8F9", "{0a1b2c3d-4e5f-6071-8293-A4B5C6D7E8}"})
        EXPECT_FALSE(UUID::createWithText(bad)) << bad;
}

TEST(DataObjects, LendAndCopy) {
    int ended = 0;
    const auto bytes = std::as_bytes(std::span("0123456", 7));
    {
        const auto lent = Data::createLending(bytes, [&] { ++ended; });
        EXPECT_EQ(lent->bytes(), bytes.data());
        const auto copied = Data::create(bytes);
        EXPECT_TRUE(lent->isEqual(copied.get()) && lent->hash() == copied->hash());
        EXPECT_EQ(copied->description()->utf8(), "<30313233 343536>");
        char part[4] = "...";
        copied->getBytes(part, Range{5, 99});
        EXPECT_STREQ(part, "56.");
        copied->getBytes(part, Range{8, 1});
        EXPECT_STREQ(part, "56.");
    }
    EXPECT_EQ(ended, 1);
}

// Against a set of single numbers, with many small changes.
TEST(IndexSets, HoldWhatWasAddedAndNotRemoved) {
    const auto set = MutableIndexSet::create();
    std::set<std::size_t> model;
    std::uint32_t random = 1;
    for (int step = 0; step < 2000; ++step) {
        random = random * 1664525 + 1013904223;
        const Range range{(random >> 8) % 40, (random >> 16) % 8};
        const bool adding = (random >> 30) % 2 == 0;
        adding ? set->add(range) : set->remove(range);
        for (std::size_t i = range.location; i < range.location + range.length; ++i) {
            if (adding)
                model.insert(i);
            else
                model.erase(i);
        }
        ASSERT_EQ(set->count(), model.size()) << step;
        for (std::size_t i = 0; i < 50; ++i)
            ASSERT_EQ(set->contains(i), model.contains(i)) << step << " " << i;
        const auto ranges = set->ranges();
        for (std::size_t i = 1; i < ranges.size(); ++i)
            ASSERT_LT(ranges[i - 1].location + ranges[i - 1].length, ranges[i].location) << step;
    }
}

TEST(IndexSets, AreCutAtTheLargestIndex) {
    const auto set = IndexSet::create({9, 2, 0, 1, 5, 10, 9, String::notFound});
    EXPECT_EQ(set->description()->utf8(), "{0-2, 5, 9-10}");
    const auto same = MutableIndexSet::create();
    same->add(Range{0, 11});
    same->remove(Range{3, 2});
    same->remove(Range{6, 3});
    EXPECT_TRUE(set->isEqual(same.get()) && set->hash() == same->hash());
    same->add(Range{String::notFound - 2, 100});
    EXPECT_TRUE(same->contains(String::notFound - 1));
    EXPECT_FALSE(same->contains(String::notFound));
    same->add(String::notFound);
    EXPECT_EQ(same->count(), 8U);
    same->remove(Range{1, String::notFound});
    EXPECT_EQ(same->description()->utf8(), "{0}");
    EXPECT_EQ(IndexSet::create()->description()->utf8(), "{}");
}

} // namespace
