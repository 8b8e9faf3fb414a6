// Whether another program is still writing a file.
#ifndef HOARDD_SAVING_SETTLEDFILE_H
#define HOARDD_SAVING_SETTLEDFILE_H

#include <sys/stat.h>

#include <chrono>

namespace wickerlane::hoardd {

/// How long a file must have been left alone before it counts as whole.
inline constexpr std::chrono::seconds settlingTime{5};

/// Whether a program has a file, which is open for reading here, open for writing. False also where the
/// kernel does not tell: of other users' files, and on some file systems.
[[nodiscard]] bool isOpenForWriting(int descriptor);

/// Whether nothing has changed a file for that long. One whose date lies farther ahead counts as settled,
/// since clocks that are wrong stay wrong.
[[nodiscard]] bool isLeftAlone(const struct stat &status, std::chrono::seconds quiet);

/// Whether the file of a path is still the one that had this status, unchanged.
[[nodiscard]] bool isStill(const char *path, const struct stat &status);

} // namespace wickerlane::hoardd

#endif
