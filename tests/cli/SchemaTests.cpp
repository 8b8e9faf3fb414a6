// What --json writes, and its schema
#include <algorithm>
#include <csignal>
#include <fstream>
#include <functional>
#include <set>
#include <sstream>

#include "tests/cli/CommandRun.h"
#include "tests/support/TestClips.h"
#include "tests/support/TestImages.h"
#include "tests/support/WaitUntil.h"

using namespace wickerlane::test;
namespace fs = std::filesystem;

namespace {

using Words = std::vector<std::string>;

class Schema : public Commands {
protected:
    void SetUp() override {
        Commands::SetUp();
        written = folder / "json";
        fs::create_directories(written);
    }

    /// Keeps what a command wrote, which is to be as a definition says. `what` is the name of the definition,
    /// perhaps with "@" and a variant behind it.
    void keep(const std::string &what, const std::string &output, const char *extension = ".json") {
        EXPECT_FALSE(output.empty()) << what;
        std::ofstream(written / (what + extension)) << output;
    }
    /// Runs a command with --json, or as the words say otherwise, and keeps what it wrote.
    void keepOutputOf(const std::string &what, Words words) {
        const bool isLines = std::ranges::find(words, "jsonl") != words.end();
        if (!isLines)
            words.emplace_back("--json");
        const CommandResult result = run(words);
        if (!isLines) {
            EXPECT_FALSE(result.json().is_discarded()) << what << result;
            EXPECT_TRUE(result.json().is_object() || !result.json().empty())
                << what << " has nothing to check";
        }
        keep(what, result.output, isLines ? ".jsonl" : ".json");
    }
    /// Runs a command that watches until it has written a text, while `act` makes something happen.
    void keepLinesOf(const std::string &what, const Words &words, const std::string &text,
                     const std::function<void()> &act) {
        RunningCommand watching(words);
        EXPECT_TRUE(waitUntil([&] {
            act();
            return watching.output().find(text) != std::string::npos || !watching.isRunning();
        })) << what;
        kill(watching.process(), SIGINT);
        const std::string output = watching.wait().output;
        keep(what, output.substr(0, output.rfind('\n') + 1), ".jsonl");
    }
    [[nodiscard]] CommandResult check() const {
        return RunningCommand::ofProgram({"python3", CHECK_SCHEMA, JSON_SCHEMA, written.string()}).wait();
    }
    /// The commands whose help has --json, with hyphens for blanks, below the one that the words name.
    static std::set<std::string> commandsWithJSON(const Words &words = {}) {
        Words question{"help"};
        question.insert(question.end(), words.begin(), words.end());
        const CommandResult help = run(question);
        std::set<std::string> found;
        if (help.exitCode != 0) // the line of the help was about something else
            return found;
        std::string name;
        for (const std::string &each : words)
            name += (name.empty() ? "" : "-") + each;
        std::istringstream lines(help.output);
        for (std::string line; std::getline(lines, line);) {
            if (line.starts_with("  --json"))
                found.insert(name);
            const std::size_t end = line.find(' ', 2);
            if (!line.starts_with("  ") || line.size() < 3 || line[2] < 'a' || line[2] > 'z')
                continue;
            Words further = words;
            further.push_back(line.substr(2, end - 2));
            found.merge(commandsWithJSON(further));
        }
        return found;
    }

