// What files say of themselves, of assets that were saved before that was kept.
#include "hoardd/pictures/LateFacts.h"

#include "hoardd/library/Clock.h"
#include "hoardd/pictures/CameraName.h"
#include "hoardd/pictures/PictureStore.h"
#include "tests/hoardd/OpenLibrary.h"

using namespace wickerlane;
using namespace wickerlane::hoardd;
using namespace wickerlane::test;
using sqlite::Database;

namespace {

class LateFacts : public OpenLibrary {
protected:
    [[nodiscard]] AssetRecord taken(const std::string &when, const std::string &zone) const {
        TestExif exif;
        exif.dateTimeOriginal = when;
        exif.offsetTimeOriginal = zone;
        exif.make = when + zone;
        return saved(jpegOf(fourCorners(16, 16), exif));
    }
    void execute(const std::string &sql) const {
        ASSERT_TRUE(
            library().writer().change([&](Database &database) { return database.execute(sql.c_str()); }));
    }
    /// As a store of that time has all assets.
    void forgetDetails() const {
        execute("UPDATE zgenericasset SET camera = '', lens = '', exposureseconds = NULL, aperture = NULL, "
                "isospeed = NULL, focallength = NULL, rating = 0, caption = '', keywords = '', "
                "duedetails = 15");
    }
    void forgetClocks() const { execute("UPDATE zgenericasset SET clockdate = NULL, zoneminutes = NULL"); }
};

TEST_F(LateFacts, ClocksAreReadFromTheFiles) {
    const AssetRecord zoned = taken("2021:06:15 10:25:00", "+13:00"),
                      unzoned = taken("2021:06:15 10:20:30", ""), undated = saved(pngOf(fourCorners(8, 8))),
                      damaged = saved(FileBytes(100)), missing = taken("2020:06:15 10:20:30", "+01:00"),
                      moved = taken("2019:06:15 10:20:30", "+02:00");
    forgetClocks();
    std::filesystem::remove(paths.original(missing));
    execute("UPDATE zgenericasset SET datecreated = datecreated + 5400 WHERE uuid = '" + moved.uuid + '\'');
    readLateFacts(library());
    for (const AssetRecord &each : {zoned, unzoned, undated, damaged}) {
        const AssetRecord now = recordOf(each.uuid);
        EXPECT_EQ(now.dateCreated, each.dateCreated) << each.format;
        EXPECT_EQ(now.clockDate, each.clockDate) << each.format;
        EXPECT_EQ(now.zoneMinutes, each.zoneMinutes) << each.format;
    }
    ASSERT_EQ(zoned.zoneMinutes, 13 * 60);
    EXPECT_EQ(recordOf(missing.uuid).clockDate, std::nullopt);
    const AssetRecord adjusted = recordOf(moved.uuid);
    EXPECT_EQ(adjusted.dateCreated, moved.dateCreated + 5400) << "a date that was adjusted stays";
    EXPECT_EQ(adjusted.clockDate, adjusted.dateCreated) << "and so does what people read";
    EXPECT_EQ(adjusted.zoneMinutes, std::nullopt);
}

TEST_F(LateFacts, ADateThatIsAdjustedMeanwhileStays) {
    const AssetRecord asset = taken("2021:06:15 10:25:00", "+13:00");
    forgetClocks();
    execute("UPDATE zgenericasset SET datecreated = datecreated + 60");
    ASSERT_TRUE(library().writer().change([&](Database &database) { return storeClock(database, asset); }));
    EXPECT_EQ(recordOf(asset.uuid).clockDate, std::nullopt);
}

FileBytes described(std::uint32_t side = 16) {
    TestExif exif;
    exif.make = "MAKER CORPORATION";
    exif.model = "Model 7";
    exif.lens = "A lens";
    exif.exposure = {1, 125};
    exif.aperture = {28, 10};
    exif.focalLength = {50, 1};
    exif.isoSpeed = 400;
    exif.rating = 4;
    exif.description = "At sea";
    return withIptc(jpegOf(fourCorners(side, side), exif), {{25, "Sea"}, {25, "Sky"}});
}

void expectDescribed(const AssetRecord &record) {
    EXPECT_EQ(record.camera, "MAKER Model 7");
    EXPECT_EQ(record.lens, "A lens");
    EXPECT_EQ(record.exposureSeconds, 0.008);
    EXPECT_EQ(record.aperture, 2.8);
    EXPECT_EQ(record.focalLength, 50);
    EXPECT_EQ(record.isoSpeed, 400);
    EXPECT_EQ(record.rating, 4);
    EXPECT_EQ(record.caption, "At sea");
    EXPECT_EQ(record.keywords, "Sea\nSky");
    EXPECT_EQ(record.dueDetails, 0);
}

TEST_F(LateFacts, DetailsAreKeptWhenAnAssetIsSaved) {
    expectDescribed(recordOf(saved(described()).uuid));
    FileBytes cutOff = described(200);
    cutOff.resize(cutOff.size() - 200);
    expectDescribed(recordOf(saved(cutOff).uuid));
    const AssetRecord plain = recordOf(saved(pngOf(fourCorners(8, 8))).uuid);
    EXPECT_EQ(plain.camera + plain.lens + plain.caption + plain.keywords, "");
    EXPECT_FALSE(plain.exposureSeconds || plain.aperture || plain.focalLength || plain.isoSpeed);
    EXPECT_EQ(plain.dueDetails, 0);
}

TEST_F(LateFacts, DetailsAreReadFromTheFilesOnce) {
    const AssetRecord one = saved(described()), missing = saved(pngOf(fourCorners(8, 8)));
    forgetDetails();
    std::filesystem::remove(paths.original(missing));
    readLateFacts(library());
    expectDescribed(recordOf(one.uuid));
    EXPECT_EQ(recordOf(one.uuid).clockDate, one.clockDate);
    EXPECT_EQ(recordOf(missing.uuid).dueDetails, allDetailsDue) << "it may come back";
    execute("UPDATE zgenericasset SET rating = 1, caption = '', keywords = 'Mine'");
    readLateFacts(library());
    EXPECT_EQ(recordOf(one.uuid).rating, 1);
    EXPECT_EQ(recordOf(one.uuid).caption, "");
    EXPECT_EQ(recordOf(one.uuid).keywords, "Mine");
}

TEST_F(LateFacts, OfSomeAssetsAreReadWhenTheyAreNeeded) {
    const AssetRecord one = saved(described()), two = saved(described(20)), three = saved(described(24));
    forgetDetails();
    std::filesystem::remove(paths.original(three));
    const std::int64_t keys[] = {three.primaryKey, one.primaryKey, one.primaryKey + 99};
    ASSERT_TRUE(readLateFactsOf(library(), keys));
    expectDescribed(recordOf(one.uuid));
    for (const AssetRecord &each : {two, three})
        EXPECT_EQ(recordOf(each.uuid).dueDetails, allDetailsDue);
}

TEST_F(LateFacts, WhatPeopleHaveSetMeanwhileStays) {
    const AssetRecord read = saved(described());
    const struct {
        std::int64_t set;
        std::int64_t rating;
        const char *caption, *keywords;
    } cases[] = {
        {dueRating, 1, "At sea", "Sea\nSky"},
        {dueCaption, 4, "Mine", "Sea\nSky"},
        {dueKeywords, 4, "At sea", "Mine"},
        {dueRating | dueCaption | dueKeywords, 1, "Mine", "Mine"},
    };
    for (const auto &each : cases) {
        forgetDetails();
        execute("UPDATE zgenericasset SET rating = 1, caption = 'Mine', keywords = 'Mine', duedetails = " +
                std::to_string(allDetailsDue & ~each.set));
        ASSERT_TRUE(
            library().writer().change([&](Database &database) { return storeDetails(database, read); }));
        const AssetRecord now = recordOf(read.uuid);
        EXPECT_EQ(now.rating, each.rating) << each.set;
        EXPECT_EQ(now.caption, each.caption) << each.set;
        EXPECT_EQ(now.keywords, each.keywords) << each.set;
        EXPECT_EQ(now.camera, "MAKER Model 7") << each.set;
        EXPECT_EQ(now.dueDetails, 0) << each.set;
    }
}

TEST(CameraName, LeavesOutWhatPeopleDoNotSay) {
    const struct {
        const char *maker, *model, *name;
    } cases[] = {
        {"", "", ""},
        {"Maker", "", "Maker"},
        {"", "Model 7", "Model 7"},
        {"Maker", "Model 7", "Maker Model 7"},
        {"MAKER", "Maker Model 7", "Maker Model 7"},
        {"MAKER CORPORATION", "MAKER M7", "MAKER M7"},
        {"Maker Works Co., Ltd.", "Model  7 ", "Maker Works Model 7"},
        {"  Maker Inc.", " M7", "Maker M7"},
        {"Company", "M7", "Company M7"},
    };
    for (const auto &each : cases)
        EXPECT_EQ(cameraName(each.maker, each.model), each.name);
}

} // namespace
