// Streams, the bulletin board, storage budget, people.
#include <atomic>
#include <csignal>
#include <filesystem>

#include "tests/hoardd/RunningHoardd.h"
#include "tests/support/WaitUntil.h"
#include "wickerlane/platform/notification/Notification.h"
#include "wickerlane/platform/queue/WorkQueue.h"
#include "wickerlane/store/LibraryCheck.h"
#include "wickerlane/store/Sqlite.h"

using namespace wickerlane;
using namespace wickerlane::test;
namespace fs = std::filesystem;

namespace {

class Sharing : public RunningHoardd {
protected:
    std::string streamAlbum(const char *stream) const {
        const auto message = request(34);
        message->setString("streamID", stream);
        answer(message.get());
        const auto *album = StoreView::open()->albumNamed(stream);
        return album != nullptr ? album->record().uuid : std::string();
    }
    bool share(const std::string &assetURL, const std::string &album) const {
        const auto message = request(12);
        message->setString("assetURL", assetURL);
        message->setString("albumUUID", album);
        return answer(message.get())->getBool("success");
    }
    Ref<Array> bulletins() const {
        const auto reply = answer(request(37).get());
        return Ref<Array>(as<Array>(JXArrayFromMsgDictionary(reply.get(), "kJXBulletinsKey")));
    }
    std::int64_t badge() const { return answer(request(38).get())->getInt64("kJXApplicationBadgeCountKey"); }
};

TEST_F(Sharing, AdditionsToASharedAlbumAreAnnounced) {
    ReleaseScope scope;
    const std::string album = streamAlbum("stream-1");
    EXPECT_EQ(bulletins()->count(), 0U);

    const auto changed = Semaphore::create(0);
    const auto queue = WorkQueue::create("bulletins");
    const auto token = registerNotification("JXPinwallBulletinsChangedNotification", queue.get(),
                                            [&](int) { changed->signal(); });
    ASSERT_NE(token, 0);
    const auto *first = saveData(jpegOf(fourCorners(300, 200)));
    const auto *second = saveData(jpegOf(fourCorners(301, 200)));
    EXPECT_TRUE(share(textIn(first, "assetURL"), album));
    changed->wait();
    cancelNotification(token);
    const auto one = bulletins();
    ASSERT_EQ(one->count(), 1U);
    const auto *bulletin = as<Dictionary>(one->at(0));
    EXPECT_EQ(textIn(bulletin, "albumUUID"), album);
    EXPECT_EQ(textIn(bulletin, "assetUUID"), textIn(first, "uuid"));
    EXPECT_EQ(textIn(bulletin, "title"), "stream-1");
    EXPECT_EQ(textIn(bulletin, "defaultURL"), "rez-vault://group/?id=" + album);
    EXPECT_NE(textIn(bulletin, "message"), "");
    for (const char *key : {"bulletinType", "forMultipleAsset", "assetIsVideo", "multipleAssetsOfMixedType"})
        EXPECT_EQ(numberIn(bulletin, key), 0) << key;
    for (const char *key : {"assetCount", "assetIsMine", "hasThumbnail"})
        EXPECT_EQ(numberIn(bulletin, key), 1) << key;
    ASSERT_NE(bulletin->get<Array>("suppresionContexts"), nullptr);
    EXPECT_TRUE(bulletin->get<Array>("suppresionContexts")->contains(String::of("AlbumView-" + album)));
    EXPECT_GT(bulletin->get<Date>("expirationDate")->referenceSeconds(),
              bulletin->get<Date>("date")->referenceSeconds());

    // What follows soon is gathered.
    EXPECT_TRUE(share(textIn(second, "assetURL"), album));
    const auto gathered = bulletins();
    ASSERT_EQ(gathered->count(), 1U);
    const auto *both = as<Dictionary>(gathered->at(0));
    EXPECT_EQ(numberIn(both, "assetCount"), 2);
    EXPECT_EQ(numberIn(both, "forMultipleAsset"), 1);
    EXPECT_EQ(numberIn(both, "originalRecordID"), numberIn(bulletin, "recordID"));
    EXPECT_EQ(badge(), 1);

    const auto thumbnail = request(39);
    thumbnail->setUInt64("kJXRecordIDKey", static_cast<std::uint64_t>(numberIn(both, "recordID")));
    EXPECT_GT(answer(thumbnail.get())->getData("kJXThumbnailImageDataKey").size(), 0U);
    const auto clear = request(40);
    clear->setUInt64("kJXLastClearedRecordIDKey", static_cast<std::uint64_t>(numberIn(both, "recordID")));
    answer(clear.get());
    EXPECT_EQ(badge(), 0);
    EXPECT_EQ(bulletins()->count(), 0U);
    EXPECT_NE(refusal(thumbnail.get()), "");
}

TEST_F(Sharing, TheEndOfABulletinIsAnnounced) {
    ReleaseScope scope;
    EXPECT_TRUE(share(textIn(saveData(pngOf(fourCorners(4, 4))), "assetURL"), streamAlbum("stream-1")));
    EXPECT_EQ(badge(), 1);
    end(daemon(), SIGTERM);
    connection = connect();
    {
        // It expires while the next daemon starts or soon after.
        auto database = sqlite::Database::open(paths.database(), sqlite::Database::Access::write);
        ASSERT_TRUE(database->prepare("UPDATE zbulletin SET date = ?")
                        .bind(Date::createNow()->referenceSeconds() - 30 * 86'400 + 1)
                        .run());
    }
    std::atomic<bool> isAnnounced = false;
    const auto queue = WorkQueue::create("bulletins");
    const auto token = registerNotification("JXBadgeCountChangedNotification", queue.get(),
                                            [&](int) { isAnnounced = true; });
    ASSERT_NE(token, 0);
    answer(request(16).get());
    EXPECT_TRUE(waitUntil([&] { return isAnnounced.load(); }));
    cancelNotification(token);
    EXPECT_EQ(badge(), 0);
}

TEST_F(Sharing, SpaceOfSharedAlbumsIsFreedAndComesBackOnDemand) {
    ReleaseScope scope;
    const std::string album = streamAlbum("stream-2");
    std::vector<const MutableDictionary *> shared;
    for (std::uint32_t i = 0; i < 3; ++i) {
        shared.push_back(saveData(jpegOf(fourCorners(1200 + i, 900))));
        EXPECT_TRUE(share(textIn(shared.back(), "assetURL"), album));
    }
    saveData(jpegOf(fourCorners(1300, 900)));
    const auto job = [&](std::uint64_t type, std::optional<std::uint64_t> bytes) {
        const auto message = request(51);
        message->setUInt64("smJobType", type);
        if (bytes)
            message->setUInt64("smBytesRequested", *bytes);
        return answer(message.get())->getInt64("smBytesReturned");
    };
    const std::int64_t all = job(0, std::nullopt);
    EXPECT_GT(all, 0);
    EXPECT_EQ(job(1, 1), 0) << "never more than was asked for";
    const std::int64_t one = job(1, static_cast<std::uint64_t>(all) / 2);
    EXPECT_GT(one, 0);
    EXPECT_LT(one, all);
    EXPECT_EQ(job(0, std::nullopt), all - one);
    EXPECT_EQ(job(1, UINT64_MAX), all - one);
    EXPECT_EQ(job(1, UINT64_MAX), 0);
    EXPECT_EQ(store::checkLibrary(paths)->findings.size(), 0U);
    const auto *first = shared.front();
    EXPECT_FALSE(fs::exists(paths.thumbnail(textIn(first, "uuid"), store::ThumbnailSize::preview)));
    EXPECT_EQ(decodedPicture(imageData(first, 2)).width, 1024U);
    const auto update = request(18);
    JXMsgDictionarySetArray(update.get(), "photoUUIDs", Array::of({String::of(textIn(first, "uuid"))}));
    for (const char *key : {"assignNewIndex", "forceRefresh"})
        update->setBool(key, false);
    update->setBool("waitingForReply", true);
    answer(update.get());
    EXPECT_EQ(job(0, std::nullopt), one) << "it is there again";
    const auto download = request(74);
    const std::string uri = textIn(first, "objectIDURI");
    download->setData("objectID", uri.data(), uri.size());
    for (const char *key : {"requestThumbnail", "shouldPrioritize", "shouldExtendTimer"})
        download->setBool(key, true);
    answer(download.get());
    EXPECT_EQ(job(0, std::nullopt), 0) << "it stays for a day";
    EXPECT_EQ(job(1, UINT64_MAX), 0);
}

TEST_F(Sharing, PeopleAreRemembered) {
    ReleaseScope scope;
    const auto keyFor = [&](const char *address) {
        const auto message = request(57);
        message->setString("email", address);
        return answer(message.get())->getInt64("key");
    };
    const auto addressOf = [&](std::int64_t key) {
        const auto message = request(57);
        message->setInt64("key", key);
        return std::string(answer(message.get())->getString("email").value_or("none"));
    };
    for (const std::string &text :
         {std::string("Ada"), std::string("@example.org"), std::string("ada@"), std::string("a@b@c"),
          std::string("ada lovelace@example.org"), std::string("ada@example.org\n"),
          std::string("ada@.example.org"), std::string("ada..l@example.org"),
          std::string(65, 'a') + "@example.org"}) {
        const auto message = request(57);
        message->setString("email", text);
        EXPECT_EQ(refusal(message.get()), "email is not an e-mail address") << text;
    }
    EXPECT_GT(keyFor("ädä+tag@[192.0.2.1]"), 0);
    const std::int64_t ada = keyFor("ada@example.org"), bob = keyFor("bob@example.org");
    EXPECT_NE(ada, bob);
    EXPECT_EQ(keyFor("ADA@example.org"), ada);
    EXPECT_EQ(addressOf(ada), "ada@example.org");
    EXPECT_EQ(addressOf(-1), "none");

    const auto info = [&] {
        const auto message = request(59);
        message->setString("personID", "p1");
        const auto reply = answer(message.get());
        return Ref<Dictionary>(JXJobDictionaryFromMsgDictionary(reply->get("personInfoDictionary")));
    };
    EXPECT_FALSE(info());
    const auto set = request(60);
    set->setString("personID", "p1");
    const auto told = Dictionary::createWithKeys({{"name", String::of("Ada")}, {"age", Number::of(36)}});
    set->set("personInfoDictionary",
             Ref<MessageDictionary>::adopt(JXJobCreateMsgDictionaryFromDictionary(told.get())).get());
    answer(set.get());
    EXPECT_TRUE(areEqual(info().get(), told.get()));
    const auto forget = request(60);
    forget->setString("personID", "p1");
    answer(forget.get());
    EXPECT_FALSE(info());
}

TEST_F(Sharing, EmptyNamesAreRefused) {
    ReleaseScope scope;
    for (const std::int64_t code : {34, 35})
        EXPECT_NE(refusal(request(code).get()).find("streamID"), std::string::npos);
    const auto enable = request(35);
    enable->setString("streamID", "stream-3");
    answer(enable.get());
    const auto *album = StoreView::open()->albumNamed("stream-3");
    ASSERT_NE(album, nullptr) << "a stream that is enabled shows an album";
    EXPECT_EQ(album->record().streamID, "stream-3");
    EXPECT_EQ(streamAlbum("stream-3"), album->record().uuid) << "it has one";
    answer(request(45).get());
    const auto job = request(51);
    job->setUInt64("smJobType", 9);
    EXPECT_NE(refusal(job.get()), "");
}

} // namespace
