// Every operation of the client: what travels, in which mode, and what becomes of each kind of reply. Keys,
// codes and texts are literals: constants that both ends share could not reveal a wrong one.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tests/client/GatekeeperClient.h"
#include "tests/support/Console.h"
#include "wickerlane/message/JXMsgUtilities.h"
#include "wickerlane/platform/object/Number.h"

using namespace wickerlane;
using namespace wickerlane::test;

namespace {

using Client = JXGatekeeperClient;
/// What the call returned, or its handler was given; nothing as long as no handler has run. Handlers hold a
/// copy.
using Result = std::shared_ptr<std::optional<std::string>>;
using Fill = std::function<void(MessageDictionary *)>;

struct Answer {
    Fill fill;
    const char *result;
};

struct Case {
    const char *name;
    std::function<void(Client *, const Result &)> call;
    const char *modes; ///< "none", "sync", "async", or several when the call sends more than once.
    const char *sent;
    std::vector<Answer> answers = {};
    /// After an empty reply, one that is no dictionary, and an error, for whose description %@ stands.
    const char *onEmpty = "", *onStray = "", *onError = "";
    const char *console = ""; ///< After an error; %@ likewise.
};

constexpr const char *notCalled = nullptr;

template <class Value>
Fill with(const char *key, Value value) {
    return [=](MessageDictionary *reply) {
        if constexpr (std::is_same_v<Value, bool>)
            reply->setBool(key, value);
        else if constexpr (std::is_integral_v<Value>)
            reply->setInt64(key, value);
        else
            reply->setString(key, value);
    };
}

Fill withData(const char *key, std::string bytes) {
    return [=](MessageDictionary *reply) { reply->setData(key, bytes.data(), bytes.size()); };
}

Fill withMapping(const char *key) {
    return [=](MessageDictionary *reply) { JXMsgDictionarySetDictionary(reply, key, oneEntry()); };
}

Fill withJob(const char *key) {
    return [=](MessageDictionary *reply) {
        const auto job = MessageDictionary::create();
        job->setString("k", "v");
        reply->set(key, job.get());
    };
}

Fill both(const Fill &first, const Fill &second) {
    return [=](MessageDictionary *reply) { first(reply), second(reply); };
}

std::string shown(bool value, const Error *error) {
    return std::string(value ? "yes " : "no ") + describe(error);
}

Handler<void(bool, Error *)> keepIn(const Result &r) {
    return [r](bool value, Error *error) { *r = shown(value, error); };
}

struct Thing final : Object, ManagedObject, Photo {
    Ref<ManagedObjectID> identity;
    explicit Thing(bool isTemporary)
        : identity(ManagedObjectID::create(URL::of("x-hoard://s/Thing/p1"), isTemporary)) {}
    [[nodiscard]] ManagedObjectID *objectID() const override { return identity.get(); }
    [[nodiscard]] String *uuid() const override { return String::of("U-1"); }
};

// What the calls of the tables are given.
const Thing *savedThing() {
    return autorelease(makeRef<Thing>(false));
}
const Thing *unsavedThing() {
    return autorelease(makeRef<Thing>(true));
}
Array *photos() {
    return Array::of(
        {autorelease(makeRef<Thing>(false)), String::of("no photo"), autorelease(makeRef<Thing>(false))});
}
Data *bytes() {
    return autorelease(Data::create("xy", 2));
}
Dictionary *job(const char *name) {
    return autorelease(Dictionary::createWithKeys({{"name", String::of(name)}}));
}
Dictionary *jobThatCannotTravel() {
    return autorelease(Dictionary::createWithKeys({{"url", assetURL()}}));
}
String *text(const char *value) {
    return String::of(value);
}

void save(Client *client, Dictionary *job, const Result &r) {
    client->saveAssetWithJobDictionary(
        job, [r](Dictionary *result, Error *error) { *r = onOneLine(result) + " " + describe(error); });
}

void batch(Client *client, Array *jobs, const Result &r) {
    client->batchSaveAssetsWithJobDictionaries(
        jobs, [r](Array *results, Error *error) { *r = onOneLine(results) + " " + describe(error); });
}

void addGroup(Client *client, String *name, const Result &r) {
    client->addGroupWithName(name, [r](bool isTaken, URL *url, Error *error) {
        *r = shown(isTaken, error) + " " + onOneLine(url);
    });
}

constexpr const char *received = "Received error from hoardd.\n";

std::string withDescription(std::string pattern) {
    if (const std::size_t at = pattern.find("%@"); at != std::string::npos)
        pattern.replace(at, 2, MessageError::connectionInterrupted()->text());
    return pattern;
}

struct Operations : GatekeeperClient {
    void checkReply(const Case &each, MessageValue *reply, const char *expected,
                    const std::string &expectedConsole) {
        connection->sent.clear();
        connection->answer = [reply](const MessageDictionary *) { return Ref<MessageValue>(reply); };
        std::optional<std::string> given;
        const auto isLetGo = Semaphore::create(0);
        std::string modes;
        const std::string console = consoleOf([&] {
            Result result(&given, [&](auto *) { isLetGo->signal(); });
            each.call(client.get(), result);
            result = nullptr;
            // The handler, if there is one, has run by then or never will.
            isLetGo->wait();
            for (const auto &sent : connection->sent) {
                modes += (modes.empty() ? "" : " ") + sent.mode.substr(0, sent.mode.find(' '));
                if (sent.mode.starts_with("async")) {
                    EXPECT_EQ(sent.mode, "async on global");
                    connection->delivered->wait();
                }
                EXPECT_EQ(sent.text, sent.mode == "barrier" ? "" : each.sent);
            }
        });
        EXPECT_EQ(modes, each.modes);
        EXPECT_EQ(connection->livingTemporaries, 0) << "the operation has no release scope of its own";
        if (expected == notCalled)
            EXPECT_FALSE(given) << *given;
        else
            EXPECT_EQ(given.value_or(""), withDescription(expected));
        EXPECT_EQ(console, expectedConsole);
    }

