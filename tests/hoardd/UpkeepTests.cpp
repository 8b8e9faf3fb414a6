// Repair, sizes and demo mode, without a daemon.
#include <atomic>
#include <cstring>
#include <functional>
#include <thread>

#include "hoardd/albums/AlbumStore.h"
#include "hoardd/albums/Albums.h"
#include "hoardd/albums/BulletinBoard.h"
#include "hoardd/albums/BulletinStore.h"
#include "hoardd/albums/PeopleStore.h"
#include "hoardd/library/Clock.h"
#include "hoardd/library/Lookup.h"
#include "hoardd/library/StoreNotes.h"
#include "hoardd/pictures/DerivedSize.h"
#include "hoardd/pictures/Renditions.h"
#include "hoardd/pictures/ShownPicture.h"
#include "hoardd/pictures/Thumbnails.h"
#include "hoardd/saving/AssetFiles.h"
#include "hoardd/saving/FoundFiles.h"
#include "hoardd/saving/Publication.h"
#include "hoardd/saving/Restore.h"
#include "hoardd/saving/Trash.h"
#include "hoardd/upkeep/DemoMode.h"
#include "hoardd/upkeep/Repair.h"
#include "hoardd/upkeep/Sizes.h"
#include "tests/hoardd/FileAge.h"
#include "tests/hoardd/OpenLibrary.h"

using namespace wickerlane;
using namespace wickerlane::hoardd;
using namespace wickerlane::test;
using sqlite::Database;
namespace fs = std::filesystem;

