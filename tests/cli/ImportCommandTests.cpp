// wickerlane import, wickerlane list
#include <sys/stat.h>

#include <algorithm>
#include <csignal>
#include <fstream>
#include <map>
#include <set>

#include "tests/cli/CommandRun.h"
#include "tests/support/StoppedProcess.h"
#include "tests/support/TestClips.h"
#include "tests/support/TestImages.h"
#include "tests/support/WaitUntil.h"
#include "wickerlane/store/LibraryPaths.h"

using namespace wickerlane::test;
namespace fs = std::filesystem;

namespace {

Bytes bytesIn(const fs::path &path) {
    const std::string contents = contentsOf(path);
    const auto bytes = bytesOf(contents);
    return {bytes.begin(), bytes.end()};
}

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
    EXPECT_EQ(report["passedOver"].size(), 1U);

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

/// What a camera writes for one shot.
Bytes shotPicture(std::uint32_t width, const std::string &date = "2021:06:15 10:20:30") {
    TestExif exif;
    exif.dateTimeOriginal = date;
    return jpegOf(fourCorners(width, 30), exif);
}
Bytes shotRaw(std::uint32_t width, const std::string &date = "2021:06:15 10:20:30") {
    TestRaw raw;
    raw.width = width;
    raw.preview = jpegOf(fourCorners(60, 40));
    raw.dateTimeOriginal = date;
    return rawOf(raw);
}

TEST_F(Commands, TwoFilesOfOneShotAreOneAsset) {
    // Of each folder: the files, and the one that is second.
    const struct {
        const char *folder;
        std::map<std::string, Bytes> files;
        std::string first, second;
    } cases[] = {
        {"raw", {{"a.jpg", shotPicture(40)}, {"a.DNG", shotRaw(2000)}}, "a.jpg", "a.DNG"},
        {"upper", {{"A.JPG", shotPicture(41)}, {"A.nef", shotRaw(2001)}}, "A.JPG", "A.nef"},
        {"names", {{"a.jpg", shotPicture(42)}, {"b.dng", shotRaw(2002)}}, "", ""},
        {"copy", {{"a (1).jpg", shotPicture(43)}, {"a.dng", shotRaw(2003)}}, "", ""},
        {"cases", {{"A.jpg", shotPicture(44)}, {"a.dng", shotRaw(2004)}}, "", ""},
        {"times", {{"a.jpg", shotPicture(45)}, {"a.dng", shotRaw(2005, "2021:06:15 10:20:35")}}, "", ""},
        {"untimed", {{"a.jpg", shotPicture(46, "")}, {"a.dng", shotRaw(2006, "")}}, "", ""},
        {"scan", {{"a.jpg", shotPicture(47)}, {"a.tif", tiffOf(fourCorners(20, 20))}}, "", ""},
        {"two",
         {{"a.jpeg", shotPicture(48)}, {"a.jpg", shotPicture(49)}, {"a.dng", shotRaw(2007)}},
         "a.jpeg",
         "a.dng"},
    };
    std::size_t assets = 0;
    for (const auto &[name, files, first, second] : cases) {
        for (const auto &[path, contents] : files)
            file(std::string(name) + '/' + path, contents);
        const fs::path shots = folder / name;
        const auto report = run({"import", "--json", shots.string()}).json();
        ASSERT_EQ(report["saved"].size(), files.size()) << name << report;
        std::string pairs;
        for (const auto &each : report["saved"])
            if (each.contains("pairedWith"))
                pairs += each["path"].get<std::string>() + " with " + each["pairedWith"].get<std::string>();
        EXPECT_EQ(pairs,
                  second.empty() ? "" : (shots / second).string() + " with " + (shots / first).string())
            << name;
        assets += files.size() - (second.empty() ? 0 : 1);
        EXPECT_EQ(run({"count", "--json"}).json()["photos"], assets) << name;
        const CommandResult again = run({"import", shots.string()});
        EXPECT_EQ(again.output,
                  "0 files saved, " + std::to_string(files.size()) + " already in the library\n")
            << name;
    }
    EXPECT_EQ(run({"check"}).exitCode, 0);
}

TEST_F(Commands, APairStaysTogether) {
    const Bytes picture = shotPicture(40), raw = shotRaw(2000), other = shotRaw(3000);
    const std::string shots = file("shots/a.jpg", picture).substr(0, (folder / "shots").string().size());
    EXPECT_EQ(run({"import", shots}).output, "1 file saved\n");
    file("shots/a.CR2", raw);
    file("shots/a.CR2.xmp", bytesOf("<developed/>"));
    EXPECT_EQ(run({"import", shots}).output, "1 file saved (1 pair of one shot), 1 already in the library\n")
        << "the raw file comes later";
    file("more/a.jpg", shotPicture(50));
    file("more/a.CR2", other);
    EXPECT_EQ(run({"import", (folder / "more").string()}).output, "2 files saved (1 pair of one shot)\n");
    EXPECT_EQ(run({"count"}).output, "2 photos, 0 videos\n");
    const std::string uuid = run({"list", "--json"}).json()[0]["uuid"];
    const auto shown = run({"show", uuid, "--json"}).json();
    EXPECT_EQ(shown["companion"]["name"], "a.CR2") << shown;
    EXPECT_EQ(shown["companion"]["format"], "image/x-raw") << shown;
    const std::string kept = shown["companion"]["path"];
    EXPECT_EQ(bytesIn(kept), raw);
    EXPECT_NE(run({"show", uuid}).output.find(kept), std::string::npos);
    EXPECT_EQ(contentsOf(shown["sidecar"].get<std::string>()), "<developed/>");

    const fs::path out = folder / "out";
    file("out/a.CR2", bytesOf("something else"));
    EXPECT_EQ(run({"export", "--all", "--to", out.string()}).output, "4 files written\n");
    EXPECT_EQ(run({"export", "--all", "--to", out.string()}).output, "0 files written, 4 already there\n");
    EXPECT_FALSE(fs::exists(out / "a.jpg")) << "both have one name";
    EXPECT_EQ(bytesIn(out / "a 2.jpg"), picture);
    EXPECT_EQ(bytesIn(out / "a 2.CR2"), raw);
    EXPECT_EQ(bytesIn(out / "a 3.CR2"), other);
    EXPECT_EQ(run({"export", uuid, "--to", (folder / "b.jpg").string()}).exitCode, 0);
    EXPECT_EQ(bytesIn(folder / "b.CR2"), raw);

    EXPECT_EQ(run({"delete", "--yes", uuid}).exitCode, 0);
    EXPECT_EQ(run({"check"}).exitCode, 0);
    EXPECT_EQ(run({"trash", "restore", uuid}).exitCode, 0);
    EXPECT_EQ(bytesIn(run({"show", uuid, "--json"}).json()["companion"]["path"].get<std::string>()), raw);
    EXPECT_EQ(run({"delete", "--yes", "--now", uuid}).exitCode, 0);
    EXPECT_FALSE(fs::exists(kept));
    EXPECT_EQ(run({"import", "--no-pairs", shots}).output, "2 files saved\n");
    EXPECT_EQ(run({"count"}).output, "3 photos, 0 videos\n");
    EXPECT_EQ(run({"check"}).exitCode, 0);
}

TEST_F(Commands, FilesThatAreNoPairKeepTheirMetadata) {
    file("a.jpg", shotPicture(40));
    file("a.jpg.xmp", bytesOf("<picture/>"));
    file("a.dng", shotRaw(2000, "2020:06:15 10:20:30"));
    file("a.dng.xmp", bytesOf("<raw/>"));
    EXPECT_EQ(run({"import", folder.string()}).output, "2 files saved\n");
    std::set<std::string> kept;
    const auto assets = run({"list", "--json"}).json();
    for (const auto &each : assets)
        kept.insert(contentsOf(each["sidecar"].get<std::string>()));
    EXPECT_EQ(kept, (std::set<std::string>{"<picture/>", "<raw/>"}));
}

TEST_F(Commands, APictureKeepsItsMovingPart) {
    file("a.jpg", shotPicture(40));
    const std::vector<std::string> taken{"-metadata", "creation_time=2021-06-15T08:20:28Z"};
    makeClip((folder / "a.mov").string(), "0xDC1E1E", taken);
    EXPECT_EQ(run({"import", folder.string()}).output, "2 files saved (1 pair of one shot)\n");
    EXPECT_EQ(run({"count"}).output, "1 photo, 0 videos\n");
    const std::string uuid = run({"list", "--json"}).json()[0]["uuid"];
    EXPECT_EQ(run({"show", uuid, "--json"}).json()["companion"]["format"], "video/quicktime");
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
    EXPECT_EQ(result.errors.find("saved"), std::string::npos)
        << "without a terminal no progress is shown" << result;
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

TEST_F(Commands, ImportTakesListsFillsAlbumsAndSaysWhatItWouldDo) {
    const std::string one = file("one two.jpg", jpegPicture()), other = file("other.png", pngPicture());
    file("notes.txt", bytesOf("text"));
    const auto dry = run({"import", folder.string(), "--dry-run", "--json"}).json();
    EXPECT_EQ(dry["wouldSave"], nlohmann::json::array({one, other})) << dry;
    EXPECT_EQ(dry["passedOver"].size(), 1U) << dry;
    EXPECT_EQ(run({"list"}).exitCode, 4) << "nothing was saved";
    EXPECT_EQ(runShell("printf '" + one + "\\0' | $WL import --files-from - --album Dunes").output,
              "1 file saved\n1 asset added to Dunes\n");
    const std::string list = file("list", bytesOf(one + "\n" + other + "\n"));
    EXPECT_EQ(run({"import", "--files-from", list, "--album", "Dunes", "--json"}).json()["addedToAlbum"], 1);
    EXPECT_EQ(run({"album", "list", "--json"}).json()[0]["assetCount"], 2);
    EXPECT_EQ(run({"import", "--files-from", "/nonexistent"}).exitCode, 1);
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
    EXPECT_EQ(result.exitCode, report["interrupted"] ? 130 : 0);
    EXPECT_EQ(run({"count", "--json"}).json()["photos"], report["saved"].size());
}

TEST_F(Commands, AnImportThatMetTheDaemonsDeathSavesEachFileOnce) {
    std::size_t count = 0;
    bool wasMet = false;
    // A kill that came too late for one import comes in the next.
    for (int round = 0; !wasMet && round < 20; ++round) {
        const std::string name = "round " + std::to_string(round);
        constexpr std::uint32_t files = 300;
        for (std::uint32_t i = 0; i < files; ++i)
            file(name + '/' + std::to_string(i) + ".png",
                 pngOf(fourCorners(8 + i, 8 + static_cast<std::uint32_t>(round))));
        ASSERT_EQ(run({"daemon", "status", "--start"}).exitCode, 0);
        RunningCommand importing({"import", "--json", "--quiet", (folder / name).string()});
        ASSERT_TRUE(waitUntil([&] {
            return !importing.isRunning() || run({"count", "--json"}).json()["photos"] > count;
        }));
        pid_t daemon = 0;
        std::ifstream(wickerlane::store::LibraryPaths().lock()) >> daemon;
        ASSERT_GT(daemon, 0);
        ASSERT_TRUE(stopProcess(daemon));
        wasMet = importing.isRunning();
        ASSERT_EQ(kill(daemon, SIGKILL), 0);
        const CommandResult result = importing.wait();
        count += files;
        EXPECT_EQ(result.exitCode, 0) << result.errors;
        EXPECT_EQ(result.json()["saved"].size(), files);
        EXPECT_EQ(result.json()["refused"].size(), 0U) << result;
        EXPECT_EQ(run({"count", "--json"}).json()["photos"], count);
    }
    EXPECT_TRUE(wasMet);
    EXPECT_EQ(run({"check"}).exitCode, 0);
}

TEST_F(Commands, AFileNameCannotForgeALine) {
    imported(file("a\nwickerlane: all is well.jpg", jpegPicture()));
    const std::string table = run({"list"}).output;
    EXPECT_EQ(std::count(table.begin(), table.end(), '\n'), 2) << table;
    EXPECT_NE(table.find("a\\nwickerlane"), std::string::npos) << table;
}

} // namespace
