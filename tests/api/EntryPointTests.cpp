// The entry points with a scripted daemon.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <functional>
#include <limits>

#include "tests/api/FromC.h"
#include "tests/api/HandlerCode.h"
#include "tests/api/WaitingCalls.h"
#include "tests/client/FakeConnection.h"
#include "tests/support/Console.h"
#include "tests/support/Descriptors.h"
#include "wickerlane/api/Wickerlane.h"
#include "wickerlane/client/JXGatekeeperClient.h"
#include "wickerlane/message/JXMsgUtilities.h"
#include "wickerlane/platform/notification/Notification.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/store/LibraryPaths.h"
#include "wickerlane/store/Sqlite.h"

using namespace wickerlane;
using namespace wickerlane::test;
namespace fs = std::filesystem;

namespace {

class EntryPoints : public ::testing::Test {
protected:
    void SetUp() override {
        allowLastingDescriptors(folderWatchDescriptors);
        real = JXGatekeeperClient::sharedInstance()->connection();
        JXGatekeeperClient::sharedInstance()->setConnection(&fake);
    }
    void TearDown() override { JXGatekeeperClient::sharedInstance()->setConnection(real); }

    void answerWith(std::function<void(MessageDictionary *)> fill) {
        fake.answer = [fill = std::move(fill)](const MessageDictionary *) {
            auto reply = MessageDictionary::create();
            fill(reply.get());
            return Ref<MessageValue>(reply);
        };
    }
    void failWith(MessageError *error) {
        fake.answer = [error](const MessageDictionary *) { return Ref<MessageValue>(error); };
    }