    fs::path written;
};

TEST_F(Schema, HoldsForWhatEachCommandWrites) {
    TestExif exif;
    exif.dateTimeOriginal = "2021:06:15 10:00:00";
    exif.make = "MAKER";
    exif.exposure = {1, 125};
    const std::string taken = imported(file("a.jpg", jpegOf(scene(240, 240, 1), exif)));
    imported(file("small.jpg", jpegOf(scene(120, 120, 1), exif)));
    const std::string other = imported(file("b.png", pngPicture())),
                      gone = imported(file("c.jpg", jpegPicture())),
                      words = file("d.jpg", bytesOf("\xff\xd8\xff\xe0"));
    const std::string clip = (folder / "clip.mp4").string();
    makeClip(clip, "0xDC1E1E",
             {"-metadata", "creation_time=2021-06-15T10:00:00Z", "-metadata", "location=+47.5000+008.2500/"});
    const std::string video = imported(clip);
    for (const Words &each :
         {Words{"set", taken, "--rating", "3", "--favourite", "--keyword", "Sea", "--caption", "x"},
          {"preview", taken, file("edit.jpg", jpegPicture())},
          {"album", "create", "Dunes"},
          {"album", "add", "Dunes", taken, other},
          {"stream", "s-1"},
          {"album", "add", "s-1", taken},
          {"delete", "--yes", gone},
          {"duplicates", "--update"},
          {"person", "p-17", "name=Ada"},
          {"consent", "grant", "/bin/true"},
          {"entitlement", "grant", "/bin/true", "write-assets"}})
        ASSERT_EQ(run(each).exitCode, 0) << each.front();
    const std::string moment = run({"moments", "--update", "--json"}).json()[0]["objectID"];
    const std::string url = run({"show", taken, "--json"}).json()["url"],
                      absent = (folder / "absent").string(), backup = (folder / "backup").string();
    const std::pair<const char *, Words> cases[] = {
        {"list", {"list"}},
        {"listed-asset", {"list", "--format", "jsonl"}},
        {"find", {"find", "jpg", "--fields", "uuid,pixels,place"}},
        {"show", {"show", taken}},
        {"show@several", {"show", "--where", "all"}},
        {"count", {"count"}},
        {"album-list", {"album", "list"}},
        {"album-show", {"album", "show", "Dunes"}},
        {"album-show@fields", {"album", "show", "Dunes", "--fields", "name,pixels"}},
        {"listed-asset@album", {"album", "show", "Dunes", "--format", "jsonl"}},
        {"trash-list", {"trash", "list"}},
        {"moments", {"moments"}},
        {"moments-lists", {"moments", "--lists"}},
        {"moments-show", {"moments", "show", moment}},
        {"duplicates", {"duplicates"}},
        {"import@dry-run", {"import", words, absent, "--dry-run"}},
        {"import", {"import", (folder / "a.jpg").string(), words, absent, "--album", "Hills"}},
        {"changes", {"changes"}},
        {"feed", {"feed"}},
        {"bulletins", {"bulletins"}},
        {"person", {"person", "p-17"}},
        {"sizes", {"sizes"}},
        {"check", {"check"}},
        {"backup", {"backup", backup}},
        {"backup-restore", {"--root", (folder / "other").string(), "backup", "restore", backup}},
        {"restore-status", {"restore", "status"}},
        {"daemon-status", {"daemon", "status"}},
        {"resolve", {"resolve", url}},
        {"estimate", {"estimate", clip}},
        {"video-info", {"video-info", clip}},
        {"purge@dry-run", {"purge", "--dry-run"}},
        {"purge", {"purge", "1GB"}},
        {"consent-list", {"consent", "list"}},
        {"entitlement-list", {"entitlement", "list"}},
        {"debug-text", {"debug", "text", "ALBUM_ZERO_TYPES_LABEL"}},
        {"debug-describe", {"debug", "describe", "--photos", "2"}},
        {"debug-uuid", {"debug", "uuid", "--count", "2"}},
        {"debug-process", {"debug", "process", "wickerlane"}},
        {"debug-device", {"debug", "device"}},
    };
    for (const auto &[what, arguments] : cases)
        keepOutputOf(what, arguments);
    const auto change = [&] { run({"set", taken, "--rating", "4"}); };
    keepLinesOf("watch", {"watch", "--json"}, "\n", [] {});
    keepLinesOf("changes-line", {"changes", "--follow", "--since", "0", "--json"}, "\"changed\"", change);
    keepLinesOf("monitor", {"monitor", "--json", "--texts"}, "\"errorKind\"", [&] {
        change();
        run({"video-info", words});
    });
    for (const std::string &command : commandsWithJSON())
        EXPECT_TRUE(fs::exists(written / (command + ".json")) || fs::exists(written / (command + ".jsonl")))
            << command << " has --json and is not checked";
    const CommandResult checked = check();
    EXPECT_EQ(checked.exitCode, 0) << checked;

    const auto info = run({"video-info", clip, "--json"}).json(),
               asset = run({"show", video, "--json"}).json();
    for (const char *key : {"created", "place", "duration", "width", "height", "bytes"})
        EXPECT_EQ(info[key], asset[key]) << key << " is one thing: " << info << asset;
}

TEST_F(Schema, RefusesWhatIsNotAsItSays) {
    const struct {
        const char *what;
        const char *output;
        const char *problem;
    } cases[] = {
        {"count", R"({"photos": -1, "videos": 2})", "-1 is less than"},
        {"count", R"({"photos": 1})", "'videos' is a required property"},
        {"count", R"({"photos": 1, "videos": 2, "films": 3})", "'films' was unexpected"},
        {"show", R"([{"uuid": "1", "problem": null}])", "show"},
        {"film-list", "[]", "no definition of film-list"},
    };
    for (const auto &[what, output, problem] : cases) {
        fs::remove_all(written);
        fs::create_directories(written);
        keep(what, output);
        const CommandResult checked = check();
        EXPECT_EQ(checked.exitCode, 1) << output;
        EXPECT_NE(checked.errors.find(problem), std::string::npos) << output << checked;
    }
}

} // namespace
