// A disk that fails while SQLite writes its log.
#ifndef TESTS_HOARDD_LYINGWRITES_H
#define TESTS_HOARDD_LYINGWRITES_H

#include <gtest/gtest.h>
#include <sqlite3.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace wickerlane::hoardd {

/// Some of SQLite's writes report a failure though they are done: what the process wrote before its disk
/// failed is in the file all the same. One thread at a time.
class LyingWrites {
public:
    /// The writes from one number to another, counted from 1.
    LyingWrites(int from, int to) {
        first = from;
        last = to;
        count = 0;
        for (const auto &[name, call] : calls)
            EXPECT_EQ(vfs()->xSetSystemCall(vfs(), name, call), SQLITE_OK);
    }
    LyingWrites(const LyingWrites &) = delete;
    LyingWrites &operator=(const LyingWrites &) = delete;
    ~LyingWrites() {
        for (const auto &[name, call] : calls)
            vfs()->xSetSystemCall(vfs(), name, nullptr);
    }
    [[nodiscard]] static bool haveLied() { return count >= first; }

private:
    static sqlite3_vfs *vfs() { return sqlite3_vfs_find(nullptr); }
    static ssize_t write(int file, const void *bytes, std::size_t length, off_t offset) {
        const ssize_t written = ::pwrite(file, bytes, length, offset);
        ++count;
        if (count < first || count > last)
            return written;
        errno = EIO;
        return -1;
    }
    static const std::pair<const char *, sqlite3_syscall_ptr> calls[2];
    inline static int first = 0, last = 0, count = 0;
};

inline const std::pair<const char *, sqlite3_syscall_ptr> LyingWrites::calls[2] = {
    {"pwrite", reinterpret_cast<sqlite3_syscall_ptr>(write)},
    {"pwrite64", reinterpret_cast<sqlite3_syscall_ptr>(write)}};

} // namespace wickerlane::hoardd

#endif
