// The count of open descriptors around each test.
#ifndef WICKERLANE_TESTS_SUPPORT_DESCRIPTORS_H
#define WICKERLANE_TESTS_SUPPORT_DESCRIPTORS_H

#include <cstddef>
#include <span>

namespace wickerlane::test {

/// Says that the running test opens `count` descriptors that the process keeps.
void allowLastingDescriptors(std::size_t count);

/// Says which descriptors the running test opens, at most one of each, that the process keeps.
void allowLastingDescriptors(std::span<const char *const> links);

/// What the links of such descriptors say: of the thread that reads for the whole process, and of that thread
/// with the one watch of folders.
inline constexpr const char *readerDescriptors[] = {"anon_inode:[eventfd]", "anon_inode:[eventpoll]"};
inline constexpr const char *folderWatchDescriptors[] = {"anon_inode:[eventfd]", "anon_inode:[eventpoll]",
                                                         "anon_inode:inotify"};

} // namespace wickerlane::test

#endif
