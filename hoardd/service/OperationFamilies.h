// The operations that hoardd serves, by family. Each family is a table at the end of its own source.
#ifndef HOARDD_SERVICE_OPERATIONFAMILIES_H
#define HOARDD_SERVICE_OPERATIONFAMILIES_H

#include <span>

#include "hoardd/service/Operation.h"

namespace wickerlane::hoardd {

[[nodiscard]] std::span<const Operation> accessOperations();    ///< What anybody may ask for.
[[nodiscard]] std::span<const Operation> assetOperations();     ///< Opening, finding and reading assets.
[[nodiscard]] std::span<const Operation> renditionOperations(); ///< Renditions, thumbnails, the preview well.
[[nodiscard]] std::span<const Operation> videoOperations();
[[nodiscard]] std::span<const Operation> saveOperations();
[[nodiscard]] std::span<const Operation> fileOperations(); ///< Files that callers bring.
[[nodiscard]] std::span<const Operation> dateOperations();
[[nodiscard]] std::span<const Operation> detailOperations(); ///< What people say of assets.
[[nodiscard]] std::span<const Operation> albumOperations();
[[nodiscard]] std::span<const Operation> trashOperations(); ///< Deleting, and having again what was deleted.
[[nodiscard]] std::span<const Operation> sharingOperations();
[[nodiscard]] std::span<const Operation> libraryOperations(); ///< The library as a whole.
[[nodiscard]] std::span<const Operation> analysisOperations();
[[nodiscard]] std::span<const Operation> queryOperations(); ///< Listing and finding.

} // namespace wickerlane::hoardd

#endif
