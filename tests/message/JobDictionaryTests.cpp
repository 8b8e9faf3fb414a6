#include <gtest/gtest.h>

#include "tests/support/Console.h"
#include "wickerlane/message/JXJobDictionary.h"
#include "wickerlane/platform/object/Data.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/platform/object/URL.h"

using namespace wickerlane;

namespace {

struct Jobs : ::testing::Test {
    ReleaseScope scope;
};

Dictionary *job(std::initializer_list<std::pair<std::string_view, Object *>> entries) {
    return autorelease(Dictionary::createWithKeys(entries));
}

Date *date(double seconds) {
    return autorelease(Date::createWithReferenceSeconds(seconds));
}

TEST_F(Jobs, RoundTripAsMutableEqualDictionaries) {
    auto *original = job({{"text", String::of("a")},
                          {"yes", Number::of(true)},
                          {"big", Number::of(18446744073709551615ULL)},
                          {"small", Number::of(-1LL)},
                          {"real", Number::of(0.1)},
                          {"date", date(12345.678901)},
                          {"data", autorelease(Data::create("abc", 3))},
                          {"list", Array::of({String::of("x"), Number::of(1)})},
                          {"nested", job({{"k", String::of("v")}})}});
    const auto message = Ref<MessageDictionary>::adopt(JXJobCreateMsgDictionaryFromDictionary(original));
    ASSERT_TRUE(message);
    const std::pair<const char *, MessageKind> kinds[] = {
        {"text", MessageKind::string}, {"yes", MessageKind::boolean}, {"big", MessageKind::uint64},
        {"small", MessageKind::int64}, {"real", MessageKind::real},   {"date", MessageKind::date},
        {"data", MessageKind::data},   {"list", MessageKind::array},  {"nested", MessageKind::dictionary}};
    for (const auto &[key, kind] : kinds)
        EXPECT_EQ(message->kindOf(key), kind) << key;
    MutableDictionary *back = JXJobDictionaryFromMsgDictionary(message.get());
    ASSERT_NE(back, nullptr);
    EXPECT_TRUE(JXJobDictionariesAreEqual(original, back));
    EXPECT_EQ(back->get<Number>("yes")->kind(), Number::Kind::boolean);
    EXPECT_EQ(back->get<Number>("big")->kind(), Number::Kind::unsignedInteger);
    EXPECT_EQ(back->get<Number>("small")->kind(), Number::Kind::signedInteger);
    EXPECT_EQ(back->get<Number>("real")->kind(), Number::Kind::real);
    back->set("new", Number::of(1));
    EXPECT_EQ(back->count(), 10U);

    EXPECT_EQ(JXJobCreateMsgDictionaryFromDictionary(nullptr), nullptr);
    EXPECT_EQ(JXJobCreateMsgDictionaryFromDictionary(job({{"url", URL::of("a:b")}})), nullptr);
    EXPECT_EQ(JXJobDictionaryFromMsgDictionary(nullptr), nullptr);
    EXPECT_EQ(JXJobDictionaryFromMsgDictionary(MessageError::connectionInterrupted()), nullptr);
}

TEST_F(Jobs, EqualityHasItsOwnRules) {
    auto *empty = job({});
    auto *withList = job({{"l", Array::of({date(1)})}});
    struct Case {
        const char *name;
        Dictionary *a;
        Dictionary *b;
        bool equal;
    };
    const Case cases[] = {
        {"the same object", empty, empty, true},
        {"two nulls", nullptr, nullptr, true},
        {"null and empty", nullptr, empty, false},
        {"two empty ones", empty, job({}), false},
        {"equal values", job({{"a", Number::of(1)}}), job({{"a", Number::of(1)}}), true},
        {"other value", job({{"a", Number::of(1)}}), job({{"a", Number::of(2)}}), false},
        {"other key", job({{"a", Number::of(1)}}), job({{"b", Number::of(1)}}), false},
        {"more entries", job({{"a", Number::of(1)}}), job({{"a", Number::of(1)}, {"b", Number::of(1)}}),
         false},
        {"close dates", job({{"d", date(0)}}), job({{"d", date(0.0000005)}}), true},
        {"dates a microsecond apart", job({{"d", date(0)}}), job({{"d", date(0.000001)}}), false},
        {"close dates in a list", withList, job({{"l", Array::of({date(1.0000005)})}}), false},
        {"close dates in a nested job", job({{"n", job({{"d", date(0)}})}}),
         job({{"n", job({{"d", date(-5e-7)}})}}), true},
        {"nested jobs", job({{"a", job({{"b", Number::of(1)}})}}), job({{"a", job({{"b", Number::of(1)}})}}),
         true},
        {"nested empty jobs", job({{"a", job({})}}), job({{"a", job({})}}), false},
        {"a late difference", job({{"a", Number::of(1)}, {"b", Number::of(1)}}),
         job({{"b", Number::of(2)}, {"a", Number::of(1)}}), false},
        {"date and number", job({{"a", date(1)}}), job({{"a", Number::of(1)}}), false},
    };
    for (const Case &each : cases)
        EXPECT_EQ(JXJobDictionariesAreEqual(each.a, each.b), each.equal) << each.name;
}

TEST_F(Jobs, ADumpSkipsKeysAtTheTopOnlyAndNeverShowsData) {
    auto *dumped =
        job({{"callStack", String::of("top")},
             {"name", String::of("x")},
             {"blob", autorelease(Data::create("abc", 3))},
             {"sub", job({{"callStack", Number::of(1)}, {"deep", job({{"k", String::of("v")}})}})}});
    EXPECT_EQ(test::consoleOf([&] { JXJobLogDictionary(dumped, Array::of({String::of("callStack")})); }),
              "# \t name -> x\n"
              "# \t blob -> OBDATA[3]\n"
              "# \t sub -> {\n"
              "# \t\t callStack -> 1\n"
              "# \t\t deep -> {\n"
              "# \t\t\t k -> v\n"
              "# \t\t }\n"
              "# \t }\n");
    EXPECT_EQ(test::consoleOf([&] {
                  JXJobLogDictionary(job({{"callStack", Number::of(1)}}), nullptr);
              }),
              "# \t callStack -> 1\n");
}

} // namespace
