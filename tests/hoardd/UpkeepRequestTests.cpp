// What is done to a library as a whole.
#include <fcntl.h>

#include <filesystem>
#include <future>
#include <thread>

#include "tests/hoardd/FileAge.h"
#include "tests/hoardd/RunningHoardd.h"
#include "tests/support/WaitUntil.h"
#include "wickerlane/platform/file/FileLock.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/preferences/Preferences.h"
#include "wickerlane/store/LibraryCheck.h"
#include "wickerlane/store/Sqlite.h"

using namespace wickerlane;
using namespace wickerlane::test;
namespace fs = std::filesystem;

namespace {

class Upkeep : public RunningHoardd {
protected:
    std::uint64_t photos() const { return answer(request(16).get())->getUInt64("photoCount"); }
    std::uint64_t sizeOfKind(const char *kind) const {
        const auto reply = answer(request(56).get());
        const auto *sizes = as<Dictionary>(JXDictionaryFromMsgDictionary(reply.get(), "sizes"));
        const auto *bytes = sizes != nullptr ? sizes->get<Number>(kind) : nullptr;
        return bytes != nullptr ? bytes->uint64Value() : UINT64_MAX;
    }
    std::int64_t integer(const char *sql) const {
        auto database = sqlite::Database::open(paths.database(), sqlite::Database::Access::read);
        return database ? database->integer(sql).value_or(-1) : -1;
    }
};

// Whoever asks meanwhile is told so, and does not wait for as long as that takes.
TEST_F(Upkeep, SaysThatTheStoreIsBeingRepaired) {
    ReleaseScope scope;
    answer(request(10).get());
    ASSERT_TRUE(makeFolders(paths.folder() + "/PhotoData"));
    UniqueFd foreign = openFile(paths.lock(), O_RDWR | O_CREAT); // a repair waits for it
    ASSERT_TRUE(lockFile(foreign.get(), FileLock::exclusive));
    std::promise<void> repaired;
    connection->sendWithReply(request(27).get(), nullptr, [&](MessageValue *) { repaired.set_value(); });
    // Else the first question may wait for the library by itself, and the repair for that.
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    std::string said;
    EXPECT_TRUE(waitUntil([&] {
        said = refusal(request(16).get());
        return said.starts_with("the library is being repaired");
    })) << said;
    foreign.reset();
    ASSERT_EQ(repaired.get_future().wait_for(std::chrono::minutes(1)), std::future_status::ready);
    EXPECT_EQ(photos(), 0U);
}

TEST_F(Upkeep, FilesFoundAmongTheOriginalsBecomeAssets) {
    ReleaseScope scope;
    const FileBytes known = jpegOf(fourCorners(30, 20)), fresh = jpegOf(fourCorners(31, 20)),
                    named = pngOf(fourCorners(12, 12));
    const std::string uuid = "0000000A-0000-4000-8000-00000000ABCD", folder = paths.folder() + "/DCIM/";
    saveData(known);
    fs::create_directories(folder + "100TRIP");
    fs::create_directories(folder + "00");
    writeFile(folder + "100TRIP/IMG_0001.JPG", fresh);
    writeFile(folder + "100TRIP/IMG_0002.JPG", known);
    writeFile(folder + "100TRIP/notes.txt", FileBytes(20, std::byte{'n'}));
    writeFile(folder + "00/" + uuid + ".PNG", named);
    for (const char *each : {"100TRIP/IMG_0001.JPG", "100TRIP/IMG_0002.JPG", "100TRIP/notes.txt"})
        letSettle(folder + each);
    letSettle(folder + "00/" + uuid + ".PNG");
    // What a kill had left on its way.
    fs::create_directories(paths.found());
    writeFile(paths.found() + "/left.png", pngOf(fourCorners(13, 12)));

    connection->send(request(23).get());
    answer(request(22).get());
    EXPECT_EQ(photos(), 4U) << "what the library has already is not saved twice";
    const auto store = StoreView::open();
    const auto *asset = store->assetWithUUID(uuid);
    ASSERT_NE(asset, nullptr);
    EXPECT_EQ(contentsOf(paths.original(asset->record())), named);
    bool isThere = false;
    for (Object *each : *store->assets())
        if (const auto &record = as<ManagedAsset>(each)->record(); record.originalFilename == "IMG_0001.JPG")
            isThere = contentsOf(paths.original(record)) == fresh;
    EXPECT_TRUE(isThere);
    EXPECT_TRUE(fs::exists(folder + "100TRIP/notes.txt"));
    EXPECT_FALSE(fs::exists(folder + "100TRIP/IMG_0001.JPG"));
    EXPECT_TRUE(fs::is_empty(paths.found()));
}

TEST_F(Upkeep, TwoFilesOfOneUUIDBothBecomeAssets) {
    ReleaseScope scope;
    answer(request(15).get()); // or they would be the originals of a library that has lost its store
    const std::string stem = paths.folder() + "/DCIM/00/0000000A-0000-4000-8000-00000000ABCD";
    fs::create_directories(paths.folder() + "/DCIM/00");
    writeFile(stem + ".JPG", jpegOf(fourCorners(30, 20)));
    writeFile(stem + ".PNG", pngOf(fourCorners(30, 20)));
    letSettle(stem + ".JPG");
    letSettle(stem + ".PNG");
    EXPECT_NE(refusal(request(22).get()).find("is being saved"), std::string::npos);
    EXPECT_EQ(photos(), 1U);
    answer(request(22).get());
    EXPECT_EQ(photos(), 2U);
    EXPECT_TRUE(fs::is_empty(paths.found()));
    EXPECT_TRUE(fs::is_empty(paths.saving()));
}

TEST_F(Upkeep, SizesAreSentByTheirKinds) {
    ReleaseScope scope;
    const FileBytes picture = jpegOf(fourCorners(300, 200));
    saveData(picture);
    EXPECT_EQ(sizeOfKind("1"), picture.size());
    EXPECT_EQ(sizeOfKind("2"), 0U);
    EXPECT_GT(sizeOfKind("4"), 0U);
    EXPECT_GE(sizeOfKind("8"), fs::file_size(paths.database()));
    EXPECT_EQ(sizeOfKind("16"), 0U);
    EXPECT_EQ(sizeOfKind("32"), UINT64_MAX);
}

TEST_F(Upkeep, ChangesAreNotedUntilTheyAreCleared) {
    ReleaseScope scope;
    const auto *saved = saveData(pngOf(fourCorners(4, 4)));
    const auto remove = request(13);
    remove->setString("assetURL", textIn(saved, "assetURL"));
    answer(remove.get());
    const auto store = StoreView::open();
    const auto changes = store->changes();
    ASSERT_TRUE(changes && changes->size() == 2);
    EXPECT_EQ((*changes)[0].what, AssetChange::What::added);
    EXPECT_EQ((*changes)[0].uuid, textIn(saved, "uuid"));
    EXPECT_NEAR((*changes)[0].date, Date::createNow()->referenceSeconds(), 3600);
    EXPECT_EQ((*changes)[1].what, AssetChange::What::removed);
    EXPECT_EQ(store->changes(std::to_string((*changes)[0].number))->size(), 1U);
    answer(request(31).get());
    EXPECT_EQ(store->changes()->size(), 0U);
}

TEST_F(Upkeep, NoticesAreRecordedAndSingletonsRepaired) {
    ReleaseScope scope;
    const auto notice = request(29);
    notice->setString("name", "OutOfFilm");
    answer(notice.get());
    answer(request(29).get());
    EXPECT_EQ(integer("SELECT count(*) FROM ztermination WHERE executable <> ''"), 2);
    EXPECT_EQ(integer("SELECT count(*) FROM ztermination WHERE name = 'OutOfFilm'"), 1);
    for (const std::int64_t code : {28, 33, 36})
        answer(request(code).get());

    saveData(pngOf(fourCorners(4, 4)));
    end(daemon(), SIGTERM);
    connection = connect();
    {
        auto database = sqlite::Database::open(paths.database(), sqlite::Database::Access::write);
        ASSERT_TRUE(
            database->execute("UPDATE zcount SET number = 77; INSERT INTO zlibrary VALUES ('another')"));
    }
    EXPECT_EQ(photos(), 77U);
    answer(request(36).get());
    EXPECT_EQ(photos(), 1U);
    EXPECT_EQ(integer("SELECT count(*) FROM zlibrary WHERE uuid <> 'another'"), 1);
    EXPECT_EQ(integer("SELECT count(*) FROM zlibrary"), 1);

    end(daemon(), SIGTERM);
    connection = connect();
    {
        auto database = sqlite::Database::open(paths.database(), sqlite::Database::Access::write);
        ASSERT_TRUE(
            database->execute("DELETE FROM zlibrary; DELETE FROM zcount; DELETE FROM zduplicatestate"));
    }
    answer(request(36).get());
    EXPECT_EQ(photos(), 1U);
    for (const char *table : {"zlibrary", "zduplicatestate"})
        EXPECT_EQ(integer((std::string("SELECT count(*) FROM ") + table).c_str()), 1) << table;
    EXPECT_EQ(integer("SELECT count(*) FROM zcount"), 2);
}

TEST_F(Upkeep, RecoveryMakesThumbnailsThatAreDueInAnOpenLibrary) {
    ReleaseScope scope;
    answer(request(33).get());
    // Nothing can be written where the thumbnails belong.
    const std::string folder = paths.folder() + "/PhotoData/Thumbnails";
    fs::remove_all(folder);
    writeFile(folder, {});
    const std::string uuid = textIn(saveData(jpegOf(fourCorners(300, 200))), "uuid");
    EXPECT_EQ(integer("SELECT count(*) FROM zduethumbnail WHERE made = 0"), 1);
    fs::remove(folder);
    answer(request(33).get());
    EXPECT_EQ(integer("SELECT count(*) FROM zduethumbnail WHERE made = 0"), 0);
    EXPECT_TRUE(fs::exists(paths.thumbnail(uuid, store::ThumbnailSize::small)));
}

TEST_F(Upkeep, ADemonstrationLibraryGoesBackToWhatItWas) {
    ReleaseScope scope;
    const auto *mine = saveData(pngOf(fourCorners(4, 4)));
    EXPECT_NE(refusal(request(41).get()).find("StoreDemoModeDate"), std::string::npos);
    ASSERT_TRUE(
        setPreferenceValue("StoreDemoModeDate", autorelease(Date::createNow()), "org.wickerlane.hoardd"));
    saveData(pngOf(fourCorners(5, 4)));
    const auto group = request(11);
    group->setString("name", "A visitor's");
    answer(group.get());
    answer(request(41).get());
    EXPECT_EQ(photos(), 1U);
    EXPECT_EQ(imageData(mine, 0), pngOf(fourCorners(4, 4)));
    EXPECT_EQ(StoreView::open()->albums()->count(), 0U);
}

} // namespace
