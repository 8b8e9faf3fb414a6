// The check for leaked file descriptors after each test.
#ifndef WICKERLANE_TESTS_SUPPORT_DESCRIPTORS_H
#define WICKERLANE_TESTS_SUPPORT_DESCRIPTORS_H

#include <span>

namespace wickerlane::test {

/// Allows the running test to leave descriptors open, one for each of these links of /proc/self/fd: those
/// that the process opens once and keeps.
void allowLastingDescriptors(std::span<const char *const> links);

/// Of the thread that reads for the whole process.
inline constexpr const char *readerDescriptors[] = {"anon_inode:[eventfd]", "anon_inode:[eventpoll]"};
/// Of that thread and the process's one watch of folders.
inline constexpr const char *folderWatchDescriptors[] = {"anon_inode:[eventfd]", "anon_inode:[eventpoll]",
                                                         "anon_inode:inotify"};

} // namespace wickerlane::test

#endif
