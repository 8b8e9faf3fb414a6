#include "wickerlane/store/LibraryPaths.h"

#include "wickerlane/platform/file/Files.h"

namespace wickerlane::store {

LibraryPaths::LibraryPaths() : library(pathUnderRoot("/var/mobile/Media")) {
}

} // namespace wickerlane::store
