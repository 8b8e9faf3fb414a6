// Waiting for the next change, asked of a running daemon.
#include <csignal>
#include <future>
#include <thread>

#include "tests/client/OwnClient.h"
#include "tests/hoardd/RunningHoardd.h"
#include "tests/support/WaitUntil.h"
#include "wickerlane/client/JXGatekeeperClient.h"

namespace wickerlane::test {
namespace {

using namespace std::chrono_literals;

class AwaitChanges : public RunningHoardd {
protected:
    const OwnClient client{};
    static constexpr std::size_t maxOfProcess = 16;

    std::string saveOne(int number) const {
        ReleaseScope scope;
        return textIn(saveData(pngOf(scene(16, 12, number))), "uuid");
    }
    [[nodiscard]] std::string present() const { return client->changesSinceToken("", 0)->token; }

    struct Outcome {
        std::optional<ChangesPage> page;
        std::int64_t errorCode = -1;
    };
    using Coming = std::future<Outcome>;
    static Coming awaitWith(JXGatekeeperClient *asker, const std::string &token,
                            std::chrono::seconds time = 600s) {
        const auto outcome = std::make_shared<std::promise<Outcome>>();
        asker->awaitChangesSinceToken(token, 100, time, [outcome](const ChangesPage *page, Error *error) {
            outcome->set_value({page != nullptr ? std::optional(*page) : std::nullopt,
                                error != nullptr ? error->code() : -1});
        });
        return outcome->get_future();
    }
    /// Waits with as many requests as the daemon keeps of this process.
    static std::vector<Coming> keepAll(JXGatekeeperClient *asker, const std::string &token) {
        std::vector<Coming> kept;
        bool isFull = false;
        EXPECT_TRUE(waitUntil([&] {
            Coming next = awaitWith(asker, token);
            isFull = kept.size() >= maxOfProcess && next.wait_for(1ms) == std::future_status::ready;
            if (isFull)
                EXPECT_EQ(next.get().errorCode, static_cast<std::int64_t>(ProblemKind::busy));
            else
                kept.push_back(std::move(next));
            return isFull || HasFailure();
        }));
        EXPECT_TRUE(waitUntil([&] { // those that were refused later than the last one
            std::erase_if(kept, [](Coming &each) { return each.wait_for(0s) == std::future_status::ready; });
            return kept.size() <= maxOfProcess;
        }));
        EXPECT_EQ(kept.size(), maxOfProcess);
        return kept;
    }
};

TEST_F(AwaitChanges, AnswersEachChangeOnceAndInOrder) {
    ReleaseScope scope;
    std::string token = present();
    constexpr int count = 20;
    std::vector<std::string> saved, told;
    std::thread saving([&] {
        for (int i = 0; i < count; ++i)
            saved.push_back(saveOne(i));
    });
    while (told.size() < count && !HasFailure()) {
        const auto page = client->awaitChangesSinceToken(token, 3, 600s);
        ASSERT_TRUE(page);
        EXPECT_FALSE(page->isTooOld);
        EXPECT_FALSE(page->changes.empty());
        EXPECT_LE(page->changes.size(), 3U);
        for (const AssetChange &each : page->changes)
            if (each.what == AssetChange::What::added)
                told.push_back(each.uuid);
        token = page->token;
    }
    saving.join();
    EXPECT_EQ(told, saved);
}

TEST_F(AwaitChanges, WakesAllThatWait) {
    ReleaseScope scope;
    auto kept = keepAll(client.get(), present());
    const std::string uuid = saveOne(1);
    for (Coming &each : kept) {
        const Outcome outcome = each.get();
        ASSERT_TRUE(outcome.page);
        EXPECT_EQ(outcome.page->changes.front().uuid, uuid);
    }
}

TEST_F(AwaitChanges, AnswersAtOnceWhatNeedsNoWait) {
    ReleaseScope scope;
    const std::string beginning = present();
    saveOne(1);
    const std::string now = present();
    const auto some = client->awaitChangesSinceToken(beginning, 100, 600s);
    ASSERT_TRUE(some);
    EXPECT_FALSE(some->changes.empty());
    const auto old = client->awaitChangesSinceToken("1/another store", 100, 600s);
    ASSERT_TRUE(old);
    EXPECT_TRUE(old->isTooOld);
    EXPECT_EQ(old->token, now);
    for (const auto time : {0s, 1s}) {
        const auto late = client->awaitChangesSinceToken(now, 100, time);
        ASSERT_TRUE(late);
        EXPECT_TRUE(late->changes.empty() && late->isLast && !late->isTooOld);
        EXPECT_EQ(late->token, now);
    }
    const struct {
        std::size_t limit;
        std::chrono::seconds time;
        const char *token;
    } odd[] = {{0, 1s, ""}, {10'001, 1s, ""}, {1, -1s, ""}, {1, 601s, ""}, {1, 1s, "x"}};
    for (const auto &each : odd) {
        EXPECT_FALSE(client->awaitChangesSinceToken(each.token, each.limit, each.time));
        EXPECT_EQ(JXGatekeeperClient::lastError()->code(), static_cast<std::int64_t>(ProblemKind::invalid));
    }
}

TEST_F(AwaitChanges, EndWithTheDaemon) {
    ReleaseScope scope;
    auto kept = keepAll(client.get(), present());
    end(daemon(), SIGTERM);
    for (Coming &each : kept)
        EXPECT_EQ(each.get().errorCode, static_cast<std::int64_t>(ProblemKind::ending));
}

TEST_F(AwaitChanges, AreForgottenWhenTheirClientIsGone) {
    ReleaseScope scope;
    describeService({"--idle-seconds", "0.05"});
    const std::string token = present();
    {
        const OwnClient gone;
        auto kept = keepAll(gone.get(), token);
        const Process process = daemon();
        gone->connection()->cancel();
        for (Coming &each : kept)
            EXPECT_NE(each.get().errorCode, -1);
        client->connection()->cancel();
        connection->cancel();
        waitForEnd(process); // since nothing holds it
    }
    connection = connect();
}

} // namespace
} // namespace wickerlane::test
