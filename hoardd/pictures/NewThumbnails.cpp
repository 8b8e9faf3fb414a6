#include "hoardd/pictures/NewThumbnails.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/String.h"

namespace wickerlane::hoardd {

using store::LibraryPaths;

namespace {

constexpr std::string_view leftoverPrefix = "thumbnail-";

std::string failing(const std::string &what) {
    return "can't " + what + ": " + std::strerror(errno);
}

} // namespace

NewThumbnails::NewThumbnails(const LibraryPaths &libraryPaths, std::string_view assetUUID)
    : paths(libraryPaths), uuid(assetUUID) {
}

NewThumbnails::~NewThumbnails() {
    for (const std::string &each : names)
        if (!each.empty())
            ::unlink(each.c_str());
}

std::string NewThumbnails::open() {
    // Two requests for one asset must not write the same file.
    const std::string unique(UUID::createRandom()->uuidString()->utf8());
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint32_t side = store::maxSideOf(store::thumbnailSizes[i]);
        const std::string name =
            paths.saving() + '/' + std::string(leftoverPrefix) + unique + '-' + std::to_string(side);
        files[i] = openFile(name, O_WRONLY | O_CREAT | O_EXCL);
        if (!files[i])
            return failing("make " + name);
        names[i] = name;
        targetOf[i] = {side, files[i].get()};
    }
    written = targetOf;
    return {};
}

std::string NewThumbnails::place() {
    if (const std::string folder = paths.thumbnailFolder(uuid); !makeFolders(folder))
        return failing("make " + folder);
    for (std::size_t i = 0; i < count; ++i) {
        const std::string path = paths.thumbnail(uuid, store::thumbnailSizes[i]);
        if (::rename(names[i].c_str(), path.c_str()) != 0)
            return failing("write " + path);
        names[i].clear();
    }
    return {};
}

std::string NewThumbnails::publish() {
    for (std::size_t i = 0; i < count; ++i)
        if (::fsync(files[i].get()) != 0)
            return failing("write " + names[i]);
    if (std::string problem = place(); !problem.empty())
        return problem;
    // The folder may be a new one.
    const std::string folder = paths.thumbnailFolder(uuid);
    for (const std::string &each : {folder, folder.substr(0, folder.rfind('/'))})
        if (!syncFolder(each))
            return failing("sync " + each);
    return {};
}

void NewThumbnails::removeLeftovers(const LibraryPaths &paths) {
    std::error_code ignored;
    for (const auto &entry : std::filesystem::directory_iterator(paths.saving(), ignored))
        if (entry.path().filename().string().starts_with(leftoverPrefix))
            ::unlink(entry.path().c_str());
}

} // namespace wickerlane::hoardd
