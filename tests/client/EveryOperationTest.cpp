// Every operation of the families beyond the spine: what travels, in which mode, and what becomes of each
// kind of reply, as one table. Keys, codes and texts are spelled out, since a table that both ends share
// could not catch its own mistakes.
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "tests/client/FakeConnection.h"
#include "tests/client/OwnClient.h"
#include "tests/support/Console.h"
#include "tests/support/Descriptors.h"
#include "wickerlane/client/JXGatekeeperClient.h"
#include "wickerlane/message/JXMsgUtilities.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/ReleaseScope.h"

using namespace wickerlane;
using test::consoleOf;
using test::FakeConnection;
using test::onOneLine;

namespace {

std::string shown(bool value, const Error *error) {
    return std::string(value ? "yes " : "no ") + (error != nullptr ? std::to_string(error->code()) : "null");
}

struct Thing final : Object, ManagedObject, Photo {
    Ref<ManagedObjectID> identity;
    explicit Thing(bool isTemporary = false)
        : identity(ManagedObjectID::create(URL::of("x-hoard://s/Thing/p1"), isTemporary)) {}
    [[nodiscard]] ManagedObjectID *objectID() const override { return identity.get(); }
    [[nodiscard]] String *uuid() const override { return String::of("U-1"); }
};

URL *assetURL() {
    return URL::of("rez-vault://a");
}

Dictionary *oneEntry() {
    return autorelease(Dictionary::createWithKeys({{"k", String::of("v")}}));
}

using Client = JXGatekeeperClient;
/// What a call gave, or a handler was given; unset as long as no handler was called.
using Result = std::optional<std::string>;

struct Case {
    const char *name;
    std::function<void(Client *, Result &)> call;
    const char *mode; ///< "none", "sync", "async", or both for the one that travels twice.
    const char *sent;
    std::function<void(MessageDictionary *)> fill = nullptr; ///< A reply with all its keys.
    const char *onValue = "", *onEmpty = "", *onStray = "", *onError = "";
    const char *console = ""; ///< On an error; %@ stands for its description.
};

constexpr const char *notCalled = nullptr;

void expect(const Result &result, const char *expected) {
    if (expected == notCalled)
        EXPECT_FALSE(result) << *result;
    else
        EXPECT_EQ(result.value_or(""), expected);
}

TEST(EveryOperation, SendsItsKeysInOrderAndReadsEachKindOfReply) {
    test::allowLastingDescriptors(8); // of the log system, which an operation asks
    ReleaseScope scope;
    const auto thing = makeRef<Thing>();
    const auto unsaved = makeRef<Thing>(true);
    const auto photos = Array::of({thing.get(), String::of("no photo"), thing.get()});
    const auto paths = Array::of({String::of("/a")});
    const auto data = Data::create("xy", 2);
    const auto text = [](const char *value) { return String::of(value); };
    const auto answered = [](const char *key, auto value) {
        return [=](MessageDictionary *reply) {
            if constexpr (std::is_same_v<decltype(value), bool>)
                reply->setBool(key, value);
            else if constexpr (std::is_same_v<decltype(value), std::int64_t>)
                reply->setInt64(key, value);
            else
                reply->setString(key, value);
        };
    };
    const auto int64 = [](std::int64_t value) { return value; };

    const Case cases[] = {
        // Asset files and saves
        {"large preview",
         [&](Client *c, Result &r) {
             c->setLargePreviewImageForAssetWithURL(assetURL(), data.get(), oneEntry(),
                                                    [&](bool s, Error *e) { r = shown(s, e); });
         },
         "sync async",
         "operation:int64=17 assetURL:string=rez-vault://a imageData:data=xy "
         "properties:list={ k = v;}",
         [](auto *r) { r->setBool("success", true), r->setBool("hasEntitlement", true); }, "yes null", "no 3",
         "no 3", "no null", "Can't set edited rendition for asset (%@)\n"},
        {"thumbnails, awaited",
         [&](Client *c, Result &) { c->updateThumbnailsForPhotos(photos, true, true, false); }, "sync",
         "operation:int64=18 photoUUIDs:list=( U-1, U-1) assignNewIndex:bool=true "
         "forceRefresh:bool=false waitingForReply:bool=true"},
        {"thumbnails", [&](Client *c, Result &) { c->updateThumbnailsForPhotos(photos, false, false, true); },
         "none",
         "operation:int64=18 photoUUIDs:list=( U-1, U-1) assignNewIndex:bool=false "
         "forceRefresh:bool=true waitingForReply:bool=false"},
        {"preview well", [&](Client *c, Result &) { c->updateCameraPreviewWellImage(thing.get()); }, "none",
         "operation:int64=19 objectID:string=x-hoard://s/Thing/p1"},
        {"empty preview well", [](Client *c, Result &) { c->updateCameraPreviewWellImage(nullptr); }, "none",
         "operation:int64=19"},
        {"restored asset", [&](Client *c, Result &) { c->updateRestoredAssetWithUUID(text("U"), paths); },
         "async", "operation:int64=21 assetUUID:string=U assetPaths:array=[string=/a]"},
        {"restored asset without UUID",
         [&](Client *c, Result &) { c->updateRestoredAssetWithUUID(nullptr, nullptr); }, "async",
         "operation:int64=21 assetUUID:string="},
        {"background write",
         [&](Client *c, Result &) { c->writeDataInBackground(data.get(), URL::of("file:///a")); }, "none",
         "operation:int64=24 dataToSave:data=xy destinationURL:string=file:///a"},
        {"estimate",
         [&](Client *c, Result &r) {
             r = std::to_string(c->estimatedOutputFileLengthForVideoURL(URL::of("file:///v"), text("/f"),
                                                                        text("P"), oneEntry()));
         },
         "sync",
         "operation:int64=70 videoURL:string=file:///v fallbackFilePath:string=/f exportPreset:string=P "
         "exportProperties:list={ k = v;}",
         answered("fileLength", int64(1) << 40), "1099511627776", "0", "-1", "-1",
         "Received error from hoardd.\n"},
        {"estimate of the URL alone",
         [&](Client *c, Result &r) {
             r = std::to_string(c->estimatedOutputFileLengthForVideoURL(
                 URL::of("file:///v"), nullptr, text(""), autorelease(Dictionary::createWithKeys({}))));
         },
         "sync", "operation:int64=70 videoURL:string=file:///v", answered("fileLength", int64(-5)), "-5", "0",
         "-1", "-1", "Received error from hoardd.\n"},
        {"download", [&](Client *c, Result &) { c->downloadAsset(thing->objectID(), true, false, true); },
         "none",
         "operation:int64=74 objectID:data=x-hoard://s/Thing/p1 requestThumbnail:bool=true "
         "shouldPrioritize:bool=false shouldExtendTimer:bool=true"},
        {"download of nothing", [](Client *c, Result &) { c->downloadAsset(nullptr, true, true, true); }, "",
         ""},
        {"video metadata", [&](Client *c, Result &r) { r = onOneLine(c->videoMetadataAtPath(text("/v"))); },
         "sync", "operation:int64=75 filePath:string=/v",
         [](auto *r) { JXMsgDictionarySetDictionary(r, "metadata", oneEntry()); }, "{ k = v;}", "null",
         "null", "null", "Received error from hoardd.\n"},

        // Albums and edits
        {"add group",
         [&](Client *c, Result &r) {
             c->addGroupWithName(text("N"), [&](bool taken, URL *url, Error *e) {
                 r = shown(taken, e) + " " + onOneLine(url);
             });
         },
         "async", "operation:int64=11 name:string=N", answered("groupURL", "a:b"), "no null a:b",
         "no 13 null", "no 13 null", "no 13 null"},
        {"add group, name taken",
         [](Client *c, Result &r) {
             c->addGroupWithName(nullptr, [&](bool taken, URL *url, Error *e) {
                 r = shown(taken, e) + " " + onOneLine(url);
             });
         },
         "async", "operation:int64=11",
         [](auto *r) { r->setBool("nameTaken", true), r->setString("groupURL", "a:b"); }, "yes null null",
         "no 13 null", "no 13 null", "no 13 null"},
        {"add to album",
         [&](Client *c, Result &r) {
             c->addAssetWithURL(assetURL(), text("A"), [&](bool s, Error *e) { r = shown(s, e); });
         },
         "async", "operation:int64=12 assetURL:string=rez-vault://a albumUUID:string=A",
         answered("success", true), "yes null", "no null", "no null", "no null"},
        {"delete",
         [](Client *c, Result &r) {
             c->deleteAssetWithURL(assetURL(), [&](bool s, Error *e) { r = shown(s, e); });
         },
         "async", "operation:int64=13 assetURL:string=rez-vault://a", answered("success", true), "yes 3",
         "no 3", "no 3", "no 3"},
        {"delete, entitled",
         [](Client *c, Result &r) {
             c->deleteAssetWithURL(assetURL(), [&](bool s, Error *e) { r = shown(s, e); });
         },
         "async", "operation:int64=13 assetURL:string=rez-vault://a", answered("hasEntitlement", true),
         "no null", "no 3", "no 3", "no 3"},
        {"usage intent",
         [](Client *c, Result &r) {
             c->setExternalUsageIntent(0, assetURL(), [&](bool s, Error *e) { r = shown(s, e); });
         },
         "async", "operation:int64=14 externalUsageIntent:uint64=0 assetURL:string=rez-vault://a",
         answered("success", true), "yes null", "no null", notCalled, "no null",
         "Unable to set external usage intent because Msg service returned an error. (%@)\n"},
        {"album counts", [](Client *c, Result &) { c->recalculateCachedAlbumCounts(); }, "none",
         "operation:int64=30"},
        {"empty album", [&](Client *c, Result &) { c->automaticallyDeleteEmptyAlbum(thing.get()); }, "none",
         "operation:int64=58 albumOID:data=x-hoard://s/Thing/p1"},

        // The library's life
        {"import, awaited", [](Client *c, Result &) { c->importFileSystemAssetsWaitingForReply(true); },
         "sync", "operation:int64=22", nullptr, "", "", "", "",
         "Can't import file system assets. This is bad. (%@)\n"},
        {"import", [](Client *c, Result &) { c->importFileSystemAssetsWaitingForReply(false); }, "none",
         "operation:int64=23"},
        {"sizes", [](Client *c, Result &r) { c->getLibrarySizes([&](Dictionary *s) { r = onOneLine(s); }); },
         "async", "operation:int64=56", [](auto *r) { JXMsgDictionarySetDictionary(r, "sizes", oneEntry()); },
         "{ k = v;}", "null", "null", "null"},
        {"after restore", [](Client *c, Result &) { c->updateModelAfterOTARestore(); }, "sync",
         "operation:int64=20", nullptr, "", "", "", "",
         "Unable to update library after an OTA restore. This is bad. (%@)\n"},
        {"finalize", [](Client *c, Result &) { c->finalizeOTARestoreRecreatingAlbums(false); }, "async",
         "operation:int64=21 recreateAlbumsFromMetadata:bool=false restoreEnded:bool=true"},
        {"seconds",
         [](Client *c, Result &r) {
             r = std::to_string(c->secondsNeededToCleanupModelAfterHarborsyncRestore());
         },
         "sync", "operation:int64=25", answered("seconds", int64(90)), "90", "0", "0", "1",
         "Unable to cleanup the model after an Harborsync restore. This is bad. (%@)\n"},
        {"clean-up", [](Client *c, Result &) { c->cleanupModelAfterHarborsyncRestore(); }, "sync",
         "operation:int64=26", nullptr, "", "", "", "",
         "Unable to cleanup the model after an Harborsync restore. This is bad. (%@)\n"},
        {"repair", [](Client *c, Result &) { c->repairPotentialModelCorruption(); }, "sync",
         "operation:int64=27", nullptr, "", "", "", "",
         "Unable to repair potential model corruption. This might be bad. (%@)\n"},
        {"migration", [](Client *c, Result &) { c->dataMigrationWillFinish(); }, "sync", "operation:int64=28",
         nullptr, "", "", "", "",
         "Unable to update library after an Harborsync restore from backup. This is bad. (%@)\n"},
        {"termination",
         [&](Client *c, Result &) {
             c->notifyAboutTerminationDueToUncaughtException(Exception(text("N"), nullptr));
         },
         "none barrier", "operation:int64=29 name:string=N"},
        {"change store", [](Client *c, Result &) { c->clearChangeStore(); }, "none", "operation:int64=31"},
        {"recover", [](Client *c, Result &) { c->recoverFromCrashIfNeeded(); }, "none", "operation:int64=33"},
        {"singletons", [](Client *c, Result &) { c->repairSingletonObjects(); }, "sync",
         "operation:int64=36"},
        {"demo mode", [](Client *c, Result &) { c->cleanupForStoreDemoMode(); }, "none",
         "operation:int64=41"},
        {"restore complete",
         [](Client *c, Result &r) { r = c->hasCompletedRestorePostProcessing() ? "yes" : "no"; }, "sync",
         "operation:int64=71", answered("isComplete", true), "yes", "no", "no", "no",
         "Unable to retrieve restore completion status from hoardd. This is unfortunate. (%@)\n"},

        // Analyses
        {"moments complete", [](Client *c, Result &r) { r = c->hasCompletedMomentAnalysis() ? "yes" : "no"; },
         "sync", "operation:int64=72", answered("isComplete", true), "yes", "no", "no", "no",
         "Unable to retrieve moment analysis state from hoardd. This is unfortunate. (%@)\n"},
        {"moments", [](Client *c, Result &) { c->rebuildMomentsIncremental(false); }, "sync",
         "operation:int64=61 incremental:bool=false"},
        {"moment lists", [](Client *c, Result &) { c->rebuildMomentLists(); }, "sync", "operation:int64=62"},
        {"all moments", [](Client *c, Result &) { c->analyzeAllMoments(); }, "sync", "operation:int64=63"},
        {"invalid moments", [](Client *c, Result &) { c->analyzeInvalidMomentsAndDupesIfNeeded(); }, "sync",
         "operation:int64=64"},
        {"moment", [&](Client *c, Result &) { c->analyzeMoment(thing.get()); }, "none",
         "operation:int64=65 momentOID:data=x-hoard://s/Thing/p1"},
        {"unsaved moment", [&](Client *c, Result &) { c->analyzeMoment(unsaved.get()); }, "", ""},
        {"moment list", [&](Client *c, Result &) { c->analyzeMomentList(thing.get()); }, "none",
         "operation:int64=66 momentListOID:data=x-hoard://s/Thing/p1"},
        {"unsaved moment list", [&](Client *c, Result &) { c->analyzeMomentList(unsaved.get()); }, "", ""},
        {"cloud feed", [](Client *c, Result &) { c->rebuildCloudFeed(); }, "sync", "operation:int64=67"},
        {"duplicates", [](Client *c, Result &) { c->resetDupesAnalysis(); }, "sync", "operation:int64=68"},
        {"all thumbnails", [](Client *c, Result &) { c->rebuildAllThumbnails(); }, "sync",
         "operation:int64=73"},
        {"no duplicates", [&](Client *c, Result &) { c->setAreDuplicates(false, photos); }, "sync",
         "operation:int64=1000 areDuplicates:bool=false photoUUIDs:list=( U-1, U-1)"},

        // Sharing
        {"stream album", [&](Client *c, Result &) { c->createSnapriverAlbumWithStreamID(text("S")); }, "sync",
         "operation:int64=34 streamID:string=S"},
        {"streams", [](Client *c, Result &) { c->enableSnapriversWithStreamID(nullptr); }, "none",
         "operation:int64=35"},
        {"bulletins", [](Client *c, Result &r) { r = onOneLine(c->getCurrentBulletins()); }, "sync",
         "operation:int64=37",
         [](auto *r) { JXMsgDictionarySetArray(r, "kJXBulletinsKey", Array::of({oneEntry()})); },
         "( { k = v; })", "null", "null", "null", "*** Error receiving bulletins from hoardd\n"},
        {"badge", [](Client *c, Result &r) { r = std::to_string(c->getCurrentApplicationBadgeCount()); },
         "sync", "operation:int64=38", answered("kJXApplicationBadgeCountKey", int64(3)), "3", "0", "0", "0",
         "*** Error receiving application badge count from hoardd\n"},
        {"bulletin thumbnail",
         [](Client *c, Result &r) { r = onOneLine(c->getThumbnailImageDataForBulletinWithRecordID(7)); },
         "sync", "operation:int64=39 kJXRecordIDKey:uint64=7",
         [](auto *r) { r->setData("kJXThumbnailImageDataKey", "\1", 1); }, "<01>", "null", "null", "null",
         "*** Error receiving image data for thumbnail with recordID = 7 from hoardd\n"},
        {"clear bulletins", [](Client *c, Result &) { c->clearAllBulletinsWithLastClearedRecordID(7); },
         "none", "operation:int64=40 kJXLastClearedRecordIDKey:uint64=7"},
        {"limits", [](Client *c, Result &) { c->updateSharedAlbumsCachedServerConfigurationLimits(); },
         "none", "operation:int64=45"},
        {"purgeable", [](Client *c, Result &r) { r = std::to_string(c->purgeableSharedAssetsSpace()); },
         "sync", "operation:int64=51 smJobType:uint64=0", answered("smBytesReturned", int64(9)), "9", "0",
         "0", "0", "*** Error receiving result for attemptToPurgeSharedAssetsSpace call\n"},
        {"purge", [](Client *c, Result &r) { r = std::to_string(c->attemptToPurgeSharedAssetsSpace(5)); },
         "sync", "operation:int64=51 smJobType:uint64=1 smBytesRequested:uint64=5",
         answered("smBytesReturned", int64(4)), "4", "0", "0", "0",
         "*** Error receiving result for attemptToPurgeSharedAssetsSpace call\n"},
        {"key for e-mail",
         [&](Client *c, Result &r) { r = std::to_string(c->keyForEmailAddress(text("a@b"))); }, "sync",
         "operation:int64=57 email:string=a@b", answered("key", int64(12)), "12", "0", "0", "-1",
         "*** Error getting email address for key -1\n"},
        {"e-mail for key", [](Client *c, Result &r) { r = onOneLine(c->emailAddressForKey(-2)); }, "sync",
         "operation:int64=57 key:int64=-2", answered("email", "a@b"), "a@b", "null", "null", "null",
         "*** Error getting email address for key -2\n"},
        {"person",
         [&](Client *c, Result &r) { r = onOneLine(c->personInfoDictionaryForPersonID(text("P"))); }, "sync",
         "operation:int64=59 personID:string=P",
         [](auto *r) {
             auto info = MessageDictionary::create();
             info->setString("k", "v");
             r->set("personInfoDictionary", info.get());
         },
         "{ k = v;}", "null", "null", "null", "*** Error getting person info for personID P\n"},
        {"person of no ID",
         [](Client *c, Result &r) { r = onOneLine(c->personInfoDictionaryForPersonID(nullptr)); }, "", "",
         nullptr, "null", "null", "null", "null"},
        {"set person", [&](Client *c, Result &) { c->setPersonInfoDictionary(oneEntry(), text("P")); },
         "none", "operation:int64=60 personID:string=P personInfoDictionary:dictionary={k:string=v}"},
        {"clear person", [&](Client *c, Result &) { c->setPersonInfoDictionary(nullptr, text("P")); }, "none",
         "operation:int64=60 personID:string=P"},
        {"set nobody", [](Client *c, Result &) { c->setPersonInfoDictionary(oneEntry(), nullptr); }, "", ""},
    };

    const auto value = [](const Case &each) {
        auto reply = MessageDictionary::create();
        if (each.fill)
            each.fill(reply.get());
        return reply;
    };
    for (const Case &each : cases) {
        const struct {
            const char *name;
            Ref<MessageValue> reply;
            const char *result;
        } replies[] = {
            {"value", value(each), each.onValue},
            {"empty", MessageDictionary::create(), each.onEmpty},
            {"stray", MessageScalar::createBool(true), each.onStray},
            {"error", MessageError::connectionInterrupted(), each.onError},
        };
        for (const auto &[kind, reply, result] : replies) {
            SCOPED_TRACE(std::string(each.name) + ", " + kind);
            const auto connection = makeRef<FakeConnection>();
            test::OwnClient client;
            client->setConnection(connection.get());
            connection->answer = [&reply = reply](const MessageDictionary *) { return reply; };
            Result given;
            std::string modes;
            const std::string console = consoleOf([&] {
                each.call(client.get(), given);
                for (const auto &sent : connection->sent) {
                    modes += (modes.empty() ? "" : " ") + sent.mode.substr(0, sent.mode.find(' '));
                    if (sent.mode.starts_with("async")) {
                        EXPECT_EQ(sent.mode, "async on global");
                        connection->delivered->wait();
                    }
                    EXPECT_EQ(sent.text, sent.mode == "barrier" ? "" : each.sent);
                }
            });
            EXPECT_EQ(modes, each.mode);
            EXPECT_EQ(connection->livingTemporaries, 0) << "the operation has no release scope of its own";
            expect(given, result);
            std::string line = each.console;
            if (const std::size_t at = line.find("%@"); at != std::string::npos)
                line.replace(at, 2, MessageError::connectionInterrupted()->text());
            EXPECT_EQ(console, reply == MessageError::connectionInterrupted() ? line : "");
        }
    }
}

TEST(EveryOperation, StopsTheProcessForWantOfARequiredParameter) {
    ::testing::GTEST_FLAG(death_test_style) = "threadsafe";
    ReleaseScope scope;
    test::OwnClient client;
    const auto ignore = [](bool, Error *) {};
    const std::pair<std::function<void()>, const char *> cases[] = {
        {[&] { client->addGroupWithName(nullptr, nullptr); }, "resultsBlock != NULL"},
        {[&] { client->addAssetWithURL(nullptr, nullptr, nullptr); }, "assetURL"},
        {[&] { client->addAssetWithURL(assetURL(), nullptr, nullptr); }, "albumUUID"},
        {[&] { client->addAssetWithURL(assetURL(), String::of("A"), nullptr); }, "resultsBlock != NULL"},
        {[&] { client->deleteAssetWithURL(nullptr, ignore); }, "assetURL"},
        {[&] { client->deleteAssetWithURL(assetURL(), nullptr); }, "resultBlock != NULL"},
        {[&] { client->setExternalUsageIntent(1, nullptr, ignore); }, "assetURL"},
        {[&] { client->setExternalUsageIntent(1, assetURL(), nullptr); }, "resultsBlock != NULL"},
        {[&] { client->getLibrarySizes(nullptr); }, "handler"},
    };
    for (const auto &[call, condition] : cases)
        EXPECT_DEATH(call(), std::string("Invalid parameter not satisfying: ") + condition + "\n");
}

} // namespace
