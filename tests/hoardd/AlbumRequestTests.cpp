// Albums, deletion, usage intents.
#include <csignal>
#include <filesystem>

#include "tests/hoardd/RunningHoardd.h"
#include "wickerlane/platform/consent/Consent.h"
#include "wickerlane/store/LibraryCheck.h"
#include "wickerlane/store/Sqlite.h"

using namespace wickerlane;
using namespace wickerlane::test;
namespace fs = std::filesystem;

namespace {

class Album : public RunningHoardd {
protected:
    Ref<MessageDictionary> addGroup(const char *name) const {
        const auto message = request(11);
        if (name != nullptr)
            message->setString("name", name);
        return answer(message.get());
    }
    bool add(const std::string &assetURL, const std::string &albumUUID) const {
        const auto message = request(12);
        message->setString("assetURL", assetURL);
        message->setString("albumUUID", albumUUID);
        return answer(message.get())->getBool("success");
    }
    /// Asks for a change of an album. Gives the kind of the error, or -1.
    [[nodiscard]] std::int64_t change(std::int64_t code, const std::string &uuid, const char *name,
                                      const std::vector<std::string> &photos) const {
        const auto message = request(code);
        message->setString("albumUUID", uuid);
        if (name != nullptr)
            message->setString("name", name);
        const auto texts = MutableArray::create();
        for (const std::string &each : photos)
            texts->append(String::of(each));
        if (code == 1037)
            JXMsgDictionarySetArray(message.get(), "photoUUIDs", texts.get());
        const auto reply = ask(message.get());
        const auto *error = as<MessageError>(reply.get());
        return error != nullptr ? error->errorKind() : -1;
    }
    Ref<MessageDictionary> askFor(std::int64_t code, const std::string &assetURL) const {
        const auto message = request(code);
        message->setString("assetURL", assetURL);
        return answer(message.get());
    }
    Ref<MessageDictionary> remove(const std::string &assetURL) const { return askFor(13, assetURL); }
    std::uint64_t photos() const { return answer(request(16).get())->getUInt64("photoCount"); }
    std::size_t findings() const {
        const auto report = store::checkLibrary(paths);
        return report ? report->findings.size() : SIZE_MAX;
    }
    static AlbumRecord album(const char *name) {
        const auto opened = StoreView::open();
        const auto *found = opened->albumNamed(name);
        return found != nullptr ? found->record() : AlbumRecord();
    }
    std::string saved(std::uint32_t width) const {
        return textIn(saveData(pngOf(fourCorners(width, 4))), "assetURL");
    }
};

TEST_F(Album, IsMadeOnceByItsName) {
    ReleaseScope scope;
    const auto made = addGroup("Été");
    EXPECT_FALSE(made->getBool("nameTaken"));
    const auto uuid = album("Été").uuid;
    EXPECT_EQ(made->getString("groupURL"), "rez-vault://group/?id=" + uuid);
    const auto again = addGroup("Été");
    EXPECT_TRUE(again->getBool("nameTaken"));
    EXPECT_FALSE(again->contains("groupURL"));
    EXPECT_EQ(refusal(request(11).get()), "an album needs a name");
}

TEST_F(Album, HoldsAssetsAndCountsThem) {
    ReleaseScope scope;
    addGroup("Trip");
    const auto trip = album("Trip");
    const std::string one = saved(4), two = saved(5);
    const std::string absent = "rez-vault://asset/asset.JPG?id=0000000A-0000-4000-8000-00000000ABCD&ext=JPG";
    EXPECT_TRUE(add(one, trip.uuid));
    EXPECT_TRUE(add(two, trip.uuid));
    EXPECT_FALSE(add(absent, trip.uuid));
    EXPECT_FALSE(add(one, "0000000A-0000-4000-8000-00000000ABCD"));
    EXPECT_FALSE(add(one, "Trip"));
    EXPECT_EQ(album("Trip").assetCount, 2U);
    EXPECT_EQ(StoreView::open()->assets({.album = trip.uuid})->count(), 2U);
    EXPECT_TRUE(remove(one)->getBool("success"));
    EXPECT_EQ(album("Trip").assetCount, 1U);
    answer(request(30).get());
    EXPECT_EQ(album("Trip").assetCount, 1U);

    const auto deleteEmpty = request(58);
    const std::string uri = objectURI(StoreView::open()->storeUUID(), trip.primaryKey, "Album");
    deleteEmpty->setData("albumOID", uri.data(), uri.size());
    answer(deleteEmpty.get());
    EXPECT_EQ(album("Trip").uuid, trip.uuid) << "it is not empty";
    EXPECT_TRUE(remove(two)->getBool("success"));
    answer(deleteEmpty.get());
    EXPECT_EQ(album("Trip").uuid, "");
    deleteEmpty->setData("albumOID", "x", 1);
    EXPECT_NE(refusal(deleteEmpty.get()), "");
}

TEST_F(Album, IsRenamedEmptiedAndDeletedByRequests) {
    ReleaseScope scope;
    addGroup("Trip");
    addGroup("Dunes");
    const auto trip = album("Trip");
    const auto *one = saveData(pngOf(fourCorners(4, 4)));
    EXPECT_TRUE(add(textIn(one, "assetURL"), trip.uuid));
    const std::string absent = "0000000A-0000-4000-8000-00000000ABCD", photo = textIn(one, "uuid");
    constexpr std::int64_t done = -1, invalid = 1, notFound = 2, exists = 6;
    EXPECT_EQ(change(1035, trip.uuid, "Dunes", {}), exists);
    EXPECT_EQ(change(1035, trip.uuid, "", {}), invalid);
    EXPECT_EQ(change(1035, trip.uuid, nullptr, {}), invalid);
    EXPECT_EQ(change(1035, absent, "Sea", {}), notFound);
    EXPECT_EQ(change(1035, trip.uuid, "Sea", {}), done);
    EXPECT_EQ(album("Sea").uuid, trip.uuid);

    EXPECT_EQ(change(1037, trip.uuid, nullptr, {}), invalid);
    EXPECT_EQ(change(1037, trip.uuid, nullptr, std::vector<std::string>(10'001, photo)), invalid);
    EXPECT_EQ(change(1037, trip.uuid, nullptr, {photo, absent}), notFound);
    EXPECT_EQ(album("Sea").assetCount, 1U);
    EXPECT_EQ(change(1037, trip.uuid, nullptr, std::vector<std::string>(10'000, photo)), done);
    EXPECT_EQ(album("Sea").assetCount, 0U);

    EXPECT_TRUE(add(textIn(one, "assetURL"), trip.uuid));
    EXPECT_EQ(change(1036, absent, nullptr, {}), notFound);
    EXPECT_EQ(change(1036, trip.uuid, nullptr, {}), done);
    EXPECT_EQ(album("Sea").uuid, "");
    EXPECT_EQ(photos(), 1U);
    EXPECT_EQ(findings(), 0U);
}

TEST_F(Album, ComesBackWithARestore) {
    ReleaseScope scope;
    addGroup("Trip");
    const auto trip = album("Trip");
    std::vector<std::pair<std::string, FileBytes>> assets;
    for (std::uint32_t i = 0; i < 3; ++i) {
        const FileBytes picture = jpegOf(fourCorners(40 + i, 20));
        const auto *result = saveData(picture);
        assets.emplace_back(textIn(result, "uuid"), picture);
        EXPECT_TRUE(add(textIn(result, "assetURL"), trip.uuid));
    }
    end(daemon(), SIGTERM);
    connection = connect();
    // The store is lost, and the files are there.
    for (const char *suffix : {"", "-wal", "-shm"})
        fs::remove(paths.database() + suffix);
    EXPECT_NE(refusal(request(71).get()).find("missing"), std::string::npos);
    answer(request(20).get());
    EXPECT_GE(answer(request(25).get())->getInt64("seconds"), 1);
    EXPECT_FALSE(answer(request(71).get())->getBool("isComplete"));
    const auto finalize = request(21);
    finalize->setBool("recreateAlbumsFromMetadata", true);
    finalize->setBool("restoreEnded", true);
    answer(finalize.get());
    EXPECT_TRUE(answer(request(71).get())->getBool("isComplete"));

    const auto store = StoreView::open();
    for (const auto &[uuid, picture] : assets) {
        const auto *asset = store->assetWithUUID(uuid);
        ASSERT_NE(asset, nullptr) << "under its own name";
        EXPECT_EQ(contentsOf(paths.original(asset->record())), picture);
    }
    EXPECT_EQ(store->assets()->count(), assets.size());
    EXPECT_EQ(album("Trip").uuid, trip.uuid);
    EXPECT_EQ(store->assets({.album = album("Trip").uuid})->count(), assets.size());
    EXPECT_EQ(findings(), 0U);
}

// What was answered is known beside the store: the kill comes at once, and the store is lost.
TEST_F(Album, ComesBackAsItWasChangedLastAfterAKill) {
    ReleaseScope scope;
    addGroup("Trip");
    addGroup("Gone");
    const auto trip = album("Trip"), gone = album("Gone");
    const auto *one = saveData(jpegOf(fourCorners(40, 20))), *two = saveData(jpegOf(fourCorners(50, 20)));
    for (const auto *each : {one, two})
        for (const std::string &uuid : {trip.uuid, gone.uuid})
            ASSERT_TRUE(add(textIn(each, "assetURL"), uuid));
    ASSERT_EQ(change(1035, trip.uuid, "Sea", {}), -1);
    ASSERT_EQ(change(1037, trip.uuid, nullptr, {textIn(one, "uuid")}), -1);
    ASSERT_EQ(change(1036, gone.uuid, nullptr, {}), -1);
    end(daemon(), SIGKILL);
    connection = connect();
    for (const char *part : {"", "-wal", "-shm"})
        fs::remove(paths.database() + part);
    fs::remove_all(paths.folder() + "/PhotoData/Backups");
    EXPECT_EQ(refusal(request(27).get()), "");
    EXPECT_EQ(album("Sea").uuid, trip.uuid);
    EXPECT_EQ(album("Sea").assetCount, 1U);
    EXPECT_EQ(album("Trip").uuid + album("Gone").uuid, "");
    EXPECT_EQ(photos(), 2U);
    EXPECT_EQ(findings(), 0U);
}

TEST_F(Album, ADeletedAssetIsInTheTrashUntilThatIsEmptiedAndNeedsTheEntitlement) {
    ReleaseScope scope;
    const std::string url = saved(4), self = fs::read_symlink("/proc/self/exe");
    const auto edited = request(17);
    edited->setString("assetURL", url);
    const FileBytes picture = pngOf(fourCorners(30, 30));
    edited->setData("imageData", picture.data(), picture.size());
    EXPECT_TRUE(answer(edited.get())->getBool("success"));
    const auto entitle = [&](bool isEntitled) {
        ASSERT_TRUE(
            ConsentStore::shared().setEntitled(self, "org.wickerlane.hoardd.delete-assets", isEntitled));
    };

    entitle(false);
    EXPECT_FALSE(remove(url)->getBool("hasEntitlement"));
    EXPECT_EQ(photos(), 1U);
    entitle(true);
    const auto removed = remove(url);
    EXPECT_TRUE(removed->getBool("hasEntitlement") && removed->getBool("success"));
    const auto again = remove(url);
    EXPECT_FALSE(again->getBool("success")) << "it is in the trash already";
    EXPECT_EQ(again->getInt64("problemKind"), static_cast<std::int64_t>(ProblemKind::notFound));
    EXPECT_EQ(again->getString("problemText"), "there is no such asset");
    EXPECT_EQ(photos(), 0U);
    EXPECT_EQ(findings(), 0U);
    entitle(false);
    EXPECT_FALSE(askFor(1002, url)->getBool("success"));
    EXPECT_FALSE(askFor(1001, url)->getBool("success"));
    EXPECT_FALSE(answer(request(1003).get())->getBool("success"));
    entitle(true);
    EXPECT_TRUE(askFor(1002, url)->getBool("success"));
    EXPECT_FALSE(askFor(1002, url)->getBool("success"));
    EXPECT_EQ(photos(), 1U);
    const auto shown = request(2);
    shown->setString("assetURL", url);
    shown->setBool("withAdjustments", true);
    EXPECT_NE(std::string(answer(shown.get())->getString("fileURL").value_or("")).find("Renditions"),
              std::string::npos)
        << "its edit has come back with it";

    const std::string other = saved(5);
    EXPECT_TRUE(remove(url)->getBool("success"));
    EXPECT_TRUE(answer(request(1003).get())->getBool("success"));
    EXPECT_FALSE(askFor(1002, url)->getBool("success"));
    EXPECT_TRUE(askFor(1001, other)->getBool("success"));
    const std::string third = saved(6);
    EXPECT_TRUE(remove(third)->getBool("success"));
    EXPECT_TRUE(askFor(1001, third)->getBool("success")) << "out of the trash";
    EXPECT_FALSE(askFor(1001, third)->getBool("success"));
    for (const char *folder :
         {"/DCIM", "/PhotoData/Thumbnails", "/PhotoData/Renditions", "/PhotoData/Saving"})
        for (const auto &entry : fs::recursive_directory_iterator(paths.folder() + folder))
            EXPECT_FALSE(entry.is_regular_file()) << entry.path();
    EXPECT_EQ(findings(), 0U);
}

TEST_F(Album, TheTrashIsEmptiedOfWhatExpiredAtTheNextStart) {
    ReleaseScope scope;
    const auto *old = saveData(pngOf(fourCorners(4, 4))), *young = saveData(pngOf(fourCorners(5, 4)));
    for (const auto *each : {old, young})
        EXPECT_TRUE(remove(textIn(each, "assetURL"))->getBool("success"));
    end(daemon(), SIGTERM);
    connection = connect();
    ASSERT_TRUE(sqlite::Database::open(paths.database(), sqlite::Database::Access::write)
                    ->execute(("UPDATE ztrashedasset SET datetrashed = datetrashed - 2592060 WHERE uuid = '" +
                               textIn(old, "uuid") + '\'')
                                  .c_str()));
    answer(request(15).get());
    answer(request(28).get()); // after the long work that the start leaves to do
    EXPECT_FALSE(askFor(1002, textIn(old, "assetURL"))->getBool("success"));
    EXPECT_TRUE(askFor(1002, textIn(young, "assetURL"))->getBool("success"));
    EXPECT_EQ(findings(), 0U);
}

TEST_F(Album, ADeletionThatWasCutOffIsFinished) {
    ReleaseScope scope;
    const MutableDictionary *gone = saveData(pngOf(fourCorners(4, 4))),
                            *kept = saveData(pngOf(fourCorners(5, 4)));
    end(daemon(), SIGKILL);
    connection = connect();
    // As if the kill had come before the row went.
    writeFile(paths.saving() + '/' + textIn(gone, "filename") + ".removing", {});
    EXPECT_EQ(answer(request(16).get())->getUInt64("photoCount"), 1U);
    EXPECT_EQ(imageData(kept, 0), pngOf(fourCorners(5, 4)));
    EXPECT_TRUE(fs::is_empty(paths.saving()));
    EXPECT_EQ(findings(), 0U);
}

// The store is lost after a kill that came between the commit and the end of two saves and one deletion.
TEST_F(Album, ALostStoreTakesNoOriginalWithIt) {
    ReleaseScope scope;
    const FileBytes picture = pngOf(fourCorners(4, 4)), broken(50, std::byte{1});
    const MutableDictionary *whole = saveData(picture), *undecodable = saveData(broken),
                            *removed = saveData(pngOf(fourCorners(5, 4)));
    end(daemon(), SIGKILL);
    connection = connect();
    for (const MutableDictionary *each : {whole, undecodable})
        fs::create_directory(paths.saving() + '/' + textIn(each, "filename"));
    writeFile(paths.saving() + '/' + textIn(removed, "filename") + ".removing", {});
    for (const char *part : {"", "-wal", "-shm"})
        fs::remove(paths.database() + part);
    const std::string left = refusal(request(27).get()); // makes the store again
    EXPECT_TRUE(left.starts_with("1 things could not be repaired; the first: picture that can't be")) << left;
    answer(request(28).get()); // once the work that was waiting is done
    const auto store = StoreView::open();
    for (const auto &[result, bytes] : {std::pair(whole, picture), std::pair(undecodable, broken)}) {
        const auto *asset = store->assetWithUUID(textIn(result, "uuid"));
        ASSERT_NE(asset, nullptr) << "under its own UUID";
        EXPECT_EQ(contentsOf(paths.original(asset->record())), bytes);
    }
    EXPECT_EQ(store->assets()->count(), 2U) << "what was to be deleted stays so";
    EXPECT_TRUE(fs::is_empty(paths.saving()));
    EXPECT_TRUE(fs::is_empty(paths.found()));
    EXPECT_EQ(findings(), 1U) << "what can't be decoded";
}

TEST_F(Album, UsageIntentsAreKept) {
    ReleaseScope scope;
    const auto message = request(14);
    const auto url = URL::create(saved(4));
    message->setUInt64("externalUsageIntent", UINT64_MAX);
    message->setString("assetURL", url->absoluteString()->utf8());
    const auto intent = [&] {
        return StoreView::open()->assetWithURL(url.get())->record().externalUsageIntent;
    };
    EXPECT_EQ(intent(), 0U);
    EXPECT_TRUE(answer(message.get())->getBool("success"));
    EXPECT_EQ(intent(), UINT64_MAX);
    message->setString("assetURL", "rez-vault://asset/asset.JPG");
    EXPECT_FALSE(answer(message.get())->getBool("success"));
}

} // namespace
