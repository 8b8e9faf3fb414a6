#include "wickerlane/platform/console/Console.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <functional>

#include "wickerlane/platform/file/UniqueFd.h"
#include "wickerlane/platform/object/String.h"

using namespace wickerlane;

namespace {

// What is written to standard error meanwhile: one entry for each write, since packets keep their borders.
std::vector<std::string> writesOf(const std::function<void()> &action) {
    std::array<int, 2> ends{};
    EXPECT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends.data()), 0);
    const UniqueFd near(ends[0]), far(ends[1]), before(dup(STDERR_FILENO));
    dup2(far.get(), STDERR_FILENO);
    action();
    dup2(before.get(), STDERR_FILENO);
    std::vector<std::string> writes;
    std::array<char, 4096> buffer;
    for (ssize_t count; (count = read(near.get(), buffer.data(), buffer.size())) > 0;)
        writes.emplace_back(buffer.data(), static_cast<std::size_t>(count));
    return writes;
}

} // namespace

TEST(Console, EscapesWhatCouldForgeALine) {
    const struct {
        std::string_view text, shown;
    } cases[] = {
        {"", ""},
        {"plain \t text, größer €", "plain \t text, größer €"},
        {"a\nb\r\n", "a\\nb\\r\\n"},
        {std::string_view("\0\x1b[31m\x7f", 7), "\\x00\\x1b[31m\\x7f"},
        {"\u0085\u009b\u00a0", "\\u0085\\u009b\u00a0"},
        {"\u2028\u2029\u2027", "\\u2028\\u2029\u2027"},
        {"photo\u202egpj.exe", "photo\\u202egpj.exe"},
        {"\u200f\u2066\u00ad\ufeff\U000e0041", "\\u200f\\u2066\\u00ad\\ufeff\\U000e0041"},
        {"\u05d0\u0301\U0001f600", "\u05d0\u0301\U0001f600"},
        {"cut \xe2\x80", "cut \\xe2\\x80"},
        {"an 8-bit \x9b\x33\x31m", "an 8-bit \\x9b31m"},
    };
    for (const auto &each : cases)
        EXPECT_EQ(escapingControls(each.text), each.shown);
}

TEST(Console, WritesALineAtOnceAndTrustsOnlyTheFormat) {
    using Lines = std::vector<std::string>;
    EXPECT_EQ(writesOf([] { consoleLog("first\nsecond\t%s %d %@", "x\ny", 5, String::of("\r")); }),
              (Lines{"first\nsecond\tx\\ny 5 \\r\n"}));
    EXPECT_EQ(writesOf([] { consoleLogText("50%s\n"); }), (Lines{"50%s\\n\n"}));
    EXPECT_EQ(writesOf([] {
                  errno = ENOENT;
                  consoleLog("%m");
                  EXPECT_EQ(errno, ENOENT);
              }),
              (Lines{"No such file or directory\n"}));
}
