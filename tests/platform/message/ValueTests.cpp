#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <future>

#include "Codec.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/message/value/MessageValue.h"
#include "wickerlane/platform/object/Array.h"
#include "wickerlane/platform/object/Dictionary.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/URL.h"

using namespace wickerlane;
using namespace wickerlane::test;

namespace {

constexpr unsigned char someUUID[16] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};

std::string describe(const MessageValue *value) {
    char *text = value->copyDescription();
    std::string copy = text;
    std::free(text);
    return copy;
}

// One entry of every kind but descriptors and shared memory, and edges of each kind.
Ref<MessageDictionary> everyKind() {
    auto message = MessageDictionary::create();
    message->setString("text", "gr\xC3\xBC\xC3\x9F");
    message->setString("empty text", "");
    message->setString("text with NUL", std::string_view("a\0b", 3));
    message->setString("long text", std::string(5000, 'x'));
    message->setInt64("smallest", INT64_MIN);
    message->setUInt64("largest", UINT64_MAX);
    message->setBool("yes", true);
    message->setBool("no", false);
    message->setReal("real", 0.1);
    message->setReal("infinite", -INFINITY);
    message->set("date", MessageScalar::createDate(12345.678).get());
    message->set("uuid", MessageScalar::createUUID(someUUID).get());
    message->setData("data", "abc", 3);
    message->setData("no data", nullptr, 0);
    message->setData("long data", std::string(9000, 'y').data(), 9000);
    message->setData("", "key without a character", 5);
    message->set("error", MessageError::create("it failed", -7).get());
    auto inner = MessageDictionary::create();
    inner->setInt64("deep", 1);
    auto array = MessageArray::create();
    array->append(inner.get());
    array->appendUInt64(5);
    array->append(MessageScalar::createInt64(-5).get());
    array->append(MessageScalar::createBool(true).get());
    array->append(MessageScalar::createString("element").get());
    array->appendData("xyz", 3);
    message->set("array", array.get());
    message->set("dictionary", inner.get());
    message->set("empty array", MessageArray::create().get());
    message->set("empty dictionary", MessageDictionary::create().get());
    return message;
}

std::vector<std::string> keysOf(const MessageDictionary *dictionary) {
    std::vector<std::string> keys;
    dictionary->forEach([&](const char *key, MessageValue *) {
        keys.emplace_back(key);
        return true;
    });
    return keys;
}

} // namespace

TEST(MessageDictionary, ReadersAreTotal) {
    auto message = everyKind();
    EXPECT_EQ(message->getString("text"), "gr\xC3\xBC\xC3\x9F");
    EXPECT_EQ(message->getString("smallest"), std::nullopt);
    EXPECT_EQ(message->getInt64("smallest"), INT64_MIN);
    EXPECT_EQ(message->getInt64("largest"), 0);
    EXPECT_EQ(message->getUInt64("largest"), UINT64_MAX);
    EXPECT_TRUE(message->getBool("yes"));
    EXPECT_FALSE(message->getBool("smallest"));
    EXPECT_EQ(message->getReal("real"), 0.1);
    EXPECT_EQ(message->getReal("date"), 0);
    EXPECT_EQ(message->getData("data").size(), 3U);
    EXPECT_TRUE(message->getData("text").empty());
    EXPECT_EQ(message->getDictionary("array"), nullptr);
    EXPECT_EQ(message->getArray("array")->count(), 6U);
    EXPECT_EQ(message->getArray("array")->uint64At(2), 0U);
    EXPECT_EQ(message->get("missing"), nullptr);
    EXPECT_EQ(message->get(nullptr), nullptr);
    EXPECT_EQ(message->kindOf("uuid"), MessageKind::uuid);
    EXPECT_EQ(message->duplicateDescriptor("text"), -1);
    EXPECT_EQ(message->get("text"), message->get("text")) << "a raw value is made once";
}

