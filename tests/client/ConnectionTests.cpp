// The client on a real connection: a missing service, one that goes away, and one that sends unsolicited
// messages.
#include <gtest/gtest.h>

#include <poll.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <thread>

#include "tests/client/OwnClient.h"
#include "tests/support/Descriptors.h"
#include "wickerlane/client/JXGatekeeperClient.h"
#include "wickerlane/platform/message/listener/MessageListener.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/protocol/LibraryRows.h"
#include "wickerlane/testing/ScriptedDaemon.h"

using namespace wickerlane;

namespace {

struct RealConnection : ::testing::Test {
    ReleaseScope scope;
    RealConnection() {
        // Without service descriptions nothing is started from here.
        setenv("WICKERLANE_SERVICES", "/nonexistent", 1);
        test::allowLastingDescriptors(test::readerDescriptors);
    }
    ~RealConnection() override { unsetenv("WICKERLANE_SERVICES"); }
};

TEST_F(RealConnection, AMissingServiceIsReportedOnceAndFailsEveryRequest) {
    // Standard error goes to a pipe, so that the test can wait for the line of the event handler, which runs
    // beside the replies.
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const int saved = dup(STDERR_FILENO);
    dup2(ends[1], STDERR_FILENO);
    close(ends[1]);
    const test::OwnClient client;
    EXPECT_EQ(client->getCurrentModelVersion(), -1);
    EXPECT_EQ(client->getCurrentModelVersion(), -1);
    const auto answered = Semaphore::create(0);
    client->requestAccessWithHandler([&](bool granted, Error *error) {
        EXPECT_FALSE(granted);
        EXPECT_EQ(error->code(), 10);
        answered->signal();
    });
    answered->wait();
    const std::string expected =
        std::string("Named service '") + WickerlaneGatekeeperName +
        "' not found. hoardd is down or misconfigured. Things will not work the way you expect them to.\n";
    std::string console;
    char byte = 0;
    pollfd readable{ends[0], POLLIN, 0};
    while (console.find(expected) == std::string::npos && poll(&readable, 1, 60'000) == 1 &&
           read(ends[0], &byte, 1) == 1)
        console += byte;
    dup2(saved, STDERR_FILENO);
    close(saved);
    while (read(ends[0], &byte, 1) == 1)
        console += byte;
    close(ends[0]);
    const auto count = [&](const std::string &line) {
        std::size_t found = 0;
        for (std::size_t at = console.find(line); at != std::string::npos; at = console.find(line, at + 1))
            ++found;
        return found;
    };
    EXPECT_EQ(count(expected), 1U) << console;
    EXPECT_EQ(count("*** Error getting current model version\n"), 2U) << console;
}

TEST_F(RealConnection, ADaemonThatGoesAwayIsReplacedByTheNext) {
    const test::OwnClient client;
    ScriptedDaemon daemon;
    for (const std::int64_t version : {3, 4}) {
        daemon.on(protocol::getCurrentModelVersion,
                  ScriptedReaction::answer().with(protocol::keys::version, version));
        EXPECT_EQ(client->getCurrentModelVersion(), version);
        daemon.stop();
        daemon.start();
    }
}

TEST(RealConnectionDeathTest, AnUnsolicitedMessageTrapsTheProcess) {
    ::testing::GTEST_FLAG(death_test_style) = "threadsafe";
    const auto provoke = [] {
        const auto listener = MessageListener::create(
            WickerlaneGatekeeperName, nullptr,
            [](ReceivedMessage *received) { received->peer()->send(MessageDictionary::create().get()); }, {});
        listener->resume();
        const test::OwnClient client;
        client->launchHoardd();
        sleep(60);
    };
    EXPECT_EXIT(
        provoke(),
        [](int status) {
            return WIFSIGNALED(status) && (WTERMSIG(status) == SIGILL || WTERMSIG(status) == SIGTRAP);
        },
        "");
}

TEST_F(RealConnection, TheSharedInstanceIsOneHoweverManyAskAtOnce) {
    std::vector<JXGatekeeperClient *> seen(8);
    {
        std::vector<std::jthread> threads;
        for (auto &slot : seen)
            threads.emplace_back([&slot] { slot = JXGatekeeperClient::sharedInstance(); });
    }
    for (const auto *each : seen)
        EXPECT_EQ(each, seen[0]);
    EXPECT_NE(seen[0], nullptr);
}

TEST(Classes, OfEveryFolderAreFoundByName) {
    for (const char *name :
         {"WorkQueue", "Semaphore", "SharedMemory", "MessageDictionary", "MessageArray", "MessageError",
          "MessageConnection", "MessageListener", "ReceivedMessage", "ImageSurface", "JXMsgData",
          "JXMsgShMemData", "JXMsgTransaction", "ManagedAsset", "ObjectStore", "JXGatekeeperClient"}) {
        const Class *found = classNamed(name);
        ASSERT_NE(found, nullptr) << name;
        EXPECT_STREQ(found->name, name);
    }
}

} // namespace
