// Dates in wickerlane list, show and moments; wickerlane adjust-date
#include "tests/cli/CommandRun.h"
#include "tests/support/TestImages.h"

using namespace wickerlane::test;

namespace {

class DateCommands : public Commands {
protected:
    std::string taken(const std::string &name, const std::string &when, const std::string &zone) const {
        TestExif exif;
        exif.dateTimeOriginal = when;
        exif.offsetTimeOriginal = zone;
        exif.make = name;
        return imported(file(name, jpegOf(fourCorners(16, 16), exif)));
    }
    static nlohmann::json shown(const std::string &uuid) { return run({"show", uuid, "--json"}).json(); }
};

TEST_F(DateCommands, TheTimeOfTheCameraIsShownWhereverItIsRead) {
    const std::string camera = taken("camera.jpg", "2021:06:15 10:20:30", "");
    const std::string phone = taken("phone.jpg", "2021:06:15 10:25:00", "+13:00");
    const std::string before = taken("before.jpg", "2021:06:14 09:00:00", "-11:00");
    EXPECT_EQ(shown(camera)["created"], "2021-06-15T10:20:30");
    EXPECT_EQ(shown(phone)["created"], "2021-06-15T10:25:00+13:00");
    EXPECT_NE(run({"show", phone}).output.find("2021-06-15 10:25 (UTC+13:00)"), std::string::npos);

    setenv("TZ", "Asia/Tokyo", 1);
    const std::string east = run({"list"}).output;
    setenv("TZ", "America/Los_Angeles", 1);
    const std::string west = run({"list"}).output;
    unsetenv("TZ");
    EXPECT_EQ(east, west);
    EXPECT_LT(east.find("2021-06-14 09:00"), east.find("2021-06-15 10:20")) << east;
    EXPECT_LT(east.find("2021-06-15 10:20"), east.find("2021-06-15 10:25")) << east;

    const auto moments = run({"moments", "--update", "--json"}).json();
    ASSERT_EQ(moments.size(), 2U) << moments;
    EXPECT_EQ(moments[1]["uuids"], nlohmann::json::array({camera, phone})) << "one event by two clocks";
    EXPECT_EQ(moments[1]["start"], "2021-06-15T10:20:30");
}

TEST_F(DateCommands, AWrongClockIsPutRight) {
    const std::string camera = taken("camera.jpg", "2021:06:15 10:20:30", "");
    const std::string phone = taken("phone.jpg", "2021:06:15 10:25:00", "+02:00");
    EXPECT_EQ(run({"adjust-date", "--by", "-1h30m", camera, phone, camera}).output, "2 dates changed\n");
    EXPECT_EQ(shown(camera)["created"], "2021-06-15T08:50:30");
    EXPECT_EQ(shown(phone)["created"], "2021-06-15T08:55:00+02:00");
    EXPECT_EQ(run({"adjust-date", camera, "--by", "1:00:05"}).exitCode, 0);
    EXPECT_EQ(run({"adjust-date", camera, "--by", "+2d"}).exitCode, 0);
    EXPECT_EQ(shown(camera)["created"], "2021-06-17T09:50:35");
    for (const char *time : {"", "-", "h", "1", "1h30", "1:60", "1:2:3:4", "1y", "--1h", "9999999999s"})
        EXPECT_EQ(run({"adjust-date", camera, std::string("--by=") + time}).exitCode, 2) << time;
    EXPECT_EQ(run({"adjust-date", camera, "--by", "40000d"}).exitCode, 1);
    EXPECT_EQ(run({"adjust-date", camera, absentUUID, "--by", "1h"}).exitCode, 4);
    EXPECT_EQ(shown(camera)["created"], "2021-06-17T09:50:35");
}

} // namespace