namespace {

class UpkeepOfOpenLibrary : public OpenLibrary {
protected:
    [[nodiscard]] std::uint64_t size(SizeKind kind) const {
        const auto sizes = librarySizes(library());
        EXPECT_TRUE(sizes);
        return sizes->at(static_cast<std::uint32_t>(kind));
    }
    void execute(const char *sql) const {
        ASSERT_TRUE(library().writer().change([sql](Database &database) { return database.execute(sql); }));
    }
};
using Repair = UpkeepOfOpenLibrary;
using Sizes = UpkeepOfOpenLibrary;
using DemoMode = UpkeepOfOpenLibrary;

TEST_F(Repair, PutsRightWhatItCanAndCountsTheRest) {
    const auto whole = saved(jpegOf(fourCorners(300, 200))), lost = saved(jpegOf(fourCorners(301, 200))),
               lostToo = saved(jpegOf(fourCorners(302, 200)));
    const std::string thumbnail = paths.thumbnail(whole.uuid, store::ThumbnailSize::small);
    fs::remove(thumbnail);
    fs::remove(paths.original(lost));
    fs::remove(paths.original(lostToo));
    execute("UPDATE zcount SET number = 77");
    EXPECT_GE(secondsToRepair(library()).value_or(0), 1);

    const auto repaired = repairLibrary(library());
    ASSERT_FALSE(repaired);
    const std::string &text = repaired.error().text;
    EXPECT_TRUE(text.starts_with("2 things could not be repaired; the first: missing original ")) << text;
    EXPECT_NE(text.find(paths.original(lost)), std::string::npos) << text;
    EXPECT_TRUE(fs::exists(thumbnail));
    EXPECT_EQ(library().assets().counts()->photos, 3U);
    library().end();
    const auto stoppedEarly = repairLibrary(library());
    ASSERT_FALSE(stoppedEarly);
    EXPECT_EQ(stoppedEarly.error().kind, ProblemKind::ending);
}

TEST_F(Repair, MakesThumbnailsAgainThatAreNotWhatWasWritten) {
    const auto asset = saved(jpegOf(fourCorners(1500, 900)));
    const auto whole = contentsOf(paths.thumbnail(asset.uuid, store::ThumbnailSize::small)),
               larger = contentsOf(paths.thumbnail(asset.uuid, store::ThumbnailSize::preview));
    const std::string path = paths.thumbnail(asset.uuid, store::ThumbnailSize::small);
    const auto with = [](FileBytes bytes, std::size_t at, const char *others, std::size_t count) {
        std::memcpy(bytes.data() + at, others, count);
        return bytes;
    };
    const auto firstBytes = [&](std::size_t count) {
        return FileBytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(count));
    };
    const std::size_t middle = whole.size() - 400;
    const struct {
        const char *what;
        FileBytes bytes;
        bool isSeenAtTheEnds = true;
    } cases[] = {
        {"nothing", {}},
        {"other bytes", FileBytes(whole.size(), std::byte{'w'})},
        {"no byte was written", FileBytes(whole.size())},
        {"another picture", pngOf(fourCorners(200, 100))},
        {"one of another size", larger},
        {"cut off in its first marker", firstBytes(1)},
        {"cut off in its header", firstBytes(100)},
        {"cut off among its pixels", firstBytes(whole.size() / 2)},
        {"without its end", firstBytes(whole.size() - 1)},
        {"a header that leads nowhere", with(whole, 4, "\xFF\xFF", 2)},
        {"other bytes in between", with(whole, middle, "\xFF\x42\xFF\x43", 4), false},
        {"a second end", with(whole, middle, "\xFF\xD9", 2), false},
    };
    const auto found = [&](store::ThumbnailLook look) {
        store::CheckOptions options;
        options.thumbnails = look;
        std::string kinds;
        const auto report = store::checkLibrary(paths, options);
        for (const auto &each : report->findings)
            kinds += std::string(nameOf(each.kind)) + ' ' + each.path;
        return kinds;
    };
    const std::string damaged = "damaged thumbnail " + path;
    EXPECT_EQ(found(store::ThumbnailLook::whole), "");
    for (const auto &[what, bytes, isSeenAtTheEnds] : cases) {
        writeFile(path, bytes);
        EXPECT_EQ(found(store::ThumbnailLook::name),
                  bytes.size() == whole.size() ? "" : "thumbnails of another size " + path)
            << what;
        EXPECT_EQ(found(store::ThumbnailLook::ends), isSeenAtTheEnds ? damaged : "") << what;
        EXPECT_EQ(found(store::ThumbnailLook::whole), damaged) << what;
        const std::int64_t index = recordOf(asset.uuid).thumbnailIndex;
        const auto repaired = repairLibrary(library());
        EXPECT_TRUE(repaired) << what << ": " << repaired.error().text;
        EXPECT_EQ(contentsOf(path), whole) << what;
        EXPECT_EQ(recordOf(asset.uuid).thumbnailIndex, index + 1) << what << ": caches notice";
    }
    fs::remove(path);
    fs::create_symlink(paths.thumbnail(asset.uuid, store::ThumbnailSize::preview), path);
    EXPECT_EQ(found(store::ThumbnailLook::ends), damaged);
    EXPECT_TRUE(repairLibrary(library()));
    EXPECT_EQ(contentsOf(path), whole);
    EXPECT_EQ(contentsOf(paths.thumbnail(asset.uuid, store::ThumbnailSize::preview)), larger);

    writeFile(path, {});
    fs::remove(paths.original(asset));
    EXPECT_EQ(repairLibrary(library()).error().text.substr(0, 33), "2 things could not be repaired; t");
}

TEST_F(Repair, CountsWhatCantBeDecoded) {
    const auto broken = saved(FileBytes(200, std::byte{7})), passing = saved(jpegOf(fourCorners(40, 30)));
    execute("UPDATE zgenericasset SET problem = 'no decoder', width = 0, height = 0 WHERE problem = ''");
    const std::string kind = "picture that can't be decoded ";
    EXPECT_EQ(faults(), kind + paths.original(broken) + '\n' + kind + paths.original(passing) + '\n');
    const auto repaired = repairLibrary(library());
    ASSERT_FALSE(repaired);
    EXPECT_EQ(repaired.error().text, "1 things could not be repaired; the first: " + kind +
                                         paths.original(broken) + ": " + recordOf(broken.uuid).problem);
    EXPECT_EQ(faults(), kind + paths.original(broken) + '\n') << "the other can be decoded by now";
    EXPECT_EQ(recordOf(passing.uuid).width, 40U);
    ASSERT_TRUE(removeAsset(library(), broken));
    EXPECT_TRUE(repairLibrary(library()));
}

