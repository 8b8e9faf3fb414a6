// What each operation of the client sends, and what it makes of each kind of reply. Keys, codes and texts are
// spelled out here: a table shared by both ends could not catch its own mistakes.
#include <gtest/gtest.h>

#include <functional>

#include "tests/client/FakeConnection.h"
#include "tests/client/OwnClient.h"
#include "tests/support/Console.h"
#include "wickerlane/client/JXGatekeeperClient.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/platform/preferences/Preferences.h"

using namespace wickerlane;
using test::consoleOf;
using test::FakeConnection;

namespace {

struct ClientTest : ::testing::Test {
    ReleaseScope scope;
    Ref<FakeConnection> connection = makeRef<FakeConnection>();
    test::OwnClient client;

    ClientTest() { client->setConnection(connection.get()); }
    void answerWith(Ref<MessageValue> reply) {
        connection->answer = [reply](const MessageDictionary *) { return reply; };
    }
};

// Waits for one call of a handler and keeps what it was given, as text.
struct Outcome {
    Ref<Semaphore> done = Semaphore::create(0);
    std::string text;

    void set(std::string outcome) {
        text = std::move(outcome);
        done->signal();
    }
    std::string wait() {
        done->wait();
        return text;
    }
};

std::string describe(const Object *object) {
    return object != nullptr ? std::string(object->description()->utf8()) : "null";
}

std::string describe(const Error *error) {
    if (error == nullptr)
        return "null";
    return std::string(error->domain()->utf8()) + " " + std::to_string(error->code()) +
           (error->userInfo() != nullptr ? " " + std::string(error->localizedDescription()->utf8()) : "");
}

Ref<MessageDictionary> reply(const std::function<void(MessageDictionary *)> &fill) {
    auto made = MessageDictionary::create();
    fill(made.get());
    return made;
}

URL *assetURL() {
    return URL::of("rez-vault://asset/asset.JPG?id=1&ext=JPG");
}

ManagedObjectID *objectID() {
    return autorelease(ManagedObjectID::create(URL::of("x-hoard://s/Asset/p1")));
}

Dictionary *job(const char *name) {
    return autorelease(Dictionary::createWithKeys({{"name", String::of(name)}}));
}

TEST_F(ClientTest, EachOperationSendsItsKeysInOrderInItsMode) {
    struct Case {
        const char *name;
        std::function<void(JXGatekeeperClient *, Outcome &)> call;
        const char *mode;
        const char *text;
        bool hasHandler = false;
    };
    const Case cases[] = {
        {"access", [](auto *c, auto &o) { c->requestAccessWithHandler([&](bool, Error *) { o.set(""); }); },
         "async on global", "operation:int64=3", true},
        {"launch", [](auto *c, auto &) { c->launchHoardd(); }, "async on global", "operation:int64=10"},
        {"descriptor", [](auto *c, auto &) { EXPECT_EQ(c->fileDescriptorForAssetURL(assetURL()), -1); },
         "sync", "operation:int64=1 assetURL:string=rez-vault://asset/asset.JPG?id=1&ext=JPG"},
        {"descriptor of null", [](auto *c, auto &) { EXPECT_EQ(c->fileDescriptorForAssetURL(nullptr), -1); },
         "sync", "operation:int64=1"},
        {"file URL", [](auto *c, auto &) { EXPECT_EQ(c->fileURLForAssetURL(assetURL(), false), nullptr); },
         "sync", "operation:int64=2 assetURL:string=rez-vault://asset/asset.JPG?id=1&ext=JPG"},
        {"file URL with adjustments",
         [](auto *c, auto &) { EXPECT_EQ(c->fileURLForAssetURL(assetURL(), true), nullptr); }, "sync",
         "operation:int64=2 assetURL:string=rez-vault://asset/asset.JPG?id=1&ext=JPG "
         "withAdjustments:bool=true"},
        {"new asset",
         [](auto *c, auto &) { EXPECT_EQ(c->fileURLForNewAssetWithType(1, String::of("MOV")), nullptr); },
         "sync", "operation:int64=5 assetType:uint64=1 extension:string=MOV"},
        {"image data, blocking",
         [](auto *c, auto &) { EXPECT_EQ(c->imageDataForAsset(objectID(), -2), nullptr); }, "sync",
         "operation:int64=6 objectID:data=x-hoard://s/Asset/p1 format:uint64=18446744073709551614"},
        {"image data",
         [](auto *c, auto &o) {
             c->requestImageDataForAsset(objectID(), 3, [&](Data *, int) { o.set(""); });
         },
         "async on global", "operation:int64=6 objectID:data=x-hoard://s/Asset/p1 format:uint64=3", true},
        {"save",
         [](auto *c, auto &o) {
             c->saveAssetWithJobDictionary(job("a"), [&](Dictionary *, Error *) { o.set(""); });
         },
         "async on global", "operation:int64=8 jobDictionary:dictionary={name:string=a}", true},
        {"save of a job that can't travel",
         [](auto *c, auto &o) {
             auto bad = Dictionary::createWithKeys({{"url", assetURL()}});
             c->saveAssetWithJobDictionary(bad.get(), [&](Dictionary *, Error *) { o.set(""); });
         },
         "async on global", "operation:int64=8", true},
        {"batch, one job of which can't travel",
         [](auto *c, auto &o) {
             auto bad = Dictionary::createWithKeys({{"url", assetURL()}});
             c->batchSaveAssetsWithJobDictionaries(Array::of({job("a"), bad.get(), job("b")}),
                                                   [&](Array *, Error *) { o.set(""); });
         },
         "async on global",
         "operation:int64=9 jobDictionaries:array=[dictionary={name:string=a}, dictionary={name:string=b}]",
         true},
        {"batch of null",
         [](auto *c, auto &o) {
             c->batchSaveAssetsWithJobDictionaries(nullptr, [&](Array *, Error *) { o.set(""); });
         },
         "async on global", "operation:int64=9 jobDictionaries:array=[]", true},
        {"create database", [](auto *c, auto &) { c->createPixholdDatabase(); }, "sync",
         "operation:int64=15"},
        {"counts",
         [](auto *c, auto &o) {
             c->getPhotosAndVideosCountWithHandler([&](Number *, Number *) { o.set(""); });
         },
         "async on global", "operation:int64=16", true},
        {"model version", [](auto *c, auto &) { EXPECT_EQ(c->getCurrentModelVersion(), 0); }, "sync",
         "operation:int64=69"},
    };
    for (const Case &each : cases) {
        SCOPED_TRACE(each.name);
        connection->sent.clear();
        Outcome outcome;
        each.call(client.get(), outcome);
        if (each.hasHandler)
            outcome.wait();
        ASSERT_EQ(connection->sent.size(), 1U);
        EXPECT_EQ(connection->sent[0].mode, each.mode);
        EXPECT_EQ(connection->sent[0].text, each.text);
    }
}

TEST_F(ClientTest, SurfacesTravelAsTheirOwnMessageObjects) {
    const auto full = ImageSurface::create(4, 2, PixelFormat::bgra8);
    const auto preview = ImageSurface::create(2, 1, PixelFormat::bgra8);
    bool bothArrived = false;
    connection->answer = [&](const MessageDictionary *message) {
        const auto arrived = ImageSurface::lookUp(message->get("imagePort"));
        const auto arrivedPreview = ImageSurface::lookUp(message->get("previewImagePort"));
        bothArrived = arrived && arrived->width() == 4 && arrivedPreview && arrivedPreview->width() == 2;
        return Ref<MessageValue>(MessageDictionary::create());
    };
    Outcome outcome;
    client->saveAssetWithJobDictionary(
        nullptr, [&](Dictionary *, Error *) { outcome.set(""); }, full.get(), preview.get());
    outcome.wait();
    EXPECT_TRUE(bothArrived);
}

TEST_F(ClientTest, RepliesBecomeResults) {
    struct Case {
        const char *name;
        std::function<void(JXGatekeeperClient *, Outcome &)> call;
        Ref<MessageValue> reply;
        const char *result;
        const char *console = "";
    };
    const Ref<MessageValue> error = MessageError::connectionInterrupted();
    const std::string description(MessageError::connectionInterrupted()->text());
    const Ref<MessageValue> empty = MessageDictionary::create();
    const Ref<MessageValue> stray = MessageScalar::createBool(true);
    const auto access = [](JXGatekeeperClient *c, Outcome &o) {
        c->requestAccessWithHandler(
            [&o](bool granted, Error *e) { o.set(std::string(granted ? "yes " : "no ") + describe(e)); });
    };
    const auto status = [](std::int64_t value) {
        return reply([=](auto *r) { r->setInt64("authorized", value); });
    };
    const auto save = [](JXGatekeeperClient *c, Outcome &o) {
        c->saveAssetWithJobDictionary(job("a"), [&o](Dictionary *r, Error *e) {
            o.set(describe(static_cast<Object *>(r)) + " " + describe(e));
        });
    };
    const auto saved = [](bool noData, bool full) {
        return reply([=](auto *r) {
            r->set("resultJobDictionary", reply([](auto *job) { job->setString("uuid", "U"); }).get());
            r->setBool("noData", noData);
            r->setBool("jobQueueFull", full);
        });
    };
    const auto batch = [](JXGatekeeperClient *c, Outcome &o) {
        c->batchSaveAssetsWithJobDictionaries(Array::of({job("a")}), [&o](Array *r, Error *e) {
            o.set((r != nullptr ? std::to_string(r->count()) : "null") + " " + describe(e));
        });
    };
    const auto counts = [](JXGatekeeperClient *c, Outcome &o) {
        c->getPhotosAndVideosCountWithHandler([&o](Number *photos, Number *videos) {
            o.set(describe(static_cast<Object *>(photos)) + " " + describe(static_cast<Object *>(videos)));
        });
    };
    const auto image = [](JXGatekeeperClient *c, Outcome &o) {
        c->requestImageDataForAsset(objectID(), 3, [&o](Data *data, int format) {
            o.set(describe(static_cast<Object *>(data)) + " " + std::to_string(format));
        });
    };
    const auto imageBlocking = [](JXGatekeeperClient *c, Outcome &o) {
        o.set(describe(static_cast<Object *>(c->imageDataForAsset(objectID(), 3))));
    };
    const auto fileURL = [](JXGatekeeperClient *c, Outcome &o) {
        o.set(describe(static_cast<Object *>(c->fileURLForAssetURL(assetURL(), false))));
    };
    const auto newURL = [](JXGatekeeperClient *c, Outcome &o) {
        o.set(describe(static_cast<Object *>(c->fileURLForNewAssetWithType(0, String::of("JPG")))));
    };
    const auto descriptor = [](JXGatekeeperClient *c, Outcome &o) {
        o.set(std::to_string(c->fileDescriptorForAssetURL(assetURL())));
    };
    const auto version = [](JXGatekeeperClient *c, Outcome &o) {
        o.set(std::to_string(c->getCurrentModelVersion()));
    };
    const auto create = [](JXGatekeeperClient *c, Outcome &o) {
        c->createPixholdDatabase();
        o.set("done");
    };
    const std::string accessError = "no Wickerlane 10 " + description;
    const std::string createError = "Unable to create library. This is bad. (" + description + ")\n";
    const Case cases[] = {
        {"access granted", access, status(0), "yes null"},
        {"access without a status", access, empty, "yes null"},
        {"access status 1", access, status(1), "no Wickerlane 2"},
        {"access status 2", access, status(2), "no Wickerlane 1"},
        {"access status 7", access, status(7), "no Wickerlane 10"},
        {"access status -1", access, status(-1), "no Wickerlane 10"},
        {"access, no service", access, error, accessError.c_str()},
        {"saved", save, saved(false, false), "{\n    uuid = U;\n} null"},
        {"saved, nothing said", save, empty, "null null"},
        {"save without data", save, saved(true, false), "null Wickerlane 12"},
        {"save with a full queue", save, saved(false, true), "null Wickerlane 11"},
        {"save with both", save, saved(true, true), "null Wickerlane 12"},
        {"save, no service", save, error, "null Wickerlane 10"},
        {"batch", batch, reply([](auto *r) {
             auto array = MessageArray::create();
             array->append(MessageDictionary::create().get());
             array->append(MessageDictionary::create().get());
             r->set("resultJobDictionaries", array.get());
         }),
         "2 null"},
        {"batch, nothing said", batch, empty, "0 null"},
        {"batch, no service", batch, error, "null Wickerlane 10"},
        {"counts", counts, reply([](auto *r) {
             r->setUInt64("photoCount", 18446744073709551615U);
             r->setUInt64("videoCount", 0);
         }),
         "18446744073709551615 0"},
        {"counts without videos", counts, reply([](auto *r) { r->setUInt64("photoCount", 2); }), "2 null"},
        {"counts, no service", counts, error, "null null"},
        {"image", image, reply([](auto *r) { r->setData("imageData", "\1\2", 2); }), "<0102> 3"},
        {"image that is not there", image, empty, "null 3"},
        {"image, no service", image, error, "null 0"},
        {"image, blocking", imageBlocking, reply([](auto *r) { r->setData("imageData", "\1\2", 2); }),
         "<0102>"},
        {"image, blocking, no service", imageBlocking, error, "null"},
        {"file URL", fileURL, reply([](auto *r) { r->setString("fileURL", "file:///a"); }), "file:///a"},
        {"file URL of the wrong kind", fileURL, reply([](auto *r) { r->setInt64("fileURL", 1); }), "null"},
        {"file URL, no service", fileURL, error, "null", "Received error from hoardd.\n"},
        {"file URL, stray reply", fileURL, stray, "null"},
        {"new URL", newURL, reply([](auto *r) { r->setString("url", "file:///n"); }), "file:///n"},
        {"new URL, no service", newURL, error, "null"},
        {"descriptor, no service", descriptor, error, "-1", "Received error from hoardd.\n"},
        {"descriptor, stray reply", descriptor, stray, "-1"},
        {"version", version, reply([](auto *r) { r->setInt64("version", 7); }), "7"},
        {"version, stray reply", version, stray, "-1"},
        {"version, no service", version, error, "-1", "*** Error getting current model version\n"},
        {"create", create, empty, "done"},
        {"create, no service", create, error, "done", createError.c_str()},
    };
    for (const Case &each : cases) {
        SCOPED_TRACE(each.name);
        answerWith(each.reply);
        Outcome outcome;
        const std::string console = consoleOf([&] {
            each.call(client.get(), outcome);
            outcome.wait();
        });
        EXPECT_EQ(outcome.text, each.result);
        EXPECT_EQ(console, each.console);
    }
}

TEST_F(ClientTest, ADescriptorStaysOpenAfterItsReplyIsGone) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    answerWith(reply([&](auto *r) { r->setDescriptor("filedescriptor", ends[1]); }));
    close(ends[1]);
    const int descriptor = client->fileDescriptorForAssetURL(assetURL());
    connection->answer = nullptr;
    ASSERT_GE(descriptor, 0);
    EXPECT_EQ(write(descriptor, "x", 1), 1);
    close(descriptor);
    char byte = 0;
    EXPECT_EQ(read(ends[0], &byte, 1), 1);
    EXPECT_EQ(byte, 'x');
    close(ends[0]);
}

