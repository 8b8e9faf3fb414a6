// Albums, without a daemon.
#include "hoardd/albums/Albums.h"

#include "hoardd/albums/AlbumNotes.h"
#include "hoardd/albums/AlbumStore.h"
#include "hoardd/albums/BulletinStore.h"
#include "hoardd/albums/CloudFeedStore.h"
#include "hoardd/library/Clock.h"
#include "hoardd/library/State.h"
#include "tests/hoardd/OpenLibrary.h"
#include "wickerlane/store/AnalysisReader.h"

using namespace wickerlane;
using namespace wickerlane::hoardd;
using sqlite::Database;
namespace fs = std::filesystem;

namespace {

constexpr const char *absentUUID = "0000000A-0000-4000-8000-00000000ABCD";

class Albums : public OpenLibrary {
protected:
    [[nodiscard]] AlbumRecord album(const std::string &uuid) const {
        const auto found = library().assets().albumWithUUID(uuid);
        EXPECT_TRUE(found) << found.error().text;
        return found && *found ? (*found)->record() : AlbumRecord();
    }
    [[nodiscard]] Result<> add(const std::string &assetUUID, const std::string &albumUUID) const {
        return addToAlbum(library(), **library().assets().assetWithUUID(assetUUID),
                          **library().assets().albumWithUUID(albumUUID), getuid());
    }
    [[nodiscard]] std::vector<std::string> assetsIn(const std::string &albumUUID) const {
        std::vector<std::string> uuids;
        const auto assets = library().assets().page({.filter = {.album = albumUUID}});
        EXPECT_TRUE(assets) << assets.error().text;
        for (const AssetRecord &each : assets.value().records)
            uuids.push_back(each.uuid);
        std::ranges::sort(uuids);
        return uuids;
    }
    /// The UUID, which ends with that digit, of a row without files.
    [[nodiscard]] std::string added(const char *digit) const {
        Store::Addition addition;
        addition.record.uuid = std::string("0000000A-0000-4000-8000-00000000000") + digit;
        addition.record.directory = "DCIM/00";
        addition.record.filename = addition.record.uuid + ".JPG";
        EXPECT_TRUE(library().writer().add({&addition, 1}));
        return addition.record.uuid;
    }
    void execute(const char *sql) const {
        ASSERT_TRUE(library().writer().change([sql](Database &database) { return database.execute(sql); }));
    }
};

TEST_F(Albums, HaveDifferentNames) {
    const auto made = makeAlbum(library(), "Été");
    ASSERT_TRUE(made);
    EXPECT_EQ(album(*made).name, "Été");
    const auto again = makeAlbum(library(), "Été");
    ASSERT_FALSE(again);
    EXPECT_EQ(again.error().kind, ProblemKind::exists);
    EXPECT_TRUE(makeAlbum(library(), "été")) << "case matters";
}

TEST_F(Albums, OfStreamsAreMadeOnceUnderAFreeName) {
    ASSERT_TRUE(makeAlbum(library(), "s"));
    ASSERT_TRUE(makeAlbum(library(), "s 2"));
    const auto made = makeStreamAlbum(library(), "s");
    ASSERT_TRUE(made);
    EXPECT_EQ(album(*made).name, "s 3");
    EXPECT_EQ(album(*made).streamID, "s");
    EXPECT_EQ(makeStreamAlbum(library(), "s"), *made);
    EXPECT_NE(makeStreamAlbum(library(), "t"), *made);
}

TEST_F(Albums, HoldAnAssetOnce) {
    const std::string one = added("1"), two = added("2");
    const std::string trip = *makeAlbum(library(), "Trip");
    for (const std::string &asset : {one, two, one})
        EXPECT_TRUE(add(asset, trip));
    EXPECT_EQ(assetsIn(trip), (std::vector{one, two}));
    EXPECT_EQ(album(trip).assetCount, 2U);
    // What the count says is put right.
    execute("UPDATE zalbum SET cachedcount = 77");
    EXPECT_TRUE(library().writer().change(recountAlbums));
    EXPECT_EQ(album(trip).assetCount, 2U);
}

TEST_F(Albums, ThatAreSharedAreLimited) {
    const std::string one = added("1"), two = added("2");
    const std::string shared = *makeStreamAlbum(library(), "s"), mine = *makeAlbum(library(), "Mine");
    execute("UPDATE zalbum SET cachedcount = 5000");
    EXPECT_FALSE(add(one, shared)) << "there is a limit before any is set";
    execute("UPDATE zalbum SET cachedcount = 0");
    ASSERT_TRUE(library().writer().change(
        [](Database &database) { return state::set(database, state::maxSharedAssets, 1); }));
    EXPECT_TRUE(add(one, shared));
    const auto refused = add(two, shared);
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.error().text, "the shared album is full: take assets out of it first");
    EXPECT_TRUE(add(one, shared)) << "adding it again changes nothing";
    EXPECT_EQ(assetsIn(shared), std::vector{one});
    for (const std::string &asset : {one, two})
        EXPECT_TRUE(add(asset, mine));
}