TEST_F(Repair, MovesNothingOfAStoreThatCantBeRead) {
    const auto asset = saved(pngOf(fourCorners(4, 4)));
    const std::string original = paths.original(asset);
    execute("ALTER TABLE zgenericasset RENAME COLUMN uuid TO gone");
    const auto found = assetWithUUID(library(), asset.uuid);
    ASSERT_FALSE(found);
    EXPECT_NE(found.error().kind, ProblemKind::notFound) << "it may well be there";
    EXPECT_FALSE(moveStray(library(), original, paths.lostAndFound()));
    EXPECT_TRUE(fs::exists(original));
    EXPECT_FALSE(restoreAsset(library(), asset.uuid, {{original}}, true));
}

TEST_F(Repair, LooksAgainBeforeItTakesAnything) {
    const auto asset = saved(jpegOf(fourCorners(300, 200)));
    ASSERT_TRUE(setRendition(library(), asset, *dataOf(pngOf(fourCorners(7, 4))), nullptr));
    const std::string rendition = *renditionPath(library(), asset);
    // Findings of a moment ago.
    for (const std::string &path :
         {rendition, paths.original(asset), paths.thumbnail(asset.uuid, store::ThumbnailSize::small)}) {
        EXPECT_TRUE(moveStray(library(), path, paths.lostAndFound()));
        EXPECT_TRUE(fs::exists(path)) << path;
    }
    EXPECT_TRUE(forgetMissingRendition(library(), asset.uuid));
    EXPECT_EQ(*renditionPath(library(), asset), rendition);
    // One that came since the found files were saved.
    const std::string dropped = paths.folder() + "/DCIM/AA/dropped.PNG";
    writeFile(dropped, pngOf(fourCorners(9, 4)));
    letSettle(dropped);
    EXPECT_EQ(moveStrayOriginal(library(), dropped, paths.lostAndFound()).error().kind, ProblemKind::busy);
    EXPECT_TRUE(repairLibrary(library()));
    EXPECT_EQ(library().assets().counts()->photos, 2U);
    EXPECT_FALSE(fs::exists(paths.lostAndFound()));
    EXPECT_EQ(faults(), "");
}

TEST_F(Repair, LeavesWhatIsSetAndRemovedMeanwhile) {
    std::vector<AssetRecord> assets;
    for (std::uint32_t i = 0; i < 4; ++i)
        assets.push_back(saved(jpegOf(fourCorners(300 + i, 200))));
    std::atomic<bool> isOver = false;
    std::thread repairs([&] {
        const ReleaseScope own;
        while (!isOver) {
            const auto repaired = repairLibrary(library());
            EXPECT_TRUE(repaired) << repaired.error().text;
            EXPECT_EQ(store::checkLibrary(paths)->findings.size(), 0U);
        }
    });
    std::size_t lost = 0;
    for (std::uint32_t round = 0; round < 15; ++round) {
        for (const auto &asset : assets) {
            const FileBytes edit = pngOf(fourCorners(20 + round, 10));
            EXPECT_TRUE(setRendition(library(), asset, *dataOf(edit), nullptr));
            const auto path = renditionPath(library(), asset);
            lost += path && contentsOf(*path) == edit ? 0 : 1;
        }
        EXPECT_TRUE(removeAsset(library(), saved(pngOf(fourCorners(30 + round, 10)))));
    }
    isOver = true;
    repairs.join();
    EXPECT_EQ(lost, 0U);
    EXPECT_EQ(faults(), "");
    EXPECT_FALSE(fs::exists(paths.lostAndFound()));
}

