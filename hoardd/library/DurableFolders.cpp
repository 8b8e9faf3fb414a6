#include "hoardd/library/DurableFolders.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <unordered_set>

#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/object/Mutex.h"
#include "wickerlane/platform/object/NeverDestroyed.h"
#include "wickerlane/platform/object/Paths.h"

namespace wickerlane::hoardd {

Result<> makeDurableFolder(const std::string &path) {
    const std::string parent(parentFolder(path));
    if (!parent.empty() && ::access(parent.c_str(), F_OK) != 0)
        if (auto made = makeDurableFolder(parent); !made)
            return made;
    if (!makeFolders(path))
        return failSystem("make", path);
    return makeNamesDurable(parent);
}

Result<> makeDurableFolderOnce(const std::string &path) {
    static Mutex mutex;
    // Folders whose names have been synced as they are now.
    static NeverDestroyed<std::unordered_set<std::string>> kept;
    std::unordered_set<std::string> &durable = *kept;
    const std::string parent(parentFolder(path));
    // One that another thread has just made is there, but may not be for good until that thread has synced
    // it.
    const MutexLock lock(mutex);
    const bool isNew = ::mkdir(path.c_str(), 0700) == 0;
    if (!isNew && errno != EEXIST)
        return failSystem("make", path);
    if (!isNew && durable.contains(parent))
        return {};
    durable.erase(parent);
    if (auto synced = makeNamesDurable(parent); !synced)
        return synced;
    durable.insert(parent);
    return {};
}

Result<> makeNamesDurable(const std::string &folder) {
    if (!syncFolder(folder))
        return failSystem("sync", folder);
    return {};
}

Result<> moveIntoFolder(const std::string &path, const std::string &folder) {
    if (auto made = makeDurableFolder(folder); !made)
        return made;
    const std::string name(lastPathComponent(path));
    constexpr int maxOfOneName = 1000;
    for (int number = 0; number < maxOfOneName; ++number) {
        std::string place = folder + '/';
        if (number != 0)
            place += std::to_string(number) + '-';
        if (::renameat2(AT_FDCWD, path.c_str(), AT_FDCWD, place.append(name).c_str(), RENAME_NOREPLACE) == 0)
            return makeNamesDurable(folder);
        if (errno == ENOENT)
            return {};
        if (errno != EEXIST)
            break;
    }
    return failSystem("move", path);
}

Result<> removeFile(const std::string &path) {
    if (::unlink(path.c_str()) != 0 && errno != ENOENT && errno != ENOTDIR)
        return failSystem("remove", path);
    return {};
}

} // namespace wickerlane::hoardd