TEST_F(ClientTest, ANullHandlerForAccessSendsNothing) {
    client->requestAccessWithHandler(nullptr);
    EXPECT_TRUE(connection->sent.empty());
}

TEST_F(ClientTest, ARequiredHandlerThatIsNullStopsTheProcess) {
    ::testing::GTEST_FLAG(death_test_style) = "threadsafe";
    EXPECT_DEATH(client->saveAssetWithJobDictionary(nullptr, nullptr),
                 "Invalid parameter not satisfying: resultsBlock != NULL");
    EXPECT_DEATH(client->batchSaveAssetsWithJobDictionaries(Array::of({}), nullptr),
                 "Invalid parameter not satisfying: resultsBlock != NULL");
    EXPECT_DEATH(client->requestImageDataForAsset(objectID(), 0, nullptr),
                 "Invalid parameter not satisfying: resultsBlock != NULL");
    EXPECT_DEATH(client->getPhotosAndVideosCountWithHandler(nullptr),
                 "Invalid parameter not satisfying: handler != NULL");
}

TEST_F(ClientTest, AJobWithACallStackIsShownWithoutIt) {
    const auto shown = [](const char *method) {
        return std::string("##### ") + method + " here\n# \t name -> a\n";
    };
    auto withStack =
        Dictionary::createWithKeys({{"callStack", String::of("here")}, {"name", String::of("a")}});
    Outcome saved;
    EXPECT_EQ(consoleOf([&] {
                  client->saveAssetWithJobDictionary(withStack.get(),
                                                     [&](Dictionary *, Error *) { saved.set(""); });
                  saved.wait();
              }),
              shown("saveAssetWithJobDictionary:handler:imageSurface:previewImageSurface:"));
    // Of a batch only the first job is looked at.
    Outcome first;
    EXPECT_EQ(consoleOf([&] {
                  client->batchSaveAssetsWithJobDictionaries(Array::of({withStack.get(), withStack.get()}),
                                                             [&](Array *, Error *) { first.set(""); });
                  first.wait();
              }),
              shown("batchSaveAssetsWithJobDictionaries:handler:"));
    Outcome second;
    EXPECT_EQ(consoleOf([&] {
                  client->batchSaveAssetsWithJobDictionaries(Array::of({job("b"), withStack.get()}),
                                                             [&](Array *, Error *) { second.set(""); });
                  second.wait();
              }),
              "");
}

