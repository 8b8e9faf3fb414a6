// wickerlane backup
#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>

#include "tests/cli/CommandRun.h"
#include "tests/support/TestImages.h"
#include "tests/support/WaitUntil.h"
#include "wickerlane/store/LibraryPaths.h"
#include "wickerlane/store/StoreReader.h"

using namespace wickerlane::test;
namespace store = wickerlane::store;
namespace fs = std::filesystem;

namespace {

/// The files below a folder with a given ending, sorted.
std::vector<fs::path> filesBelow(const fs::path &folder, const std::string &ending) {
    std::vector<fs::path> files;
    for (const auto &entry : fs::recursive_directory_iterator(folder))
        if (entry.is_regular_file() && entry.path().string().ends_with(ending))
            files.push_back(entry.path());
    std::ranges::sort(files);
    return files;
}

void damage(const fs::path &path) {
    chmod(path.c_str(), 0600);
    std::fstream(path, std::ios::in | std::ios::out | std::ios::binary).put('x');
}

/// A library with two pictures, one of them in an album, and a place for its backup.
class Backups : public Commands {
protected:
    void SetUp() override {
        Commands::SetUp();
        backup = folder / "backup";
        original = file("beach.jpg", jpegPicture());
        uuid = imported(original);
        imported(file("dune.png", pngPicture()));
        EXPECT_EQ(run({"album", "create", "Dunes"}).exitCode, 0);
        EXPECT_EQ(run({"album", "add", "Dunes", uuid}).exitCode, 0);
        EXPECT_EQ(run({"rebuild-thumbnails"}).exitCode, 0);
    }
    void TearDown() override {
        Commands::TearDown();
        if (!firstRoot.empty())
            setenv("WICKERLANE_ROOT", firstRoot.c_str(), 1);
    }

    /// Goes on with another library, which is empty.
    void moveToNewRoot() {
        endDaemon();
        const fs::path root = std::getenv("WICKERLANE_ROOT");
        if (firstRoot.empty())
            firstRoot = root;
        setenv("WICKERLANE_ROOT", (firstRoot / "files" / "other").c_str(), 1);
        fs::create_directories(firstRoot / "files" / "other");
    }
    CommandResult backUp(std::vector<std::string> options = {}) const {
        options.insert(options.begin(), {"backup", backup});
        options.emplace_back("--json");
        return run(options);
    }
    CommandResult restore() const { return run({"backup", "restore", backup, "--json"}); }

