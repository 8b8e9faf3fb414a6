#include <gtest/gtest.h>

#include <map>

#include "wickerlane/platform/object/Array.h"
#include "wickerlane/platform/object/Dictionary.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/String.h"

using namespace wickerlane;

namespace {

TEST(Collections, AreDestroyedWithoutRecursion) {
    ReleaseScope scope;
    Ref<Object> nested = Array::create();
    for (int i = 0; i < 1000000; ++i) {
        Object *const one = nested.get();
        if (i % 2 == 0)
            nested = Array::create({one});
        else
            nested = Dictionary::createWithKeys({{"k", one}});
    }
    // A description ends at a depth that somebody may read, and in good time.
    EXPECT_LT(nested->description()->length(), 100000U);
    nested = nullptr;
}

TEST(Dictionaries, KeepOrderThroughGrowthAndRemoval) {
    const auto dictionary = MutableDictionary::create();
    std::vector<std::string> order;
    std::map<std::string, int> model;
    std::uint32_t random = 7;
    for (int step = 0; step < 3000; ++step) {
        random = random * 1664525 + 1013904223;
        const std::string key = "key " + std::to_string((random >> 8) % 60);
        if ((random >> 28) % 3 == 0) {
            dictionary->set(key, nullptr);
            model.erase(key);
            std::erase(order, key);
        } else {
            dictionary->set(key, Number::of(step));
            if (!model.contains(key))
                order.push_back(key);
            model[key] = step;
        }
        ASSERT_EQ(dictionary->count(), order.size());
        std::size_t i = 0;
        for (const auto &[heldKey, value] : *dictionary) {
            ASSERT_EQ(as<String>(heldKey)->utf8(), order[i]);
            ASSERT_EQ(as<Number>(value)->int64Value(), model[order[i++]]);
        }
        for (int n = 0; n < 60; n += 7) {
            const std::string asked = "key " + std::to_string(n);
            ASSERT_EQ(dictionary->get(asked) != nullptr, model.contains(asked));
            ASSERT_EQ(dictionary->get(String::of(asked)), dictionary->get(asked));
        }
    }
}

TEST(Dictionaries, AreEqualInAnyOrder) {
    const auto one =
        Dictionary::createWithKeys({{"a", Number::of(1)}, {"b", Array::of({})}, {"none", nullptr}});
    const auto other = Dictionary::createWithKeys({{"b", Array::of({})}, {"a", Number::of(true)}});
    EXPECT_EQ(one->count(), 2U);
    EXPECT_TRUE(one->isEqual(other.get()) && one->hash() == other->hash());
    EXPECT_FALSE(
        one->isEqual(Dictionary::createWithKeys({{"a", Number::of(1)}, {"c", Array::of({})}}).get()));
    EXPECT_EQ(one->get<Number>("b"), nullptr);
    EXPECT_EQ(one->get<Number>("a")->int64Value(), 1);
    const auto last = Dictionary::createWithKeys({{"a", Number::of(1)}, {"a", Number::of(2)}});
    EXPECT_EQ(last->get<Number>("a")->int64Value(), 2);
    const auto copy = MutableDictionary::create(one.get());
    copy->remove("a");
    copy->remove("missing");
    EXPECT_EQ(one->count(), 2U);
    EXPECT_EQ(copy->count(), 1U);
    copy->removeAll();
    EXPECT_EQ(copy->get("b"), nullptr);
}

TEST(Arrays, ChangeInPlaceAndFindTheirElements) {
    const auto array = MutableArray::create();
    for (int i = 0; i < 4; ++i)
        array->append(Number::of(i));
    array->insert(String::of("first"), 0);
    array->replace(2, String::of("third"));
    array->remove(4);
    EXPECT_EQ(array->description()->utf8(), "(\n    first,\n    0,\n    third,\n    2\n)");
    EXPECT_EQ(array->indexOf(String::of("third")), 2U);
    EXPECT_FALSE(array->contains(Number::of(3)));
    const auto copy = MutableArray::create(array.get());
    EXPECT_TRUE(copy->isEqual(array.get()));
    array->removeAll();
    EXPECT_FALSE(copy->isEqual(array.get()));
    EXPECT_EQ(copy->count(), 4U);
}

TEST(Arrays, HoldWhatTheirCallbacksSay) {
    static int held = 0;
    static const ArrayCallBacks byTens{
        0,
        [](const void *allocator, const void *value) {
            EXPECT_EQ(allocator, nullptr);
            ++held;
            return value;
        },
        [](const void *, const void *) { --held; },
        [](const void *value) {
            return String::createWithFormat("<%d>", *static_cast<const int *>(value)).leak();
        },
        [](const void *a, const void *b) {
            return *static_cast<const int *>(a) / 10 == *static_cast<const int *>(b) / 10;
        },
    };
    const int numbers[] = {11, 22, 25};
    const void *const values[] = {&numbers[0], &numbers[1]};
    {
        const auto array = Array::createWithCallBacks(values, &byTens);
        const auto plain = Array::createWithCallBacks(values, nullptr);
        EXPECT_EQ(held, 2);
        EXPECT_EQ(array->indexOf(&numbers[2]), 1U);
        EXPECT_EQ(plain->indexOf(&numbers[2]), String::notFound);
        EXPECT_EQ(plain->indexOf(&numbers[1]), 1U);
        EXPECT_EQ(array->description()->utf8(), "(\n    <11>,\n    <22>\n)");
        EXPECT_FALSE(array->isEqual(plain.get()));
        EXPECT_FALSE(array->holdsObjects());
    }
    EXPECT_EQ(held, 0);
}

TEST(Collections, DescribeWhatTheyHold) {
    const auto nested = Dictionary::createWithKeys({{"plain", Number::of(1)},
                                                    {"a \"b\"", String::of("")},
                                                    {"list", Array::of({Array::of({}), String::of("x")})}});
    EXPECT_EQ(nested->description()->utf8(), "{\n    plain = 1;\n    \"a \\\"b\\\"\" = \"\";\n"
                                             "    list = (\n        (),\n        x\n    );\n}");
}

} // namespace
