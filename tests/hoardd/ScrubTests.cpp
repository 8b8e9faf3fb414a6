// Reading originals again, without a daemon; and that a daemon does it.
#include "hoardd/upkeep/Scrub.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <map>
#include <set>

#include "hoardd/albums/BulletinBoard.h"
#include "hoardd/albums/BulletinStore.h"
#include "hoardd/library/Clock.h"
#include "hoardd/saving/Publication.h"
#include "hoardd/saving/Trash.h"
#include "hoardd/upkeep/Repair.h"
#include "tests/hoardd/OpenLibrary.h"
#include "tests/hoardd/RunningHoardd.h"
#include "tests/support/Descriptors.h"
#include "tests/support/WaitUntil.h"
#include "wickerlane/store/OriginalFault.h"

using namespace wickerlane;
using namespace wickerlane::hoardd;
using namespace wickerlane::test;
using store::Finding;
using store::OriginalFault;
namespace fs = std::filesystem;

namespace {

constexpr double day = 86'400, within = 90 * day;

void changeFirstByte(const std::string &path) {
    ASSERT_EQ(chmod(path.c_str(), 0600), 0);
    std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
    const int byte = file.peek();
    file.put(static_cast<char>(byte ^ 1));
}

/// As a disk does it that forgets.
void damage(const std::string &path) {
    const auto written = fs::last_write_time(path);
    changeFirstByte(path);
    fs::last_write_time(path, written);
}

class Scrubbing : public OpenLibrary {
protected:
    /// Assets that differ.
    void save(int count) {
        for (int i = 0; i < count; ++i)
            assets.push_back(saved(jpegOf(scene(64, 48, static_cast<unsigned>(assets.size()) + 1))));
    }
    [[nodiscard]] std::string original(std::size_t index) const { return paths.original(assets[index]); }
    /// All that is due at a time, with what was read.
    std::size_t scrubAt(double now) const {
        for (std::size_t read = 0;;) {
            const auto outcome = scrub(library(), within, now);
            EXPECT_TRUE(outcome) << outcome.error().text;
            if (!outcome)
                return read;
            read += outcome->read;
            if (!outcome->isDue)
                return read;
        }
    }
    /// The dates at which originals were read last; nothing of those that have not been.
    [[nodiscard]] std::map<std::int64_t, double> datesRead() const {
        std::map<std::int64_t, double> dates;
        const auto read = library().read([&](sqlite::Database &database) {
            return database.prepare("SELECT asset, date FROM zscrub").forEach([&](const auto &row) {
                dates[row.integer(0)] = row.real(1);
            });
        });
        EXPECT_TRUE(read);
        return dates;
    }
    [[nodiscard]] OriginalFault faultOf(std::size_t index) const {
        const auto fault = library().read([&](sqlite::Database &database) {
            return database.prepare("SELECT fault FROM zscrub WHERE asset = ?")
                .bind(assets[index].primaryKey)
                .first([](const auto &row) { return static_cast<OriginalFault>(row.integer(0)); });
        });
        EXPECT_TRUE(fault);
        return fault && *fault ? **fault : OriginalFault::none;
    }
    /// How many originals the bulletins tell of.
    [[nodiscard]] std::int64_t told(double now) const {
        std::int64_t count = 0;
        const auto all =
            library().read([now](sqlite::Database &database) { return currentBulletins(database, now); });
        EXPECT_TRUE(all);
        for (const BulletinRecord &each : *all)
            if (each.type == BulletinType::originalsLost)
                count += each.photos + each.videos;
        return count;
    }
    /// The kinds of what a check finds without reading originals.
    [[nodiscard]] std::vector<Finding::Kind> found() const {
        std::vector<Finding::Kind> kinds;
        const auto report = store::checkLibrary(paths);
        EXPECT_TRUE(report);
        for (const Finding &each : report->findings)
            kinds.push_back(each.kind);
        return kinds;
    }

