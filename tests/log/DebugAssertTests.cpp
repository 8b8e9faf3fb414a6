#include "wickerlane/log/JXDebugAssert.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <thread>
#include <vector>

#include "tests/support/Descriptors.h"

extern "C" void reportFromC(void);

namespace {

std::string captured(auto report) {
    testing::internal::CaptureStderr();
    report();
    return testing::internal::GetCapturedStderr();
}

} // namespace

TEST(JXDebugAssert, WritesWhatIsGiven) {
    struct Row {
        const char *component, *assertion, *label, *error, *file;
        long line;
        int32_t code;
        const char *text;
    };
    const Row rows[] = {
        {"C", "a > b", "out", "bad", "f.c", 7, -50,
         "Assertion failed: C: a > b out bad file: f.c:7 error: -50\n"},
        {"C", nullptr, nullptr, nullptr, nullptr, 0, 0, "Check failed: C:\n"},
        {"C", "", "out", nullptr, nullptr, 9, 0, "Check failed: C: out\n"},
        {"C", "x", nullptr, "", "f.c", 0, 0, "Assertion failed: C: x  file: f.c\n"},
        {"C", nullptr, nullptr, "bad", "f.c", -5, 1, "Check failed: C: bad file: f.c error: 1\n"},
        {nullptr, nullptr, "", nullptr, "", LONG_MAX, INT32_MIN,
         "Check failed: (null):  file: :9223372036854775807 error: -2147483648\n"},
        {"%s", "%n", nullptr, nullptr, nullptr, 0, 0, "Assertion failed: %s: %n\n"},
    };
    for (const Row &row : rows)
        EXPECT_EQ(captured([&] {
                      JXDebugAssert(row.component, row.assertion, row.label, row.error, row.file, row.line,
                                    row.code);
                  }),
                  row.text);
    wickerlane::test::allowLastingDescriptors(wickerlane::test::folderWatchDescriptors);
    EXPECT_EQ(captured(reportFromC), "Assertion failed: C11: 1 == 2 file: DebugAssertFromC.c:3\n");
}

TEST(JXDebugAssert, ErrorsOfTheOutputAreIgnored) {
    const int kept = dup(STDERR_FILENO);
    const int unwritable = open("/dev/null", O_RDONLY | O_CLOEXEC);
    dup2(unwritable, STDERR_FILENO);
    errno = ERANGE;
    JXDebugAssert("C", "one", "out", "bad", "f.c", 7, 1);
    const int after = errno;
    dup2(kept, STDERR_FILENO);
    close(unwritable);
    close(kept);
    EXPECT_EQ(after, ERANGE);
}

TEST(JXDebugAssert, LinesOfSeveralThreadsDoNotMix) {
    const std::string expected = "Assertion failed: C: one out bad file: f.c:7 error: 1\n";
    std::string text = captured([] {
        std::vector<std::thread> threads;
        for (int thread = 0; thread < 4; ++thread)
            threads.emplace_back([] {
                for (int line = 0; line < 500; ++line)
                    JXDebugAssert("C", "one", "out", "bad", "f.c", 7, 1);
            });
        for (auto &thread : threads)
            thread.join();
    });
    ASSERT_EQ(text.size(), 2000 * expected.size());
    for (std::size_t at = 0; at < text.size(); at += expected.size())
        ASSERT_EQ(text.substr(at, expected.size()), expected);
}
