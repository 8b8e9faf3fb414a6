// Why a blocking operation has failed, as the client tells its thread.
#include <thread>

#include "tests/client/GatekeeperClient.h"
#include "wickerlane/model/Problem.h"

using namespace wickerlane;
using namespace wickerlane::test;

namespace {

struct LastErrors : GatekeeperClient {
    void answerWith(Ref<MessageValue> reply) {
        connection->answer = [reply = std::move(reply)](const MessageDictionary *) { return reply; };
    }
    void answerWith(const char *text, ProblemKind kind) {
        answerWith(MessageError::create(text, static_cast<std::int64_t>(kind)));
    }
};

} // namespace

TEST_F(LastErrors, SayWhatHappenedAndWhatToDo) {
    struct Case {
        Ref<MessageError> reply;
        ProblemKind kind;
        const char *beginning;
        const char *advice;
    };
    const auto refusal = [](const char *text, ProblemKind kind) {
        return MessageError::create(text, static_cast<std::int64_t>(kind));
    };
    using enum ProblemKind;
    for (const Case &each : {
             Case{MessageError::connectionInvalid(), unreachable, "The daemon hoardd can't be", "installed"},
             Case{MessageError::connectionInterrupted(), ending, "The daemon hoardd ended", "Ask again"},
             Case{refusal("you may not", refused), refused, "you may not. ", "wickerlane consent grant /"},
             Case{refusal("in use", busy), busy, "in use. ", "Try again later."},
             Case{refusal("in use, try again", busy), busy, "in use, try again", "again"},
             Case{refusal("too much", queueFull), queueFull, "too much. ", "Try again later."},
             Case{refusal("no such album", notFound), notFound, "no such album", ""},
             Case{refusal("odd", invalid), invalid, "odd", ""},
             Case{refusal("broken", failed), failed, "broken", ""},
         }) {
        answerWith(each.reply);
        EXPECT_EQ(client->getCurrentModelVersion(), -1);
        const Error *error = JXGatekeeperClient::lastError();
        ASSERT_NE(error, nullptr) << each.beginning;
        EXPECT_EQ(error->domain(), WickerlaneRequestErrorDomain);
        EXPECT_EQ(error->code(), static_cast<std::int64_t>(each.kind)) << each.beginning;
        const std::string text(error->localizedDescription()->utf8());
        EXPECT_TRUE(text.starts_with(each.beginning)) << text;
        EXPECT_NE(text.find(each.advice), text.npos) << text;
    }
}

TEST_F(LastErrors, AreSetByEveryOperationThatBlocks) {
    Array *none = autorelease(MutableArray::create());
    const std::function<void()> operations[] = {
        [&] { std::ignore = client->fileDescriptorForAssetURL(assetURL()); },
        [&] { std::ignore = client->fileURLForAssetURL(assetURL(), true); },
        [&] { std::ignore = client->fileURLForNewAssetWithType(0, String::of("JPG")); },
        [&] { std::ignore = client->imageDataForAsset(objectID(), 1); },
        [&] { std::ignore = client->assetsMatchingQuery({}); },
        [&] { std::ignore = client->sectionsOfAssets({}, SectionUnit::day); },
        [&] { std::ignore = client->countOfAssets({}); },
        [&] { std::ignore = client->trashMatchingQuery({}); },
        [&] { std::ignore = client->renditionOfAsset(assetURL()); },
        [&] { std::ignore = client->companionsOfPhotos(none); },
        [&] { std::ignore = client->albums(); },
        [&] { std::ignore = client->momentLists(); },
        [&] { std::ignore = client->cloudFeed(); },
        [&] { std::ignore = client->momentsMatchingQuery({}); },
        [&] { std::ignore = client->duplicatesMatchingQuery({}); },
        [&] { std::ignore = client->changesSinceToken("", 1); },
        [&] { std::ignore = client->awaitChangesSinceToken("", 1, std::chrono::seconds(1)); },
        [&] { std::ignore = client->saveAssets(none); },
        [&] { std::ignore = client->revertAsset(assetURL()); },
        [&] { client->updateThumbnailsForPhotos(none, true, false, false); },
        [&] { std::ignore = client->videoMetadataAtPath(String::of("/a")); },
        [&] { std::ignore = client->adjustDatesBySeconds(1, none); },
        [&] { std::ignore = client->setDetails(autorelease(MutableDictionary::create()), none); },
        [&] { std::ignore = client->renameAlbumWithUUID(String::of("U"), String::of("n")); },
        [&] { std::ignore = client->deleteAlbumWithUUID(String::of("U")); },
        [&] { std::ignore = client->removePhotos(none, String::of("U")); },
        [&] { client->createPixholdDatabase(); },
        [&] { client->importFileSystemAssetsWaitingForReply(true); },
        [&] { std::ignore = client->secondsNeededToCleanupModelAfterHarborsyncRestore(); },
        [&] { client->repairSingletonObjects(); },
        [&] { client->rebuildMomentsIncremental(true); },
        [&] { client->analyzeAllMoments(); },
        [&] { client->setAreDuplicates(true, none); },
        [&] { client->createSnapriverAlbumWithStreamID(String::of("s")); },
        [&] { std::ignore = client->getCurrentBulletins(); },
        [&] { std::ignore = client->attemptToPurgeSharedAssetsSpace(1); },
        [&] { std::ignore = client->emailAddressForKey(1); },
        [&] { std::ignore = client->personInfoDictionaryForPersonID(String::of("p")); },
    };
    for (std::size_t i = 0; i < std::size(operations); ++i) {
        answerWith("gone", ProblemKind::notFound);
        operations[i]();
        const Error *error = JXGatekeeperClient::lastError();
        EXPECT_TRUE(error != nullptr && error->code() == 2) << i;
        answerWith(MessageDictionary::create()); // says nothing, which is an answer
        operations[i]();
        EXPECT_EQ(JXGatekeeperClient::lastError(), nullptr) << i;
    }
}

TEST_F(LastErrors, BelongToTheirThreads) {
    answerWith("gone", ProblemKind::notFound);
    std::ignore = client->getCurrentModelVersion();
    Error *mine = JXGatekeeperClient::lastError();
    ASSERT_NE(mine, nullptr);
    std::thread([&] {
        const ReleaseScope threadScope;
        EXPECT_EQ(JXGatekeeperClient::lastError(), nullptr);
        answerWith("odd", ProblemKind::invalid);
        std::ignore = client->getCurrentModelVersion();
        EXPECT_EQ(JXGatekeeperClient::lastError()->code(), 1);
    }).join();
    EXPECT_EQ(JXGatekeeperClient::lastError(), mine);
    const auto answered = Semaphore::create(0);
    client->requestAccessWithHandler([&](bool, Error *) { answered->signal(); });
    answered->wait();
    EXPECT_EQ(JXGatekeeperClient::lastError(), mine);
}
