#include "wickerlane/platform/file/DataFolders.h"

#include <dlfcn.h>

#include <cstdlib>

#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/object/Paths.h"

namespace wickerlane {
namespace {

std::vector<std::string> split(std::string_view listed) {
    std::vector<std::string> folders;
    while (!listed.empty()) {
        const std::size_t colon = listed.find(':');
        if (colon != 0)
            folders.emplace_back(listed.substr(0, colon));
        listed.remove_prefix(colon == listed.npos ? listed.size() : colon + 1);
    }
    return folders;
}

} // namespace

std::string libraryFolder() {
    Dl_info info{};
    if (dladdr(reinterpret_cast<const void *>(&dataFolders), &info) == 0 || info.dli_fname == nullptr)
        return {};
    return std::string(parentFolder(info.dli_fname));
}

std::vector<std::string> dataFolders(const char *variable, std::string_view systemPath,
                                     std::string_view kind) {
    if (const char *listed = secure_getenv(variable))
        return split(listed);
    std::vector<std::string> folders{pathUnderRoot(systemPath)};
    if (std::string beside = libraryFolder(); !beside.empty())
        folders.push_back((std::move(beside) + "/../share/wickerlane/").append(kind));
#ifdef WICKERLANE_DATA_FOLDER
    folders.push_back(std::string(WICKERLANE_DATA_FOLDER "/").append(kind));
#endif
    return folders;
}

} // namespace wickerlane
