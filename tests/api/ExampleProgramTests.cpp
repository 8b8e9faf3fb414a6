// The example programs of the guides, with the real daemon.
#include <poll.h>

#include <csignal>
#include <filesystem>

#include "tests/api/ProgramOutcome.h"
#include "tests/hoardd/RunningHoardd.h"
#include "wickerlane/platform/file/Files.h"

using namespace wickerlane;
using namespace wickerlane::test;

namespace {

class ExamplePrograms : public RunningHoardd {
protected:
    /// A picture in a file of its own, and its size.
    static std::pair<std::string, std::size_t> newPicture(std::uint32_t width) {
        const FileBytes picture = pngOf(fourCorners(width, 20));
        const std::string path = rootPath() + "/" + std::to_string(width) + ".png";
        writeFile(path, picture);
        return {path, picture.size()};
    }
};

TEST_F(ExamplePrograms, SaveListAndShow) {
    const std::string shown = rootPath() + "/shown.jpg";
    std::pair<std::string, int> expected;
    const char *const programs[] = {
        EXAMPLES_FOLDER "/first_c ",
        EXAMPLES_FOLDER "/first_cpp ",
#ifdef FIRST_IN_PYTHON
        FIRST_IN_PYTHON " ",
#endif
    };
    const std::string picture = newPicture(40).first, missing = rootPath() + "/missing.jpg";
    for (const std::string program : programs) {
        const auto outcome = outcomeOf(program + picture + " " + shown);
        EXPECT_EQ(outcome.second, 0) << outcome.first;
        EXPECT_EQ(outcome.first.substr(36), " 40x20\n") << program << "saves no copy";
        if (expected.first.empty())
            expected = outcome;
        EXPECT_EQ(outcome, expected) << program;
        const FileBytes bytes = contentsOf(shown);
        ASSERT_GT(bytes.size(), 2U) << program;
        EXPECT_EQ(std::pair(bytes[0], bytes[1]), std::pair(std::byte{0xFF}, std::byte{0xD8})) << "a JPEG";
        std::filesystem::remove(shown);

        const std::pair<std::string, const char *> failures[] = {
            {missing + " " + shown, "missing.jpg: No such file or directory"},
            {picture + " " + rootPath() + "/none/shown.jpg", "No such file or directory"},
        };
        for (const auto &[arguments, reason] : failures) {
            const auto failed = outcomeOf(program + arguments);
            EXPECT_EQ(failed.second, 1) << program << arguments;
            EXPECT_NE(failed.first.find(reason), std::string::npos) << program << failed.first;
        }
    }
}

TEST_F(ExamplePrograms, ServeTheMainQueueInOtherLoops) {
    std::size_t bytes = 0;
    std::uint32_t width = 50;
    for (const char *program : {EXAMPLES_FOLDER "/poll", EXAMPLES_FOLDER "/glib"}) {
        // Ended by their count of changes, or by a signal.
        for (const int changes : {1, 2}) {
            const std::string command = std::string(program) + (changes == 1 ? " 1" : "");
            FILE *output = popen(("echo $$; exec " + command).c_str(), "re");
            ASSERT_NE(output, nullptr);
            pid_t process = 0;
            ASSERT_EQ(fscanf(output, "%d", &process), 1);
            for (int line = 0; line <= changes; ++line) {
                if (line > 0) {
                    const auto [path, added] = newPicture(width++);
                    EXPECT_EQ(outcomeOf(EXAMPLES_FOLDER "/save " + path).second, 0);
                    bytes += added;
                }
                std::size_t said = 0;
                ASSERT_EQ(fscanf(output, "%zu bytes", &said), 1) << command;
                EXPECT_EQ(said, bytes) << command;
            }
            if (changes == 2) {
                EXPECT_EQ(kill(process, SIGTERM), 0);
            }
            EXPECT_EQ(pclose(output), 0) << command;
        }
    }
}

TEST_F(ExamplePrograms, TryAgainWhereThatMayHelp) {
    const std::string program = EXAMPLES_FOLDER "/retry ", picture = newPicture(30).first;
    const auto timesIn = [](const std::string &text, std::string_view part) {
        std::size_t times = 0;
        for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
            ++times;
        return times;
    };
    const auto missing = outcomeOf(program + rootPath() + "/missing.png");
    EXPECT_EQ(missing.second, 1);
    EXPECT_EQ(timesIn(missing.first, "trying again"), 0U) << missing.first;
    EXPECT_EQ(timesIn(missing.first, "No such file"), 1U) << missing.first;
    const auto saved = outcomeOf(program + picture);
    EXPECT_EQ(saved.second, 0);
    EXPECT_EQ(saved.first.size(), 37U) << saved.first;

    describeService({"--idle-seconds", "60", "--max-jobs", "0"});
    end(daemon(), SIGTERM);
    const auto full = outcomeOf(program + picture);
    EXPECT_EQ(full.second, 1);
    EXPECT_EQ(timesIn(full.first, "trying again"), 3U) << full.first;
}

TEST_F(ExamplePrograms, FollowChanges) {
    FILE *output = popen("echo $$; exec " EXAMPLES_FOLDER "/changes", "re");
    ASSERT_NE(output, nullptr);
    pid_t process = 0;
    ASSERT_EQ(fscanf(output, "%d", &process), 1);
    std::uint32_t width = 100;
    std::string saved;
    const auto saveOne = [&] {
        const auto outcome = outcomeOf(EXAMPLES_FOLDER "/save " + newPicture(width++).first);
        EXPECT_EQ(outcome.second, 0) << outcome.first;
        saved += outcome.first;
    };
    char word[16], uuid[64];
    const auto expectAddition = [&] {
        ASSERT_EQ(fscanf(output, "%15s %63s", word, uuid), 2);
        EXPECT_STREQ(word, "added");
        EXPECT_NE(saved.find(uuid), std::string::npos) << uuid;
    };
    // What is saved before it has its first token is no change.
    pollfd readable{.fd = fileno(output), .events = POLLIN, .revents = 0};
    do
        saveOne();
    while (poll(&readable, 1, 50) == 0);
    expectAddition();
    end(daemon(), SIGTERM);
    const std::size_t before = saved.size();
    saveOne();
    do // those that were saved meanwhile come first
        expectAddition();
    while (!HasFatalFailure() && saved.find(uuid) < before);
    EXPECT_EQ(kill(process, SIGTERM), 0);
    EXPECT_EQ(pclose(output), SIGTERM);
}

TEST_F(ExamplePrograms, SaveTogetherAndWithoutWaiting) {
    const std::string first = newPicture(60).first, second = newPicture(61).first;
    const std::string missing = rootPath() + "/missing.png";
    const auto one = outcomeOf(EXAMPLES_FOLDER "/save_all " + first + " " + missing + " " + second);
    EXPECT_EQ(one.second, 1);
    EXPECT_NE(one.first.find("No such file"), std::string::npos) << one.first;
    const auto both = outcomeOf(EXAMPLES_FOLDER "/save_all " + first + " " + second);
    EXPECT_EQ(both.second, 0);
    EXPECT_EQ(both.first.size(), 2 * 37U) << both.first;
    EXPECT_EQ(outcomeOf(EXAMPLES_FOLDER "/background " + missing).second, 1);
    const auto alone = outcomeOf(EXAMPLES_FOLDER "/background " + newPicture(62).first);
    EXPECT_EQ(alone.second, 0);
    EXPECT_EQ(alone.first.size(), 37U) << alone.first;
}

} // namespace