struct TestJob final : JXDaemonJob {
    std::vector<std::string> calls;
    bool archives = false;
    void encodeToMsgObject(MessageDictionary *message) override {
        calls.push_back("encode " + std::to_string(message->count()));
        message->setInt64("operation", 99);
    }
    bool shouldArchiveMsgToDisk() override { return archives; }
    void archiveMsgToDisk(MessageDictionary *message) override {
        calls.push_back("archive " + std::to_string(message->count()));
    }
};

TEST_F(ClientTest, AJobEncodesThenArchivesIfItWantsThenTravels) {
    TestJob job;
    client->sendDaemonJob(&job, nullptr);
    EXPECT_EQ(job.calls, (std::vector<std::string>{"encode 0"}));
    EXPECT_EQ(connection->sent.at(0).mode, "none");

    job.archives = true;
    answerWith(MessageError::connectionInterrupted());
    Outcome outcome;
    client->sendDaemonJob(&job, [&](MessageValue *raw) {
        outcome.set(raw == MessageError::connectionInterrupted() ? "interrupted" : "other");
    });
    EXPECT_EQ(outcome.wait(), "interrupted");
    EXPECT_EQ(job.calls, (std::vector<std::string>{"encode 0", "encode 0", "archive 1"}));
    EXPECT_EQ(connection->sent.at(1).mode, "async on global");
    EXPECT_EQ(connection->sent.at(1).text, "operation:int64=99");
}

TEST_F(ClientTest, QueuesFollowTheNumberOfProcessors) {
    EXPECT_EQ(client->sendQueue(), client->replyQueue());
    for (const bool single : {true, false}) {
        ASSERT_TRUE(
            setPreferenceValue("ProcessorCount", Number::of(single ? 1 : 2), "org.wickerlane.device"));
        test::OwnClient other;
        if (single)
            EXPECT_STREQ(other->deviceSpecificReplyQueue()->label(), "JXGatekeeperClient serial reply queue");
        else
            EXPECT_EQ(other->deviceSpecificReplyQueue(), other->replyQueue());
    }
}

TEST_F(ClientTest, AMissingEntitlementIsNamed) {
    EXPECT_EQ(describe(JXGatekeeperClient::securityPolicyErrorForMissingEntitlement(String::of("x"))),
              "Wickerlane 3 A required entitlement (x) was not present");
}

TEST_F(ClientTest, TheBarrierIsWaitedFor) {
    client->waitUntilConnectionSendsAllMessages();
    EXPECT_EQ(connection->sent.at(0).mode, "barrier");
}

} // namespace
