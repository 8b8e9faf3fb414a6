#include <gmock/gmock.h>

#include <cstring>
#include <functional>
#include <string>

#include "tests/support/Console.h"
#include "tests/support/Descriptors.h"
#include "wickerlane/message/JXMsgData.h"
#include "wickerlane/message/JXMsgUtilities.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/platform/preferences/Preferences.h"
#include "wickerlane/platform/queue/WorkQueue.h"

using namespace wickerlane;
using test::consoleOf;
using ::testing::MatchesRegex;

namespace {

struct ValueCoding : ::testing::Test {
    ReleaseScope scope;
    Ref<MessageDictionary> message = MessageDictionary::create();
    MessageDictionary *m = message.get();
};

TEST_F(ValueCoding, TextAndURLsRoundTripAndNullStoresNothing) {
    JXMsgDictionarySetString(m, "text", String::of("Grüße, 世界"));
    EXPECT_EQ(*m->getString("text"), "Grüße, 世界");
    EXPECT_EQ(JXStringFromMsgDictionary(m, "text")->utf8(), "Grüße, 世界");
    JXMsgDictionarySetString(m, "text", nullptr);
    EXPECT_EQ(*m->getString("text"), "Grüße, 世界") << "null leaves the earlier value";
    m->setInt64("number", 1);
    EXPECT_EQ(JXStringFromMsgDictionary(m, "number"), nullptr);
    EXPECT_EQ(JXStringFromMsgDictionary(m, "missing"), nullptr);

    const auto base = URL::create("http://host/a/b");
    const auto relative = URL::create("c?d", base.get());
    JXMsgDictionarySetURL(m, "url", relative.get());
    EXPECT_EQ(*m->getString("url"), "http://host/a/c?d");
    EXPECT_EQ(JXURLFromMsgDictionary(m, "url")->absoluteString()->utf8(), "http://host/a/c?d");
    JXMsgDictionarySetURL(m, "absent", nullptr);
    EXPECT_FALSE(m->contains("absent"));
    m->setString("bad", "");
    EXPECT_EQ(JXURLFromMsgDictionary(m, "bad"), nullptr);
}

TEST_F(ValueCoding, AnErrorReadsAsItsDescription) {
    const auto error = MessageError::create("gone");
    EXPECT_EQ(JXStringFromMsgDictionary(error.get(), messageErrorDescriptionKey)->utf8(), "gone");
    EXPECT_EQ(JXStringFromMsgDictionary(error.get(), "other"), nullptr);
    EXPECT_EQ(JXDataFromMsgDictionary(error.get(), "other"), nullptr);
    EXPECT_EQ(JXDictionaryFromMsgDictionary(error.get(), "other"), nullptr);
    EXPECT_EQ(JXIndexSetFromMsgDictionary(error.get(), "other"), nullptr);
    EXPECT_EQ(JXCreateImageSurfaceFromMsgDictionary(error.get(), "other"), nullptr);
}

TEST_F(ValueCoding, DataIsLentAndViewedWithoutACopy) {
    const std::string text(100000, 'x');
    const auto gone = Semaphore::create(0);
    {
        ReleaseScope inner;
        const auto data = Data::createLending(std::as_bytes(std::span(text)), [gone] { gone->signal(); });
        JXMsgDictionarySetData(m, "data", data.get());
        EXPECT_EQ(m->getData("data").data(), data->bytes());
        const auto *view = as<JXMsgData>(JXDataFromMsgDictionary(m, "data"));
        ASSERT_NE(view, nullptr);
        EXPECT_EQ(view->bytes(), data->bytes());
        EXPECT_EQ(view->length(), text.size());
    }
    EXPECT_FALSE(gone->wait(std::chrono::milliseconds(20))) << "the message keeps the caller's data";
    m->set("data", nullptr);
    gone->wait(); // released on the global queue

    JXMsgDictionarySetData(m, "empty", autorelease(Data::create({})));
    ASSERT_NE(JXDataFromMsgDictionary(m, "empty"), nullptr);
    EXPECT_EQ(JXDataFromMsgDictionary(m, "empty")->length(), 0U);
    JXMsgDictionarySetData(m, "null", nullptr);
    EXPECT_FALSE(m->contains("null"));
    m->setString("text", "x");
    EXPECT_EQ(JXDataFromMsgDictionary(m, "text"), nullptr);
}

TEST_F(ValueCoding, SharedMemoryIsMapped) {
    const auto memory = SharedMemory::create(5);
    std::memcpy(memory->writableBytes(), "hello", 5);
    ASSERT_TRUE(memory->seal());
    m->set("shared", MessageSharedMemory::create(memory.get()).get());
    auto *view = as<JXMsgShMemData>(JXDataFromMsgDictionary(m, "shared"));
    ASSERT_NE(view, nullptr);
    EXPECT_EQ(std::string_view(static_cast<const char *>(view->bytes()), view->length()), "hello");
    EXPECT_TRUE(view->isEqual(autorelease(Data::create("hello", 5))));

    const auto claimed = JXMsgShMemData::initWithMsgShmem(as<MessageSharedMemory>(m->get("shared")), 3);
    EXPECT_EQ(claimed->length(), 3U);
    EXPECT_EQ(claimed->description()->utf8(),
              String::format("<JXMsgShMemData: %p> bufferLength=5 dataLength=3", claimed.get())->utf8());
    EXPECT_FALSE(JXMsgShMemData::initWithMsgShmem(nullptr));
    EXPECT_FALSE(JXMsgData::initWithMsgData(nullptr));
}

TEST_F(ValueCoding, CopyingOutStaysWithinTheValue) {
    const auto data = JXMsgData::initWithMsgData(MessageData::create("abcdef", 6).get());
    const auto copied = [&](auto... arguments) {
        char buffer[9] = "........";
        data->getBytes(buffer, arguments...);
        return std::string(buffer);
    };
    EXPECT_EQ(copied(std::size_t{3}), "abc.....");
    EXPECT_EQ(copied(Range{4, 4}), "ef......");
    EXPECT_EQ(copied(Range{7, 1}), "........");
    EXPECT_EQ(data->debugDescription()->utf8(),
              String::format("<<61626364 6566>: %p> length=6", data.get())->utf8());
}

TEST_F(ValueCoding, PropertyListsTravelAsBytes) {
    const auto dictionary = Dictionary::createWithKeys({{"a", Number::of(1)}, {"b", Number::of(true)}});
    JXMsgDictionarySetDictionary(m, "dictionary", dictionary.get());
    EXPECT_EQ(m->kindOf("dictionary"), MessageKind::data);
    const auto bytes = m->getData("dictionary");
    EXPECT_TRUE(
        std::string_view(reinterpret_cast<const char *>(bytes.data()), bytes.size()).starts_with("bplist00"));
    EXPECT_TRUE(areEqual(JXDictionaryFromMsgDictionary(m, "dictionary"), dictionary.get()));
    // The reader does not insist on what its name says.
    auto *array = Array::of({String::of("x")});
    JXMsgDictionarySetArray(m, "array", array);
    EXPECT_TRUE(areEqual(JXDictionaryFromMsgDictionary(m, "array"), array));
    JXMsgDictionarySetDictionary(m, "empty", Dictionary::create().get());
    EXPECT_TRUE(areEqual(JXDictionaryFromMsgDictionary(m, "empty"), Dictionary::create().get()));
    JXMsgDictionarySetDictionary(m, "null", nullptr);
    EXPECT_FALSE(m->contains("null"));
}

TEST_F(ValueCoding, WhatIsNoPropertyListIsReportedAndStoredAsNothing) {
    auto bad = Dictionary::createWithKeys({{"url", URL::of("a:b")}});
    const std::string written = consoleOf([&] { JXMsgDictionarySetDictionary(m, "bad", bad.get()); });
    EXPECT_EQ(written.find("ERROR: JXMsgDictionarySetDictionary unable to serialize dictionary {"), 0U)
        << written;
    EXPECT_NE(written.find(" error "), std::string::npos) << written;
    EXPECT_EQ(m->kindOf("bad"), MessageKind::data);
    EXPECT_EQ(m->getData("bad").size(), 0U);
    EXPECT_EQ(consoleOf([&] { EXPECT_EQ(JXDictionaryFromMsgDictionary(m, "bad"), nullptr); }), "");
    const std::string arrayLine =
        consoleOf([&] { JXMsgDictionarySetArray(m, "bad", Array::of({URL::of("a:b")})); });
    EXPECT_EQ(arrayLine.find("ERROR: JXMsgDictionarySetArray unable to serialize array ("), 0U) << arrayLine;

    m->setData("noise", "\1\2\3", 3);
    const std::string read = consoleOf([&] { EXPECT_EQ(JXArrayFromMsgDictionary(m, "noise"), nullptr); });
    EXPECT_EQ(read.find("ERROR: JXArrayFromMsgDictionary failed to deserialize array "), 0U) << read;
    const std::string readAgain =
        consoleOf([&] { EXPECT_EQ(JXDictionaryFromMsgDictionary(m, "noise"), nullptr); });
    EXPECT_EQ(readAgain.find("ERROR: JXDictionaryFromMsgDictionary failed to deserialize dictionary "), 0U);
}

TEST_F(ValueCoding, IndexSetsTravelAsRanges) {
    const auto set = IndexSet::create({0, 1, 2, 5, 9, 10});
    JXMsgDictionarySetIndexSet(m, "set", set.get());
    const auto *array = m->getArray("set");
    std::vector<std::uint64_t> numbers;
    for (std::size_t i = 0; i < array->count(); ++i)
        numbers.push_back(array->uint64At(i));
    EXPECT_EQ(numbers, (std::vector<std::uint64_t>{0, 3, 5, 1, 9, 2}));
    EXPECT_TRUE(areEqual(JXIndexSetFromMsgDictionary(m, "set"), set.get()));

    JXMsgDictionarySetIndexSet(m, "empty", IndexSet::create().get());
    EXPECT_EQ(m->getArray("empty")->count(), 0U);
    ASSERT_NE(JXIndexSetFromMsgDictionary(m, "empty"), nullptr);
    EXPECT_EQ(JXIndexSetFromMsgDictionary(m, "empty")->count(), 0U);
    EXPECT_EQ(JXIndexSetFromMsgDictionary(m, "missing"), nullptr);

    const auto odd = MessageArray::create();
    odd->appendUInt64(4);
    odd->appendUInt64(2);
    odd->appendUInt64(7);
    m->set("odd", odd.get());
    EXPECT_TRUE(areEqual(JXIndexSetFromMsgDictionary(m, "odd"), IndexSet::create({4, 5}).get()));
    const auto mixed = MessageArray::create();
    mixed->append(MessageScalar::createString("reads as 0").get());
    mixed->appendUInt64(2);
    m->set("mixed", mixed.get());
    EXPECT_TRUE(areEqual(JXIndexSetFromMsgDictionary(m, "mixed"), IndexSet::create({0, 1}).get()));

    // As many as a message holds, in the order that is hardest to put in.
    const auto descending = MessageArray::create();
    for (std::uint64_t first = 1'000'000; first != 0; first -= 2) {
        descending->appendUInt64(first);
        descending->appendUInt64(1);
    }
    m->set("descending", descending.get());
    EXPECT_EQ(JXIndexSetFromMsgDictionary(m, "descending")->count(), 500'000U);
}

// Knows every URI but "x:unknown", and answers with the URI itself.
struct Resolver final : ObjectIDResolver {
    ManagedObjectID *managedObjectIDForURI(const char *uri, std::size_t length) override {
        EXPECT_EQ(uri[length], '\0');
        const std::string_view text(uri, length);
        if (text.empty() || text == "x:unknown")
            return nullptr;
        return autorelease(ManagedObjectID::create(URL::of(text)));
    }
};

TEST_F(ValueCoding, ObjectIDsKeepTheirTwoLimits) {
    test::allowLastingDescriptors(test::folderWatchDescriptors); // of the log system
    setPreferenceValue("JXConsoleLogLevel", Number::of(4), globalPreferencesDomain);
    const auto idOfLength = [](std::size_t length) {
        return ManagedObjectID::create(URL::of("x:" + std::string(length - 2, 'p')));
    };
    struct Case {
        std::size_t length;
        bool written;
        bool read;
    };
    Resolver resolver;
    for (const Case &each : {Case{3, true, true}, Case{198, true, true}, Case{199, true, false},
                             Case{250, true, false}, Case{251, false, false}}) {
        SCOPED_TRACE(each.length);
        m->set("id", nullptr);
        const auto id = idOfLength(each.length);
        JXMsgDictionarySetManagedObjectID(m, "id", id.get());
        EXPECT_EQ(m->getData("id").size(), each.written ? each.length : 0);
        const auto array = MessageArray::create();
        JXMsgArrayAppendManagedObjectID(array.get(), id.get());
        EXPECT_EQ(array->count(), each.written ? 1U : 0U);
        if (each.written) {
            ManagedObjectID *read = nullptr;
            const std::string log =
                consoleOf([&] { read = JXManagedObjectIDFromMsgValue(m->get("id"), &resolver); });
            EXPECT_EQ(areEqual(read, id.get()), each.read);
            EXPECT_THAT(log, MatchesRegex(each.read ? ""
                                                    : "JXGenericLog <t:0x[0-9a-f]+> Bogus object ID in msg "
                                                      "data.\n"));
        }
    }
    const auto logOf = [&](const char *key) {
        return consoleOf([&] { EXPECT_EQ(JXManagedObjectIDFromMsgValue(m->get(key), &resolver), nullptr); });
    };
    m->setData("unknown", "x:unknown", 9);
    EXPECT_THAT(logOf("unknown"),
                MatchesRegex("JXGenericLog <t:0x[0-9a-f]+> Unable to get object ID for x:unknown\n"));
    m->setString("text", "x:unknown");
    EXPECT_THAT(logOf("text"), MatchesRegex("JXGenericLog <t:0x[0-9a-f]+> Unable to get object ID for \n"))
        << "not data: length 0";
    JXMsgDictionarySetManagedObjectID(m, "none", nullptr);
    EXPECT_FALSE(m->contains("none"));
}

TEST_F(ValueCoding, SurfacesTravelAndAreOwned) {
    const auto surface = ImageSurface::create(3, 2, PixelFormat::rgba8);
    static_cast<unsigned char *>(surface->writableBytes())[0] = 77;
    JXMsgDictionarySetImageSurface(m, "surface", surface.get());
    const auto received = Ref<ImageSurface>::adopt(JXCreateImageSurfaceFromMsgDictionary(m, "surface"));
    ASSERT_TRUE(received);
    EXPECT_EQ(received->width(), 3U);
    EXPECT_EQ(received->height(), 2U);
    EXPECT_EQ(static_cast<const unsigned char *>(received->bytes())[0], 77);
    JXMsgDictionarySetImageSurface(m, "null", nullptr);
    EXPECT_FALSE(m->contains("null"));
    EXPECT_EQ(JXCreateImageSurfaceFromMsgDictionary(m, "missing"), nullptr);
}

} // namespace
