// Why a blocking operation has failed, as the client tells its thread.
#include <thread>

#include "tests/client/GatekeeperClient.h"
#include "wickerlane/model/Problem.h"
#include "wickerlane/platform/message/listener/MessageListener.h"
#include "wickerlane/platform/process/ProcessFacts.h"
#include "wickerlane/protocol/AlbumRows.h"
#include "wickerlane/protocol/AssetRows.h"
#include "wickerlane/protocol/ServiceName.h"
#include "wickerlane/testing/ScriptedDaemon.h"

using namespace wickerlane;
using namespace wickerlane::test;
using Reaction = ScriptedReaction;

namespace {

struct LastErrors : ::testing::Test {
    const ReleaseScope scope;
    ScriptedDaemon daemon;
    const OwnClient client;

    LastErrors() { allowLastingDescriptors(readerDescriptors); }
};

} // namespace

TEST_F(LastErrors, SayWhatHappenedAndWhatToDo) {
    struct Case {
        Reaction reaction;
        ProblemKind kind;
        const char *beginning;
        const char *advice;
    };
    const auto refusal = [](ProblemKind kind, const char *text) { return Reaction::failure(kind, text); };
    using enum ProblemKind;
    for (const Case &each : {
             Case{Reaction::death(), ending, "The daemon hoardd ended", "Ask again"},
             Case{refusal(refused, "you may not"), refused, "you may not. ", "wickerlane consent grant /"},
             Case{refusal(busy, "in use"), busy, "in use. ", "Try again later."},
             Case{refusal(busy, "in use, try again"), busy, "in use, try again", "again"},
             Case{refusal(queueFull, "too much"), queueFull, "too much. ", "Try again later."},
             Case{refusal(notFound, "no such album"), notFound, "no such album", ""},
             Case{refusal(invalid, "odd"), invalid, "odd", ""},
             Case{refusal(failed, "broken"), failed, "broken", ""},
             Case{Reaction::answer(), unreachable, "The daemon hoardd can't be", "installed"},
         }) {
        daemon.onAllElse(each.reaction);
        if (each.kind == unreachable)
            daemon.stop();
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

TEST_F(LastErrors, SayThatTheDaemonIsOlder) {
    daemon.stop();
    const PeerVersion own = PeerVersion::own();
    const struct {
        PeerVersion daemon;
        ProblemKind kind;
        const char *text;
        const char *shown;
    } cases[] = {
        {{},
         ProblemKind::invalid,
         "there is no operation 69",
         "older (version 0.9 or older) than this program's"},
        {{}, ProblemKind::invalid, "\"name\" is missing", "\"name\" is missing"},
        {{}, ProblemKind::failed, "there is no operation 69", "there is no operation 69"},
        {own, ProblemKind::invalid, "there is no operation 69", "there is no operation 69"},
    };
    for (const auto &[version, kind, text, shown] : cases) {
        MessageListener::Options options;
        options.version = version;
        const auto older = MessageListener::create(
            WickerlaneGatekeeperName, nullptr,
            [&text = text, &kind = kind](ReceivedMessage *received) {
                received->replyError(text, static_cast<std::int64_t>(kind));
            },
            options);
        ASSERT_TRUE(older != nullptr && older->resume());
        const OwnClient asking;
        EXPECT_EQ(asking->getCurrentModelVersion(), -1);
        const Error *error = JXGatekeeperClient::lastError();
        ASSERT_NE(error, nullptr) << text;
        EXPECT_EQ(error->code(), static_cast<std::int64_t>(kind)) << text;
        const std::string said(error->localizedDescription()->utf8());
        EXPECT_NE(said.find(shown), said.npos) << said;
        EXPECT_EQ(said.find("wickerlane daemon restart") != said.npos, std::string_view(shown) != text)
            << said;
        older->cancel();
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
        daemon.onAllElse(Reaction::failure(ProblemKind::notFound, "gone"));
        operations[i]();
        const Error *error = JXGatekeeperClient::lastError();
        EXPECT_TRUE(error != nullptr && error->code() == 2) << i;
        daemon.onAllElse(Reaction::answer()); // says nothing, which is an answer
        operations[i]();
        EXPECT_EQ(JXGatekeeperClient::lastError(), nullptr) << i;
    }
}

TEST_F(LastErrors, TellWhyAnAssetWasLeftAsItIs) {
    const auto data = Data::create("a", 1);
    const struct {
        const protocol::Row &row;
        std::function<bool()> ask;
        const char *entitlement; ///< Null when none is needed.
    } operations[] = {
        {protocol::addAssetToAlbum, [&] { return client->addAsset(assetURL(), String::of("U")); }, nullptr},
        {protocol::deleteAsset, [&] { return client->deleteAsset(assetURL()); }, "delete-assets"},
        {protocol::removeAsset, [&] { return client->removeAsset(assetURL()); }, "delete-assets"},
        {protocol::restoreTrashedAsset, [&] { return client->restoreTrashedAsset(assetURL()); },
         "delete-assets"},
        {protocol::emptyTrash, [&] { return client->emptyTrash(); }, "delete-assets"},
        {protocol::setLargePreviewImage,
         [&] { return client->setLargePreviewImage(assetURL(), data.get(), nullptr); }, "write-assets"},
        {protocol::setExternalUsageIntent, [&] { return client->setUsageIntent(1, assetURL()); }, nullptr},
    };
    using enum ProblemKind;
    for (const auto &[row, ask, entitlement] : operations) {
        const std::string grant = entitlement != nullptr
                                      ? "wickerlane entitlement grant " + ownExecutable() + ' ' + entitlement
                                      : "wickerlane consent grant " + ownExecutable();
        const auto expect = [&row = row, &ask = ask](ProblemKind kind, std::string_view beginning,
                                                     std::string_view end) {
            EXPECT_FALSE(ask()) << row.name;
            const Error *error = JXGatekeeperClient::lastError();
            ASSERT_NE(error, nullptr) << row.name;
            EXPECT_EQ(error->code(), static_cast<std::int64_t>(kind)) << row.name;
            const std::string text(error->localizedDescription()->utf8());
            EXPECT_TRUE(text.starts_with(beginning) && text.ends_with(end)) << row.name << ": " << text;
        };
        const struct {
            ProblemKind kind;
            const char *text;
            std::string advice;
        } cases[] = {
            {notFound, "there is no such asset",
             ". It may have been deleted meanwhile: ask for the list again."},
            {busy, "the asset is being saved", ". Try again later."},
            {noSpace, "can't write /a", ". Free some space on the library's disk, then try again."},
            {refused, entitlement != nullptr ? "" : "you may not", grant},
            {invalid, "the picture is empty", "the picture is empty"},
        };
        for (const auto &each : cases) {
            daemon.on(row, Reaction::failure(each.kind, each.text));
            expect(each.kind, each.text, each.advice);
        }
        auto silent = Reaction::answer().with(protocol::keys::success, false); // an older daemon
        if (entitlement != nullptr)
            silent.with(protocol::keys::hasEntitlement, true);
        daemon.on(row, std::move(silent));
        expect(failed, "hoardd did not ", "hoardd's log.");
    }
}

TEST_F(LastErrors, BelongToTheirThreads) {
    daemon.onAllElse(Reaction::failure(ProblemKind::notFound, "gone"));
    std::ignore = client->getCurrentModelVersion();
    Error *mine = JXGatekeeperClient::lastError();
    ASSERT_NE(mine, nullptr);
    std::thread([&] {
        const ReleaseScope threadScope;
        EXPECT_EQ(JXGatekeeperClient::lastError(), nullptr);
        daemon.onAllElse(Reaction::failure(ProblemKind::invalid, "odd"));
        std::ignore = client->getCurrentModelVersion();
        EXPECT_EQ(JXGatekeeperClient::lastError()->code(), 1);
    }).join();
    EXPECT_EQ(JXGatekeeperClient::lastError(), mine);
    const auto answered = Semaphore::create(0);
    client->requestAccessWithHandler([&](bool, Error *) { answered->signal(); });
    answered->wait();
    EXPECT_EQ(JXGatekeeperClient::lastError(), mine);
}
