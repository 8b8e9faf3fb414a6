// Room on the disk that is kept for deleting.
#ifndef HOARDD_LIBRARY_DISKRESERVE_H
#define HOARDD_LIBRARY_DISKRESERVE_H

#include <type_traits>

#include "wickerlane/model/Result.h"
#include "wickerlane/store/LibraryPaths.h"

namespace wickerlane::hoardd {

/// More than the write-ahead log takes before its pages are used again.
inline constexpr std::uint64_t diskReserveBytes = 8 << 20;

/// Makes the reserve, unless it is there or the disk has little more room than that.
void keepDiskReserve(const store::LibraryPaths &paths);

/// Gives its room up. Whether there was any.
[[nodiscard]] bool releaseDiskReserve(const store::LibraryPaths &paths);

/// Does work that gives a result; once more, with the room of the reserve, if there was no space for it.
template <class Work>
[[nodiscard]] std::invoke_result_t<const Work &> withDiskReserve(const store::LibraryPaths &paths,
                                                                 const Work &work) {
    auto result = work();
    if (!result && result.error().kind == ProblemKind::noSpace && releaseDiskReserve(paths))
        result = work();
    return result;
}

} // namespace wickerlane::hoardd

#endif