TEST_F(Albums, AreRenamedUnlessTheNameIsTakenOrNone) {
    const std::string trip = *makeAlbum(library(), "Trip");
    ASSERT_TRUE(makeAlbum(library(), "Dunes"));
    const struct {
        std::string uuid, name;
        std::optional<ProblemKind> refusal;
    } cases[] = {
        {trip, "Été", {}},
        {trip, "Été", {}}, // its own name is no other album's
        {trip, "Dunes", ProblemKind::exists},
        {trip, "", ProblemKind::invalid},
        {trip, std::string(1024, 'x'), {}},
        {trip, std::string(1025, 'x'), ProblemKind::invalid},
        {trip, std::string("a\0b", 3), ProblemKind::invalid},
        {trip, "\xFF", ProblemKind::invalid},
        {absentUUID, "Sea", ProblemKind::notFound},
        {"Trip", "Sea", ProblemKind::notFound},
    };
    std::string name = "Trip";
    for (const auto &each : cases) {
        const auto renamed = renameAlbum(library(), each.uuid, each.name);
        ASSERT_EQ(renamed.has_value(), !each.refusal) << each.name;
        if (each.refusal)
            EXPECT_EQ(renamed.error().kind, *each.refusal) << each.name;
        else
            name = each.name;
        EXPECT_EQ(album(trip).name, name);
    }
    EXPECT_TRUE(makeAlbum(library(), "Trip")) << "the old name is free";
}

TEST_F(Albums, ThatAreSharedKeepTheirStreamUnderAnyName) {
    const std::string asset = added("1"), shared = *makeStreamAlbum(library(), "s");
    ASSERT_TRUE(add(asset, shared));
    ASSERT_TRUE(renameAlbum(library(), shared, "Ours"));
    EXPECT_EQ(album(shared).streamID, "s");
    EXPECT_EQ(makeStreamAlbum(library(), "s"), shared);
    ASSERT_TRUE(deleteAlbum(library(), shared));
    const auto left = [&](const char *table) {
        return library().writer().change([&](Database &database) {
            return database.integer((std::string("SELECT count(*) FROM ") + table).c_str());
        });
    };
    for (const char *table : {"zalbum", "zalbumasset", "zbulletin", "zcloudfeedentry", "zcloudfeedasset"})
        EXPECT_EQ(left(table), 0) << table;
    const auto another = makeStreamAlbum(library(), "s");
    ASSERT_TRUE(another);
    EXPECT_NE(*another, shared);
    EXPECT_EQ(assetsIn(*another), std::vector<std::string>());
}

TEST_F(Albums, LoseWhatIsTakenOutAndNothingElseDoes) {
    const std::string one = added("1"), two = added("2"), three = added("3");
    const std::string trip = *makeAlbum(library(), "Trip"), other = *makeAlbum(library(), "Other");
    for (const std::string &asset : {one, two})
        for (const std::string &uuid : {trip, other})
            ASSERT_TRUE(add(asset, uuid));
    const auto takeOut = [&](const std::vector<std::string_view> &assets, std::string_view uuid) {
        const auto taken = removeFromAlbum(library(), assets, uuid);
        return taken ? std::optional<ProblemKind>() : taken.error().kind;
    };
    EXPECT_EQ(takeOut({one, absentUUID}, trip), ProblemKind::notFound);
    EXPECT_EQ(takeOut({one}, absentUUID), ProblemKind::notFound);
    EXPECT_EQ(assetsIn(trip), (std::vector{one, two})) << "all or none";
    EXPECT_EQ(takeOut({one, three, one}, trip), std::nullopt) << "one is not in it, one is named twice";
    EXPECT_EQ(assetsIn(trip), std::vector{two});
    EXPECT_EQ(album(trip).assetCount, 1U);
    EXPECT_EQ(assetsIn(other), (std::vector{one, two}));
    ASSERT_TRUE(deleteAlbum(library(), other));
    EXPECT_EQ(deleteAlbum(library(), other).error().kind, ProblemKind::notFound);
    EXPECT_EQ(assetsIn(trip), std::vector{two});
    for (const std::string &asset : {one, two, three})
        EXPECT_TRUE(library().writer().contains(asset).value_or(false)) << asset;
}

