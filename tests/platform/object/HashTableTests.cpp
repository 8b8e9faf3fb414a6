#include "wickerlane/platform/object/HashTable.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

using namespace wickerlane;

namespace {

// Changes a table and its array at random and compares it with a search through the array.
void changeAtRandom(const std::function<std::size_t(int)> &hashOf, int values, int changes) {
    std::mt19937 random(1); // NOLINT: the same every time
    HashTable table;
    std::vector<int> array;
    for (int i = 0; i < changes; ++i) {
        const int value = static_cast<int>(random() % static_cast<unsigned>(values));
        const auto matches = [&](std::size_t position) { return array.at(position) == value; };
        const auto position = static_cast<std::size_t>(std::ranges::find(array, value) - array.begin());
        ASSERT_EQ(table.find(hashOf(value), matches), position);
        if (random() % 2 == 0) {
            ASSERT_EQ(table.findOrAppend(hashOf(value), matches), position);
            if (position == array.size())
                array.push_back(value);
        } else if (position != array.size()) {
            table.remove(hashOf(value), position);
            array.erase(array.begin() + static_cast<std::ptrdiff_t>(position));
        }
        ASSERT_EQ(table.count(), array.size());
    }
}

TEST(HashTables, FindWhatWasAppendedAndNotRemoved) {
    changeAtRandom([](int value) { return static_cast<std::size_t>(value) * 0x9E3779B97F4A7C15U; }, 300,
                   20000);
}

TEST(HashTables, FindElementsWhoseHashesCollide) {
    changeAtRandom([](int value) { return static_cast<std::size_t>(value % 3); }, 40, 20000);
}

TEST(HashTables, SpreadHashesThatDifferInSomeBitsOnly) {
    for (const unsigned shift : {0U, 4U, 16U, 32U, 44U}) {
        HashTable table;
        std::size_t asked = 0;
        constexpr std::size_t count = 10000;
        for (std::size_t i = 0; i < count; ++i)
            table.findOrAppend(i << shift, [](std::size_t) { return false; });
        for (std::size_t i = 0; i < count; ++i)
            ASSERT_EQ(table.find(i << shift,
                                 [&](std::size_t position) {
                                     ++asked;
                                     return position == i;
                                 }),
                      i);
        EXPECT_EQ(asked, count) << shift;
    }
}

TEST(HashTables, AreEmptyAfterTheyWereCleared) {
    HashTable table;
    const auto never = [](std::size_t) { return false; };
    const auto always = [](std::size_t) { return true; };
    table.reserve(100);
    for (std::size_t i = 0; i < 200; ++i)
        EXPECT_EQ(table.findOrAppend(i, never), i);
    table.clear();
    EXPECT_EQ(table.find(1, always), 0U);
    EXPECT_EQ(table.findOrAppend(1, always), 0U);
    EXPECT_EQ(table.find(1, always), 0U);
    EXPECT_EQ(table.count(), 1U);
}

} // namespace
