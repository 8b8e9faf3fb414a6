// Files of our own: where they are, and how they are read and replaced safely.
#ifndef WICKERLANE_PLATFORM_FILE_FILES_H
#define WICKERLANE_PLATFORM_FILE_FILES_H

#include <sys/stat.h>

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "wickerlane/platform/file/UniqueFd.h"
#include "wickerlane/platform/object/Export.h"

namespace wickerlane {

/// The folder below which everything of the system lies: WICKERLANE_ROOT from the environment when set; "/"
/// on a device (where the file /etc/wickerlane/device exists); else "wickerlane" in the user's data folder
/// (XDG_DATA_HOME, or ~/.local/share). Absolute, without a trailing slash but for "/". Read on every
/// call: the environment may be changed only while no other thread calls into the system.
WL_EXPORT std::string rootPath();
/// Whether the root is that of a device, which all its users share: it has the file /etc/wickerlane/device.
WL_EXPORT bool isRootOfDevice();
/// Where the user's login session keeps its sockets, `$XDG_RUNTIME_DIR`, if the root is the one in the user's
/// own data folder. Empty when it is another root, or there is no such folder that the user alone may enter.
std::string runtimeFolder();

/// A path of the system, such as "/var/mobile", as it is in the file system: below the root.
WL_EXPORT std::string pathUnderRoot(std::string_view systemPath);

// The functions below never follow a symbolic link in the last component, open close-on-exec, and create with
// private modes (0600 for files, 0700 for folders). On failure they set errno.

/// Makes a folder and what is missing above it. False on failure.
WL_EXPORT bool makeFolders(const std::string &path);

/// Opens with the given open(2) flags. No descriptor on failure.
WL_EXPORT UniqueFd openFile(const std::string &path, int flags);

/// Reads a whole regular file of at most `limit` bytes. False on failure (EFBIG when it is larger).
WL_EXPORT bool readFile(const std::string &path, std::vector<std::byte> &contents, std::size_t limit);

/// Writes all bytes, at once or in several calls. False on failure.
WL_EXPORT bool writeAll(int descriptor, std::span<const std::byte> bytes);

/// Replaces a file so that a reader, or a crash at any instant, sees the old contents or the new ones, whole:
/// writes beside it, syncs, renames, syncs the folder. The file gets that mode, whatever the file mask takes.
/// False on failure, with the old contents in place.
WL_EXPORT bool replaceFile(const std::string &path, std::span<const std::byte> contents,
                           mode_t mode = S_IRUSR | S_IWUSR);

/// Syncs a folder, so that names made or removed in it survive a crash. False on failure.
WL_EXPORT bool syncFolder(const std::string &path);

} // namespace wickerlane

#endif
