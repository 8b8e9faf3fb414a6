// What the camera's clock showed, of assets that were saved before that was kept.
#include "hoardd/pictures/DueClocks.h"

#include "hoardd/library/Clock.h"
#include "hoardd/pictures/PictureStore.h"
#include "tests/hoardd/OpenLibrary.h"

using namespace wickerlane;
using namespace wickerlane::hoardd;
using namespace wickerlane::test;
using sqlite::Database;

namespace {

class DueClocks : public OpenLibrary {
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
    void forgetClocks() const { execute("UPDATE zgenericasset SET clockdate = NULL, zoneminutes = NULL"); }
};

TEST_F(DueClocks, AreReadFromTheFiles) {
    const AssetRecord zoned = taken("2021:06:15 10:25:00", "+13:00"),
                      unzoned = taken("2021:06:15 10:20:30", ""), undated = saved(pngOf(fourCorners(8, 8))),
                      damaged = saved(FileBytes(100)), missing = taken("2020:06:15 10:20:30", "+01:00"),
                      moved = taken("2019:06:15 10:20:30", "+02:00");
    forgetClocks();
    std::filesystem::remove(paths.original(missing));
    execute("UPDATE zgenericasset SET datecreated = datecreated + 5400 WHERE uuid = '" + moved.uuid + '\'');
    readClocksLeftDue(library());
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

TEST_F(DueClocks, ADateThatIsAdjustedMeanwhileStays) {
    const AssetRecord asset = taken("2021:06:15 10:25:00", "+13:00");
    forgetClocks();
    execute("UPDATE zgenericasset SET datecreated = datecreated + 60");
    ASSERT_TRUE(library().writer().change([&](Database &database) { return storeClock(database, asset); }));
    EXPECT_EQ(recordOf(asset.uuid).clockDate, std::nullopt);
}

} // namespace
