// wickerlane moments, wickerlane duplicates, wickerlane feed, wickerlane rebuild-thumbnails
#include "tests/cli/CommandRun.h"
#include "tests/support/TestImages.h"
#include "wickerlane/store/LibraryPaths.h"

using namespace wickerlane::test;
namespace fs = std::filesystem;

namespace {

class AnalysisCommands : public Commands {
protected:
    /// Imports a picture that was taken at a time and returns its UUID.
    std::string taken(const std::string &name, const std::string &when, unsigned seed, int side = 240) const {
        TestExif exif;
        exif.dateTimeOriginal = when;
        const auto length = static_cast<std::uint32_t>(side);
        return imported(file(name, jpegOf(scene(length, length, seed), exif)));
    }
};

TEST_F(AnalysisCommands, MomentsAreListedOnceTheyHaveBeenMade) {
    const std::string morning = taken("a.jpg", "2021:06:15 10:00:00", 1);
    const std::string noon = taken("b.jpg", "2021:06:16 12:00:00", 2);
    const std::string later = taken("c.jpg", "2021:06:16 12:10:00", 3);
    const CommandResult before = run({"moments"});
    EXPECT_EQ(before.exitCode, 0) << before;
    EXPECT_NE(before.errors.find("--update"), std::string::npos) << before;

    const auto moments = run({"moments", "--update", "--json"}).json();
    ASSERT_EQ(moments.size(), 2U) << moments;
    EXPECT_EQ(moments[0]["uuids"], nlohmann::json::array({morning}));
    EXPECT_EQ(moments[1]["uuids"], nlohmann::json::array({noon, later}));
    EXPECT_EQ(moments[1]["start"], "2021-06-16T12:00:00");
    EXPECT_EQ(moments[1]["assetCount"], 2);
    EXPECT_EQ(moments[0]["keyAsset"], morning);
    const auto lists = run({"moments", "--lists", "--json"}).json();
    ASSERT_EQ(lists.size(), 1U) << lists;
    EXPECT_EQ(lists[0]["momentCount"], 2);
    EXPECT_EQ(lists[0]["objectID"], moments[0]["list"]);

    const CommandResult table = run({"moments"});
    EXPECT_EQ(table.errors, "") << "complete";
    EXPECT_EQ(std::count(table.output.begin(), table.output.end(), '\n'), 3) << table;
    EXPECT_EQ(run({"moments", "--rebuild", "--json"}).json(), moments) << "keys stay";
    EXPECT_EQ(run({"moments", "--rebuild", "--update"}).exitCode, 2);

    const auto assets = run({"list", "--json", "--from", "2021-06-16"}).json();
    EXPECT_EQ(run({"moments", "show", moments[1]["objectID"], "--json"}).json(), assets);
    const std::string id = table.output.substr(table.output.rfind("2021-06-16 12:00") - 3, 1);
    EXPECT_EQ(run({"moments", "show", id, "--format", "ids0"}).output, noon + '\0' + later + '\0') << table;
    for (const char *unknown : {"999", "0", "-1", "1x", "x"})
        EXPECT_EQ(run({"moments", "show", "--", unknown}).exitCode, 4) << unknown;

    const std::string moment = moments[1]["objectID"], list = moments[1]["list"];
    for (const std::string &objectID : {moment, list})
        EXPECT_EQ(run({"moments", "--analyze", objectID, "--json"}).json(), moments) << objectID;
    for (const std::string &objectID : {moment + "0", std::string("a moment")})
        EXPECT_EQ(run({"moments", "--analyze", objectID}).exitCode, 4) << objectID;
}

TEST_F(AnalysisCommands, DuplicatesAreListedAndDecisionsRemembered) {
    const std::string picture = taken("a.jpg", "2021:06:15 10:00:00", 1);
    const std::string copy = taken("small.jpg", "2021:06:15 10:00:00", 1, 120);
    const std::string other = taken("b.jpg", "2021:06:15 10:00:00", 2);
    const CommandResult before = run({"duplicates"});
    EXPECT_EQ(before.output, "") << before;
    EXPECT_NE(before.errors.find("--update"), std::string::npos) << before;

    const auto groups = run({"duplicates", "--update", "--json"}).json();
    ASSERT_EQ(groups.size(), 1U) << groups;
    EXPECT_EQ(groups[0]["likeness"], "same");
    EXPECT_EQ(groups[0]["best"], picture);
    ASSERT_EQ(groups[0]["assets"].size(), 2U);
    EXPECT_EQ(groups[0]["assets"][0]["uuid"], picture);
    EXPECT_EQ(groups[0]["assets"][1]["uuid"], copy);
    EXPECT_EQ(run({"duplicates", "--likeness", "similar", "--json"}).json().size(), 0U);
    EXPECT_NE(run({"duplicates"}).output.find("small.jpg"), std::string::npos);

    EXPECT_EQ(run({"duplicates", "--not", picture, copy, "--json"}).json().size(), 0U);
    EXPECT_EQ(run({"duplicates", "--reset", "--json"}).json().size(), 0U) << "it is remembered";
    EXPECT_EQ(run({"duplicates", "--maybe", picture, copy, "--json"}).json(), groups);
    const struct {
        std::vector<std::string> arguments;
        int exitCode;
    } cases[] = {
        {{"duplicates", "--not", picture}, 2},
        {{"duplicates", "--not", picture, "unknown"}, 4},
        {{"duplicates", "--likeness", "odd"}, 2},
        {{"duplicates", "--dry-run"}, 2}, // of what?
        {{"--root", (folder / "empty").string(), "duplicates"}, 4},
        {{"--root", (folder / "empty").string(), "moments"}, 4},
    };
    for (const auto &[arguments, exitCode] : cases)
        EXPECT_EQ(run(arguments).exitCode, exitCode) << testing::PrintToString(arguments);
}

TEST_F(AnalysisCommands, OfDuplicatesTheBestIsKept) {
    const std::string small = taken("small.jpg", "2021:06:15 10:00:00", 1, 120);
    const std::string best = taken("a.jpg", "2021:06:15 10:00:00", 1);
    const std::string smaller = taken("smaller.jpg", "2021:06:15 10:00:00", 1, 80);
    const CommandResult dry = run({"duplicates", "--update", "--keep-best", "--dry-run"});
    EXPECT_EQ(dry.exitCode, 0) << dry;
    EXPECT_NE(dry.output.find("2 assets would be moved to the trash"), std::string::npos) << dry;
    EXPECT_EQ(dry.output.find(" a.jpg"), std::string::npos) << dry;
    const std::string table = run({"duplicates"}).output;
    for (const auto &[name, isBest] :
         {std::pair(" a.jpg", true), {"small.jpg", false}, {"smaller.jpg", false}}) {
        const std::size_t at = table.find(name), begin = table.rfind('\n', at);
        ASSERT_NE(at, std::string::npos) << table;
        EXPECT_EQ(table.substr(begin, at - begin).find(" best ") != std::string::npos, isBest)
            << name << table;
    }
    EXPECT_EQ(run({"duplicates", "--keep-best"}).exitCode, 1) << "there is no terminal to ask";
    EXPECT_EQ(run({"count"}).output, "3 photos, 0 videos\n");
    EXPECT_EQ(run({"duplicates", "--keep-best", "--yes", "--quiet"}).output, "");
    EXPECT_EQ(run({"list", "--format", "ids0"}).output, best + '\0');
    EXPECT_EQ(run({"trash", "list", "--json"}).json().size(), 2U);
    EXPECT_EQ(run({"duplicates", "--keep-best", "--yes"}).output.substr(0, 8), "0 assets");
}

TEST_F(AnalysisCommands, TheFeedAndThumbnailsAreRebuiltOnRequest) {
    const std::string uuid = taken("a.jpg", "2021:06:15 10:00:00", 1);
    const CommandResult before = run({"feed"});
    EXPECT_EQ(before.exitCode, 0) << before;
    EXPECT_NE(before.errors.find("the feed is empty"), std::string::npos) << before;
    EXPECT_EQ(run({"feed", "--update", "--json"}).json(), nlohmann::json::array()) << "nothing is shared";

    const wickerlane::store::LibraryPaths paths;
    const std::string thumbnail = paths.thumbnail(uuid, wickerlane::store::ThumbnailSize::small);
    const std::string whole = contentsOf(thumbnail);
    fs::resize_file(thumbnail, 3);
    EXPECT_EQ(run({"rebuild-thumbnails"}).exitCode, 0);
    EXPECT_EQ(contentsOf(thumbnail), whole);
    for (const char *command : {"feed", "rebuild-thumbnails"})
        EXPECT_EQ(run({"--root", (folder / "empty").string(), command}).exitCode, 4) << command;
}

} // namespace