TEST_F(Repair, MakesAssetsAgainOfRowsThatCantBeOnes) {
    const auto one = saved(pngOf(fourCorners(4, 4))), two = saved(pngOf(fourCorners(5, 4))),
               three = saved(pngOf(fourCorners(6, 4))), four = saved(pngOf(fourCorners(7, 4)));
    const std::string album = *makeAlbum(library(), "Dunes");
    execute(
        "UPDATE zgenericasset SET filename = CAST(x'41ff' AS TEXT), originalfilename = CAST(x'42ff' AS TEXT) "
        "WHERE pk = 1; UPDATE zgenericasset SET uuid = CAST(x'ff' AS TEXT) WHERE pk = 2;"
        "UPDATE zgenericasset SET uuid = 'x', filename = 'x' WHERE pk = 3;"
        "UPDATE zgenericasset SET bytesize = -1, camera = CAST(x'42ff' AS TEXT), lens = 'a' || char(0), "
        "exposureseconds = -1, aperture = 9e999, focallength = -9e999, isospeed = -1, rating = 6, "
        "favourite = 1, caption = 'b' || char(27), keywords = 'c' || char(10) || 'd' || char(10) || 'c' "
        "WHERE pk = 4;"
        "UPDATE zalbum SET name = CAST(x'4142ff' AS TEXT);");
    EXPECT_NE(faults().find("unreadable entry of the store"), std::string::npos);
    const auto repaired = repairLibrary(library());
    EXPECT_TRUE(repaired) << repaired.error().text;
    EXPECT_EQ(faults(), "");
    EXPECT_EQ(recordOf(one.uuid).filename, one.filename);
    EXPECT_EQ(recordOf(one.uuid).originalFilename, "B\uFFFD");
    EXPECT_EQ(recordOf(two.uuid).primaryKey, two.primaryKey);
    EXPECT_EQ(recordOf(three.uuid).sha256, three.sha256) << "found among the originals";
    const auto fourth = recordOf(four.uuid);
    EXPECT_EQ(fourth.byteSize, four.byteSize);
    EXPECT_EQ(fourth.camera, "B\uFFFD");
    EXPECT_EQ(fourth.lens, "a");
    EXPECT_FALSE(fourth.exposureSeconds || fourth.aperture || fourth.focalLength || fourth.isoSpeed);
    EXPECT_TRUE(fourth.favourite);
    EXPECT_EQ(fourth.rating, 5);
    EXPECT_EQ(fourth.caption, "b");
    EXPECT_EQ(fourth.keywords, "c\nd");
    EXPECT_TRUE(*library().assets().albumWithUUID(album));
}

TEST_F(Repair, TakesTheNameOfAnAssetThatIsNoTextFromTheNotes) {
    const auto one = saved(pngOf(fourCorners(4, 4)));
    execute("UPDATE zgenericasset SET originalfilename = 'My name.png'");
    const std::string kept = paths.folder() + "/kept";
    fs::copy(notesFolder(paths), kept);
    execute("UPDATE zgenericasset SET originalfilename = CAST(x'42ff' AS TEXT)");
    fs::remove_all(notesFolder(paths));
    fs::rename(kept, notesFolder(paths));

    EXPECT_TRUE(repairLibrary(library()));
    EXPECT_EQ(recordOf(one.uuid).originalFilename, "My name.png");
    EXPECT_EQ(faults(), "");
}

