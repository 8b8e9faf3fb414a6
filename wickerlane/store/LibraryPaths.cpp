#include "wickerlane/store/LibraryPaths.h"

#include "wickerlane/model/ManagedAsset.h"
#include "wickerlane/platform/file/Files.h"

namespace wickerlane::store {

LibraryPaths::LibraryPaths() : library(pathUnderRoot(mediaFolder)) {
}

} // namespace wickerlane::store