TEST(MessageDictionary, KeepsTheOrderOfKeysAndFindsThemAmongMany) {
    auto message = MessageDictionary::create();
    for (int i = 0; i < 500; ++i)
        message->setInt64(std::to_string(i).c_str(), i);
    for (int i = 0; i < 500; i += 2)
        message->set(std::to_string(i).c_str(), nullptr);
    message->setInt64("0", 1000);
    message->setString("499", "again");
    ASSERT_EQ(message->count(), 251U);
    EXPECT_EQ(keysOf(message.get()).front(), "1");
    EXPECT_EQ(keysOf(message.get()).back(), "0");
    for (int i = 1; i < 499; i += 2)
        ASSERT_EQ(message->getInt64(std::to_string(i).c_str()), i);
    EXPECT_FALSE(message->contains("2"));
    EXPECT_EQ(message->getString("499"), "again");
}

TEST(MessageDictionary, StoresNothingThatCannotBeSent) {
    auto message = MessageDictionary::create();
    message->setString("text", "\xFF");
    message->setInt64("bad \xC3 key", 1);
    message->setInt64(std::string(70'000, 'k').c_str(), 1);
    message->setInt64(nullptr, 1);
    message->setDescriptor("descriptor", -1);
    EXPECT_EQ(message->count(), 0U);
}

TEST(MessageDictionary, KeepsAValueWhenTextThatCannotBeSentIsSet) {
    auto message = MessageDictionary::create();
    message->setString("text", "kept");
    message->setString("text", "\xFF");
    message->setString("text", std::string(1000, '\xFF'));
    message->setString("text", std::string(MessageLimits::messageBytes + 1, 'x'));
    EXPECT_EQ(message->getString("text"), "kept");
}

TEST(MessageValue, IsEqualByStructure) {
    const auto a = everyKind();
    const auto b = everyKind();
    EXPECT_TRUE(a->isEqual(b.get()));
    EXPECT_EQ(a->hash(), b->hash());
    for (const std::string &key : keysOf(a.get())) {
        const auto changed = everyKind();
        changed->set(key.c_str(), MessageScalar::createInt64(99).get());
        EXPECT_FALSE(a->isEqual(changed.get())) << key;
    }
    auto forwards = MessageDictionary::create();
    forwards->setInt64("a", 1);
    forwards->setInt64("b", 2);
    auto backwards = MessageDictionary::create();
    backwards->setInt64("b", 2);
    backwards->setInt64("a", 1);
    EXPECT_TRUE(forwards->isEqual(backwards.get()));
    EXPECT_FALSE(MessageScalar::createInt64(1)->isEqual(MessageScalar::createUInt64(1).get()));
    EXPECT_FALSE(MessageError::connectionInvalid()->isEqual(MessageError::connectionInterrupted()));
    EXPECT_FALSE(MessageError::create("same", 1)->isEqual(MessageError::create("same", 2).get()));
}

TEST(MessageValue, DescribesItselfWithinBounds) {
    auto message = MessageDictionary::create();
    message->setString("a \"key\"", "line\nbreak \x1b");
    message->setBool("b", true);
    message->setData("c", "\x01\x02", 2);
    auto array = MessageArray::create();
    array->appendUInt64(5);
    message->set("d", array.get());
    EXPECT_EQ(describe(message.get()),
              R"({ "a \"key\"": "line\nbreak \x1b", "b": true, "c": <data, 2 bytes: 0102>, "d": [ 5 ] })");
    auto cyclic = MessageDictionary::create();
    cyclic->set("itself", cyclic.get());
    EXPECT_THAT(describe(cyclic.get()), testing::HasSubstr("..."));
    cyclic->set("itself", nullptr);
    EXPECT_LT(describe(MessageScalar::createString(std::string(1'000'000, 'x')).get()).size(), 100'000U);
}

TEST(MessageValue, ConvertsToObjectsAndBackExactly) {
    const auto entries = std::vector<std::pair<const char *, Ref<Object>>>{
        {"text", String::create("t")},
        {"true", Number::create(true)},
        {"one", Number::create(1)},
        {"unsigned", Number::create(UINT64_MAX)},
        {"real", Number::create(1.0)},
        {"date", Date::createWithReferenceSeconds(0.1)},
        {"data", Data::create("abc", 3)},
        {"uuid", UUID::createWithBytes(someUUID)},
        {"array", Array::create({Number::of(2)})},
        {"dictionary", Dictionary::create()},
    };
    auto original = MutableDictionary::create();
    for (const auto &[key, value] : entries)
        original->set(key, value.get());
    const auto message = createMessageValue(original.get());
    ASSERT_NE(message, nullptr);
    const auto sent = as<MessageDictionary>(message.get());
    EXPECT_EQ(sent->kindOf("true"), MessageKind::boolean);
    EXPECT_EQ(sent->kindOf("unsigned"), MessageKind::uint64);
    EXPECT_EQ(sent->kindOf("real"), MessageKind::real);
    const auto back = createObject(roundTrip(sent).get());
    ASSERT_NE(back, nullptr);
    EXPECT_TRUE(back->isEqual(original.get()));
    for (const auto &[key, value] : entries) {
        const auto *number = as<Number>(value.get());
        EXPECT_TRUE(number == nullptr ||
                    as<Dictionary>(back.get())->get<Number>(key)->kind() == number->kind())
            << key;
    }
}

TEST(MessageValue, RefusesToConvertWhatHasNoCounterpart) {
    EXPECT_EQ(createMessageValue(nullptr), nullptr);
    EXPECT_EQ(createMessageValue(Array::of({URL::of("file:///x")})), nullptr);
    EXPECT_EQ(createMessageValue(Dictionary::create({{Number::of(1), Number::of(1)}}).get()), nullptr);
    EXPECT_EQ(createObject(MessageError::connectionInvalid()), nullptr);
    Ref<Object> nested = Number::create(1);
    for (int i = 0; i < 64; ++i)
        nested = Array::create({nested.get()});
    EXPECT_NE(createMessageValue(nested.get()), nullptr);
    EXPECT_EQ(createMessageValue(Array::of({nested.get()})), nullptr);
}

TEST(MessageData, LendsItsBytesUntilTheLastHolderLetsGo) {
    static const char lent[] = "lent bytes";
    std::promise<void> released;
    auto message = MessageDictionary::create();
    {
        const auto data = MessageData::createWithRegion(lent, 4, nullptr, [&] { released.set_value(); });
        EXPECT_EQ(data->bytes(), lent);
        message->set("data", data.get());
    }
    EXPECT_EQ(static_cast<const void *>(message->getData("data").data()), lent);
    auto future = released.get_future();
    EXPECT_EQ(future.wait_for(std::chrono::seconds(0)), std::future_status::timeout);
    message = nullptr;
    future.wait();
    char copy[8] = "-------";
    const auto data = MessageData::create("abcdef", 6);
    EXPECT_EQ(data->getBytes(copy, 4, 100), 2U);
    EXPECT_EQ(data->getBytes(copy, 6, 1), 0U);
    EXPECT_STREQ(copy, "ef-----");
}

TEST(MessageValue, EveryKindSurvivesTheWire) {
    const auto message = everyKind();
    const auto received = roundTrip(message.get());
    ASSERT_NE(received, nullptr);
    EXPECT_TRUE(received->isEqual(message.get())) << describe(received.get());
    EXPECT_EQ(keysOf(received.get()), keysOf(message.get()));
    EXPECT_EQ(received->getString("text")->data()[received->getString("text")->size()], 0);
    // What was received can be changed and sent on.
    received->getDictionary("dictionary")->setInt64("added", 2);
    received->set("array", nullptr);
    auto again = roundTrip(received.get());
    ASSERT_NE(again, nullptr);
    EXPECT_TRUE(again->isEqual(received.get()));
    EXPECT_EQ(again->getDictionary("dictionary")->getInt64("added"), 2);
    EXPECT_EQ(static_cast<MessageError *>(again->get("error"))->errorKind(), -7);
    // Values outlive the message they were read from.
    const Ref<MessageValue> data(again->get("long data"));
    const auto copy = Ref<MessageValue>(message->get("long data"));
    again = nullptr;
    EXPECT_TRUE(data->isEqual(copy.get()));
}

TEST(MessageEncoder, KeepsTheLimits) {
    const auto reason = [](const MessageDictionary *message) {
        MessageEncoder encoder;
        return encoder.encode(FrameKind::message, 0, message);
    };
    Ref<MessageDictionary> nested = MessageDictionary::create();
    for (int i = 1; i < 64; ++i) {
        auto outer = MessageDictionary::create();
        outer->set("in", nested.get());
        nested = outer;
    }
    EXPECT_NE(roundTrip(nested.get()), nullptr);
    auto tooDeep = MessageDictionary::create();
    tooDeep->set("in", nested.get());
    EXPECT_NE(reason(tooDeep.get()), nullptr);

    auto message = MessageDictionary::create();
    auto array = MessageArray::create();
    message->set("array", array.get());
    for (std::size_t i = 2; i < MessageLimits::values; ++i)
        array->append(MessageScalar::createBool(true).get());
    EXPECT_NE(roundTrip(message.get()), nullptr);
    array->append(MessageScalar::createBool(true).get());
    EXPECT_NE(reason(message.get()), nullptr);

    auto descriptors = MessageDictionary::create();
    for (int i = 0; i < 9; ++i)
        descriptors->setDescriptor(std::to_string(i).c_str(), STDIN_FILENO);
    EXPECT_NE(reason(descriptors.get()), nullptr);

    auto large = MessageDictionary::create();
    const std::string piece(64 << 20, 'x');
    for (int i = 0; i < 4; ++i)
        large->set(std::to_string(i).c_str(),
                   MessageData::createWithRegion(piece.data(), piece.size(), nullptr, {}).get());
    EXPECT_NE(reason(large.get()), nullptr);
}

TEST(MessageDecoder, RefusesWhatIsNotAMessage) {
    // Spelled out byte by byte, so that a fault shared by both ends shows.
    const std::string valid("\x01\0\0\0\x01\x01\0\0k\0\x05\0\0\0\0\0\0\0", 18);
    ASSERT_NE(decode(valid), nullptr);
    EXPECT_EQ(decode(valid)->getInt64("k"), 5);
    const std::string entry = valid.substr(4);
    const auto number = [](std::uint32_t value) { return std::string(reinterpret_cast<char *>(&value), 4); };
    const auto head = [&](unsigned kind, std::size_t keyLength = 1) {
        return number(1) + number(kind | static_cast<std::uint32_t>(keyLength) << 8);
    };
    const auto value = [&](unsigned kind, const std::string &bytes) {
        return head(kind) + std::string("k\0", 2) + bytes;
    };
    const std::pair<const char *, std::string> cases[] = {
        {"nothing", ""},
        {"a byte too many", valid + "x"},
        {"a count too high", number(2) + entry},
        {"a huge count", number(0xFFFFFFFF) + entry},
        {"a key twice", number(2) + entry + entry},
        {"a key without its NUL", head(1) + "kk" + std::string(8, 0)},
        {"a NUL within a key", head(1, 3) + std::string("a\0b\0", 4) + std::string(8, 0)},
        {"a key that is no UTF-8", head(1) + std::string("\xFF\0", 2) + std::string(8, 0)},
        {"a key beyond the end", head(1, 0xFFFFFF) + "k"},
        {"no such kind", value(13, std::string(8, 0))},
        {"a boolean of two", value(3, "\x02")},
        {"a string beyond the end", value(0, number(100) + "abc")},
        {"a string without its NUL", value(0, number(3) + "abcd")},
        {"a string that is no UTF-8", value(0, number(1) + std::string("\x80\0", 2))},
        {"an error without its kind", value(12, number(1) + std::string("x\0", 2) + std::string(7, 0))},
        {"data beyond the end", value(7, number(0xFFFFFFFF) + "abc")},
        {"half a UUID", value(6, "12345678")},
        {"a descriptor that did not come", value(9, std::string(1, 0))},
        {"an array with bytes to spare", value(11, number(6) + number(0) + "xx")},
        {"a nested key twice", value(10, number(4 + 28) + number(2) + entry + entry)},
        {"an array that counts beyond its end", value(11, number(4) + number(1000))},
    };
    for (const auto &[name, bytes] : cases)
        EXPECT_EQ(decode(bytes), nullptr) << name;
    for (std::size_t length = 0; length < valid.size(); ++length)
        EXPECT_EQ(decode(valid.substr(0, length)), nullptr) << length;
}

TEST(MessageDecoder, RefusesAKeyThatComesTwiceAmongFewOrMany) {
    const auto number = [](std::size_t value) { return std::string(reinterpret_cast<char *>(&value), 4); };
    const auto encoded = [&](const std::vector<std::string> &keys) {
        std::string bytes = number(keys.size());
        for (const std::string &key : keys)
            bytes += number(3 | key.size() << 8) + key + std::string("\0\1", 2);
        return bytes;
    };
    for (const int count : {2, 16, 17, 1000}) {
        std::vector<std::string> keys;
        for (int i = 0; i < count; ++i)
            keys.push_back(std::to_string(i));
        for (const bool isTwice : {false, true}) {
            if (isTwice)
                keys.back() = keys.front();
            const std::string inner = encoded(keys);
            const std::string outer =
                number(1) + number(10 | 1 << 8) + std::string("d\0", 2) + number(inner.size()) + inner;
            EXPECT_EQ(decode(inner) == nullptr, isTwice) << count;
            EXPECT_EQ(decode(outer) == nullptr, isTwice) << count << ", nested";
        }
    }
}

TEST(MessageDecoder, TakesDescriptorsOnlyAsTheyAreNamed) {
    const std::string one("\x01\0\0\0\x09\x01\0\0k\0\0", 11);
    const std::string memory("\x01\0\0\0\x08\x01\0\0k\0\0", 11);
    const auto null = [] { return UniqueFd(open("/dev/null", O_RDONLY | O_CLOEXEC)); };
    std::vector<UniqueFd> fds;
    fds.push_back(null());
    EXPECT_NE(decode(one, fds), nullptr);
    fds.clear();
    fds.push_back(null());
    fds.push_back(null());
    EXPECT_EQ(decode(one, fds), nullptr) << "one was not named";
    fds.clear();
    fds.push_back(null());
    EXPECT_EQ(decode(memory, fds), nullptr) << "no memory file";
    fds.clear();
    fds.emplace_back(memfd_create("shrinks", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    ASSERT_EQ(ftruncate(fds[0].get(), 4096), 0);
    EXPECT_EQ(decode(memory, fds), nullptr) << "may shrink";
}

TEST(MessageDecoder, ReadsDataThatIsLentInAFileOnlyWhereItMay) {
    const std::string folder = rootPath();
    const std::string contents(100'000, 'c');
    std::ofstream(folder + "/file") << contents << "more";
    std::ofstream(folder + "/short") << "short";
    ASSERT_EQ(mkfifo((folder + "/pipe").c_str(), 0600), 0);
    const auto opened = [&](const char *name) {
        return UniqueFd(open((folder + "/" + name).c_str(), O_RDWR | O_CLOEXEC));
    };
    auto message = MessageDictionary::create();
    message->setInt64("number", 1);
    message->set("data", MessageData::createWithFile(opened("file"), contents.size()).get());
    const auto encoded = [&](FrameKind kind, const MessageDictionary *dictionary) {
        MessageEncoder encoder;
        EXPECT_EQ(encoder.encode(kind, 1, dictionary), nullptr);
        return std::pair(contentsOf(encoder), encoder.descriptors().size());
    };
    const auto [lent, descriptors] = encoded(FrameKind::reply, message.get());
    EXPECT_EQ(descriptors, 1U);
    EXPECT_LT(lent.size(), 100U) << "its bytes do not travel";

    std::string otherNumber = lent;
    otherNumber.back() = 1;
    std::string tooLong = lent;
    tooLong[tooLong.size() - 2] = '\x7f';
    const struct {
        const char *what;
        const char *file;
        std::string_view bytes;
        LentFiles files = LentFiles::areRead;
        bool isRead = false;
    } cases[] = {
        {"as it should be", "file", lent, LentFiles::areRead, true},
        {"to a listener", "file", lent, LentFiles::areRefused},
        {"a file with fewer bytes", "short", lent},
        {"a pipe, which would block", "pipe", lent},
        {"another descriptor", "file", otherNumber},
        {"more than a message may have", "file", tooLong},
    };
    for (const auto &each : cases) {
        UniqueFd file = opened(each.file);
        const auto decoded = decode(each.bytes, {&file, 1}, each.files);
        ASSERT_EQ(decoded != nullptr, each.isRead) << each.what;
        if (each.isRead) {
            EXPECT_TRUE(decoded->isEqual(message.get())) << "which maps the lent one";
        }
    }

    // Elsewhere the bytes travel.
    auto outer = MessageDictionary::create();
    outer->set("inner", message.get());
    for (const auto &[bytes, count] :
         {encoded(FrameKind::reply, outer.get()), encoded(FrameKind::request, message.get())}) {
        EXPECT_EQ(count, 0U);
        EXPECT_GT(bytes.size(), contents.size());
    }
}