TEST_F(Repair, MendsTextsThatAreNone) {
    allowLastingDescriptors(folderWatchDescriptors); // of the languages for bulletins, which are watched
    execute("INSERT INTO zemail (address, dateadded) VALUES (CAST(x'41ff' AS TEXT), 1);"
            "INSERT INTO zperson (personid, info, dateadded) VALUES (CAST(x'41ff' AS TEXT), x'07', 1);"
            "INSERT INTO zchange (what, assetuuid) VALUES (0, CAST(x'41ff' AS TEXT));"
            "INSERT INTO zbulletin (type, originalrecordid, originaldate, date, photos, videos, sender) "
            "VALUES (1, 1, 1, (julianday('now') - 2451910.5) * 86400, 1, 0, CAST(x'41ff' AS TEXT));");
    const auto address = [&] {
        return library().read([](sqlite::Database &database) { return emailAddress(database, 1); });
    };
    std::string found;
    const auto report = store::checkLibrary(paths);
    ASSERT_TRUE(report);
    for (const store::Finding &each : report->findings)
        found += each.detail + '\n';
    for (const char *row : {"bulletin 1", "e-mail address 1", "person 1", "change 1"})
        EXPECT_NE(found.find(row), std::string::npos) << row << " in " << found;
    EXPECT_EQ((*currentBulletins(library()))->count(), 0U);
    EXPECT_EQ(badgeCount(library()), 0) << "of what is listed";
    EXPECT_EQ(*address(), std::nullopt);
    EXPECT_TRUE(library().assets().changesSince({}, 1)->changes.empty());

    ASSERT_TRUE(repairLibrary(library()));
    EXPECT_EQ(faults(), "");
    EXPECT_EQ((*currentBulletins(library()))->count(), 1U);
    EXPECT_EQ(*address(), "A\uFFFD");
    EXPECT_TRUE(*library().read([](sqlite::Database &database) { return personInfo(database, "A\uFFFD"); }));
}

TEST_F(Sizes, AreThoseOfTheFilesWhateverChanges) {
    const FileBytes one = jpegOf(fourCorners(2500, 1500)), two = pngOf(fourCorners(40, 40)),
                    edit = jpegOf(fourCorners(300, 100));
    const auto derivedFiles = [&] {
        std::uint64_t bytes = 0;
        for (const char *folder : {"/PhotoData/Thumbnails", "/PhotoData/Renditions"})
            for (const auto &entry : fs::recursive_directory_iterator(paths.folder() + folder))
                bytes += entry.is_regular_file() ? entry.file_size() : 0;
        return bytes;
    };
    fs::create_directories(paths.folder() + "/PhotoData/Renditions");
    EXPECT_EQ(size(SizeKind::photos), 0U);
    const auto asset = saved(one), other = saved(two), broken = saved(FileBytes(200, std::byte{7}));
    const auto picture = dataOf(edit);
    const struct {
        const char *what;
        std::function<bool()> change;
        bool isInTrash = false;
    } steps[] = {
        {"thumbnails are due", [] { return true; }},
        {"made",
         [&] {
             makeThumbnailsLeftDue(library());
             return true;
         }},
        {"a late one", [&] { return makeLateThumbnails(library(), recordOf(asset.uuid)).has_value(); }},
        {"an edit",
         [&] { return setRendition(library(), recordOf(asset.uuid), *picture, nullptr).has_value(); }},
        {"a late one of the edit",
         [&] { return makeLateThumbnails(library(), recordOf(asset.uuid)).has_value(); }},
        {"no edit", [&] { return revertRendition(library(), recordOf(asset.uuid)).has_value(); }},
        {"made again",
         [&] {
             return makeThumbnails(library(), recordOf(other.uuid), {.isForced = true, .newIndex = true})
                 .has_value();
         }},
        {"in the trash", [&] { return trashAsset(library(), recordOf(asset.uuid)).has_value(); }, true},
        {"back", [&] { return restoreFromTrash(library(), asset.uuid).has_value(); }},
        {"removed", [&] { return removeAsset(library(), recordOf(other.uuid)).has_value(); }},
    };
    for (const auto &[what, change, isInTrash] : steps) {
        ASSERT_TRUE(change()) << what;
        const std::uint64_t originals = isInTrash ? asset.byteSize : 0;
        EXPECT_EQ(size(SizeKind::derived) + size(SizeKind::trash), derivedFiles() + originals) << what;
        EXPECT_EQ(size(SizeKind::trash) > originals, isInTrash) << what;
        EXPECT_EQ(size(SizeKind::videos), 0U);
    }
    EXPECT_EQ(size(SizeKind::photos), one.size() + broken.byteSize);
    execute("DELETE FROM zduethumbnail"); // of what can't be decoded
    measureLeftUnknown(library());
    fs::remove_all(paths.folder() + "/PhotoData/Thumbnails");
    EXPECT_GT(size(SizeKind::derived), 0U) << "no file was looked at";

    const std::uint64_t database = size(SizeKind::database);
    EXPECT_GE(database, fs::file_size(paths.database()));
    writeFile(paths.albums() + "/x/assets", two);
    EXPECT_EQ(size(SizeKind::database), database + two.size());
}