TEST_F(Albums, AreMadeAgainAsTheyWereChanged) {
    const std::string one = added("1"), two = added("2"), three = added("3");
    const std::string trip = *makeStreamAlbum(library(), "s"), gone = *makeAlbum(library(), "Gone");
    for (const std::string &asset : {one, two, three}) {
        ASSERT_TRUE(add(asset, trip));
        ASSERT_TRUE(add(asset, gone));
    }
    ASSERT_TRUE(renameAlbum(library(), trip, "Sea"));
    ASSERT_TRUE(removeFromAlbum(library(), std::vector<std::string_view>{one, three}, trip));
    ASSERT_TRUE(add(three, trip));
    ASSERT_TRUE(deleteAlbum(library(), gone));
    execute("DELETE FROM zalbum");
    ASSERT_TRUE(recreateAlbums(library()));
    EXPECT_EQ(album(trip).name, "Sea");
    EXPECT_EQ(album(trip).streamID, "s");
    EXPECT_EQ(assetsIn(trip), (std::vector{two, three}));
    EXPECT_EQ(album(gone).name, "") << "it does not come back";
}

TEST_F(Albums, LeaveTheirBulletinsWithWhatIsTakenOut) {
    const std::string one = added("1"), two = added("2");
    const std::string shared = *makeStreamAlbum(library(), "s"), another = *makeStreamAlbum(library(), "t");
    for (const std::string &asset : {one, two})
        for (const std::string &uuid : {shared, another})
            ASSERT_TRUE(add(asset, uuid));
    const auto bulletins = [&] {
        std::map<std::string, std::pair<std::int64_t, std::string>> byAlbum;
        const auto read = library().writer().change(
            [](Database &database) { return currentBulletins(database, secondsNow()); });
        EXPECT_TRUE(read);
        for (const BulletinRecord &each : *read)
            byAlbum[each.albumUUID] = {each.photos, each.assetUUID};
        return byAlbum;
    };
    EXPECT_EQ(bulletins()[shared], std::pair(std::int64_t{2}, two));
    ASSERT_TRUE(removeFromAlbum(library(), std::vector<std::string_view>{two, two}, shared));
    EXPECT_EQ(bulletins()[shared], std::pair(std::int64_t{1}, one)) << "the newest that is left";
    EXPECT_EQ(bulletins()[another], std::pair(std::int64_t{2}, two));
    ASSERT_TRUE(removeFromAlbum(library(), std::vector<std::string_view>{one}, shared));
    EXPECT_FALSE(bulletins().contains(shared));
}

TEST_F(Albums, AreDeletedOnlyWhenTheyAreEmpty) {
    const std::string asset = added("1"), full = *makeAlbum(library(), "Full"),
                      empty = *makeAlbum(library(), "Empty");
    ASSERT_TRUE(add(asset, full));
    for (const std::string &uuid : {full, empty})
        EXPECT_TRUE(deleteAlbumIfEmpty(library(), album(uuid).primaryKey));
    EXPECT_TRUE(deleteAlbumIfEmpty(library(), 12345)) << "it is not there";
    EXPECT_EQ(album(full).name, "Full");
    EXPECT_EQ(album(empty).name, "");
    EXPECT_FALSE(fs::exists(paths.albums() + '/' + empty)) << "nor does it come back";
    EXPECT_TRUE(fs::exists(paths.albums() + '/' + full));
}

