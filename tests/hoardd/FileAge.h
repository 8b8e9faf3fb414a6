// Files that look as if nothing had changed them for a while.
#ifndef TESTS_HOARDD_FILEAGE_H
#define TESTS_HOARDD_FILEAGE_H

#include <filesystem>
#include <string>

namespace wickerlane::test {

inline void letSettle(const std::string &path) {
    namespace fs = std::filesystem;
    fs::last_write_time(path, fs::file_time_type::clock::now() - std::chrono::hours(24));
}

} // namespace wickerlane::test

#endif
