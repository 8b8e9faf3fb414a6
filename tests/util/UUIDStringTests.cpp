#include "wickerlane/util/uuid/JXUUIDString.h"

#include <gtest/gtest.h>

#include <cstring>

#include "wickerlane/platform/message/value/MessageValue.h"
#include "wickerlane/platform/object/Dictionary.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/platform/propertylist/PropertyList.h"

using namespace wickerlane;

namespace {

constexpr UUIDBytes someBytes{
    {0x7F, 0x3D, 0x0A, 0x52, 0x6C, 0x1B, 0x4E, 0x0E, 0x9D, 0x43, 0x2B, 0x1C, 0x7A, 0x5E, 0x8F, 0x10}};
constexpr const char *someText = "7F3D0A52-6C1B-4E0E-9D43-2B1C7A5E8F10";
constexpr const char *lowerText = "7f3d0a52-6c1b-4e0e-9d43-2b1c7a5e8f10";

Ref<JXUUIDString> some() {
    return JXUUIDString::initWithBaseUUIDBytes(someBytes);
}

// Has the bytes of a UUID and the characters of a name.
class Named : public JXUUIDString {
    WL_OBJECT
public:
    Named() : JXUUIDString(someBytes.bytes) {}
    [[nodiscard]] char16_t characterAtIndex(std::size_t) const override { return u'n'; }
    [[nodiscard]] std::string_view utf8() const override { return "nnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnn"; }
    void getCharacters(char16_t *destination, Range range) const override {
        std::fill_n(destination, range.length, u'n');
    }
};
constinit const Class Named::classInfo{"Named", &JXUUIDString::classInfo, nullptr};

bool equal(const String *a, const String *b) {
    return a->isEqualToString(b);
}

} // namespace

TEST(JXUUIDString, HoldsTheSameUUIDHoweverItIsMade) {
    const auto object = UUID::createWithBytes(someBytes.bytes);
    const auto data = Data::create(someBytes.bytes, sizeof someBytes);
    for (const auto &each :
         {some(), JXUUIDString::initWithUUID(someBytes.bytes), JXUUIDString::initWithBaseUUID(object.get()),
          JXUUIDString::initWithUUIDData(data.get()), Ref<JXUUIDString>(JXStringFromUUIDData(data.get()))}) {
        EXPECT_EQ(each->utf8(), someText);
        EXPECT_EQ(each->UTF8String()[36], '\0');
        EXPECT_EQ(each->UTF8String(), each->utf8().data());
        EXPECT_EQ(each->UUIDBytes(), someBytes);
        EXPECT_TRUE(each->UUIDData()->isEqual(data.get()));
        EXPECT_EQ(each->length(), 36u);
        EXPECT_EQ(each->characterAtIndex(0), u'7');
        EXPECT_EQ(each->characterAtIndex(35), u'0');
        char16_t characters[4] = {};
        each->getCharacters(characters, {9, 3});
        EXPECT_EQ(std::u16string_view(characters, 4), std::u16string_view(u"6C1\0", 4));
    }
}

TEST(JXUUIDString, IsFreshWhereNoUUIDIsGiven) {
    const Ref<Object> instance = Ref<Object>::adopt(classNamed("JXUUIDString")->instantiate());
    const Ref<String> made[] = {JXUUIDString::init(), JXUUIDString::UUIDString(),
                                JXUUIDString::initWithUUID(nullptr), JXUUIDString::initWithBaseUUID(nullptr),
                                as<JXUUIDString>(instance.get())};
    for (std::size_t i = 0; i < std::size(made); ++i)
        for (std::size_t j = 0; j < i; ++j)
            EXPECT_FALSE(equal(made[i].get(), made[j].get())) << made[i]->utf8();
}

TEST(JXUUIDString, DataOfAnotherLengthGivesNone) {
    const auto seventeen = MutableData::create(17);
    for (std::size_t length : {0u, 15u, 17u}) {
        seventeen->setLength(length);
        EXPECT_EQ(JXUUIDString::initWithUUIDData(seventeen.get()), nullptr) << length;
        EXPECT_EQ(JXStringFromUUIDData(seventeen.get()), nullptr) << length;
    }
    EXPECT_EQ(JXStringFromUUIDData(nullptr), nullptr);
}

TEST(JXUUIDString, EqualsEveryStringOfItsText) {
    const auto uuid = some(), same = some(), other = JXUUIDString::init();
    const auto plain = String::create(someText);
    const auto subclass = makeRef<Named>();
    const auto names = String::create(subclass->utf8());
    struct Case {
        const String *a, *b;
        bool equal;
    } cases[] = {
        {uuid.get(), uuid.get(), true},
        {uuid.get(), same.get(), true},
        {uuid.get(), other.get(), false},
        {uuid.get(), plain.get(), true},
        {uuid.get(), String::of(lowerText), false},
        {uuid.get(), String::empty(), false},
        {uuid.get(), names.get(), false},
        {names.get(), subclass.get(), true},
    };
    for (const Case &each : cases) {
        EXPECT_EQ(equal(each.a, each.b), each.equal) << each.a->utf8() << " " << each.b->utf8();
        EXPECT_EQ(equal(each.b, each.a), each.equal) << each.b->utf8() << " " << each.a->utf8();
        EXPECT_EQ(each.a->isEqual(each.b), each.equal);
        if (each.equal) {
            EXPECT_EQ(each.a->hash(), each.b->hash()) << each.a->utf8();
        }
    }
    // The other's class decides: what is exactly of the class is taken for its bytes, a subclass is not.
    EXPECT_FALSE(equal(uuid.get(), subclass.get()));
    EXPECT_TRUE(equal(subclass.get(), uuid.get()));
    EXPECT_FALSE(equal(uuid.get(), nullptr));
    EXPECT_FALSE(uuid->isEqual(uuid->UUIDData()));
}

