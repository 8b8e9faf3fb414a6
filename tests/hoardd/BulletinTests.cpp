// The bulletin board, without a daemon.
#include "hoardd/albums/BulletinBoard.h"

#include "hoardd/albums/Albums.h"
#include "hoardd/albums/BulletinStore.h"
#include "hoardd/library/Clock.h"
#include "tests/hoardd/OpenLibrary.h"

using namespace wickerlane;
using namespace wickerlane::hoardd;
using sqlite::Database;

namespace {

constexpr double minute = 60, day = 86'400;

class Bulletins : public OpenLibrary {
protected:
    void SetUp() override {
        OpenLibrary::SetUp();
        for (const char *stream : {"s", "t"}) {
            const auto uuid = makeStreamAlbum(library(), stream);
            ASSERT_TRUE(uuid);
            albums.push_back((*library().assets().albumWithUUID(*uuid))->record());
        }
        for (int i = 0; i < 2; ++i) {
            Store::Addition addition;
            addition.record.uuid = std::string("0000000A-0000-4000-8000-00000000000") + (i == 0 ? "1" : "2");
            addition.record.directory = "DCIM/00";
            addition.record.filename = addition.record.uuid + ".JPG";
            addition.record.kind = i == 0 ? AssetKind::photo : AssetKind::video;
            addition.record.directory = "DCIM/00";
            addition.record.filename = addition.record.uuid + ".JPG";
            ASSERT_TRUE(library().writer().add({&addition, 1}));
            assets.push_back(addition.record);
        }
    }
    void add(const AssetRecord &asset, const AlbumRecord &album, double date) const {
        ASSERT_TRUE(library().writer().change(
            [&](Database &database) { return addAssetBulletin(database, asset, album, "Ada", date); }));
    }
    /// Those of a time, newest first.
    [[nodiscard]] std::vector<BulletinRecord> current(double now) const {
        const auto read =
            library().read([now](Database &database) { return currentBulletins(database, now); });
        const auto count =
            library().read([now](Database &database) { return countCurrentBulletins(database, now); });
        EXPECT_TRUE(read && count);
        EXPECT_EQ(static_cast<std::size_t>(*count), read->size());
        return *read;
    }

    std::vector<AlbumRecord> albums;
    std::vector<AssetRecord> assets; // a photo and a video
};

TEST_F(Bulletins, GatherWhatComesIntoOneAlbumWithinTenMinutes) {
    const auto &photo = assets[0], &video = assets[1];
    add(photo, albums[0], 1000);
    const auto first = current(1000);
    ASSERT_EQ(first.size(), 1U);
    EXPECT_EQ(first[0].originalID, first[0].id);

    add(video, albums[0], 1000 + 9 * minute);
    add(photo, albums[1], 1000 + 10 * minute);
    add(video, albums[0], 1000 + 18 * minute); // which is soon after the one before
    add(photo, albums[0], 1000 + 28 * minute); // which is not
    const auto all = current(1000 + 28 * minute);
    ASSERT_EQ(all.size(), 3U);
    EXPECT_EQ(all[0].photos, 1);
    EXPECT_EQ(all[0].videos, 0);
    EXPECT_EQ(all[0].originalID, all[0].id);
    const BulletinRecord &gathered = all[1];
    EXPECT_EQ(gathered.albumUUID, albums[0].uuid);
    EXPECT_EQ(gathered.photos, 1);
    EXPECT_EQ(gathered.videos, 2);
    EXPECT_EQ(gathered.originalID, first[0].id);
    EXPECT_EQ(gathered.originalDate, 1000);
    EXPECT_EQ(gathered.date, 1000 + 18 * minute);
    EXPECT_EQ(gathered.assetUUID, assets[1].uuid);
    EXPECT_TRUE(gathered.assetIsVideo);
    EXPECT_EQ(gathered.sender, "Ada");
    EXPECT_EQ(all[2].albumUUID, albums[1].uuid);
}

TEST_F(Bulletins, ExpireAfterThirtyDays) {
    add(assets[0], albums[0], 1000);
    EXPECT_EQ(current(1000 + 30 * day - 1).size(), 1U);
    EXPECT_EQ(current(1000 + 30 * day).size(), 0U);
    EXPECT_EQ(expireBulletins(library(), 1000), 1000 + 30 * day);
    EXPECT_EQ(current(1000).size(), 1U);
    EXPECT_EQ(expireBulletins(library(), 1000 + 30 * day), std::nullopt);
    EXPECT_EQ(current(1000).size(), 0U);
    add(assets[0], albums[0], 1000);
    // The next one takes expired ones out of the store.
    add(assets[0], albums[1], 1001 + 30 * day);
    EXPECT_EQ(library().read([](sqlite::Database &database) {
        return database.integer("SELECT count(*) FROM zbulletin");
    }),
              1);
}

TEST_F(Bulletins, AreClearedUpToOneAndGoWithTheirAlbum) {
    const double now = secondsNow();
    for (const double minutes : {50.0, 30.0, 10.5})
        add(assets[0], albums[0], now - minutes * minute);
    add(assets[0], albums[1], now);
    ASSERT_EQ(badgeCount(library()), 4);
    const auto all = current(now);
    EXPECT_TRUE(clearBulletins(library(), static_cast<std::uint64_t>(all[2].id)));
    EXPECT_EQ(badgeCount(library()), 2);
    EXPECT_TRUE(deleteAlbumIfEmpty(library(), albums[1].primaryKey));
    EXPECT_EQ(badgeCount(library()), 1);
    const auto left = currentBulletins(library());
    ASSERT_TRUE(left);
    EXPECT_EQ((*left)->count(), 1U);
    EXPECT_TRUE(clearBulletins(library(), UINT64_MAX));
    EXPECT_EQ(badgeCount(library()), 0);
}

TEST_F(Bulletins, HaveNoThumbnailWithoutARecordOrAPicture) {
    add(assets[0], albums[0], secondsNow());
    for (const std::uint64_t id : {static_cast<std::uint64_t>(current(secondsNow())[0].id), UINT64_MAX}) {
        const auto thumbnail = bulletinThumbnail(library(), id);
        ASSERT_FALSE(thumbnail);
        EXPECT_EQ(thumbnail.error().kind, ProblemKind::notFound);
    }
}

} // namespace
