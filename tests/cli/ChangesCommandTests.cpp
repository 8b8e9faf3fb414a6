// wickerlane changes --follow
#include <csignal>
#include <sstream>

#include "tests/cli/CommandRun.h"
#include "tests/support/TestImages.h"
#include "tests/support/WaitUntil.h"

using namespace wickerlane::test;

namespace {

class FollowedChanges : public Commands {
protected:
    std::string saveOne() { return imported(file("a.png", pngOf(fourCorners(10 + ++number, 8)))); }
    [[nodiscard]] std::string output() const { return contentsOf(folder / "out"); }
    /// The command, in place of a shell that directs its output to a file.
    [[nodiscard]] RunningCommand follow(const std::string &options) const {
        return RunningCommand::ofProgram(
            {"sh", "-c",
             "exec " WICKERLANE_COMMAND " changes --follow " + options + " > " + (folder / "out").string()});
    }
    [[nodiscard]] bool waitForOutput(const std::string &text) const {
        return waitUntil([&] { return output().find(text) != std::string::npos; });
    }

private:
    std::uint32_t number = 0;
};

TEST_F(FollowedChanges, AreWrittenAsTheyComeThroughARestart) {
    const std::string first = saveOne();
    RunningCommand following = follow("--since 0 --json");
    ASSERT_TRUE(waitForOutput(first));
    const std::string second = saveOne();
    ASSERT_TRUE(waitForOutput(second));
    endDaemon();
    const std::string third = saveOne();
    ASSERT_TRUE(waitForOutput(third));
    kill(following.process(), SIGINT);
    const CommandResult result = following.wait();
    EXPECT_EQ(result.exitCode, 130) << result;
    EXPECT_EQ(result.errors, "");

    std::istringstream lines(output());
    std::vector<std::string> added;
    std::int64_t last = 0;
    for (std::string line; std::getline(lines, line);) {
        const auto change = nlohmann::json::parse(line, nullptr, false);
        ASSERT_TRUE(change.is_object()) << line;
        EXPECT_GT(change["number"], last);
        last = change["number"];
        if (change["what"] == "added")
            added.push_back(change["uuid"]);
    }
    EXPECT_EQ(added, (std::vector{first, second, third}));
}

TEST_F(FollowedChanges, BeginWithThePresentOrSayThatSomeAreLost) {
    const std::string first = saveOne();
    saveOne();
    ASSERT_EQ(run({"changes", "--clear"}).exitCode, 0);
    for (const std::string options : {"", "--since 1", "--since 1 --json"}) {
        const bool starts = options.empty();
        RunningCommand following = follow(options);
        std::string uuid;
        // Until it begins, changes are past.
        ASSERT_TRUE(waitUntil([&] {
            uuid = starts || uuid.empty() ? saveOne() : uuid;
            return HasFailure() || !output().empty();
        })) << options;
        kill(following.process(), SIGINT);
        EXPECT_EQ(following.wait().exitCode, 130) << options;
        const std::string written = output();
        EXPECT_EQ(written.find(first), std::string::npos) << written;
        EXPECT_EQ(written.find(options.ends_with("--json") ? "{\"startOver\":true}\n" : "Begin again") == 0 ||
                      written.find("Begin again") != std::string::npos,
                  !starts)
            << written;
        ASSERT_EQ(run({"changes", "--clear"}).exitCode, 0);
    }
}

TEST_F(FollowedChanges, EndInSilenceWhenNothingReadsThem) {
    const std::string uuid = saveOne();
    auto following = RunningCommand::ofProgram(
        {"sh", "-c", WICKERLANE_COMMAND " changes --follow --since 0 --json | head -n 1"});
    const CommandResult result = following.wait(); // without another change
    EXPECT_NE(result.output.find(uuid), std::string::npos) << result;
    EXPECT_EQ(result.errors, "");
}

TEST_F(FollowedChanges, AreRefusedWithALineAndACode) {
    EXPECT_EQ(run({"changes", "--follow"}).exitCode, 4) << "no library yet";
    saveOne();
    EXPECT_EQ(run({"changes", "--follow", "--clear"}).exitCode, 2);
}

} // namespace
