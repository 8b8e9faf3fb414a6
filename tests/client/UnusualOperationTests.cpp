// What the table of operations can't say: descriptors, surfaces, jobs, call stacks, queues and barriers.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "tests/client/GatekeeperClient.h"
#include "tests/support/Console.h"

using namespace wickerlane;
using namespace wickerlane::test;

namespace {

TEST_F(GatekeeperClient, SurfacesTravelAsTheirOwnMessageObjects) {
    const auto full = ImageSurface::create(4, 2, PixelFormat::bgra8);
    const auto preview = ImageSurface::create(2, 1, PixelFormat::bgra8);
    Ref<ImageSurface> arrived, arrivedPreview;
    connection->answer = [&](const MessageDictionary *message) {
        arrived = ImageSurface::lookUp(message->get("imagePort"));
        arrivedPreview = ImageSurface::lookUp(message->get("previewImagePort"));
        return Ref<MessageValue>(MessageDictionary::create());
    };
    client->saveAssetWithJobDictionary(
        nullptr, [](Dictionary *, Error *) {}, full.get(), preview.get());
    connection->delivered->wait();
    ASSERT_TRUE(arrived);
    ASSERT_TRUE(arrivedPreview);
    EXPECT_EQ(arrived->width(), 4U);
    EXPECT_EQ(arrivedPreview->width(), 2U);
}

TEST_F(GatekeeperClient, ADescriptorStaysOpenAfterItsReplyIsGone) {
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    auto reply = MessageDictionary::create();
    reply->setDescriptor("filedescriptor", ends[1]);
    close(ends[1]);
    connection->answer = [&](const MessageDictionary *) { return Ref<MessageValue>(std::move(reply)); };
    const int descriptor = client->fileDescriptorForAssetURL(assetURL());
    ASSERT_GE(descriptor, 0);
    EXPECT_EQ(write(descriptor, "x", 1), 1);
    close(descriptor);
    char bytes[2];
    EXPECT_EQ(read(ends[0], bytes, 2), 1);
    EXPECT_EQ(bytes[0], 'x');
    EXPECT_EQ(read(ends[0], bytes, 1), 0) << "the pipe has another writer";
    close(ends[0]);
}

TEST_F(GatekeeperClient, AJobWithACallStackIsLoggedWithoutIt) {
    Dictionary *withStack = autorelease(
        Dictionary::createWithKeys({{"callStack", String::of("here")}, {"name", String::of("a")}}));
    const auto save = [&](Dictionary *job) {
        client->saveAssetWithJobDictionary(job, [](Dictionary *, Error *) {});
    };
    const auto batch = [&](Array *jobs) {
        client->batchSaveAssetsWithJobDictionaries(jobs, [](Array *, Error *) {});
    };
    const std::string lines = " here\n# \t name -> a\n";
    EXPECT_EQ(consoleOf([&] { save(withStack); }),
              "##### saveAssetWithJobDictionary:handler:imageSurface:previewImageSurface:" + lines);
    EXPECT_EQ(consoleOf([&] { save(oneEntry()); }), "");
    // Of a batch only the first job is looked at.
    EXPECT_EQ(consoleOf([&] {
                  batch(Array::of({withStack, withStack}));
              }),
              "##### batchSaveAssetsWithJobDictionaries:handler:" + lines);
    EXPECT_EQ(consoleOf([&] { batch(Array::of({oneEntry(), withStack})); }), "");
    for (int sent = 0; sent < 4; ++sent)
        connection->delivered->wait();
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

TEST_F(GatekeeperClient, ADaemonJobIsEncodedThenArchivedIfItWantsThenSent) {
    TestJob job;
    client->sendDaemonJob(&job, nullptr);
    EXPECT_EQ(job.calls, (std::vector<std::string>{"encode 0"}));
    ASSERT_EQ(connection->sent.size(), 1U);
    EXPECT_EQ(connection->sent[0].mode, "none");

    job.archives = true;
    const MessageValue *const interrupted = MessageError::connectionInterrupted();
    connection->answer = [](const MessageDictionary *) {
        return Ref<MessageValue>(MessageError::connectionInterrupted());
    };
    const MessageValue *received = nullptr;
    client->sendDaemonJob(&job, [&](MessageValue *raw) { received = raw; });
    connection->delivered->wait();
    EXPECT_EQ(received, interrupted);
    EXPECT_EQ(job.calls, (std::vector<std::string>{"encode 0", "encode 0", "archive 1"}));
    ASSERT_EQ(connection->sent.size(), 2U);
    EXPECT_EQ(connection->sent[1].mode, "async on global");
    EXPECT_EQ(connection->sent[1].text, "operation:int64=99");
}

TEST_F(GatekeeperClient, OneProcessorMeansASerialQueueForImageData) {
    EXPECT_EQ(client->sendQueue(), client->replyQueue());
    EXPECT_EQ(client->replyQueue(), WorkQueue::global());
    EXPECT_EQ(client->deviceSpecificReplyQueue(), client->replyQueue());

    ASSERT_TRUE(setProcessorCount(1));
    const OwnClient single;
    single->setConnection(connection.get());
    EXPECT_STREQ(single->deviceSpecificReplyQueue()->label(), "JXGatekeeperClient serial reply queue");
    single->requestImageDataForAsset(objectID(), 3, [](Data *, int) {});
    connection->delivered->wait();
    EXPECT_EQ(connection->sent.at(0).mode, "async on JXGatekeeperClient serial reply queue");
    single->launchHoardd();
    connection->delivered->wait();
    EXPECT_EQ(connection->sent.at(1).mode, "async on global");
}

TEST_F(GatekeeperClient, AMissingEntitlementIsNamed) {
    EXPECT_EQ(describe(JXGatekeeperClient::securityPolicyErrorForMissingEntitlement(String::of("x"))),
              "Wickerlane 3 A required entitlement (x) was not present");
}

TEST_F(GatekeeperClient, TheBarrierIsWaitedFor) {
    std::atomic<bool> hasPassed = false;
    // Long enough that a client that does not wait is back before.
    connection->beforeBarrier = [&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        hasPassed = true;
    };
    client->waitUntilConnectionSendsAllMessages();
    EXPECT_TRUE(hasPassed);
    ASSERT_EQ(connection->sent.size(), 1U);
    EXPECT_EQ(connection->sent[0].mode, "barrier");
}

} // namespace
