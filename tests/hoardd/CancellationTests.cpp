// Requests that are cancelled: what hoardd does not begin, and what it stops between two steps.
#include <algorithm>
#include <csignal>
#include <filesystem>
#include <functional>
#include <future>
#include <thread>

#include "hoardd/analysis/LibraryAnalysis.h"
#include "hoardd/analysis/ThumbnailRebuild.h"
#include "hoardd/saving/FoundFiles.h"
#include "hoardd/upkeep/Repair.h"
#include "tests/client/OwnClient.h"
#include "tests/hoardd/FileAge.h"
#include "tests/hoardd/OpenLibrary.h"
#include "tests/hoardd/RunningHoardd.h"
#include "tests/support/StoppedProcess.h"
#include "tests/support/WaitUntil.h"
#include "wickerlane/platform/message/connection/Cancellation.h"
#include "wickerlane/platform/message/connection/ReplyTimeLimit.h"
#include "wickerlane/store/AnalysisReader.h"

namespace wickerlane::test {
namespace {

using namespace std::chrono_literals;

class CancelledRequest : public RunningHoardd {
protected:
    using Reply = std::future<Ref<MessageValue>>;
    Reply send(MessageDictionary *message, Cancellation *cancellation = nullptr) const {
        const CancellationScope scope(cancellation);
        const auto reply = std::make_shared<std::promise<Ref<MessageValue>>>();
        connection->sendWithReply(message, WorkQueue::global(),
                                  [reply](MessageValue *value) { reply->set_value(value); });
        return reply->get_future();
    }
    static std::int64_t errorKindIn(Reply &reply) {
        const auto value = reply.get();
        const auto *error = as<MessageError>(value.get());
        return error != nullptr ? error->errorKind() : -1;
    }
    static bool isCancelled(Reply &reply) { return errorKindIn(reply) == 15; }
    static void signalAll(const std::vector<pid_t> &processes, int signal) {
        for (const pid_t each : processes)
            kill(each, signal);
    }
    [[nodiscard]] std::size_t moments() const {
        auto reader = store::AnalysisReader::open(paths);
        EXPECT_TRUE(reader) << reader.error().text;
        return reader->moments({}).value().moments.size();
    }
    /// The daemon has read all that was sent before, in order.
    void waitUntilRead() const { answer(request(16).get()); }
    [[nodiscard]] static Ref<MessageDictionary> rebuildMoments() {
        auto message = request(61);
        message->setBool("incremental", false);
        return message;
    }
};

TEST_F(CancelledRequest, IsNotBegunWhenItWaits) {
    ReleaseScope scope;
    for (const bool isLate : {false, true}) {
        saveData(jpegOf(scene(90, 60, isLate ? 2 : 1)));
        const auto workers = mediaWorkersOf(daemon().id);
        signalAll(workers, SIGSTOP);
        auto before = send(request(73).get()); // keeps the queue of long work
        const auto cancellation = Cancellation::create();
        auto unwanted = [&] {
            const ReplyTimeLimit limit(isLate ? 20ms : 0ms);
            return send(rebuildMoments().get(), cancellation.get());
        }();
        auto after = send(request(68).get()); // runs after it
        waitUntilRead();
        if (!isLate)
            cancellation->cancel();
        EXPECT_EQ(errorKindIn(unwanted), isLate ? 14 : 15);
        waitUntilRead();
        signalAll(workers, SIGCONT);
        EXPECT_EQ(before.get()->kind(), MessageKind::dictionary);
        EXPECT_EQ(after.get()->kind(), MessageKind::dictionary);
        EXPECT_EQ(moments(), 0U) << isLate;
    }
    answer(rebuildMoments().get());
    EXPECT_EQ(moments(), 1U) << "there was something to do";
}

TEST_F(CancelledRequest, SavesNothingWhenItsTurnHasNotCome) {
    ReleaseScope scope;
    saveData(jpegOf(scene(90, 60, 0)));
    const auto workers = mediaWorkersOf(daemon().id);
    signalAll(workers, SIGSTOP);
    const auto job = [](unsigned number) {
        return Dictionary::createWithKeys({{"imageData", dataOf(jpegOf(scene(90, 60, number))).get()}});
    };
    const unsigned filling = std::thread::hardware_concurrency() + 4; // more than are saved at a time
    std::vector<Reply> kept;
    for (unsigned i = 1; i <= filling; ++i)
        kept.push_back(send(saveRequest(job(i).get()).get()));
    const auto cancellation = Cancellation::create();
    auto cancelled = send(saveRequest(job(100).get()).get(), cancellation.get());
    kept.push_back(send(saveRequest(job(101).get()).get()));
    waitUntilRead();
    cancellation->cancel();
    EXPECT_TRUE(isCancelled(cancelled));
    waitUntilRead();
    signalAll(workers, SIGCONT);
    for (Reply &each : kept)
        EXPECT_EQ(each.get()->kind(), MessageKind::dictionary);
    // Two jobs of one client may pass each other.
    answer(saveRequest(job(102).get()).get());
    EXPECT_EQ(answer(request(16).get())->getUInt64("photoCount"), filling + 3);
}

TEST_F(CancelledRequest, IsForgottenWhenItWaitsForChanges) {
    ReleaseScope scope;
    const OwnClient client;
    const std::string token = client->changesSinceToken("", 0)->token;
    constexpr int maxOfProcess = 16;
    // Each round takes all the places that the daemon has for a process.
    for (int round = 0; round < 3; ++round) {
        const auto cancellation = Cancellation::create();
        const CancellationScope within(cancellation.get());
        std::atomic<int> ended{0}, wrong{0};
        for (int i = 0; i < maxOfProcess; ++i)
            client->awaitChangesSinceToken(token, 100, 600s, [&](const ChangesPage *, Error *error) {
                wrong += error != nullptr && error->code() == 15 ? 0 : 1;
                ++ended;
            });
        {
            const CancellationScope none(nullptr);
            EXPECT_TRUE(client->changesSinceToken("", 0));
        }
        cancellation->cancel();
        EXPECT_TRUE(waitUntil([&] { return ended == maxOfProcess; }));
        EXPECT_EQ(wrong, 0);
    }
}

TEST_F(CancelledRequest, ReturnsAtOnceFromADaemonThatStandsStill) {
    waitUntilRead();
    const Process process = daemon();
    ASSERT_TRUE(stopProcess(process.id));
    const auto cancellation = Cancellation::create();
    auto asked = std::async(std::launch::async, [&] {
        const CancellationScope scope(cancellation.get());
        return ask(request(16).get());
    });
    EXPECT_EQ(asked.wait_for(20ms), std::future_status::timeout);
    cancellation->cancel();
    EXPECT_TRUE(isCancelled(asked));
    ASSERT_EQ(kill(process.id, SIGCONT), 0);
    waitUntilRead();
}

} // namespace
} // namespace wickerlane::test