// The store of a process that was killed between a change of the files and the commit after it.
TEST_F(Sizes, AreRightAfterAKillWithinAChange) {
    const auto asset = saved(jpegOf(fourCorners(300, 200))), other = saved(jpegOf(fourCorners(301, 200)));
    makeThumbnailsLeftDue(library());
    const std::uint64_t before = size(SizeKind::derived);
    ASSERT_TRUE(beginDerivedChange(library(), asset.primaryKey));
    const std::string late = paths.thumbnail(asset.uuid, store::ThumbnailSize::large);
    writeFile(late, FileBytes(100));
    EXPECT_EQ(size(SizeKind::derived), before + 100);
    measureLeftUnknown(library());
    writeFile(late, FileBytes(200));
    EXPECT_EQ(size(SizeKind::derived), before + 200)
        << "only the thread that changes the files measures them";

    ASSERT_TRUE(forgetUnfinishedChanges(library())); // the next process
    EXPECT_EQ(size(SizeKind::derived), before + 200);
    measureLeftUnknown(library());
    writeFile(late, FileBytes(300));
    EXPECT_EQ(size(SizeKind::derived), before + 200) << "kept from now on";
    fs::remove(late);
    ASSERT_TRUE(endDerivedChange(library(), asset));
    EXPECT_EQ(size(SizeKind::derived), before);
    EXPECT_EQ(faults(), "");
}

TEST_F(Sizes, AndCountsThatAreWrongAreFoundAndPutRight) {
    const FileBytes bytes = jpegOf(fourCorners(300, 200));
    const auto asset = saved(bytes), trashed = saved(jpegOf(fourCorners(301, 200)));
    makeThumbnailsLeftDue(library());
    ASSERT_TRUE(trashAsset(library(), recordOf(trashed.uuid)));
    const auto sizes = [&] {
        auto all = librarySizes(library()).value();
        all.erase(static_cast<std::uint32_t>(SizeKind::database)); // changes with each commit
        return all;
    };
    const auto before = sizes();
    const std::string store = "wrong sum in the store " + paths.database() + '\n',
                      thumbnail = "thumbnails of another size ";
    const auto smallOf = [&](const AssetRecord &each) {
        return thumbnail + paths.thumbnail(each.uuid, store::ThumbnailSize::small) + '\n';
    };
    const std::pair<const char *, std::string> cases[] = {
        {"UPDATE zcount SET number = number + 1 WHERE kind = 1", store},
        {"UPDATE zcount SET bytes = 0", store},
        {"DELETE FROM zcount WHERE kind = 0", store + store},
        {"UPDATE zsize SET bytes = 5", store + store + store},
        {"DELETE FROM zsize", store + store + store},
        {"UPDATE zgenericasset SET derivedbytes = derivedbytes + 1", smallOf(asset)},
        {"UPDATE ztrashedasset SET derivedbytes = 0", smallOf(trashed)},
    };
    EXPECT_EQ(faults(), "");
    for (const auto &[sql, found] : cases) {
        execute(sql);
        EXPECT_EQ(faults(), found) << sql;
        EXPECT_TRUE(repairLibrary(library())) << sql;
        EXPECT_EQ(faults(), "") << sql;
        EXPECT_EQ(sizes(), before) << sql;
    }
}

