#include "wickerlane/platform/process/LibraryLoading.h"

#include <dlfcn.h>

#include <string>

#include "wickerlane/platform/file/DataFolders.h"

namespace wickerlane {

bool loadLibrary(std::string_view path) {
    std::string file(path);
    if (!path.starts_with('/')) {
        const std::string folder = libraryFolder();
        if (folder.empty()) // the loader would look into folders that the environment names
            return false;
        file.insert(0, folder + '/');
    }
    return dlopen(file.c_str(), RTLD_LAZY | RTLD_NODELETE) != nullptr;
}

} // namespace wickerlane
