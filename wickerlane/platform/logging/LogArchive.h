// The finished files of a log.
#ifndef WICKERLANE_PLATFORM_LOGGING_LOGARCHIVE_H
#define WICKERLANE_PLATFORM_LOGGING_LOGARCHIVE_H

#include <string>

#include "wickerlane/platform/file/UniqueFd.h"

namespace wickerlane {

/// The exclusive right, among all processes, to give and take names in a folder of logs.
class FolderLock {
public:
    /// Waits for it. Makes the folder when it is missing.
    explicit FolderLock(const std::string &folder);
    /// False when the folder can't be made or opened; errno says why.
    explicit operator bool() const noexcept { return static_cast<bool>(descriptor); }

private:
    UniqueFd descriptor;
};

/// Beside "NAME.log", which is being written, lie the finished "NAME.1.log" (the newest), "NAME.2.log" and so
/// on, each as it is or compressed ("NAME.1.log.gz").
///
/// Processes agree by two locks. Names change under the FolderLock only. A process that has a log open for
/// writing holds a shared lock on it until it closes it; a finished file is compressed under an exclusive
/// lock on it, and thus only once no line can come any more. A finished file is read-only, which tells those
/// who still have it open.
///
/// A process may die between any two steps: the next one finishes what is left.
class LogArchive {
public:
    LogArchive(std::string folder, std::string name);

    [[nodiscard]] const std::string &folder() const noexcept { return folderPath; }
    /// Of the file being written.
    [[nodiscard]] std::string currentPath() const { return stem + ".log"; }

    /// Finishes the file being written: it becomes number 1 of at most `kept`, the oldest makes room. Only
    /// under the FolderLock. False, with errno, when it could not be moved.
    bool finishCurrent(unsigned kept) const;
    /// Whether there are finished files that are not compressed.
    [[nodiscard]] bool hasPlainFiles(unsigned kept) const;
    /// Compresses those that no process writes any more. Takes long; never under the FolderLock.
    void compress(unsigned kept) const;

private:
    [[nodiscard]] std::string plainPath(unsigned number) const;
    [[nodiscard]] std::string compressedPath(unsigned number) const;
    [[nodiscard]] std::string unfinishedPath(unsigned long inode) const;
    [[nodiscard]] bool exists(unsigned number) const;
    void remove(unsigned number) const;
    void compressFile(int plain, unsigned kept) const;

    std::string folderPath;
    std::string stem; // folder and name
};

} // namespace wickerlane

#endif