    FakeConnection fake;
    MessageConnection *real = nullptr;
    ReleaseScope scope;
};

TEST_F(EntryPoints, WorkFromC) {
    failWith(MessageError::connectionInvalid());
    const char *fault = faultOfAccessors();
    EXPECT_EQ(fault, nullptr) << fault;
}

TEST_F(EntryPoints, TimeLimitsAreSecondsOfTheProcessAndTheThread) {
    using namespace std::chrono_literals;
    constexpr double beyond = std::numeric_limits<double>::infinity();
    for (const auto &[seconds, limit] :
         {std::pair{1.5, 1500ms}, std::pair{0.0, 0ms}, std::pair{std::nan(""), 0ms}}) {
        WLSetTimeLimit(seconds);
        EXPECT_EQ(fake.timeLimit, limit);
        WLSetTimeLimitOfThread(seconds);
        EXPECT_EQ(ReplyTimeLimit::ofThread(), std::optional<std::chrono::nanoseconds>(limit));
    }
    WLSetTimeLimit(beyond);
    EXPECT_GT(fake.timeLimit, 24h * 365);
    WLSetTimeLimit(-1);
    EXPECT_EQ(fake.timeLimit, 0ms);
    WLSetTimeLimitOfThread(-1);
    EXPECT_EQ(ReplyTimeLimit::ofThread(), std::nullopt);
}

TEST_F(EntryPoints, CountsAreNumbersOrNull) {
    const struct {
        std::optional<std::uint64_t> photos, videos;
        bool hasPhoto;
    } cases[] = {
        {{}, {}, false}, {0, 0, false}, {0, 5, false},          {{}, 5, false},
        {1, {}, true},   {3, 4, true},  {0x7fffffffU, 0, true}, {0x80000000U, 0, false}, // read as 32 bits
    };
    for (const auto &each : cases) {
        answerWith([&](MessageDictionary *reply) {
            if (each.photos)
                reply->setUInt64("photoCount", *each.photos);
            if (each.videos)
                reply->setUInt64("videoCount", *each.videos);
        });
        const auto answered = Semaphore::create(0);
        RZGetPhotosAndVideosCount([&](const Number *photoCount, const Number *videoCount) {
            EXPECT_EQ(photoCount != nullptr ? std::optional(photoCount->uint64Value()) : std::nullopt,
                      each.photos);
            EXPECT_EQ(videoCount != nullptr ? std::optional(videoCount->uint64Value()) : std::nullopt,
                      each.videos);
            answered->signal();
        });
        answered->wait();
        RZHasAtLeastOnePhoto([&](bool answer) {
            EXPECT_EQ(answer, each.hasPhoto) << each.photos.value_or(99);
            answered->signal();
        });
        answered->wait();
    }
    failWith(MessageError::connectionInterrupted());
    const auto answered = Semaphore::create(0);
    RZHasAtLeastOnePhoto([&](bool answer) {
        EXPECT_FALSE(answer);
        answered->signal();
    });
    answered->wait();
    EXPECT_EQ(fake.sent.back().mode, "async on global");
    EXPECT_EQ(fake.sent.back().text, "operation:int64=16");
}

TEST_F(EntryPoints, NullHandlersSendNothing) {
    RZGetPhotosAndVideosCount(nullptr);
    RZHasAtLeastOnePhoto(std::function<void(bool)>());
    RZGetLibrarySizes(WorkQueue::global(), 15, nullptr);
    RZGetLibrarySizes(nullptr, 15, [](std::uint32_t, std::uint64_t) {});
    EXPECT_TRUE(fake.sent.empty());

    int released = 0;
    const auto release = [](void *count) { ++*static_cast<int *>(count); };
    RZGetPhotosAndVideosCount(nullptr, &released, release);
    RZHasAtLeastOnePhoto(nullptr, &released, release);
    RZGetLibrarySizes(WorkQueue::global(), 15, nullptr, &released, release);
    EXPECT_EQ(released, 3) << "the contexts go all the same";
}

TEST_F(EntryPoints, AContextIsReleasedAfterItsHandlerHasRun) {
    struct Context {
        Ref<Semaphore> released = Semaphore::create(0);
        std::string seen;
    } context;
    RZGetPhotosAndVideosCount(
        [](void *given, WLNumber *, WLNumber *) { static_cast<Context *>(given)->seen += "called "; },
        &context,
        [](void *given) {
            static_cast<Context *>(given)->seen += "released";
            static_cast<Context *>(given)->released->signal();
        });
    context.released->wait();
    EXPECT_EQ(context.seen, "called released");
}

TEST_F(EntryPoints, EachRequestedSizeIsReportedOnce) {
    constexpr std::uint64_t unknown = ~std::uint64_t{0};
    using Sizes = std::vector<std::pair<std::uint32_t, std::uint64_t>>;
    const struct {
        std::uint32_t mask;
        Sizes reported, answered;
    } cases[] = {
        {0, {{1, 10}}, {}},
        {5, {{1, 10}}, {{1, 10}, {4, unknown}}},
        {15, {{8, 80}, {2, 20}, {1, 10}, {4, 40}}, {{8, 80}, {2, 20}, {1, 10}, {4, 40}}},
        {2, {{1, 10}, {8, 80}}, {{2, unknown}}},
        {15, {}, {{1, unknown}, {2, unknown}, {4, unknown}, {8, unknown}}},
        {3, {{3, 30}, {1, 10}}, {{3, 30}}},             // a kind with two bits counts for both
        {1, {{3, 30}, {1, 10}}, {{1, 10}}},             // but only when both are requested
        {0x31, {{0x20, 7}}, {{0x20, 7}, {1, unknown}}}, // kinds above 8 may be missing
        {1, {{0, 5}, {1, 10}}, {{0, 5}, {1, 10}}},      // no bit is part of every mask
        {1, {{1, 10}, {0, 5}}, {{1, 10}}},              // but one that has been answered
        {0, {{0, 5}}, {}},
    };
    for (const auto &[mask, reported, answered] : cases) {
        answerWith([&reported = reported](MessageDictionary *reply) {
            const auto sizes = MutableDictionary::create();
            for (const auto &[kind, bytes] : reported)
                sizes->set(std::to_string(kind), Number::of(bytes));
            JXMsgDictionarySetDictionary(reply, "sizes", sizes.get());
        });
        const auto queue = WorkQueue::create("sizes");
        Sizes seen;
        RZGetLibrarySizes(queue.get(), mask,
                          [&](std::uint32_t kind, std::uint64_t bytes) { seen.emplace_back(kind, bytes); });
        fake.delivered->wait();
        queue->sync([] {});
        EXPECT_EQ(seen, answered) << mask;
    }
    EXPECT_EQ(fake.sent.back().text, "operation:int64=56");

    failWith(MessageError::connectionInvalid());
    const auto queue = WorkQueue::create("sizes");
    Sizes seen;
    RZGetLibrarySizes(queue.get(), 9,
                      [&](std::uint32_t kind, std::uint64_t bytes) { seen.emplace_back(kind, bytes); });
    fake.delivered->wait();
    queue->sync([] {});
    EXPECT_EQ(seen, (Sizes{{1, unknown}, {8, unknown}}));
}

TEST_F(EntryPoints, RepliesThatAreNoErrorMayStillRefuse) {
    const auto data = Ref<WLData>::adopt(WLDataCreate("a", 1));
    const auto job = Ref<WLSaveJob>::adopt(WLSaveJobCreateWithData(data.get()));
    AssetRecord record;
    record.uuid = "00000000-0000-4000-8000-000000000001";
    const auto asset = ManagedAsset::create(record, "/", "STORE");
    WLError *error = nullptr;
    const auto save = [&] { return WLSaveJobRun(job.get(), &error) != nullptr; };
    const auto addAlbum = [&] { return WLAlbumAdd("a", &error) != nullptr; };
    const auto remove = [&] { return WLAssetDelete(asset.get(), &error); };
    const struct {
        std::vector<const char *> keys; ///< Those that are true.
        std::function<bool()> ask;
        std::int64_t code;
    } cases[] = {
        {{}, save, WLErrorFailed},
        {{"noData"}, save, WLErrorEmpty},
        {{"jobQueueFull"}, save, WLErrorQueueFull},
        {{}, addAlbum, WLErrorFailed},
        {{"nameTaken"}, addAlbum, WLErrorExists},
        {{}, remove, WLErrorRefused},
        {{"hasEntitlement"}, remove, WLErrorFailed},
        {{}, [&] { return WLTrashRestore(asset->assetURL(), &error); }, WLErrorRefused},
        {{}, [&] { return WLTrashEmpty(&error); }, WLErrorRefused},
        {{}, [&] { return WLAssetSetEdit(asset.get(), data.get(), nullptr, &error); }, WLErrorRefused},
        {{}, [&] { return WLHasAccess(&error); }, WLErrorFailed},
        {{}, [&] { return WLSaveJobsRun(Array::of({job.get()}), &error) != nullptr; }, WLErrorFailed},
        {{}, [&] { return WLBulletinsCreate(&error) != nullptr; }, WLErrorFailed},
        {{}, [&] { return WLAssetSetExternalUsageIntent(asset.get(), 1, &error); }, WLErrorFailed},
        {{}, [&] { return WLAlbumAddAsset("a", asset.get(), &error); }, WLErrorFailed},
        {{}, [&] { return WLAssetOpenOriginal(asset.get(), &error) >= 0; }, WLErrorFailed},
        {{}, [&] { return WLAssetCreatePicture(asset.get(), 0, &error) != nullptr; }, WLErrorFailed},
    };
    for (const auto &[keys, ask, code] : cases) {
        answerWith([&keys = keys](MessageDictionary *reply) {
            for (const char *key : keys)
                reply->setBool(key, true);
        });
        error = nullptr;
        EXPECT_FALSE(ask()) << fake.sent.back().text;
        ASSERT_NE(error, nullptr) << fake.sent.back().text;
        EXPECT_EQ(WLErrorCode(error), code) << fake.sent.back().text;
    }
}

TEST_F(EntryPoints, HandlersGetTheReasons) {
    const auto data = Ref<WLData>::adopt(WLDataCreate("a", 1));
    const auto job = Ref<WLSaveJob>::adopt(WLSaveJobCreateWithData(data.get()));
    AssetRecord record;
    record.uuid = "00000000-0000-4000-8000-000000000001";
    const auto asset = ManagedAsset::create(record, "/", "STORE");
    const auto save = [&] {
        return codeFrom<WLSavedAsset *>(
            [&](const auto &handler) { WLSaveJobRunWithHandler(job.get(), handler); });
    };
    const auto saveAll = [&] {
        return codeFrom<WLArray *>(
            [&](const auto &handler) { WLSaveJobsRunWithHandler(Array::of({job.get()}), handler); });
    };
    const auto remove = [&] {
        return codeFrom([&](const auto &handler) { WLAssetDeleteWithHandler(asset.get(), handler); });
    };
    const auto access = [] { return codeFrom([](const auto &handler) { WLRequestAccess(handler); }); };
    const auto add = [] {
        return codeFrom<WLString *>([](const auto &handler) { WLAlbumAddWithHandler("a", handler); });
    };
    const struct {
        std::function<void(MessageDictionary *)> reply; ///< Null: there is no daemon.
        std::function<std::int64_t()> ask;
        std::int64_t code;
    } cases[] = {
        {[](auto *reply) { reply->setBool("noData", true); }, save, WLErrorEmpty},
        {[](auto *reply) { reply->setBool("jobQueueFull", true); }, save, WLErrorQueueFull},
        {[](auto *) {}, save, WLErrorFailed},
        {nullptr, save, WLErrorUnreachable},
        {[](auto *) {}, saveAll, WLErrorFailed},
        {nullptr, saveAll, WLErrorUnreachable},
        {[](auto *) {}, remove, WLErrorRefused},
        {[](auto *reply) { reply->setBool("hasEntitlement", true); }, remove, WLErrorFailed},
        {[](auto *reply) { reply->setInt64("authorized", 1); }, access, WLErrorRefused},
        {nullptr, access, WLErrorUnreachable},
        {[](auto *reply) { reply->setBool("nameTaken", true); }, add, WLErrorExists},
        {nullptr, add, WLErrorUnreachable},
        {nullptr, remove, WLErrorUnreachable},
        {[](auto *reply) { reply->setInt64("problemKind", WLErrorBusy); }, remove, WLErrorBusy},
        {[](auto *reply) { reply->setInt64("problemKind", WLErrorRefused); }, remove, WLErrorRefused},
    };
    for (const auto &[reply, ask, code] : cases) {
        if (reply)
            answerWith(reply);
        else
            failWith(MessageError::connectionInvalid());
        EXPECT_EQ(ask(), code) << fake.sent.back().text;
    }
    const std::size_t sent = fake.sent.size();
    EXPECT_EQ(codeFrom<WLSavedAsset *>([](const auto &h) { WLSaveJobRunWithHandler(nullptr, h); }),
              WLErrorInvalid);
    EXPECT_EQ(codeFrom([](const auto &h) { WLTrashRestoreWithHandler(nullptr, h); }), WLErrorInvalid);
    WLRequestAccess(nullptr);
    WLTrashEmptyWithHandler(nullptr);
    WLAssetDeleteWithHandler(asset.get(), nullptr);
    WLAlbumAddWithHandler("a", nullptr);
    EXPECT_EQ(fake.sent.size(), sent) << "these send nothing";
}

TEST_F(EntryPoints, SayThatThereIsNoDaemon) {
    failWith(MessageError::connectionInvalid());
    AssetRecord record;
    record.uuid = "00000000-0000-4000-8000-000000000001";
    const auto asset = ManagedAsset::create(record, "/", "STORE");
    consoleOf([&] {
        for (const auto &[name, call] : waitingCalls(asset.get(), asset.get())) {
            WLError *error = nullptr;
            std::ignore = call(&error);
            EXPECT_EQ(WLErrorCode(error), WLErrorUnreachable) << name;
            std::ignore = call(nullptr);
        }
    });
}

TEST_F(EntryPoints, MigrationIsEstimatedByTheStoresCount) {
    const store::LibraryPaths paths;
    EXPECT_EQ(RZSecondsNeededToMigrateStore(), 1) << "no library yet";
    fs::create_directories(fs::path(paths.database()).parent_path());
    auto database = sqlite::Database::open(paths.database(), sqlite::Database::Access::write);
    ASSERT_TRUE(database && database->execute("CREATE TABLE zgenericasset (pk INTEGER PRIMARY KEY);"));
    const struct {
        int assets, seconds;
    } cases[] = {{0, 1}, {99, 1}, {100, 1}, {165, 1}, {166, 2}, {8299, 99}, {8300, 100}};
    for (const auto &[assets, seconds] : cases) {
        auto insert =
            database->prepare("WITH RECURSIVE n(i) AS (SELECT (SELECT count(*) FROM zgenericasset) + 1 "
                              "UNION ALL SELECT i + 1 FROM n) "
                              "INSERT INTO zgenericasset SELECT i FROM n LIMIT ? - (SELECT count(*) "
                              "FROM zgenericasset)");
        ASSERT_TRUE(insert.bind(assets).run()) << database->problem().text;
        EXPECT_EQ(RZSecondsNeededToMigrateStore(), seconds) << assets;
    }
    ASSERT_TRUE(database->execute("DROP TABLE zgenericasset;"));
    EXPECT_EQ(RZSecondsNeededToMigrateStore(), 30) << "what can't be read";
    EXPECT_TRUE(fake.sent.empty()) << "the daemon is not asked";
}

TEST_F(EntryPoints, UpkeepIsForwarded) {
    answerWith([](MessageDictionary *reply) { reply->setInt64("seconds", 7); });
    EXPECT_EQ(RZSecondsNeededToCleanupModelAfterHarborsyncRestore(), 7);
    RZCleanupModelAfterHarborsyncRestore();
    RZRepairPotentialModelCorruption();
    RZDataMigrationWillFinish();
    for (const std::size_t i : {0U, 1U, 2U, 3U}) {
        EXPECT_EQ(fake.sent.at(i).mode, "sync");
        EXPECT_EQ(fake.sent.at(i).text, "operation:int64=" + std::to_string(25 + i));
    }
    failWith(MessageError::connectionInterrupted());
    consoleOf([] { EXPECT_EQ(RZSecondsNeededToCleanupModelAfterHarborsyncRestore(), 1); });
}

TEST_F(EntryPoints, ExportEstimatesAreForwarded) {
    answerWith([](MessageDictionary *reply) { reply->setInt64("fileLength", 1234); });
    const auto properties = Dictionary::createWithKeys({{"a", Number::of(1)}});
    EXPECT_EQ(RZEstimatedOutputFileLength(URL::of("rez-vault://v"), String::of("/a.mov"),
                                          String::of("medium"), properties.get()),
              1234);
    EXPECT_EQ(fake.sent.at(0).mode, "sync");
    EXPECT_EQ(fake.sent.at(0).text, "operation:int64=70 videoURL:string=rez-vault://v "
                                    "fallbackFilePath:string=/a.mov exportPreset:string=medium "
                                    "exportProperties:list={ a = 1;}");
}

TEST_F(EntryPoints, AnUnregisteredHandlerIsNotCalled) {
    const auto queue = WorkQueue::create("changes");
    const auto called = Semaphore::create(0);
    int calls = 0;
    const Ref<Number> token = RZRegisterForPhotosAndVideosCount(
        [&] {
            ++calls;
            called->signal();
        },
        queue.get());
    ASSERT_TRUE(token);
    EXPECT_EQ(token->kind(), Number::Kind::signedInteger);
    ASSERT_TRUE(postNotification("RZPhotosAndVideosCount"));
    called->wait();
    EXPECT_EQ(consoleOf([&] {
                  RZUnregisterForPhotosAndVideosCount(token.get());
                  RZUnregisterForPhotosAndVideosCount(nullptr);
              }),
              "");
    // Another registration shows when the notification has been delivered.
    const auto other = Semaphore::create(0);
    const Ref<Number> second =
        RZRegisterForPhotosAndVideosCount([&] { other->signal(); }, WorkQueue::global());
    ASSERT_TRUE(postNotification("RZPhotosAndVideosCount"));
    other->wait();
    queue->sync([&] { EXPECT_EQ(calls, 1); });
    RZUnregisterForPhotosAndVideosCount(second.get());
}

TEST_F(EntryPoints, FailedRegistrationsAreLogged) {
    const std::string invalid = std::to_string(EINVAL);
    int released = 0;
    const auto release = [](void *count) { ++*static_cast<int *>(count); };
    EXPECT_EQ(
        consoleOf([&] {
            EXPECT_EQ(RZRegisterForPhotosAndVideosCount([] {}, nullptr), nullptr);
            EXPECT_EQ(RZRegisterForPhotosAndVideosCount(nullptr, &released, release, WorkQueue::global()),
                      nullptr);
        }),
        "registerNotification() failed for RZRegisterForPhotosAndVideosCount(). (" + invalid +
            ")\nregisterNotification() failed for RZRegisterForPhotosAndVideosCount(). (" + invalid + ")\n");
    EXPECT_EQ(released, 1);
    EXPECT_EQ(consoleOf([] { RZUnregisterForPhotosAndVideosCount(Number::of(4711)); }),
              "cancelNotification() failed for RZUnregisterForPhotosAndVideosCount(). (" + invalid + ")\n");
}

} // namespace
