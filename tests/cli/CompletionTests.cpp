// What the shells complete
#include <algorithm>
#include <fstream>
#include <set>
#include <sstream>

#include "tests/cli/CommandRun.h"
#include "wickerlane/store/LibraryPaths.h"

using namespace wickerlane::test;
namespace fs = std::filesystem;

namespace {

class Completion : public Commands {
protected:
    using Words = std::set<std::string>;

    /// Without their descriptions.
    static Words wordsIn(const std::string &output) {
        Words words;
        std::istringstream lines(output);
        for (std::string line; std::getline(lines, line);)
            words.insert(line.substr(0, line.find('\t')));
        return words;
    }
    static Words completed(std::vector<std::string> words) {
        words.insert(words.begin(), "complete");
        const CommandResult result = run(words);
        EXPECT_EQ(result.exitCode, 0) << result;
        EXPECT_EQ(result.errors, "");
        return wordsIn(result.output);
    }
    /// What bash offers at the end of a line, of which the words are as readline parts them.
    static Words inBash(const std::string &words) {
        return wordsIn(runShell("PATH=$(dirname $WL):$PATH bash -c '. " BASH_COMPLETION "; COMP_WORDS=(" +
                                words +
                                "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _wickerlane; printf \"%s\\n\" "
                                "\"${COMPREPLY[@]}\"'")
                           .output);
    }
};

TEST_F(Completion, CommandsAndTheirOptionsAreCompleted) {
    EXPECT_EQ(completed({"exp"}), Words{"export"});
    EXPECT_EQ(completed({"help", "exp"}), Words{"export"});
    EXPECT_EQ(completed({"uui"}), Words{}) << "an old name";
    EXPECT_EQ(completed({"debug", "u"}), Words{"uuid"});
    EXPECT_EQ(completed({"album", "rena"}), Words{"rename"});
    EXPECT_EQ(completed({"list", "--jso"}), Words{"--json"});
    EXPECT_EQ(completed({"list", "--quie"}), Words{"--quiet"});
    EXPECT_EQ(completed({"list", "--format", "js"}), (Words{"json", "jsonl"}));
    EXPECT_EQ(completed({"list", "--format=cs"}), Words{"--format=csv"});
    EXPECT_EQ(completed({"list", "--fields", "uuid,came"}), Words{"uuid,camera"});
    EXPECT_EQ(completed({"set", "--where", "kind=photo cam"}), Words{"kind=photo camera="});
    EXPECT_EQ(completed({"export", "--to", "x"}), Words{":files"});
    EXPECT_EQ(completed({"import", ""}), Words{":files"});
    EXPECT_EQ(completed({"fly", ""}), Words{});
}

TEST_F(Completion, AlbumsAndAssetsComeFromTheStoreAlone) {
    EXPECT_EQ(completed({"album", "show", ""}), Words{}) << "there is no library";
    const std::string uuid = imported(file("beach.jpg", jpegPicture()));
    for (const char *album : {"Dunes", "Two words"})
        ASSERT_EQ(run({"album", "create", album}).exitCode, 0);
    const std::string deleted = imported(file("dunes.png", pngPicture()));
    ASSERT_EQ(run({"delete", "--yes", deleted}).exitCode, 0);
    endDaemon();
    const std::string begin = uuid.substr(0, 8);
    EXPECT_EQ(completed({"album", "show", ""}), (Words{"Dunes", "Two words"}));
    EXPECT_EQ(completed({"list", "--album", "Du"}), Words{"Dunes"});
    EXPECT_EQ(completed({"album", "add", "Dunes", ""}), Words{begin});
    EXPECT_EQ(completed({"show", "be"}), Words{"beach.jpg"});
    EXPECT_EQ(completed({"delete", "--now", uuid.substr(0, 5)}), Words{begin});
    EXPECT_EQ(completed({"trash", "restore", ""}), Words{deleted.substr(0, 8)});
    EXPECT_EQ(completed({"trash", "restore", "du"}), Words{"dunes.png"});
    EXPECT_EQ(completed({"--root", "/nonexistent", "show", ""}), Words{});
    EXPECT_EQ(inBash("wickerlane album show Tw"), Words{"Two\\ words"});
    EXPECT_EQ(inBash("wickerlane list --album = D"), Words{"Dunes"});
    EXPECT_EQ(inBash("wickerlane exp"), Words{"export"});
    EXPECT_EQ(inBash("wickerlane export --to \"" + (folder / "bea").string() + "\""),
              Words{(folder / "beach.jpg").string()});
    EXPECT_FALSE(run({"daemon", "status", "--json"}).json()["running"]) << "nothing has started it";
}

} // namespace