    std::vector<AssetRecord> assets;
    const double start = secondsNow();
};

TEST_F(Scrubbing, ReadsEachOriginalWithinItsTimeAndNotMuchMore) {
    save(20);
    ASSERT_EQ(scrubAt(start), 0U);
    std::size_t read = 0, mostAtOnce = 0;
    for (int hour = 6; hour <= 90 * 24; hour += 6) {
        const std::size_t now = scrubAt(start + hour * 3600.0);
        read += now;
        mostAtOnce = std::max(mostAtOnce, now);
    }
    EXPECT_EQ(datesRead().size(), 20U);
    EXPECT_GE(read, 20U);
    EXPECT_LE(read, 24U);
    EXPECT_EQ(mostAtOnce, 1U);
    // The second round has the same order and the same pace.
    for (int hour = 90 * 24; hour <= 180 * 24; hour += 6)
        scrubAt(start + hour * 3600.0);
    for (const auto &[asset, date] : datesRead())
        EXPECT_GT(date, start + 90 * day);
}

TEST_F(Scrubbing, MakesUpForTheTimeInWhichNothingRan) {
    save(10);
    scrubAt(start);
    EXPECT_EQ(scrubAt(start + 40 * day), 5U);
    const auto outcome = scrub(library(), within, start + 80 * day);
    ASSERT_TRUE(outcome);
    EXPECT_EQ(outcome->read, 5U);
    EXPECT_EQ(datesRead().size(), 10U);
    // Far behind, all are due once.
    EXPECT_EQ(scrubAt(start + 1000 * day), 10U);
    // A clock that is put back neither stops it nor has everything read.
    EXPECT_EQ(scrubAt(start), 0U);
    EXPECT_EQ(scrubAt(start + 8 * day), 1U);
}

TEST_F(Scrubbing, DoesNotTouchTheStoreWhileNothingIsDue) {
    save(2);
    scrubAt(start);
    // What is noted some time after a save, by another timer, is noted now.
    ASSERT_TRUE(library().thumbnailSync().syncNow());
    library().thumbnailSync().stop();
    const auto commits = [&] {
        return fs::file_size(paths.database() + "-wal") + fs::file_size(paths.database());
    };
    const auto before = commits();
    for (int minute = 1; minute < 100; ++minute)
        EXPECT_EQ(scrubAt(start + minute * 60), 0U);
    EXPECT_EQ(commits(), before);
}

TEST_F(Scrubbing, TellsWhatHasBecomeOfAnOriginal) {
    save(6);
    ASSERT_EQ(scrubAt(start), 0U);
    ASSERT_EQ(scrubAt(start + 80 * day), 6U); // all are sound, and when they were written is known
    EXPECT_EQ(told(start), 0);

    damage(original(0));
    changeFirstByte(original(1));
    fs::resize_file((chmod(original(2).c_str(), 0600), original(2)), 100);
    fs::remove(original(3));
    fs::remove(original(4));
    ASSERT_EQ(mkfifo(original(4).c_str(), 0600), 0); // which it does not wait for
    const double later = start + 160 * day;
    ASSERT_EQ(scrubAt(later), 6U);
    const OriginalFault expected[] = {OriginalFault::damaged, OriginalFault::changed, OriginalFault::changed,
                                      OriginalFault::missing, OriginalFault::changed, OriginalFault::none};
    for (std::size_t i = 0; i < std::size(expected); ++i)
        EXPECT_EQ(faultOf(i), expected[i]) << i;
    EXPECT_EQ(told(later), 5);
    const auto kinds = found();
    EXPECT_EQ(std::ranges::count(kinds, Finding::Kind::damagedOriginal), 1);
    EXPECT_EQ(std::ranges::count(kinds, Finding::Kind::changedOriginal), 3);
    EXPECT_EQ(std::ranges::count(kinds, Finding::Kind::missingOriginal), 1);

    // They are read each time, and reported once.
    ASSERT_EQ(scrubAt(later + 2 * day), 5U);
    EXPECT_EQ(faultOf(0), OriginalFault::damaged);
    EXPECT_EQ(faultOf(1), OriginalFault::changed);
    EXPECT_EQ(told(later), 5);
}

TEST_F(Scrubbing, AnOriginalThatWasNeverReadIsJudgedByTheTimeOfItsSaving) {
    save(2);
    damage(original(0));
    changeFirstByte(original(1));
    fs::last_write_time(original(1), fs::file_time_type::clock::now() + std::chrono::hours(1));
    scrubAt(start);
    scrubAt(start + 80 * day);
    EXPECT_EQ(faultOf(0), OriginalFault::damaged);
    EXPECT_EQ(faultOf(1), OriginalFault::changed);
}

TEST_F(Scrubbing, WhatWasPutRightIsReadAtOnceAndForgotten) {
    save(2);
    const FileBytes good = contentsOf(original(0));
    damage(original(0));
    damage(original(1));
    scrubAt(start - 100 * day);
    ASSERT_EQ(scrubAt(start - 20 * day), 2U);
    ASSERT_EQ(found().size(), 2U);
    writeFile(original(0), good);
    EXPECT_EQ(scrubAt(secondsNow() + 1), 2U) << "one was written, and the other not read for long";
    EXPECT_EQ(faultOf(0), OriginalFault::none);
    EXPECT_EQ(found().size(), 1U);
    // A repair looks, too.
    EXPECT_FALSE(repairLibrary(library()));
    damage(original(1)); // which turns the same bit again
    EXPECT_TRUE(repairLibrary(library()));
    EXPECT_EQ(faultOf(1), OriginalFault::none);
}

TEST_F(Scrubbing, AFaultGoesIntoTheTrashAndComesBack) {
    save(1);
    damage(original(0));
    scrubAt(start);
    scrubAt(start + 80 * day);
    ASSERT_TRUE(trashAsset(library(), assets[0]));
    EXPECT_EQ(found(), std::vector{Finding::Kind::damagedOriginal});
    EXPECT_EQ(scrubAt(start + 160 * day), 0U);
    ASSERT_TRUE(restoreFromTrash(library(), assets[0].uuid));
    EXPECT_EQ(faultOf(0), OriginalFault::damaged);
    ASSERT_TRUE(trashAsset(library(), assets[0]));
    ASSERT_TRUE(removeAsset(library(), assets[0], AssetPlace::trash));
    EXPECT_EQ(found(), std::vector<Finding::Kind>());
}

TEST_F(Scrubbing, ABulletinSaysHowManyAndLeadsToOne) {
    test::allowLastingDescriptors(test::folderWatchDescriptors); // of the texts' language
    save(2);
    for (std::size_t i = 0; i < 2; ++i)
        damage(original(i));
    scrubAt(start - 81 * day);
    scrubAt(start - day);
    const auto all = hoardd::currentBulletins(library());
    ASSERT_TRUE(all);
    ASSERT_EQ((*all)->count(), 1U);
    const auto *bulletin = as<Dictionary>((*all)->at(0));
    EXPECT_EQ(bulletin->get<Number>("bulletinType")->int64Value(), 1);
    EXPECT_EQ(bulletin->get<Number>("assetCount")->int64Value(), 2);
    EXPECT_EQ(bulletin->get<String>("message")->utf8(),
              "The originals of 2 items are damaged, missing or not what was saved.");
    EXPECT_EQ(bulletin->get<String>("title")->utf8(), "Photo Library");
    EXPECT_NE(bulletin->get<String>("defaultURL")->utf8().find(assets[1].uuid), std::string::npos);
    EXPECT_EQ(bulletin->get<String>("albumUUID"), nullptr);
    EXPECT_TRUE(clearBulletins(library(), bulletin->get<Number>("recordID")->uint64Value()));
    EXPECT_EQ(badgeCount(library()), 0);
}

TEST_F(Scrubbing, ADeletedAssetLeavesItsBulletin) {
    test::allowLastingDescriptors(test::folderWatchDescriptors); // of the texts' language
    save(3);
    for (std::size_t i = 0; i < 3; ++i)
        damage(original(i));
    scrubAt(start - 81 * day);
    scrubAt(start - day / 2);
    ASSERT_EQ(told(start), 3);
    const auto leadsTo = [&] {
        const auto all =
            library().read([&](sqlite::Database &database) { return currentBulletins(database, start); });
        return all && all->size() == 1 ? all->front().assetUUID : std::string("none");
    };
    EXPECT_EQ(leadsTo(), assets[2].uuid);
    ASSERT_TRUE(trashAsset(library(), assets[2]));
    EXPECT_EQ(told(start), 2);
    EXPECT_NE(leadsTo(), "");
    for (const std::size_t i : {0, 1})
        ASSERT_TRUE(removeAsset(library(), assets[i]));
    EXPECT_EQ(leadsTo(), "none");
    EXPECT_EQ(badgeCount(library()), 0);
    // Reading it again, which finds the fault again, keeps it in its bulletin.
    ASSERT_TRUE(restoreFromTrash(library(), assets[2].uuid));
    EXPECT_EQ(told(start), 1);
    EXPECT_EQ(leadsTo(), assets[2].uuid);
    EXPECT_EQ(badgeCount(library()), 1);
    ASSERT_TRUE(scrubFaulty(library(), start));
    ASSERT_TRUE(trashAsset(library(), assets[2]));
    EXPECT_EQ(told(start), 0);
    // What was cleared meanwhile stays so.
    ASSERT_TRUE(clearBulletins(library(), INT64_MAX));
    ASSERT_TRUE(restoreFromTrash(library(), assets[2].uuid));
    EXPECT_EQ(told(start), 0);
}

class ScrubbingDaemon : public RunningHoardd {};

TEST_F(ScrubbingDaemon, FindsDamageByItself) {
    describeService({"--idle-seconds", "60", "--scrub-days", "0.00001"});
    connection = connect();
    const std::string uuid = textIn(saveData(jpegOf(scene(64, 48, 1))), "uuid");
    const std::string path =
        paths.folder() + "/" + store::LibraryPaths::directoryOfOriginal(uuid) + "/" + uuid + ".JPG";
    damage(path);
    const auto logged = [] {
        std::ifstream log(logOfService());
        return std::string(std::istreambuf_iterator<char>(log), {});
    };
    ASSERT_TRUE(waitUntil([&] { return logged().find(path + " is damaged") != std::string::npos; }));
    const auto reply = answer(request(37).get());
    EXPECT_EQ(as<Array>(JXArrayFromMsgDictionary(reply.get(), "kJXBulletinsKey"))->count(), 1U);
}

} // namespace
