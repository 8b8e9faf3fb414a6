// wickerlane import, wickerlane list
#include <sys/stat.h>

#include <algorithm>
#include <csignal>

#include "tests/cli/CommandRun.h"
#include "tests/support/TestImages.h"
#include "tests/support/WaitUntil.h"

using namespace wickerlane::test;
namespace fs = std::filesystem;

namespace {

TEST_F(Commands, AFolderIsImportedAndListed) {
    TestExif exif;
    exif.dateTimeOriginal = "2001:06:15 10:20:30";
    file("trip/beach.jpg", jpegOf(fourCorners(64, 48), exif));
    file("trip/day 2/dunes.PNG", pngOf(fourCorners(30, 20)));
    file("trip/notes.txt", bytesOf("nothing to see"));
    file("trip/.hidden.jpg", jpegPicture());

    const auto report = run({"import", (folder / "trip").string(), "--json"}).json();
    ASSERT_EQ(report["saved"].size(), 2U) << report;
    EXPECT_EQ(report["refused"].size(), 0U);
    EXPECT_EQ(report["passedOver"], 1);

    EXPECT_EQ(run({"count"}).output, "2 photos, 0 videos\n");
    EXPECT_EQ(run({"count", "--json"}).json(), (nlohmann::json{{"photos", 2}, {"videos", 0}}));

    const auto oldest = run({"list", "--json", "--limit", "1"}).json();
    ASSERT_EQ(oldest.size(), 1U);
    EXPECT_EQ(oldest[0]["name"], "beach.jpg");
    EXPECT_EQ(oldest[0]["width"], 64);
    EXPECT_EQ(oldest[0]["height"], 48);
    const auto rest = run({"list", "--json", "--offset", "1"}).json();
    ASSERT_EQ(rest.size(), 1U);
    EXPECT_EQ(rest[0]["name"], "dunes.PNG");
    EXPECT_EQ(run({"list", "--json", "--sort", "newest"}).json()[0], rest[0]);
    EXPECT_EQ(run({"list", "--json", "--kind", "video"}).json(), nlohmann::json::array());

    const std::string table = run({"list"}).output;
    EXPECT_NE(table.find("64x48"), std::string::npos) << table;
    EXPECT_NE(table.find("beach.jpg"), std::string::npos) << table;
    EXPECT_EQ(std::count(table.begin(), table.end(), '\n'), 3) << table;
}

TEST_F(Commands, ImportGoesByContentsAndNamesWhatItSkips) {
    file("mix/README", bytesOf("nothing to see"));
    file("mix/letter.txt", bytesOf("Dear photo"));
    file("mix/picture", jpegPicture());
    file("mix/wrong.txt", pngPicture());
    file("mix/damaged.jpg", bytesOf("half a picture"));
    const CommandResult result = run({"import", (folder / "mix").string()});
    EXPECT_EQ(result.exitCode, 0) << result;
    EXPECT_EQ(result.output, "3 files saved, 2 skipped (not pictures or videos)\n") << result;
    for (const char *name : {"mix/README: skipped", "mix/letter.txt: skipped", "mix/damaged.jpg: saved, but"})
        EXPECT_NE(result.errors.find(name), std::string::npos) << result;

    const CommandResult named = run({"import", (folder / "mix/README").string()});
    EXPECT_EQ(named.exitCode, 1) << named;
    EXPECT_NE(named.errors.find("neither a picture nor a video"), std::string::npos) << named;
    EXPECT_EQ(run({"count"}).output, "3 photos, 0 videos\n");
}

TEST_F(Commands, MetadataBesideAPictureStaysWithIt) {
    const std::string uuid = imported(file("a.jpg", jpegPicture()));
    file("a.xmp", bytesOf("<one/>"));
    file("b.png", pngPicture());
    file("b.png.XMP", bytesOf("<two/>"));
    file("c.xmp", bytesOf("<lost/>"));
    const CommandResult result = run({"import", folder.string()});
    EXPECT_EQ(result.output, "1 file saved, 1 already in the library, 1 skipped (not pictures or videos)\n");
    EXPECT_NE(result.errors.find("c.xmp: skipped"), std::string::npos) << result;
    const std::string kept = run({"show", uuid, "--json"}).json()["sidecar"];
    EXPECT_EQ(contentsOf(kept), "<one/>");
    EXPECT_EQ(run({"check"}).exitCode, 0);

    EXPECT_EQ(run({"export", "--all", "--to", (folder / "out").string()}).exitCode, 0);
    EXPECT_EQ(contentsOf(folder / "out" / "a.jpg.xmp"), "<one/>");
    EXPECT_EQ(contentsOf(folder / "out" / "b.png.xmp"), "<two/>");
    EXPECT_EQ(run({"delete", "--yes", uuid}).exitCode, 0);
    EXPECT_TRUE(fs::exists(kept)) << "as long as the picture is in the trash";
    EXPECT_EQ(run({"trash", "empty", "--yes"}).exitCode, 0);
    EXPECT_FALSE(fs::exists(kept));
}

TEST_F(Commands, ImportReportsRefusedFilesAndSavesTheOthers) {
    const std::string good = file("good.jpg", jpegPicture());
    fs::create_symlink("nowhere", folder / "dangling.jpg");
    mkfifo((folder / "pipe.jpg").c_str(), 0600);
    const std::string empty = file("empty.jpg", {});

    const CommandResult result =
        run({"import", good, (folder / "dangling.jpg").string(), (folder / "pipe.jpg").string(), empty,
             (folder / "absent.jpg").string()});
    EXPECT_EQ(result.exitCode, 1) << result;
    EXPECT_NE(result.output.find("1 file saved, 4 refused"), std::string::npos) << result;
    EXPECT_NE(result.errors.find("saved 1 of 2"), std::string::npos) << result;
    for (const char *name : {"dangling.jpg: ", "pipe.jpg: ", "empty.jpg: ", "absent.jpg: "})
        EXPECT_NE(result.errors.find(name), std::string::npos) << result;
    EXPECT_EQ(run({"count"}).output, "1 photo, 0 videos\n");
}

TEST_F(Commands, ImportSavesTheSameContentsOnce) {
    file("a/one.jpg", jpegPicture());
    file("a/copy.jpg", jpegPicture());
    file("a/two.png", pngPicture());
    const std::string pictures = (folder / "a").string();
    EXPECT_EQ(run({"import", pictures}).output, "2 files saved, 1 already in the library\n");
    EXPECT_EQ(run({"import", pictures}).output, "0 files saved, 3 already in the library\n");
    EXPECT_EQ(run({"import", "--again", pictures}).output, "3 files saved\n");
    EXPECT_EQ(run({"count"}).output, "5 photos, 0 videos\n");
}

TEST_F(Commands, AnInterruptedImportReportsWhatItSaved) {
    std::vector<std::string> arguments{"import", "--json", "--quiet", "--again"};
    for (int i = 0; i < 400; ++i)
        file("many/" + std::to_string(i) + ".jpg", jpegPicture());
    arguments.push_back((folder / "many").string());
    ASSERT_EQ(run({"daemon", "status", "--start"}).exitCode, 0);

    RunningCommand importing(arguments);
    // The first assets are there: the import is under way.
    ASSERT_TRUE(waitUntil([&] {
        return !importing.isRunning() || !run({"list", "--limit", "1", "--json"}).json().empty();
    }));
    kill(importing.process(), SIGINT);
    const CommandResult result = importing.wait();

    const auto report = result.json();
    ASSERT_TRUE(report.contains("saved")) << result;
    EXPECT_EQ(report["refused"].size(), 0U) << result;
    EXPECT_EQ(result.exitCode, report["interrupted"] ? 1 : 0);
    EXPECT_EQ(run({"count", "--json"}).json()["photos"], report["saved"].size());
}

TEST_F(Commands, AFileNameCannotForgeALine) {
    imported(file("a\nwickerlane: all is well.jpg", jpegPicture()));
    const std::string table = run({"list"}).output;
    EXPECT_EQ(std::count(table.begin(), table.end(), '\n'), 2) << table;
    EXPECT_NE(table.find("a\\nwickerlane"), std::string::npos) << table;
}

} // namespace
