#include <gmock/gmock.h>

#include <map>

#include "tests/log/LogProgram.h"

using namespace wickerlane::test;

namespace {

struct Found {
    std::map<std::string, int> counts; // of each line
    int files = 0;
};

// The lines of all files of the log. A process may have ended while it compressed one: then the plain file
// counts until the compressed one has its final name.
Found allLines(const std::string &name) {
    Found found;
    for (const auto &entry : std::filesystem::directory_iterator(LogProgram::root() / "logs")) {
        const std::filesystem::path &path = entry.path();
        EXPECT_TRUE(path.filename().string().starts_with(name + ".")) << path;
        if (path.extension() == ".unfinished" || std::filesystem::exists(path.string() + ".gz"))
            continue;
        ++found.files;
        for (const std::string &line : linesOf(path))
            ++found.counts[line];
    }
    return found;
}

void expectEachOnce(const Found &found, const std::vector<std::string> &writers, int count) {
    for (const std::string &writer : writers)
        for (int line = 0; line < count; ++line) {
            const auto at = found.counts.find(writer + " " + std::to_string(line) + "\n");
            ASSERT_TRUE(at != found.counts.end()) << writer << " " << line << " is lost";
            ASSERT_EQ(at->second, 1) << writer << " " << line;
        }
    EXPECT_EQ(found.counts.size(), writers.size() * static_cast<std::size_t>(count)) << "torn lines";
}

} // namespace

TEST(SharedLogFile, KeepsEveryLineOfSeveralProcessesAndConfigurations) {
    // Small files rotate often, and 900 of them are enough that none is deleted for its age.
    LogProgram first("first"), second("second");
    for (LogProgram *program : {&first, &second}) {
        program->tell("configure One shared 3000 900");
        program->tell("configure Two shared 5000 900");
    }
    const int count = 8000;
    const std::vector<std::string> writers = {"first-one", "second-one", "first-two", "second-two"};
    for (const char *facility : {"one", "two"}) {
        const std::string name = facility[0] == 'o' ? "One" : "Two";
        first.send("lines " + name + " first-" + facility + " " + std::to_string(count));
        second.send("lines " + name + " second-" + facility + " " + std::to_string(count));
        EXPECT_EQ(first.answer(), "done");
        EXPECT_EQ(second.answer(), "done");
    }
    first.finish();
    second.finish();
    const Found found = allLines("shared");
    EXPECT_GT(found.files, 50);
    expectEachOnce(found, writers, count);
}

TEST(SharedLogFile, KeepsWhatWasLoggedBeforeAKill) {
    // The process is killed at any moment, even while it compresses a file; the next one finishes that.
    std::vector<std::string> writers;
    for (int round = 0; round < 5; ++round) {
        LogProgram program;
        program.tell("configure One shared 4000 900");
        writers.push_back("round" + std::to_string(round));
        EXPECT_EQ(program.tell("lines One " + writers.back() + " 2000"), "done");
        program.send("lines One after 100000");
        program.kill();
    }
    Found found = allLines("shared");
    // The line that was being written at the kill may be cut.
    std::erase_if(found.counts, [](const auto &line) { return !line.first.starts_with("round"); });
    expectEachOnce(found, writers, 2000);
}