namespace wickerlane::hoardd {
namespace {

/// A request that says that it is cancelled when it has been asked `times` times.
class CountingRequest final : public ReceivedMessage {
public:
    explicit CountingRequest(int times) : left(times) {}
    [[nodiscard]] MessageDictionary *message() const noexcept override { return nullptr; }
    [[nodiscard]] MessagePeer *peer() const noexcept override { return nullptr; }
    [[nodiscard]] bool wantsReply() const noexcept override { return true; }
    [[nodiscard]] bool isCancelled() override { return left-- <= 0; }
    [[nodiscard]] bool whenUnwanted(Handler<void()>) override { return true; }
    void reply(MessageDictionary *) override {}
    void replyError(std::string_view, std::int64_t) override {}

private:
    int left;
};

using CancelledWork = OpenLibrary;

/// Cancels work after its first step, its second, and so on, until it comes to its end: a library that is
/// whole at each stop, and in which the work goes on. Returns how many times it was stopped.
int stopsOf(const std::function<Result<>()> &work, const std::function<void()> &lookAtStop) {
    for (int stops = 0; stops < 1'000; ++stops) {
        const auto request = makeRef<CountingRequest>(stops);
        const CurrentCall current(request.get());
        const auto done = work();
        if (done)
            return stops;
        EXPECT_EQ(done.error().kind, ProblemKind::cancelled) << done.error().text;
        if (done.error().kind != ProblemKind::cancelled)
            return stops;
        lookAtStop();
    }
    return -1;
}

TEST_F(CancelledWork, StopsAtTheNextStepAndLeavesWhatWasDone) {
    constexpr int pictures = 3;
    std::vector<std::string> uuids;
    for (unsigned i = 0; i < pictures; ++i)
        uuids.push_back(saved(test::jpegOf(test::scene(90, 60, i))).uuid);

    int remade = 0;
    EXPECT_EQ(stopsOf([&] { return rebuildThumbnails(library()); },
                      [&] {
                          int now = 0;
                          for (const std::string &each : uuids)
                              now += recordOf(each).thumbnailIndex > 1 ? 1 : 0;
                          EXPECT_EQ(now, remade) << "one more with each step that it was given";
                          remade = std::min(now + 1, pictures);
                      }),
              pictures);

    const auto isComplete = [&] {
        return store::AnalysisReader::open(paths)->areMomentsComplete().value_or(false);
    };
    EXPECT_GT(stopsOf([&] { return analyzeChanges(library()); }, [&] { EXPECT_FALSE(isComplete()); }), 1);
    EXPECT_TRUE(isComplete());
    EXPECT_EQ(faults(), "");
}

TEST_F(CancelledWork, SavesWhatWasFoundWhenItIsAskedAgain) {
    constexpr int files = 40; // more than one commit has
    for (unsigned i = 0; i < files; ++i) {
        const std::string path = paths.folder() + "/DCIM/AA/found" + std::to_string(i) + ".JPG";
        writeFile(path, test::jpegOf(test::scene(16, 12, i)));
        test::letSettle(path);
    }
    const auto count = [&] { return library().assets().counts().value().photos; };
    std::uint64_t seen = 0;
    EXPECT_GT(stopsOf([&] { return saveFoundFiles(library()); },
                      [&] {
                          EXPECT_GE(count(), seen);
                          seen = count();
                      }),
              1);
    EXPECT_EQ(count(), files);
    EXPECT_EQ(faults(), "");
}

TEST_F(CancelledWork, RepairsTheRestWhenItIsAskedAgain) {
    std::vector<std::string> thumbnails;
    for (unsigned i = 0; i < 3; ++i)
        thumbnails.push_back(
            paths.thumbnail(saved(test::jpegOf(test::scene(90, 60, i))).uuid, store::ThumbnailSize::small));
    for (const std::string &each : thumbnails)
        std::filesystem::remove(each);
    std::size_t missing = thumbnails.size();
    const auto left = [&] {
        return static_cast<std::size_t>(std::ranges::count_if(
            thumbnails, [](const std::string &each) { return !std::filesystem::exists(each); }));
    };
    EXPECT_GT(stopsOf([&] { return repairLibrary(library()); },
                      [&] {
                          EXPECT_LE(left(), missing);
                          missing = left();
                      }),
              1);
    EXPECT_EQ(left(), 0U);
    EXPECT_EQ(faults(), "");
}

} // namespace
} // namespace wickerlane::hoardd
