// What --json writes, and its schema
#include <fstream>

#include "tests/cli/CommandRun.h"
#include "tests/support/TestImages.h"

using namespace wickerlane::test;
namespace fs = std::filesystem;

namespace {

TEST_F(Commands, JSONIsAsItsSchemaSays) {
    TestExif exif;
    exif.dateTimeOriginal = "2021:06:15 10:00:00";
    exif.make = "MAKER";
    exif.exposure = {1, 125};
    const std::string taken = imported(file("a.jpg", jpegOf(scene(240, 240, 1), exif)));
    imported(file("small.jpg", jpegOf(scene(120, 120, 1), exif)));
    const std::string other = imported(file("b.png", pngPicture())),
                      gone = imported(file("c.jpg", jpegPicture()));
    ASSERT_EQ(
        run({"set", taken, "--rating", "3", "--favourite", "--keyword", "Sea", "--caption", "x"}).exitCode,
        0);
    ASSERT_EQ(run({"preview", taken, file("edit.jpg", jpegPicture())}).exitCode, 0);
    ASSERT_EQ(run({"album", "create", "Dunes"}).exitCode, 0);
    ASSERT_EQ(run({"album", "add", "Dunes", taken, other}).exitCode, 0);
    ASSERT_EQ(run({"stream", "s-1"}).exitCode, 0);
    ASSERT_EQ(run({"album", "add", "s-1", taken}).exitCode, 0);
    ASSERT_EQ(run({"delete", "--yes", gone}).exitCode, 0);
    ASSERT_EQ(run({"duplicates", "--update"}).exitCode, 0);
    const std::string moment = run({"moments", "--update", "--json"}).json()[0]["objectID"];
    ASSERT_EQ(run({"consent", "grant", "/bin/true"}).exitCode, 0);
    ASSERT_EQ(run({"entitlement", "grant", "/bin/true", "write-assets"}).exitCode, 0);
    const std::string url = run({"show", taken, "--json"}).json()["url"];
    const fs::path written = folder / "json";
    fs::create_directories(written);
    const struct {
        const char *name;
        std::vector<std::string> arguments;
    } cases[] = {
        {"list", {"list"}},
        {"find", {"find", "jpg", "--fields", "uuid,pixels,place"}},
        {"show", {"show", taken}},
        {"count", {"count"}},
        {"album-list", {"album", "list"}},
        {"album-show", {"album", "show", "Dunes"}},
        {"trash-list", {"trash", "list"}},
        {"moments", {"moments"}},
        {"moments-lists", {"moments", "--lists"}},
        {"moments-show", {"moments", "show", moment}},
        {"duplicates", {"duplicates"}},
        {"import", {"import", (folder / "a.jpg").string(), (folder / "absent").string(), "--album", "Hills"}},
        {"changes", {"changes"}},
        {"feed", {"feed"}},
        {"bulletins", {"bulletins"}},
        {"sizes", {"sizes"}},
        {"check", {"check"}},
        {"backup", {"backup", (folder / "backup").string()}},
        {"backup-restore",
         {"--root", (folder / "other").string(), "backup", "restore", (folder / "backup").string()}},
        {"restore-status", {"restore", "status"}},
        {"daemon-status", {"daemon", "status"}},
        {"resolve", {"resolve", url}},
        {"purge", {"purge", "--dry-run"}},
        {"consent-list", {"consent", "list"}},
        {"entitlement-list", {"entitlement", "list"}},
        {"debug-text", {"debug", "text", "ALBUM_ZERO_TYPES_LABEL"}},
        {"debug-describe", {"debug", "describe", "--photos", "2"}},
        {"debug-uuid", {"debug", "uuid", "--count", "2"}},
        {"debug-process", {"debug", "process", "wickerlane"}},
        {"debug-device", {"debug", "device"}},
    };
    for (const auto &[name, arguments] : cases) {
        auto words = arguments;
        words.emplace_back("--json");
        const CommandResult result = run(words);
        EXPECT_FALSE(result.json().is_discarded()) << name << result;
        EXPECT_TRUE(result.json().is_object() || !result.json().empty()) << name << " has nothing to check";
        std::ofstream(written / (std::string(name) + ".json")) << result.output;
    }
    const CommandResult checked =
        RunningCommand::ofProgram({"python3", CHECK_SCHEMA, JSON_SCHEMA, written.string()}).wait();
    EXPECT_EQ(checked.exitCode, 0) << checked;

    // The check finds a fault.
    std::ofstream(written / "count.json") << R"({"photos": -1, "films": 2})";
    EXPECT_EQ(
        RunningCommand::ofProgram({"python3", CHECK_SCHEMA, JSON_SCHEMA, written.string()}).wait().exitCode,
        1);
}

} // namespace
