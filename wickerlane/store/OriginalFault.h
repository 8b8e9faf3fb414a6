// What came of reading an original again, as the store notes it in the table zscrub.
#ifndef WICKERLANE_STORE_ORIGINALFAULT_H
#define WICKERLANE_STORE_ORIGINALFAULT_H

#include <cstdint>

namespace wickerlane::store {

/// The numbers are in the store.
enum class OriginalFault : std::int64_t {
    none = 0,
    damaged = 1,    ///< Its contents are others, and nothing seems to have written to it.
    changed = 2,    ///< Something has written to it since.
    unreadable = 3, ///< The system can't read it.
    missing = 4
};

} // namespace wickerlane::store

#endif