    void check(const std::vector<Case> &cases) {
        for (const Case &each : cases) {
            SCOPED_TRACE(each.name);
            for (const Answer &answer : each.answers) {
                const auto reply = MessageDictionary::create();
                answer.fill(reply.get());
                SCOPED_TRACE(reply->description()->utf8());
                checkReply(each, reply.get(), answer.result, "");
            }
            checkReply(each, MessageDictionary::create().get(), each.onEmpty, "");
            checkReply(each, MessageScalar::createBool(true).get(), each.onStray, "");
            checkReply(each, MessageError::connectionInterrupted(), each.onError,
                       withDescription(each.console));
        }
    }
};

TEST_F(Operations, OfAccessAndAssetsSendTheirKeysInOrderAndReadEachKindOfReply) {
    check({
        {"access",
         [](Client *c, const Result &r) { c->requestAccessWithHandler(keepIn(r)); },
         "async",
         "operation:int64=3",
         {{with("authorized", 0), "yes null"},
          {with("authorized", 1), "no Wickerlane 2"},
          {with("authorized", 2), "no Wickerlane 1"},
          {with("authorized", 7), "no Wickerlane 10"},
          {with("authorized", -1), "no Wickerlane 10"}},
         "yes null",
         notCalled,
         "no Wickerlane 10 %@"},
        {"access without handler", [](Client *c, const Result &) { c->requestAccessWithHandler(nullptr); },
         "", ""},
        {"launch", [](Client *c, const Result &) { c->launchHoardd(); }, "async", "operation:int64=10"},

        {"descriptor",
         [](Client *c, const Result &r) { *r = std::to_string(c->fileDescriptorForAssetURL(assetURL())); },
         "sync",
         "operation:int64=1 assetURL:string=rez-vault://a",
         {},
         "-1",
         "-1",
         "-1",
         received},
        {"descriptor of null",
         [](Client *c, const Result &r) { *r = std::to_string(c->fileDescriptorForAssetURL(nullptr)); },
         "sync",
         "operation:int64=1",
         {},
         "-1",
         "-1",
         "-1",
         received},
        {"file URL",
         [](Client *c, const Result &r) { *r = onOneLine(c->fileURLForAssetURL(assetURL(), false)); },
         "sync",
         "operation:int64=2 assetURL:string=rez-vault://a",
         {{with("fileURL", "file:///a"), "file:///a"}, {with("fileURL", 1), "null"}},
         "null",
         "null",
         "null",
         received},
        {"file URL with adjustments",
         [](Client *c, const Result &r) { *r = onOneLine(c->fileURLForAssetURL(assetURL(), true)); },
         "sync",
         "operation:int64=2 assetURL:string=rez-vault://a withAdjustments:bool=true",
         {{with("fileURL", "file:///a"), "file:///a"}},
         "null",
         "null",
         "null",
         received},
        {"new asset",
         [](Client *c, const Result &r) { *r = onOneLine(c->fileURLForNewAssetWithType(1, text("MOV"))); },
         "sync",
         "operation:int64=5 assetType:uint64=1 extension:string=MOV",
         {{with("url", "file:///n"), "file:///n"}},
         "null",
         "null",
         "null"},
        {"image data",
         [](Client *c, const Result &r) {
             c->requestImageDataForAsset(objectID(), 3, [r](Data *data, int format) {
                 *r = onOneLine(data) + " " + std::to_string(format);
             });
         },
         "async",
         "operation:int64=6 objectID:data=x-hoard://s/Asset/p1 format:uint64=3",
         {{withData("imageData", "\1\2"), "<0102> 3"}},
         "null 3",
         notCalled,
         "null 0"},
        {"image data, blocking",
         [](Client *c, const Result &r) { *r = onOneLine(c->imageDataForAsset(objectID(), -2)); },
         "sync",
         "operation:int64=6 objectID:data=x-hoard://s/Asset/p1 format:uint64=18446744073709551614",
         {{withData("imageData", "\1\2"), "<0102>"}},
         "null",
         "null",
         "null"},

        {"save",
         [](Client *c, const Result &r) { save(c, oneEntry(), r); },
         "async",
         "operation:int64=8 jobDictionary:dictionary={k:string=v}",
         {{withJob("resultJobDictionary"), "{ k = v;} null"},
          {both(withJob("resultJobDictionary"), with("noData", true)), "null Wickerlane 12"},
          {both(withJob("resultJobDictionary"), with("jobQueueFull", true)), "null Wickerlane 11"},
          {both(with("noData", true), with("jobQueueFull", true)), "null Wickerlane 12"}},
         "null null",
         notCalled,
         "null Wickerlane 10"},
        {"save of a job that can't travel",
         [](Client *c, const Result &r) { save(c, jobThatCannotTravel(), r); },
         "async",
         "operation:int64=8",
         {},
         "null null",
         notCalled,
         "null Wickerlane 10"},
        {"batch, one job of which can't travel",
         [](Client *c, const Result &r) {
             batch(c, Array::of({job("a"), jobThatCannotTravel(), job("b")}), r);
         },
         "async",
         "operation:int64=9 jobDictionaries:array=[dictionary={name:string=a}, "
         "dictionary={name:string=b}]",
         {{[](MessageDictionary *reply) {
               const auto jobs = MessageArray::create();
               jobs->append(MessageDictionary::create().get());
               jobs->append(MessageDictionary::create().get());
               reply->set("resultJobDictionaries", jobs.get());
           },
           "( {}, {}) null"}},
         "() null",
         notCalled,
         "null Wickerlane 10"},
        {"batch of null",
         [](Client *c, const Result &r) { batch(c, nullptr, r); },
         "async",
         "operation:int64=9 jobDictionaries:array=[]",
         {},
         "() null",
         notCalled,
         "null Wickerlane 10"},

        {"large preview",
         [](Client *c, const Result &r) {
             c->setLargePreviewImageForAssetWithURL(assetURL(), bytes(), oneEntry(), keepIn(r));
         },
         "sync async",
         "operation:int64=17 assetURL:string=rez-vault://a imageData:data=xy properties:list={ k = v;}",
         {{both(with("success", true), with("hasEntitlement", true)), "yes null"},
          {with("success", true),
           "yes Wickerlane 3 A required entitlement (org.wickerlane.hoardd.write-assets) was "
           "not present"},
          {with("hasEntitlement", true), "no null"}},
         "no Wickerlane 3 A required entitlement (org.wickerlane.hoardd.write-assets) was not present",
         "no Wickerlane 3 A required entitlement (org.wickerlane.hoardd.write-assets) was not present",
         "no null",
         "Can't set edited rendition for asset (%@)\n"},
        {"large preview without handler",
         [](Client *c, const Result &) {
             c->setLargePreviewImageForAssetWithURL(assetURL(), nullptr, nullptr, nullptr);
         },
         "sync async",
         "operation:int64=17 assetURL:string=rez-vault://a",
         {},
         "",
         "",
         "",
         "Can't set edited rendition for asset (%@)\n"},
        {"thumbnails, awaited",
         [](Client *c, const Result &) { c->updateThumbnailsForPhotos(photos(), true, true, false); }, "sync",
         "operation:int64=18 photoUUIDs:list=( U-1, U-1) assignNewIndex:bool=true forceRefresh:bool=false "
         "waitingForReply:bool=true"},
        {"thumbnails",
         [](Client *c, const Result &) { c->updateThumbnailsForPhotos(photos(), false, false, true); },
         "none",
         "operation:int64=18 photoUUIDs:list=( U-1, U-1) assignNewIndex:bool=false forceRefresh:bool=true "
         "waitingForReply:bool=false"},
        {"preview well", [](Client *c, const Result &) { c->updateCameraPreviewWellImage(savedThing()); },
         "none", "operation:int64=19 objectID:string=x-hoard://s/Thing/p1"},
        {"empty preview well", [](Client *c, const Result &) { c->updateCameraPreviewWellImage(nullptr); },
         "none", "operation:int64=19"},
        {"restored asset",
         [](Client *c, const Result &) {
             c->updateRestoredAssetWithUUID(text("U"), Array::of({text("/a")}));
         },
         "async", "operation:int64=21 assetUUID:string=U assetPaths:array=[string=/a]"},
        {"restored asset without UUID",
         [](Client *c, const Result &) { c->updateRestoredAssetWithUUID(nullptr, nullptr); }, "async",
         "operation:int64=21 assetUUID:string="},
        {"background write",
         [](Client *c, const Result &) { c->writeDataInBackground(bytes(), URL::of("file:///a")); }, "none",
         "operation:int64=24 dataToSave:data=xy destinationURL:string=file:///a"},
        {"estimate",
         [](Client *c, const Result &r) {
             *r = std::to_string(c->estimatedOutputFileLengthForVideoURL(URL::of("file:///v"), text("/f"),
                                                                         text("P"), oneEntry()));
         },
         "sync",
         "operation:int64=70 videoURL:string=file:///v fallbackFilePath:string=/f exportPreset:string=P "
         "exportProperties:list={ k = v;}",
         {{with("fileLength", std::int64_t{1} << 40), "1099511627776"}, {with("fileLength", -5), "-5"}},
         "0",
         "-1",
         "-1",
         received},
        {"estimate of the URL alone",
         [](Client *c, const Result &r) {
             *r = std::to_string(c->estimatedOutputFileLengthForVideoURL(
                 URL::of("file:///v"), nullptr, text(""), autorelease(Dictionary::createWithKeys({}))));
         },
         "sync",
         "operation:int64=70 videoURL:string=file:///v",
         {},
         "0",
         "-1",
         "-1",
         received},
        {"download",
         [](Client *c, const Result &) { c->downloadAsset(savedThing()->objectID(), true, false, true); },
         "none",
         "operation:int64=74 objectID:data=x-hoard://s/Thing/p1 requestThumbnail:bool=true "
         "shouldPrioritize:bool=false shouldExtendTimer:bool=true"},
        {"download of null", [](Client *c, const Result &) { c->downloadAsset(nullptr, true, true, true); },
         "", ""},
        {"video metadata",
         [](Client *c, const Result &r) { *r = onOneLine(c->videoMetadataAtPath(text("/v"))); },
         "sync",
         "operation:int64=75 filePath:string=/v",
         {{withMapping("metadata"), "{ k = v;}"}},
         "null",
         "null",
         "null",
         received},
    });
}

TEST_F(Operations, OfAlbumsSendTheirKeysInOrderAndReadEachKindOfReply) {
    check({
        {"add group",
         [](Client *c, const Result &r) { addGroup(c, text("N"), r); },
         "async",
         "operation:int64=11 name:string=N",
         {{with("groupURL", "a:b"), "no null a:b"},
          {both(with("nameTaken", true), with("groupURL", "a:b")), "yes null null"}},
         "no Wickerlane 13 null",
         "no Wickerlane 13 null",
         "no Wickerlane 13 null"},
        {"add group without name",
         [](Client *c, const Result &r) { addGroup(c, nullptr, r); },
         "async",
         "operation:int64=11",
         {},
         "no Wickerlane 13 null",
         "no Wickerlane 13 null",
         "no Wickerlane 13 null"},
        {"add to album",
         [](Client *c, const Result &r) { c->addAssetWithURL(assetURL(), text("A"), keepIn(r)); },
         "async",
         "operation:int64=12 assetURL:string=rez-vault://a albumUUID:string=A",
         {{with("success", true), "yes null"}},
         "no null",
         "no null",
         "no null"},
        {"delete",
         [](Client *c, const Result &r) { c->deleteAssetWithURL(assetURL(), keepIn(r)); },
         "async",
         "operation:int64=13 assetURL:string=rez-vault://a",
         {{with("success", true),
           "yes Wickerlane 3 A required entitlement (org.wickerlane.hoardd.delete-assets) was "
           "not present"},
          {with("hasEntitlement", true), "no null"},
          {both(with("success", true), with("hasEntitlement", true)), "yes null"}},
         "no Wickerlane 3 A required entitlement (org.wickerlane.hoardd.delete-assets) was not present",
         "no Wickerlane 3 A required entitlement (org.wickerlane.hoardd.delete-assets) was not present",
         "no Wickerlane 3 A required entitlement (org.wickerlane.hoardd.delete-assets) was not present"},
        {"remove",
         [](Client *c, const Result &r) { c->removeAssetWithURL(assetURL(), keepIn(r)); },
         "async",
         "operation:int64=1001 assetURL:string=rez-vault://a",
         {{with("success", true),
           "yes Wickerlane 3 A required entitlement (org.wickerlane.hoardd.delete-assets) was "
           "not present"},
          {both(with("success", true), with("hasEntitlement", true)), "yes null"}},
         "no Wickerlane 3 A required entitlement (org.wickerlane.hoardd.delete-assets) was not present",
         "no Wickerlane 3 A required entitlement (org.wickerlane.hoardd.delete-assets) was not present",
         "no Wickerlane 3 A required entitlement (org.wickerlane.hoardd.delete-assets) was not present"},
        {"restore from the trash",
         [](Client *c, const Result &r) { c->restoreTrashedAssetWithURL(assetURL(), keepIn(r)); },
         "async",
         "operation:int64=1002 assetURL:string=rez-vault://a",
         {{with("success", true),
           "yes Wickerlane 3 A required entitlement (org.wickerlane.hoardd.delete-assets) was "
           "not present"},
          {both(with("success", true), with("hasEntitlement", true)), "yes null"}},
         "no Wickerlane 3 A required entitlement (org.wickerlane.hoardd.delete-assets) was not present",
         "no Wickerlane 3 A required entitlement (org.wickerlane.hoardd.delete-assets) was not present",
         "no Wickerlane 3 A required entitlement (org.wickerlane.hoardd.delete-assets) was not present"},
        {"rename album",
         [](Client *c, const Result &r) {
             *r = c->renameAlbumWithUUID(text("U"), text("Dunes")) ? "yes" : "no";
         },
         "sync",
         "operation:int64=1035 albumUUID:string=U name:string=Dunes",
         {},
         "yes",
         "no",
         "no"},
        {"delete album",
         [](Client *c, const Result &r) { *r = c->deleteAlbumWithUUID(text("U")) ? "yes" : "no"; },
         "sync",
         "operation:int64=1036 albumUUID:string=U",
         {},
         "yes",
         "no",
         "no"},
        {"remove from album",
         [](Client *c, const Result &r) { *r = c->removePhotos(photos(), text("U")) ? "yes" : "no"; },
         "sync",
         "operation:int64=1037 photoUUIDs:list=( U-1, U-1) albumUUID:string=U",
         {},
         "yes",
         "no",
         "no"},
        {"empty the trash",
         [](Client *c, const Result &r) { c->emptyTrashWithHandler(keepIn(r)); },
         "async",
         "operation:int64=1003",
         {{with("success", true),
           "yes Wickerlane 3 A required entitlement (org.wickerlane.hoardd.delete-assets) was "
           "not present"},
          {both(with("success", true), with("hasEntitlement", true)), "yes null"}},
         "no Wickerlane 3 A required entitlement (org.wickerlane.hoardd.delete-assets) was not present",
         "no Wickerlane 3 A required entitlement (org.wickerlane.hoardd.delete-assets) was not present",
         "no Wickerlane 3 A required entitlement (org.wickerlane.hoardd.delete-assets) was not present"},
        {"usage intent",
         [](Client *c, const Result &r) { c->setExternalUsageIntent(0, assetURL(), keepIn(r)); },
         "async",
         "operation:int64=14 externalUsageIntent:uint64=0 assetURL:string=rez-vault://a",
         {{with("success", true), "yes null"}},
         "no null",
         notCalled,
         "no null",
         "Unable to set external usage intent because Msg service returned an error. (%@)\n"},
        {"album counts", [](Client *c, const Result &) { c->recalculateCachedAlbumCounts(); }, "none",
         "operation:int64=30"},
        {"empty album", [](Client *c, const Result &) { c->automaticallyDeleteEmptyAlbum(savedThing()); },
         "none", "operation:int64=58 albumOID:data=x-hoard://s/Thing/p1"},
    });
}

TEST_F(Operations, OfTheLibrarySendTheirKeysInOrderAndReadEachKindOfReply) {
    check({
        {"create database",
         [](Client *c, const Result &) { c->createPixholdDatabase(); },
         "sync",
         "operation:int64=15",
         {},
         "",
         "",
         "",
         "Unable to create library. This is bad. (%@)\n"},
        {"counts",
         [](Client *c, const Result &r) {
             c->getPhotosAndVideosCountWithHandler([r](Number *photoCount, Number *videoCount) {
                 *r = onOneLine(photoCount) + " " + onOneLine(videoCount);
             });
         },
         "async",
         "operation:int64=16",
         {{[](MessageDictionary *reply) {
               reply->setUInt64("photoCount", 18446744073709551615U), reply->setUInt64("videoCount", 0);
           },
           "18446744073709551615 0"},
          {[](MessageDictionary *reply) { reply->setUInt64("photoCount", 2); }, "2 null"}},
         "null null",
         "null null",
         "null null"},
        {"model version",
         [](Client *c, const Result &r) { *r = std::to_string(c->getCurrentModelVersion()); },
         "sync",
         "operation:int64=69",
         {{with("version", 7), "7"}},
         "0",
         "-1",
         "-1",
         "*** Error getting current model version\n"},
        {"import, awaited",
         [](Client *c, const Result &) { c->importFileSystemAssetsWaitingForReply(true); },
         "sync",
         "operation:int64=22",
         {},
         "",
         "",
         "",
         "Can't import file system assets. This is bad. (%@)\n"},
        {"import", [](Client *c, const Result &) { c->importFileSystemAssetsWaitingForReply(false); }, "none",
         "operation:int64=23"},
        {"sizes",
         [](Client *c, const Result &r) {
             c->getLibrarySizes([r](Dictionary *sizes) {
                 std::string shown = sizes == nullptr ? "null" : "";
                 if (sizes != nullptr)
                     for (const auto &[kind, bytes] : *sizes)
                         shown += std::to_string(as<Number>(kind)->int64Value()) + '=' +
                                  std::to_string(as<Number>(bytes)->int64Value());
                 *r = shown;
             });
         },
         "async",
         "operation:int64=56",
         {{[](MessageDictionary *reply) {
               JXMsgDictionarySetDictionary(
                   reply, "sizes",
                   Dictionary::createWithKeys({{"4", Number::of(40)}, {"k", Number::of(1)}}).get());
           },
           "4=40"}},
         "null",
         "null",
         "null"},
        {"after restore",
         [](Client *c, const Result &) { c->updateModelAfterOTARestore(); },
         "sync",
         "operation:int64=20",
         {},
         "",
         "",
         "",
         "Unable to update library after an OTA restore. This is bad. (%@)\n"},
        {"finalize", [](Client *c, const Result &) { c->finalizeOTARestoreRecreatingAlbums(false); }, "async",
         "operation:int64=21 recreateAlbumsFromMetadata:bool=false restoreEnded:bool=true"},
        {"seconds",
         [](Client *c, const Result &r) {
             *r = std::to_string(c->secondsNeededToCleanupModelAfterHarborsyncRestore());
         },
         "sync",
         "operation:int64=25",
         {{with("seconds", 90), "90"}},
         "0",
         "0",
         "1",
         "Unable to cleanup the model after an Harborsync restore. This is bad. (%@)\n"},
        {"clean-up",
         [](Client *c, const Result &) { c->cleanupModelAfterHarborsyncRestore(); },
         "sync",
         "operation:int64=26",
         {},
         "",
         "",
         "",
         "Unable to cleanup the model after an Harborsync restore. This is bad. (%@)\n"},
        {"repair",
         [](Client *c, const Result &) { c->repairPotentialModelCorruption(); },
         "sync",
         "operation:int64=27",
         {},
         "",
         "",
         "",
         "Unable to repair potential model corruption. This might be bad. (%@)\n"},
        {"migration",
         [](Client *c, const Result &) { c->dataMigrationWillFinish(); },
         "sync",
         "operation:int64=28",
         {},
         "",
         "",
         "",
         "Unable to update library after an Harborsync restore from backup. This is bad. (%@)\n"},
        {"termination",
         [](Client *c, const Result &) {
             c->notifyAboutTerminationDueToUncaughtException(Exception(text("N"), nullptr));
         },
         "none barrier", "operation:int64=29 name:string=N"},
        {"termination for a reason",
         [](Client *c, const Result &) {
             c->notifyAboutTerminationDueToUncaughtException(Exception(text("N"), text("R")));
         },
         "none barrier", "operation:int64=29 name:string=N reason:string=R"},
        {"change store", [](Client *c, const Result &) { c->clearChangeStore(); }, "none",
         "operation:int64=31"},
        {"recover", [](Client *c, const Result &) { c->recoverFromCrashIfNeeded(); }, "none",
         "operation:int64=33"},
        {"singletons", [](Client *c, const Result &) { c->repairSingletonObjects(); }, "sync",
         "operation:int64=36"},
        {"demo mode", [](Client *c, const Result &) { c->cleanupForStoreDemoMode(); }, "none",
         "operation:int64=41"},
        {"restore complete",
         [](Client *c, const Result &r) { *r = c->hasCompletedRestorePostProcessing() ? "yes" : "no"; },
         "sync",
         "operation:int64=71",
         {{with("isComplete", true), "yes"}},
         "no",
         "no",
         "no",
         "Unable to retrieve restore completion status from hoardd. This is unfortunate. (%@)\n"},
    });
}

TEST_F(Operations, OfAnalysesSendTheirKeysInOrderAndReadEachKindOfReply) {
    check({
        {"moments complete",
         [](Client *c, const Result &r) { *r = c->hasCompletedMomentAnalysis() ? "yes" : "no"; },
         "sync",
         "operation:int64=72",
         {{with("isComplete", true), "yes"}},
         "no",
         "no",
         "no",
         "Unable to retrieve moment analysis state from hoardd. This is unfortunate. (%@)\n"},
        {"moments", [](Client *c, const Result &) { c->rebuildMomentsIncremental(false); }, "sync",
         "operation:int64=61 incremental:bool=false"},
        {"moment lists", [](Client *c, const Result &) { c->rebuildMomentLists(); }, "sync",
         "operation:int64=62"},
        {"all moments", [](Client *c, const Result &) { c->analyzeAllMoments(); }, "sync",
         "operation:int64=63"},
        {"invalid moments", [](Client *c, const Result &) { c->analyzeInvalidMomentsAndDupesIfNeeded(); },
         "sync", "operation:int64=64"},
        {"moment", [](Client *c, const Result &) { c->analyzeMoment(savedThing()); }, "none",
         "operation:int64=65 momentOID:data=x-hoard://s/Thing/p1"},
        {"unsaved moment", [](Client *c, const Result &) { c->analyzeMoment(unsavedThing()); }, "", ""},
        {"moment list", [](Client *c, const Result &) { c->analyzeMomentList(savedThing()); }, "none",
         "operation:int64=66 momentListOID:data=x-hoard://s/Thing/p1"},
        {"unsaved moment list", [](Client *c, const Result &) { c->analyzeMomentList(unsavedThing()); }, "",
         ""},
        {"cloud feed", [](Client *c, const Result &) { c->rebuildCloudFeed(); }, "sync",
         "operation:int64=67"},
        {"duplicates", [](Client *c, const Result &) { c->resetDupesAnalysis(); }, "sync",
         "operation:int64=68"},
        {"all thumbnails", [](Client *c, const Result &) { c->rebuildAllThumbnails(); }, "sync",
         "operation:int64=73"},
        {"dates",
         [](Client *c, const Result &r) { *r = c->adjustDatesBySeconds(-60, photos()) ? "yes" : "no"; },
         "sync",
         "operation:int64=1010 seconds:int64=-60 photoUUIDs:list=( U-1, U-1)",
         {},
         "yes",
         "no",
         "no"},
        {"details",
         [](Client *c, const Result &r) { *r = c->setDetails(oneEntry(), photos()) ? "yes" : "no"; },
         "sync",
         "operation:int64=1040 properties:list={ k = v;} photoUUIDs:list=( U-1, U-1)",
         {},
         "yes",
         "no",
         "no"},
        {"no duplicates", [](Client *c, const Result &) { c->setAreDuplicates(false, photos()); }, "sync",
         "operation:int64=1000 areDuplicates:bool=false photoUUIDs:list=( U-1, U-1)"},
    });
}

TEST_F(Operations, OfSharingSendTheirKeysInOrderAndReadEachKindOfReply) {
    check({
        {"stream album", [](Client *c, const Result &) { c->createSnapriverAlbumWithStreamID(text("S")); },
         "sync", "operation:int64=34 streamID:string=S"},
        {"streams", [](Client *c, const Result &) { c->enableSnapriversWithStreamID(nullptr); }, "none",
         "operation:int64=35"},
        {"bulletins",
         [](Client *c, const Result &r) { *r = onOneLine(c->getCurrentBulletins()); },
         "sync",
         "operation:int64=37",
         {{[](MessageDictionary *reply) {
               JXMsgDictionarySetArray(reply, "kJXBulletinsKey", Array::of({oneEntry()}));
           },
           "( { k = v; })"}},
         "null",
         "null",
         "null",
         "*** Error receiving bulletins from hoardd\n"},
        {"badge",
         [](Client *c, const Result &r) { *r = std::to_string(c->getCurrentApplicationBadgeCount()); },
         "sync",
         "operation:int64=38",
         {{with("kJXApplicationBadgeCountKey", 3), "3"}},
         "0",
         "0",
         "0",
         "*** Error receiving application badge count from hoardd\n"},
        {"bulletin thumbnail",
         [](Client *c, const Result &r) {
             *r = onOneLine(c->getThumbnailImageDataForBulletinWithRecordID(7));
         },
         "sync",
         "operation:int64=39 kJXRecordIDKey:uint64=7",
         {{withData("kJXThumbnailImageDataKey", "\1"), "<01>"}},
         "null",
         "null",
         "null",
         "*** Error receiving image data for thumbnail with recordID = 7 from hoardd\n"},
        {"clear bulletins", [](Client *c, const Result &) { c->clearAllBulletinsWithLastClearedRecordID(7); },
         "none", "operation:int64=40 kJXLastClearedRecordIDKey:uint64=7"},
        {"limits", [](Client *c, const Result &) { c->updateSharedAlbumsCachedServerConfigurationLimits(); },
         "none", "operation:int64=45"},
        {"purgeable",
         [](Client *c, const Result &r) { *r = std::to_string(c->purgeableSharedAssetsSpace()); },
         "sync",
         "operation:int64=51 smJobType:uint64=0",
         {{with("smBytesReturned", 9), "9"}},
         "0",
         "0",
         "0",
         "*** Error receiving result for attemptToPurgeSharedAssetsSpace call\n"},
        {"purge",
         [](Client *c, const Result &r) { *r = std::to_string(c->attemptToPurgeSharedAssetsSpace(5)); },
         "sync",
         "operation:int64=51 smJobType:uint64=1 smBytesRequested:uint64=5",
         {{with("smBytesReturned", 4), "4"}},
         "0",
         "0",
         "0",
         "*** Error receiving result for attemptToPurgeSharedAssetsSpace call\n"},
        {"key for e-mail",
         [](Client *c, const Result &r) { *r = std::to_string(c->keyForEmailAddress(text("a@b"))); },
         "sync",
         "operation:int64=57 email:string=a@b",
         {{with("key", 12), "12"}},
         "0",
         "0",
         "-1",
         "*** Error getting email address for key -1\n"},
        {"e-mail for key",
         [](Client *c, const Result &r) { *r = onOneLine(c->emailAddressForKey(-2)); },
         "sync",
         "operation:int64=57 key:int64=-2",
         {{with("email", "a@b"), "a@b"}},
         "null",
         "null",
         "null",
         "*** Error getting email address for key -2\n"},
        {"person",
         [](Client *c, const Result &r) { *r = onOneLine(c->personInfoDictionaryForPersonID(text("P"))); },
         "sync",
         "operation:int64=59 personID:string=P",
         {{withJob("personInfoDictionary"), "{ k = v;}"}},
         "null",
         "null",
         "null",
         "*** Error getting person info for personID P\n"},
        {"person without ID",
         [](Client *c, const Result &r) { *r = onOneLine(c->personInfoDictionaryForPersonID(nullptr)); },
         "",
         "",
         {},
         "null",
         "null",
         "null"},
        {"set person", [](Client *c, const Result &) { c->setPersonInfoDictionary(oneEntry(), text("P")); },
         "none", "operation:int64=60 personID:string=P personInfoDictionary:dictionary={k:string=v}"},
        {"clear person", [](Client *c, const Result &) { c->setPersonInfoDictionary(nullptr, text("P")); },
         "none", "operation:int64=60 personID:string=P"},
        {"set person without ID",
         [](Client *c, const Result &) { c->setPersonInfoDictionary(oneEntry(), nullptr); }, "", ""},
    });
}

TEST_F(GatekeeperClient, ARequiredParameterThatIsNullStopsTheProcess) {
    ::testing::GTEST_FLAG(death_test_style) = "threadsafe";
    const auto ignore = [](bool, Error *) {};
    const std::pair<std::function<void()>, const char *> cases[] = {
        {[&] { client->saveAssetWithJobDictionary(nullptr, nullptr); }, "resultsBlock != NULL"},
        {[&] { client->batchSaveAssetsWithJobDictionaries(Array::of({}), nullptr); }, "resultsBlock != NULL"},
        {[&] { client->requestImageDataForAsset(objectID(), 0, nullptr); }, "resultsBlock != NULL"},
        {[&] { client->addGroupWithName(nullptr, nullptr); }, "resultsBlock != NULL"},
        {[&] { client->addAssetWithURL(nullptr, nullptr, nullptr); }, "assetURL"},
        {[&] { client->addAssetWithURL(assetURL(), nullptr, nullptr); }, "albumUUID"},
        {[&] { client->addAssetWithURL(assetURL(), text("A"), nullptr); }, "resultsBlock != NULL"},
        {[&] { client->deleteAssetWithURL(nullptr, ignore); }, "assetURL"},
        {[&] { client->deleteAssetWithURL(assetURL(), nullptr); }, "resultBlock != NULL"},
        {[&] { client->setExternalUsageIntent(1, nullptr, ignore); }, "assetURL"},
        {[&] { client->setExternalUsageIntent(1, assetURL(), nullptr); }, "resultsBlock != NULL"},
        {[&] { client->getLibrarySizes(nullptr); }, "handler"},
        {[&] { client->getPhotosAndVideosCountWithHandler(nullptr); }, "handler != NULL"},
    };
    for (const auto &[call, condition] : cases)
        EXPECT_DEATH(call(), std::string("Invalid parameter not satisfying: ") + condition + "\n");
}

} // namespace