    fs::path backup, firstRoot;
    std::string original, uuid;
};

TEST_F(Backups, CopyOnlyWhatIsNew) {
    const CommandResult first = backUp();
    ASSERT_EQ(first.exitCode, 0) << first;
    EXPECT_EQ(first.json()["originals"], 2) << first;
    EXPECT_GT(first.json()["copied"], 2) << first;

    const CommandResult second = backUp();
    EXPECT_EQ(second.exitCode, 0) << second;
    EXPECT_LE(second.json()["copied"], 1) << "at most the store: " << second;

    imported(file("third.jpg", jpegOf(fourCorners(80, 60))));
    EXPECT_EQ(run({"rebuild-thumbnails"}).exitCode, 0);
    const auto before = filesBelow(backup / "files", ".JPG");
    const CommandResult third = backUp();
    EXPECT_EQ(third.exitCode, 0) << third;
    EXPECT_EQ(third.json()["originals"], 3) << third;
    EXPECT_LE(third.json()["copied"], 4) << "an original, two thumbnails and the store: " << third;
    EXPECT_GT(filesBelow(backup / "files", ".JPG").size(), before.size());
}

TEST_F(Backups, LeaveOutWhatIsMadeOnDemand) {
    const std::string other = imported(file("other.jpg", jpegOf(fourCorners(1500, 900))));
    const fs::path large = folder / "large";
    ASSERT_EQ(run({"thumbnail", other, "--format", "large", "--to", large.string()}).exitCode, 0);
    ASSERT_EQ(backUp().exitCode, 0);
    const std::string bytes = contentsOf(large);
    ASSERT_FALSE(bytes.empty());
    for (const fs::path &each : filesBelow(backup, ""))
        EXPECT_NE(contentsOf(each), bytes) << each;
}

// The changes after the backup get the numbers of others that were made when it was there.
TEST_F(Backups, TellOneWhoFollowsChangesToStartOver) {
    ASSERT_EQ(backUp().exitCode, 0);
    imported(file("late.jpg", jpegOf(fourCorners(70, 60))));
    const auto page = [](const std::string &token) {
        const auto reader = store::StoreReader::open(store::LibraryPaths());
        EXPECT_TRUE(reader);
        return (*reader)->changesSince(token, 100).value();
    };
    const std::string token = page("").token;
    endDaemon();
    fs::remove_all(store::LibraryPaths().folder());
    ASSERT_EQ(restore().exitCode, 0);
    for (unsigned i = 0; i < 4; ++i)
        imported(file("other.jpg", jpegOf(fourCorners(50 + i, 60))));
    EXPECT_TRUE(page(token).isTooOld);
    const std::string now = page(token).token;
    endDaemon();
    const CommandResult again = restore(); // of the same library, where no store is put back
    EXPECT_EQ(again.exitCode, 0) << again;
    EXPECT_FALSE(page(now).isTooOld);
}

TEST_F(Backups, AreRestoredAsTheyWere) {
    ASSERT_EQ(backUp().exitCode, 0);
    moveToNewRoot();
    const CommandResult restored = restore();
    ASSERT_EQ(restored.exitCode, 0) << restored;
    EXPECT_EQ(restored.json()["sameLibrary"], false) << restored;
    const CommandResult checked = run({"check"});
    EXPECT_EQ(checked.exitCode, 0) << checked;
    EXPECT_EQ(checked.output, "2 assets checked, no problems found\n");
    const auto shown = run({"show", uuid, "--json"}).json();
    EXPECT_EQ(contentsOf(shown["path"].get<std::string>()), contentsOf(original)) << shown;
    EXPECT_EQ(run({"album", "show", "Dunes", "--json"}).json()["assets"][0]["uuid"], uuid);
    EXPECT_NE(run({"list"}).output.find("beach.jpg"), std::string::npos);
    // hoardd goes on with what was restored.
    EXPECT_FALSE(imported(file("later.jpg", jpegOf(fourCorners(90, 60)))).empty());
    EXPECT_EQ(run({"check"}).exitCode, 0);
}

TEST_F(Backups, HaveBothFilesOfAShot) {
    TestExif exif;
    exif.dateTimeOriginal = "2021:06:15 10:20:30";
    TestRaw raw;
    raw.dateTimeOriginal = exif.dateTimeOriginal;
    file("shot/a.jpg", jpegOf(fourCorners(44, 30), exif));
    const std::string second = file("shot/a.dng", rawOf(raw));
    const auto report = run({"import", "--json", (folder / "shot").string()}).json();
    ASSERT_EQ(report["saved"].size(), 2U) << report;
    const std::string shot = report["saved"][0]["uuid"];
    const auto kept = [&] { return run({"show", shot, "--json"}).json()["companion"]["path"]; };
    ASSERT_EQ(backUp().exitCode, 0);
    const std::string lost = kept();
    fs::remove(lost);
    EXPECT_EQ(backUp().exitCode, 1) << "it is missing";
    endDaemon();
    EXPECT_EQ(restore().json()["restored"], 1);
    EXPECT_EQ(contentsOf(lost), contentsOf(second));
    // One that hoardd found to be damaged is replaced.
    damage(lost);
    describeService({"--scrub-days", "0.00001"});
    const auto isFound = [] {
        return run({"check", "--no-sums"}).output.find(" companion: ") != std::string::npos;
    };
    ASSERT_EQ(run({"count"}).exitCode, 0);
    EXPECT_TRUE(waitUntil(isFound)) << "hoardd reads companions unasked";
    endDaemon();
    EXPECT_EQ(restore().json()["replaced"], 1);
    EXPECT_EQ(contentsOf(lost), contentsOf(second));
    EXPECT_EQ(restore().json()["replaced"], 0) << "it is sound now";
    describeService({});

    moveToNewRoot();
    ASSERT_EQ(restore().exitCode, 0);
    EXPECT_EQ(contentsOf(kept().get<std::string>()), contentsOf(second));
    EXPECT_EQ(fs::status(kept().get<std::string>()).permissions(), fs::perms::owner_read);
    EXPECT_EQ(run({"check"}).exitCode, 0);
}

TEST_F(Backups, FillInWhatTheSameLibraryMisses) {
    ASSERT_EQ(backUp().exitCode, 0);
    const std::string lost = run({"show", uuid, "--json"}).json()["path"];
    imported(file("later.jpg", jpegOf(fourCorners(90, 60))));
    fs::remove(lost);
    const CommandResult whileMissing = backUp();
    EXPECT_EQ(whileMissing.exitCode, 1) << whileMissing;
    EXPECT_NE(whileMissing.errors.find("the backup has it"), std::string::npos) << whileMissing;

    const CommandResult served = restore();
    EXPECT_EQ(served.exitCode, 1) << served;
    EXPECT_NE(served.errors.find("hoardd serves"), std::string::npos) << served;
    endDaemon();
    const CommandResult restored = restore();
    EXPECT_EQ(restored.exitCode, 0) << restored;
    EXPECT_EQ(restored.json()["sameLibrary"], true) << restored;
    EXPECT_EQ(restored.json()["restored"], 1) << restored;
    EXPECT_EQ(contentsOf(lost), contentsOf(original));
    EXPECT_EQ(run({"count", "--json"}).json()["photos"], 3) << "what was saved later stays";
}

TEST_F(Backups, FindAndMendDamage) {
    ASSERT_EQ(backUp().exitCode, 0);
    const auto files = filesBelow(backup / "files", ".PNG");
    ASSERT_EQ(files.size(), 1U);
    const std::string sound = contentsOf(files[0]);
    damage(files[0]);
    const CommandResult verified = backUp({"--verify"});
    EXPECT_EQ(verified.exitCode, 0) << verified;
    EXPECT_EQ(verified.json()["replaced"], 1) << verified;
    EXPECT_EQ(contentsOf(files[0]), sound);

    // A damaged copy is never restored.
    damage(files[0]);
    moveToNewRoot();
    const CommandResult restored = restore();
    EXPECT_EQ(restored.exitCode, 1) << restored;
    EXPECT_NE(restored.errors.find("has other contents"), std::string::npos) << restored;
    EXPECT_EQ(filesBelow(wickerlane::store::LibraryPaths().folder(), ".PNG").size(), 0U);
}

TEST_F(Backups, LeaveAChangedOriginalOut) {
    damage(run({"show", uuid, "--json"}).json()["path"].get<std::string>());
    const CommandResult result = backUp();
    EXPECT_EQ(result.exitCode, 1) << result;
    EXPECT_EQ(result.json()["originals"], 1) << result;
    EXPECT_NE(result.errors.find("has other contents"), std::string::npos) << result;
}

TEST_F(Backups, PutBackOriginalsThatHoarddFoundToBeFaulty) {
    ASSERT_EQ(backUp().exitCode, 0);
    endDaemon();
    describeService({"--scrub-days", "0.00001"});
    const fs::path saved =
        store::LibraryPaths().folder() + "/DCIM/" + uuid.substr(0, 2) + '/' + uuid + ".JPG";
    const std::string good = contentsOf(saved);
    damage(saved);
    const auto isFound = [] {
        return run({"check", "--no-sums"}).output.find(" original: ") != std::string::npos;
    };
    ASSERT_EQ(run({"daemon", "status", "--start"}).exitCode, 0);
    ASSERT_EQ(run({"count"}).exitCode, 0);
    EXPECT_TRUE(waitUntil(isFound)) << "hoardd reads originals unasked";
    endDaemon();

    const CommandResult restored = restore();
    EXPECT_EQ(restored.exitCode, 0) << restored;
    EXPECT_EQ(restored.json()["replaced"], 1) << restored;
    EXPECT_EQ(contentsOf(saved), good);
    EXPECT_EQ(filesBelow(store::LibraryPaths().lostAndFound(), ".JPG").size(), 1U);
    EXPECT_EQ(restore().json()["replaced"], 0) << "it is sound now";
    EXPECT_EQ(run({"check"}).exitCode, 0);
    ASSERT_EQ(run({"count"}).exitCode, 0);
    EXPECT_TRUE(waitUntil([&] { return !isFound(); })) << "hoardd finds it sound";
}

TEST_F(Backups, GoOnAfterAKill) {
    for (int number = 0; number < 60; ++number)
        file("many/" + std::to_string(number) + ".jpg",
             jpegOf(fourCorners(40 + static_cast<unsigned>(number), 30)));
    ASSERT_EQ(run({"import", (folder / "many").string(), "--quiet"}).exitCode, 0);
    EXPECT_EQ(run({"rebuild-thumbnails"}).exitCode, 0); // or the store changes between the runs
    {
        RunningCommand running({"backup", backup});
        EXPECT_TRUE(waitUntil([&] {
            return !running.isRunning() ||
                   (fs::exists(backup / "files") && filesBelow(backup / "files", ".JPG").size() > 3);
        }));
    } // killed
    // Whatever has its name is whole.
    const auto done = filesBelow(backup / "files", "");
    for (const fs::path &each : done)
        EXPECT_GT(fs::file_size(each), 0U) << each;
    const CommandResult again = backUp();
    EXPECT_EQ(again.exitCode, 0) << again;
    EXPECT_EQ(again.json()["originals"], 62) << again;
    EXPECT_EQ(again.json()["copied"].get<std::size_t>() + done.size(),
              filesBelow(backup / "files", "").size())
        << "what was there is not copied again: " << again;
    EXPECT_EQ(backUp({"--verify"}).json()["replaced"], 0);

    moveToNewRoot();
    { RunningCommand killed({"backup", "restore", backup}); }
    const CommandResult restored = restore();
    EXPECT_EQ(restored.exitCode, 0) << restored;
    EXPECT_EQ(run({"check", "--quiet"}).output, "62 assets checked, no problems found\n");
}

TEST_F(Backups, KeepWhatWasDeletedUntilTheyArePruned) {
    ASSERT_EQ(backUp().exitCode, 0);
    const auto originals = filesBelow(backup / "files", ".PNG");
    ASSERT_EQ(originals.size(), 1U);
    const auto assets = run({"list", "--json"}).json();
    std::string other;
    for (const auto &each : assets)
        if (each["uuid"] != uuid)
            other = each["uuid"];
    EXPECT_EQ(run({"delete", other, "--yes", "--now"}).exitCode, 0);
    EXPECT_EQ(backUp().json()["originals"], 1);
    EXPECT_TRUE(fs::exists(originals[0]));
    EXPECT_GE(backUp({"--prune"}).json()["pruned"], 1);
    EXPECT_FALSE(fs::exists(originals[0]));
    EXPECT_EQ(backUp({"--verify"}).json()["replaced"], 0) << "what is needed is still there";
}

TEST_F(Backups, RefuseWhatIsNotTheirs) {
    EXPECT_EQ(run({"backup"}).exitCode, 2);
    file("other/letter.txt", bytesOf("a letter"));
    const struct {
        std::string folder;
        const char *problem;
    } cases[] = {
        {folder / "other", "holds something else"},
        {original, "can't be made"},
        {original + "/below", "can't be made"},
        {wickerlane::store::LibraryPaths().folder() + "/PhotoData/backup", "one in the other"},
    };
    for (const auto &each : cases) {
        const CommandResult result = run({"backup", each.folder});
        EXPECT_EQ(result.exitCode, 1) << each.folder << ": " << result;
        EXPECT_NE(result.errors.find(each.problem), std::string::npos) << each.folder << ": " << result;
    }
    EXPECT_EQ(filesBelow(folder / "other", "").size(), 1U);
    EXPECT_EQ(run({"backup", "restore", (folder / "other").string()}).exitCode, 1);

    ASSERT_EQ(backUp().exitCode, 0);
    moveToNewRoot();
    imported(file("mine.jpg", jpegPicture()));
    const CommandResult foreign = backUp();
    EXPECT_EQ(foreign.exitCode, 1) << foreign;
    EXPECT_NE(foreign.errors.find("another library"), std::string::npos) << foreign;
    endDaemon();
    const CommandResult refused = restore();
    EXPECT_EQ(refused.exitCode, 1) << refused;
    EXPECT_NE(refused.errors.find("another library"), std::string::npos) << refused;
    EXPECT_EQ(run({"check"}).exitCode, 0);
}

} // namespace
