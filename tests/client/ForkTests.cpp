// The client in a process that fork() made.
#include <gtest/gtest.h>

#include <thread>

#include "tests/client/OwnClient.h"
#include "tests/support/Descriptors.h"
#include "tests/support/Fork.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/platform/process/ForkedChild.h"
#include "wickerlane/protocol/LibraryRows.h"
#include "wickerlane/testing/ScriptedDaemon.h"

using namespace wickerlane;

namespace {

// The number of the first operation that does not fail as it does without hoardd; 0 when all do.
int firstFault(JXGatekeeperClient *inherited) {
    const ReleaseScope scope;
    int step = 0;
    for (JXGatekeeperClient *client : {inherited, JXGatekeeperClient::sharedInstance()}) {
        if (++step; client->getCurrentModelVersion() != -1)
            return step;
        if (++step;
            JXGatekeeperClient::lastError()->code() != static_cast<std::int64_t>(ProblemKind::unreachable))
            return step;
        if (++step; JXGatekeeperClient::lastError()->localizedDescription()->utf8() != forkedChildText)
            return step;
        if (++step; client->getCurrentBulletins() != nullptr)
            return step;
        std::int64_t refusal = 0; // the handler borrows the error
        client->requestAccessWithHandler(
            [&](bool, Error *error) { refusal = error != nullptr ? error->code() : 0; });
        if (++step; refusal != WickerlaneErrorService)
            return step;
        int calls = 0;
        client->getPhotosAndVideosCountWithHandler(
            [&](Number *photos, Number *) { calls += photos == nullptr ? 1 : 100; });
        if (++step; calls != 1)
            return step;
        client->clearChangeStore();
        client->waitUntilConnectionSendsAllMessages();
    }
    return 0;
}

} // namespace

TEST(ClientAfterFork, FailsInTheChildAndWorksInTheParent) {
    WL_NEEDS_FORK_BESIDE_THREADS();
    test::allowLastingDescriptors(test::readerDescriptors);
    const ReleaseScope scope;
    ScriptedDaemon daemon;
    daemon.on(protocol::getCurrentModelVersion, ScriptedReaction::answer().with(protocol::keys::version, 12));
    const test::OwnClient client;
    std::atomic<bool> isOver{false};
    std::atomic<int> astray{0};
    {
        std::vector<std::jthread> threads;
        for (int i = 0; i < 3; ++i)
            threads.emplace_back([&] {
                while (!isOver)
                    if (client->getCurrentModelVersion() != 12)
                        ++astray;
            });
        for (int i = 0; i < 30; ++i)
            EXPECT_EQ(test::resultOfForkedChild([&] { return firstFault(client.get()); }), 0);
        isOver = true;
    }
    EXPECT_EQ(astray, 0);
    EXPECT_EQ(client->getCurrentModelVersion(), 12);
}
