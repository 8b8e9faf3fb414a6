#include <sys/stat.h>

#include <algorithm>
#include <csignal>
#include <fstream>

#include "tests/cli/CommandRun.h"
#include "tests/support/TestImages.h"

using namespace wickerlane::test;
namespace fs = std::filesystem;

namespace {

const auto jpeg = [] { return jpegOf(fourCorners(64, 48)); };
const auto png = [] { return pngOf(fourCorners(40, 40)); };
const std::string absentUUID = "00000000-0000-4000-8000-000000000000";

std::span<const std::byte> bytesOf(std::string_view text) {
    return std::as_bytes(std::span(text));
}

std::vector<std::string> entriesOf(const fs::path &folder) {
    std::vector<std::string> names;
    for (const auto &entry : fs::directory_iterator(folder))
        names.push_back(entry.path().filename());
    return names;
}

TEST_F(CommandTest, ImportsAFolderAndListsIt) {
    TestExif exif;
    exif.dateTimeOriginal = "2001:06:15 10:20:30";
    file("trip/beach.jpg", jpegOf(fourCorners(64, 48), exif));
    file("trip/day 2/dunes.PNG", pngOf(fourCorners(30, 20)));
    file("trip/notes.txt", bytesOf("nothing to see"));
    file("trip/.hidden.jpg", jpeg());

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

TEST_F(CommandTest, ImportSaysWhatItRefusedAndKeepsTheRest) {
    const std::string good = file("good.jpg", jpeg());
    fs::create_symlink("nowhere", folder / "dangling.jpg");
    mkfifo((folder / "pipe.jpg").c_str(), 0600);
    const std::string empty = file("empty.jpg", {});

    const CommandResult result =
        run({"import", good, (folder / "dangling.jpg").string(), (folder / "pipe.jpg").string(), empty,
             (folder / "absent.jpg").string()});
    EXPECT_EQ(result.exitCode, 1) << result;
    EXPECT_NE(result.output.find("1 file saved, 4 refused"), std::string::npos) << result;
    for (const char *name : {"dangling.jpg: ", "pipe.jpg: ", "empty.jpg: ", "absent.jpg: "})
        EXPECT_NE(result.errors.find(name), std::string::npos) << result;
    EXPECT_EQ(run({"count"}).output, "1 photo, 0 videos\n");
}

TEST_F(CommandTest, AFileThatIsNoPictureIsKeptWithItsProblem) {
    const std::string uuid = imported(file("words.jpg", bytesOf("only words")));
    const auto shown = run({"show", uuid, "--json"}).json();
    EXPECT_TRUE(shown.contains("problem")) << shown;

    const CommandResult thumbnail = run({"thumbnail", uuid, "--to", (folder / "out.jpg").string()});
    EXPECT_EQ(thumbnail.exitCode, 1) << thumbnail;
    EXPECT_NE(thumbnail.errors.find("decoded"), std::string::npos) << thumbnail;
    EXPECT_FALSE(fs::exists(folder / "out.jpg"));

    EXPECT_EQ(run({"export", uuid, "--to", (folder / "back.jpg").string()}).exitCode, 0);
    EXPECT_EQ(contentsOf(folder / "back.jpg"), "only words");
}

TEST_F(CommandTest, AnAssetIsFoundByAnyOfItsNames) {
    const std::string uuid = imported(file("a.jpg", jpeg()));
    const auto shown = run({"show", uuid, "--json"}).json();
    ASSERT_EQ(shown["uuid"], uuid) << shown;
    EXPECT_EQ(shown["name"], "a.jpg");
    std::string lower = uuid;
    for (char &c : lower)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    for (const std::string &name :
         {lower, shown["url"].get<std::string>(), shown["objectID"].get<std::string>()})
        EXPECT_EQ(run({"show", name, "--json"}).json(), shown) << name;
    EXPECT_NE(run({"show", uuid}).output.find("64x48"), std::string::npos);
}

TEST_F(CommandTest, ExportGivesTheOriginalAndNeverReplacesUnasked) {
    const std::string source = file("a.jpg", jpeg());
    const std::string uuid = imported(source);
    const fs::path out = folder / "out";
    fs::create_directory(out);

    const CommandResult first = run({"export", uuid, "--to", out.string()});
    EXPECT_EQ(first.exitCode, 0) << first;
    EXPECT_EQ(contentsOf(out / "a.jpg"), contentsOf(source));

    file("out/a.jpg", bytesOf("mine"));
    const CommandResult second = run({"export", uuid, "--to", out.string()});
    EXPECT_EQ(second.exitCode, 1) << second;
    EXPECT_NE(second.errors.find("--force"), std::string::npos) << second;
    EXPECT_EQ(contentsOf(out / "a.jpg"), "mine");

    EXPECT_EQ(run({"export", "--all", "--force", "--to", out.string()}).exitCode, 0);
    EXPECT_EQ(contentsOf(out / "a.jpg"), contentsOf(source));
    EXPECT_EQ(entriesOf(out), std::vector<std::string>{"a.jpg"}) << "nothing temporary may stay behind";
}

TEST_F(CommandTest, ThumbnailsComeInEachFormat) {
    const std::string source = file("a.png", png());
    const std::string uuid = imported(source);
    const struct {
        const char *format;
        std::string start;
    } cases[] = {
        {"small", "\xff\xd8\xff"}, {"preview", "\xff\xd8\xff"},      {"full", "\xff\xd8\xff"},
        {"png", "\x89PNG"},        {"original", contentsOf(source)},
    };
    for (const auto &[format, start] : cases) {
        const fs::path out = folder / format;
        const CommandResult result = run({"thumbnail", uuid, "--format", format, "--to", out.string()});
        EXPECT_EQ(result.exitCode, 0) << format << ": " << result;
        EXPECT_TRUE(contentsOf(out).starts_with(start)) << format;
    }
    EXPECT_EQ(run({"thumbnail", uuid, "--to", (folder / "small").string()}).exitCode, 1);
}

TEST_F(CommandTest, StatusStartsTheDaemonOnlyWhenAsked) {
    EXPECT_EQ(run({"daemon", "status", "--json"}).json()["running"], false);
    const auto started = run({"daemon", "status", "--start", "--json"}).json();
    EXPECT_EQ(started["running"], true) << started;
    EXPECT_EQ(started["access"], true) << started;
    const auto again = run({"daemon", "status", "--json"}).json();
    EXPECT_EQ(again["process"], started["process"]) << again;
}

TEST_F(CommandTest, ExitCodesTellWhatIsWrong) {
    const std::string uuid = imported(file("a.jpg", jpeg()));
    const struct {
        std::vector<std::string> arguments;
        int exitCode;
        const char *said;
    } cases[] = {
        {{}, 2, "subcommand"},
        {{"fly"}, 2, ""},
        {{"import"}, 2, "PATH"},
        {{"list", "--sort", "sideways"}, 2, "sideways"},
        {{"list", "--limit", "-1"}, 2, "--limit"},
        {{"thumbnail", absentUUID, "--format", "huge"}, 2, "huge"},
        {{"export"}, 2, "ASSET"},
        {{"export", "--all", "--to", "/nonexistent/file"}, 2, "folder"},
        {{"thumbnail", uuid, "--to", "/nonexistent/file"}, 1, "/nonexistent/file"},
        {{"export", uuid, "--to", "/nonexistent/file"}, 1, "/nonexistent/file"},
        {{"preview", uuid, "/nonexistent/file"}, 1, "/nonexistent/file"},
        {{"show", absentUUID}, 4, "wickerlane list"},
        {{"show", "not-a-uuid"}, 4, "not-a-uuid"},
        {{"export", absentUUID}, 4, absentUUID.c_str()},
        {{"thumbnail", "rez-vault://asset/asset.JPG?id=" + absentUUID}, 4, absentUUID.c_str()},
        {{"--root", (folder / "empty").string(), "list"}, 4, "wickerlane import"},
        {{"--help"}, 0, ""},
        {{"daemon", "status", "--help"}, 0, ""},
    };
    for (const auto &[arguments, exitCode, said] : cases) {
        const CommandResult result = run(arguments);
        EXPECT_EQ(result.exitCode, exitCode) << ::testing::PrintToString(arguments) << ": " << result;
        EXPECT_NE(result.errors.find(said), std::string::npos)
            << ::testing::PrintToString(arguments) << result;
    }
}

TEST_F(CommandTest, WithoutADaemonEveryRequestSaysSo) {
    setenv("WICKERLANE_SERVICES", (folder / "no services").c_str(), 1);
    const fs::path folderOfServices = folder / "no services";
    fs::create_directory(folderOfServices);
    std::ofstream(folderOfServices / "org.wickerlane.hoardd.Gatekeeper.plist")
        << R"({ Program = "/nonexistent/hoardd"; })";
    for (const auto &arguments : std::vector<std::vector<std::string>>{
             {"count"}, {"import", file("a.jpg", jpeg())}, {"daemon", "status", "--start"}}) {
        const CommandResult result = run(arguments);
        EXPECT_EQ(result.exitCode, 3) << ::testing::PrintToString(arguments) << ": " << result;
        EXPECT_NE(result.errors.find("hoardd"), std::string::npos) << result;
        EXPECT_EQ(result.output, "") << result;
    }
}

TEST_F(CommandTest, AForeignNameCannotForgeALine) {
    imported(file("a\nwickerlane: all is well.jpg", jpeg()));
    const std::string table = run({"list"}).output;
    EXPECT_EQ(std::count(table.begin(), table.end(), '\n'), 2) << table;
    EXPECT_NE(table.find("a\\nwickerlane"), std::string::npos) << table;
}

TEST_F(CommandTest, AnInterruptedImportKeepsAndReportsWhatItSaved) {
    std::vector<std::string> arguments{"import", "--json", "--quiet", "--again"};
    for (int i = 0; i < 400; ++i)
        file("many/" + std::to_string(i) + ".jpg", jpeg());
    arguments.push_back((folder / "many").string());
    ASSERT_EQ(run({"daemon", "status", "--start"}).exitCode, 0);

    RunningCommand importing(arguments);
    // The first assets are there: the import is under way.
    while (run({"list", "--limit", "1", "--json"}).json().empty() && importing.isRunning()) {
    }
    kill(importing.process(), SIGINT);
    const CommandResult result = importing.wait();

    const auto report = result.json();
    ASSERT_TRUE(report.contains("saved")) << result;
    EXPECT_EQ(report["refused"].size(), 0U) << result;
    EXPECT_EQ(result.exitCode, report["interrupted"] ? 1 : 0);
    EXPECT_EQ(run({"count", "--json"}).json()["photos"], report["saved"].size());
}

TEST_F(CommandTest, AnImportSavesTheSameContentsOnce) {
    file("a/one.jpg", jpeg());
    file("a/copy.jpg", jpeg());
    file("a/two.png", png());
    const std::string pictures = (folder / "a").string();
    EXPECT_EQ(run({"import", pictures}).output, "2 files saved, 1 already in the library\n");
    EXPECT_EQ(run({"import", pictures}).output, "0 files saved, 3 already in the library\n");
    EXPECT_EQ(run({"import", "--again", pictures}).output, "3 files saved\n");
    EXPECT_EQ(run({"count"}).output, "5 photos, 0 videos\n");
}

TEST_F(CommandTest, CheckFindsAndMends) {
    const std::string uuid = imported(file("a.jpg", jpeg()));
    const CommandResult well = run({"check"});
    EXPECT_EQ(well.exitCode, 0) << well;
    EXPECT_EQ(well.output, "1 asset checked, no problems found\n");

    std::string thumbnail, original;
    for (const auto &entry : fs::recursive_directory_iterator(folder.parent_path()))
        if (entry.path().filename() == uuid + "-256.JPG")
            thumbnail = entry.path();
        else if (entry.path().filename() == uuid + ".JPG")
            original = entry.path();
    fs::remove(thumbnail);
    const CommandResult found = run({"check"});
    EXPECT_EQ(found.exitCode, 1) << found;
    EXPECT_NE(found.output.find("missing thumbnail: " + thumbnail), std::string::npos) << found;
    EXPECT_NE(found.errors.find("--repair"), std::string::npos) << found;
    EXPECT_EQ(run({"check", "--repair"}).exitCode, 0);
    EXPECT_TRUE(fs::exists(thumbnail));

    chmod(original.c_str(), 0600);
    std::ofstream(original, std::ios::in | std::ios::binary).put('x');
    EXPECT_EQ(run({"check", "--no-sums"}).exitCode, 0) << "its size is right";
    const CommandResult changed = run({"check", "--repair", "--json"});
    EXPECT_EQ(changed.exitCode, 1) << changed;
    EXPECT_EQ(changed.json()["findings"][0]["kind"], "changed original") << changed;
    EXPECT_EQ(changed.json()["findings"][0]["uuid"], uuid) << changed;
}

TEST_F(CommandTest, ConsentKeepsAProgramOut) {
    const std::string self = WICKERLANE_COMMAND;
    EXPECT_EQ(run({"count"}).exitCode, 0);
    EXPECT_EQ(run({"consent", "deny", self}).exitCode, 0);
    const auto decisions = run({"consent", "list", "--json"}).json();
    ASSERT_EQ(decisions.size(), 1U) << decisions;
    EXPECT_EQ(decisions[0]["granted"], false);
    const CommandResult denied = run({"count"});
    EXPECT_NE(denied.exitCode, 0) << denied;
    EXPECT_EQ(run({"consent", "revoke", self}).exitCode, 0);
    EXPECT_EQ(run({"consent", "list", "--json"}).json().size(), 0U);
    EXPECT_EQ(run({"count"}).exitCode, 0);
}

TEST_F(CommandTest, PreviewsNeedTheirEntitlement) {
    const std::string self = WICKERLANE_COMMAND;
    const std::string uuid = imported(file("a.jpg", jpeg())), edited = file("edited.png", png());
    EXPECT_EQ(run({"entitlement", "revoke", self, "write-assets"}).exitCode, 0);
    const CommandResult refused = run({"preview", uuid, edited});
    EXPECT_EQ(refused.exitCode, 1) << refused;
    EXPECT_EQ(run({"entitlement", "grant", self, "write-assets"}).exitCode, 0);
    EXPECT_EQ(run({"entitlement", "list", "--json"}).json().begin().value().size(), 1U);
    const CommandResult done = run({"preview", uuid, edited});
    EXPECT_EQ(done.exitCode, 0) << done;
    EXPECT_EQ(run({"preview", uuid, file("words", bytesOf("only words"))}).exitCode, 1);
}

TEST_F(CommandTest, AlbumsAreMadeFilledAndShown) {
    const std::string uuid = imported(file("a.jpg", jpeg()));
    EXPECT_EQ(run({"album", "create", "Dunes"}).output.substr(0, 22), "rez-vault://group/?id=");
    EXPECT_EQ(run({"album", "create", "Dunes"}).exitCode, 1);
    EXPECT_EQ(run({"album", "add", "Dunes", uuid}).output, "1 asset added to Dunes\n");
    EXPECT_EQ(run({"album", "add", "Dunes", absentUUID}).exitCode, 4);
    EXPECT_EQ(run({"album", "add", "Hills", uuid}).exitCode, 4);
    const auto albums = run({"album", "list", "--json"}).json();
    ASSERT_EQ(albums.size(), 1U) << albums;
    EXPECT_EQ(albums[0]["assets"], 1);
    const auto shown = run({"album", "show", albums[0]["uuid"], "--json"}).json();
    EXPECT_EQ(shown["assets"][0]["uuid"], uuid) << shown;
    EXPECT_EQ(run({"album", "delete-empty", "Dunes"}).exitCode, 1);
    EXPECT_EQ(run({"delete", uuid}).exitCode, 1) << "nobody is there to be asked";
    EXPECT_EQ(run({"delete", "--yes", uuid}).output, "1 asset deleted\n");
    EXPECT_EQ(run({"count"}).output, "0 photos, 0 videos\n");
    EXPECT_EQ(run({"album", "delete-empty", "Dunes"}).exitCode, 0);
    const auto changes = run({"changes", "--json"}).json();
    ASSERT_EQ(changes.size(), 3U) << changes;
    EXPECT_EQ(changes[0]["what"], "added");
    EXPECT_EQ(changes[1]["what"], "changed") << "its thumbnails have been made";
    EXPECT_EQ(changes[2]["what"], "removed");
}

TEST_F(CommandTest, SharingAndItsSpaceAreShown) {
    const std::string source = file("a.jpg", jpeg());
    const std::string uuid = imported(source);
    EXPECT_EQ(run({"sizes", "--json"}).json()["photos"], fs::file_size(source));
    EXPECT_EQ(run({"stream", "s-1"}).exitCode, 0);
    EXPECT_EQ(run({"album", "add", "s-1", uuid}).exitCode, 0);
    const auto bulletins = run({"bulletins", "--json", "--clear"}).json();
    ASSERT_EQ(bulletins.size(), 1U) << bulletins;
    EXPECT_EQ(bulletins[0]["title"], "s-1");
    EXPECT_EQ(bulletins[0]["message"].get<std::string>().find('%'), std::string::npos) << bulletins;
    EXPECT_NE(bulletins[0]["message"].get<std::string>().find("s-1"), std::string::npos) << bulletins;
    const auto purgeable = run({"purge", "--dry-run", "--json"}).json()["purgeable"];
    EXPECT_GT(purgeable, 0);
    EXPECT_EQ(run({"purge", "1GB", "--json"}).json()["freed"], purgeable);
    EXPECT_EQ(run({"purge"}).exitCode, 2);
    const std::vector<std::string> senseless[] = {
        {"purge", "--", "-5"},
        {"stream", ""},
        {"album", "create", ""},
        {"changes", "--since", "-4"},
        {"consent", "grant", "/bin/true", "--user", "-7"},
        {"shred"},
    };
    for (const std::vector<std::string> &words : senseless) {
        const auto ended = run(words);
        EXPECT_EQ(ended.exitCode, 2) << words.front() << ended;
        EXPECT_NE(ended.errors, "") << words.front();
    }

    EXPECT_EQ(run({"person", "p1"}).exitCode, 4);
    EXPECT_EQ(run({"person", "p1", "name"}).exitCode, 2);
    EXPECT_EQ(run({"person", "p1", "name=Ada"}).exitCode, 0);
    EXPECT_EQ(run({"person", "p1", "--json"}).json(), (nlohmann::json{{"name", "Ada"}}));
}

TEST_F(CommandTest, ALibraryWhoseStoreIsLostComesBack) {
    const std::string uuid = imported(file("a.jpg", jpeg()));
    EXPECT_EQ(run({"album", "create", "Dunes"}).exitCode, 0);
    EXPECT_EQ(run({"album", "add", "Dunes", uuid}).exitCode, 0);
    const auto process = run({"daemon", "status", "--json"}).json()["process"].get<pid_t>();
    kill(process, SIGTERM);
    while (kill(process, 0) == 0) {
    }
    for (const auto &entry : fs::recursive_directory_iterator(folder.parent_path()))
        if (entry.path().filename().string().starts_with("Pixhold.sqlite"))
            fs::remove(entry.path());
    EXPECT_EQ(run({"restore", "update"}).output, "1 photo, 0 videos\n");
    EXPECT_EQ(run({"restore", "status", "--json"}).json()["complete"], false);
    EXPECT_EQ(run({"restore", "finish"}).exitCode, 0);
    EXPECT_EQ(run({"restore", "status", "--json"}).json()["complete"], true);
    EXPECT_EQ(run({"album", "show", "Dunes", "--json"}).json()["assets"][0]["uuid"], uuid);
    EXPECT_EQ(run({"check"}).exitCode, 0);
}

} // namespace