TEST(JXUUIDString, ComparesAsAWholeAndInTheOrderOfItsText) {
    const auto low = JXUUIDString::initWithBaseUUIDBytes({{0x10, 0x02}});
    const auto high = JXUUIDString::initWithBaseUUIDBytes({{0x10, 0xA0}});
    const auto last =
        JXUUIDString::initWithBaseUUIDBytes({{0x10, 0xA0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}});
    const auto options = CompareOptions::caseInsensitive | CompareOptions::numeric;
    for (const Range range : {Range{0, 36}, Range{0, 2}, Range{36, 0}, Range{90, 90}})
        for (const char *locale : {static_cast<const char *>(nullptr), "de_DE"}) {
            EXPECT_EQ(low->compare(high.get(), options, range, locale), std::strong_ordering::less);
            EXPECT_EQ(high->compare(low.get(), options, range, locale), std::strong_ordering::greater);
            EXPECT_EQ(high->compare(last.get(), options, range, locale), std::strong_ordering::less);
            EXPECT_EQ(low->compare(low.get(), options, range, locale), std::strong_ordering::equal);
        }
    EXPECT_EQ(low->localizedStandardCompare(high.get()), std::strong_ordering::less);

    // Any other string is compared as strings are, with all that was asked for.
    const auto plain = String::create(high->utf8()), lower = Ref<String>(high->lowercase());
    EXPECT_EQ(low->compare(plain.get()), low->compare(high.get()));
    EXPECT_EQ(plain->compare(low.get()), high->compare(low.get()));
    EXPECT_EQ(high->compare(lower.get(), CompareOptions::caseInsensitive), std::strong_ordering::equal);
    EXPECT_EQ(high->compare(lower.get()), std::strong_ordering::less);
    EXPECT_EQ(high->compare(String::of("10"), CompareOptions::none, {0, 2}), std::strong_ordering::equal);
}

TEST(JXUUIDString, WorksWhereverAStringWorks) {
    const auto uuid = some();
    const auto plain = String::create(someText);
    const auto byUUID = Dictionary::create({{uuid.get(), plain.get()}});
    EXPECT_EQ(byUUID->get(plain.get()), plain.get());
    EXPECT_EQ(byUUID->get(someText), plain.get());
    EXPECT_EQ(Dictionary::create({{plain.get(), uuid.get()}})->get(some().get()), uuid.get());

    EXPECT_EQ(String::format("asset %@!", static_cast<Object *>(uuid.get()))->utf8(),
              std::string("asset ") + someText + "!");
    EXPECT_EQ(uuid->description()->utf8(), someText);
    EXPECT_EQ(uuid->lowercase()->utf8(), lowerText);
    EXPECT_EQ(uuid->substring({0, 8})->utf8(), "7F3D0A52");
    EXPECT_TRUE(uuid->hasPrefix("7F3D"));
    EXPECT_EQ(uuid->rangeOf(String::of("4E0E")), (Range{14, 4}));

    const auto list = createPropertyListData(byUUID.get());
    const auto read = createPropertyListObject(list->span());
    EXPECT_TRUE(read->isEqual(byUUID.get()));
    const auto message = createMessageValue(uuid.get());
    ASSERT_TRUE(message);
    EXPECT_TRUE(areEqual(createObject(message.get()).get(), plain.get()));
}

TEST(JXUUIDString, IsParsedFromEitherCaseAndNothingElse) {
    const Ref<String> spelt[] = {some(), String::create(someText), String::create(lowerText)};
    for (const Ref<String> &each : spelt) {
        const String *string = each.get();
        EXPECT_EQ(JXUUIDBytesFromString(string), someBytes);
        ASSERT_NE(JXUUIDDataFromString(string), nullptr);
        EXPECT_EQ(std::memcmp(JXUUIDDataFromString(string)->bytes(), someBytes.bytes, 16), 0);
    }
    const std::string text = someText;
    for (const std::string &wrong :
         {std::string(), text.substr(1), text + "0", " " + text.substr(1), "{" + text + "}",
          text.substr(0, 35) + "G", std::string("7F3D0A526C1B4E0E9D432B1C7A5E8F10"),
          text.substr(0, 34) + "\xC3\xA4", "0x" + text.substr(2), text.substr(0, 35) + std::string(1, '\0'),
          std::string("7F3D0A5-26C1B-4E0E-9D43-2B1C7A5E8F10")}) {
        EXPECT_EQ(JXUUIDDataFromString(String::of(wrong)), nullptr) << wrong;
        EXPECT_EQ(JXUUIDBytesFromString(String::of(wrong)), UUIDBytes{}) << wrong;
    }
    EXPECT_EQ(JXUUIDDataFromString(nullptr), nullptr);
    EXPECT_EQ(JXUUIDBytesFromString(nullptr), UUIDBytes{});
    // A subclass is read by its characters.
    EXPECT_EQ(JXUUIDDataFromString(makeRef<Named>().get()), nullptr);
}