TEST_F(DemoMode, TakesOutWhatCameAfterADate) {
    const FileBytes picture = jpegOf(fourCorners(300, 200)), edited = jpegOf(fourCorners(200, 300));
    const auto mine = saved(picture), shared = saved(picture), kept = saved(picture);
    const auto add = [&](const AssetRecord &asset, const std::string &album) {
        ASSERT_TRUE(addToAlbum(library(), **library().assets().assetWithUUID(asset.uuid),
                               **library().assets().albumWithUUID(album), getuid()));
    };
    const auto meet = [&](const char *person) {
        ASSERT_TRUE(library().writer().change([&](Database &database) {
            constexpr std::byte info{'i'};
            return setPersonInfo(database, person, wickerlane::Bytes(&info, 1)).and_then([&] {
                return emailKey(database, person);
            });
        }));
    };
    const std::string before = *makeStreamAlbum(library(), "Mine");
    add(shared, before);
    meet("Ada");
    EXPECT_TRUE(setRendition(library(), kept, *dataOf(edited), nullptr));
    // A moment later for each, whatever the clock's steps are.
    execute("UPDATE zgenericasset SET dateadded = dateadded - 10; UPDATE zalbumasset SET dateadded = 1000; "
            "UPDATE zalbum SET datecreated = datecreated - 10; UPDATE zrendition SET dateadded = 1000; "
            "UPDATE zbulletin SET originaldate = 1000; "
            "UPDATE zemail SET dateadded = 1000; UPDATE zperson SET dateadded = 1000");
    const double began = secondsNow() - 5;
    const auto visitors = saved(pngOf(fourCorners(5, 4)));
    const std::string after = *makeStreamAlbum(library(), "A visitor's");
    add(mine, after);
    add(mine, before); // which the bulletin of the other gathers
    meet("Ada");
    meet("A visitor");
    const FileBytes thumbnail = contentsOf(paths.thumbnail(mine.uuid, store::ThumbnailSize::small));
    EXPECT_TRUE(setRendition(library(), mine, *dataOf(edited), nullptr));
    ASSERT_EQ(badgeCount(library()), 2);

    EXPECT_TRUE(removeAddedSince(library(), began));
    EXPECT_EQ(library().writer().renditionOf(mine.uuid), "");
    EXPECT_EQ(contentsOf(paths.thumbnail(mine.uuid, store::ThumbnailSize::small)), thumbnail);
    EXPECT_NE(library().writer().renditionOf(kept.uuid), "");
    for (const char *table : {"zperson", "zemail", "zalbumasset"})
        EXPECT_EQ(library().read([&](Database &database) {
            return database.integer((std::string("SELECT count(*) FROM ") + table).c_str());
        }),
                  1)
            << table;
    const auto left = library().read([](Database &database) { return currentBulletins(database, 1001); });
    ASSERT_TRUE(left && left->size() == 1);
    EXPECT_EQ(left->front().photos, 1);
    EXPECT_EQ(left->front().date, 1000);
    EXPECT_EQ(left->front().assetUUID, shared.uuid);
    EXPECT_EQ(recordOf(visitors.uuid).uuid, "");
    EXPECT_EQ(recordOf(mine.uuid).uuid, mine.uuid);
    execute("DELETE FROM zalbum");
    EXPECT_TRUE(recreateAlbums(library()));
    EXPECT_EQ(library().assets().albums()->size(), 1U) << "nor does the album come back";
    const auto album = library().assets().albumWithUUID(before);
    ASSERT_TRUE(album && *album);
    EXPECT_EQ((*album)->record().assetCount, 1U) << "nor what was added";
    EXPECT_EQ(faults(), "");
}

} // namespace