TEST_F(Albums, ThatAreSharedAreInTheFeedAsARebuildWouldHaveThem) {
    const auto feed = [&] {
        std::vector<std::string> lines;
        const auto entries = store::AnalysisReader::open(paths)->cloudFeed();
        EXPECT_TRUE(entries);
        for (const FeedEntryRecord &entry : *entries) {
            lines.push_back(entry.albumUUID + ' ' + std::to_string(entry.startDate) + ' ' +
                            std::to_string(entry.endDate));
            lines.insert(lines.end(), entry.uuids.begin(), entry.uuids.end());
        }
        return lines;
    };
    std::vector<std::int64_t> assets;
    for (const char *digit : {"1", "2", "3", "4", "5", "6"})
        assets.push_back(recordOf(added(digit)).primaryKey);
    const std::int64_t shared = album(*makeStreamAlbum(library(), "s")).primaryKey,
                       other = album(*makeStreamAlbum(library(), "t")).primaryKey,
                       mine = album(*makeAlbum(library(), "Mine")).primaryKey;
    const struct {
        std::int64_t album;
        std::size_t asset;
        double date;
    } additions[] = {{shared, 0, 1000}, {other, 0, 1001}, {shared, 1, 4600},  {mine, 2, 4700},
                     {shared, 2, 8201}, {other, 3, 8300}, {shared, 4, 11800}, {shared, 5, 11801}};
    for (const auto &each : additions)
        ASSERT_TRUE(library().writer().change([&](Database &database) {
            return insertAlbumAsset(database, each.album, assets[each.asset], each.date);
        }));
    execute("DELETE FROM zgenericasset WHERE uuid LIKE '%5'; DELETE FROM zalbumasset WHERE dateadded = 8300");
    const std::vector<std::string> kept = feed();
    EXPECT_EQ(kept.size(), 3 + 2 + 2 + 1U) << "three entries with two, two and one";
    ASSERT_TRUE(library().writer().change(rebuildCloudFeed));
    EXPECT_EQ(feed(), kept);
}

TEST_F(Albums, ComeBackFromTheirNotes) {
    const std::string one = added("1"), two = added("2"), gone = added("3");
    const std::string trip = *makeAlbum(library(), "Trip"), shared = *makeStreamAlbum(library(), "s"),
                      other = *makeStreamAlbum(library(), "t");
    for (const std::string &asset : {one, two, gone})
        ASSERT_TRUE(add(asset, trip));
    ASSERT_TRUE(add(one, shared));
    const double created = album(trip).dateCreated;
    execute("DELETE FROM zalbum; DELETE FROM zgenericasset WHERE uuid LIKE '%3'");
    // Meanwhile their name, and one of the streams, have gone to others.
    ASSERT_TRUE(makeAlbum(library(), "Trip"));
    ASSERT_TRUE(makeStreamAlbum(library(), "t"));
    // A line that was cut off, a note that can't be read, and what is no note.
    std::ofstream(paths.albums() + '/' + trip + "/assets", std::ios::app) << one.substr(0, 20);
    writeFile(paths.albums() + "/0000000A-0000-4000-8000-00000000ABCD/album.plist", {});
    writeFile(paths.albums() + "/letter/album.plist",
              contentsOf(paths.albums() + '/' + trip + "/album.plist"));

    for (int round = 0; round < 2; ++round) {
        EXPECT_TRUE(recreateAlbums(library()));
        EXPECT_EQ(album(trip).name, "Trip 2");
        EXPECT_EQ(album(trip).dateCreated, created);
        EXPECT_EQ(assetsIn(trip), (std::vector{one, two}));
        EXPECT_EQ(album(shared).streamID, "s");
        EXPECT_EQ(album(other).streamID, "") << "its stream has another album now";
        EXPECT_EQ(library().assets().albums()->size(), 5U);
    }
}

TEST_F(Albums, ThatCannotComeBackDoNotStopTheOthers) {
    for (const char *name : {"A", "Bad", "Bad too", "Z"})
        ASSERT_TRUE(makeAlbum(library(), name));
    execute("DELETE FROM zalbum; CREATE TRIGGER bad BEFORE INSERT ON zalbum WHEN new.name LIKE 'Bad%' "
            "BEGIN SELECT raise(ABORT, 'no such luck'); END");
    const auto recreated = recreateAlbums(library());
    ASSERT_FALSE(recreated);
    EXPECT_TRUE(recreated.error().text.starts_with("2 albums could not be made again; the first: Bad"));
    EXPECT_TRUE(recreated.error().text.ends_with("no such luck")) << recreated.error().text;
    EXPECT_EQ(library().assets().albums()->size(), 2U);
}

} // namespace
