#include "hoardd/saving/Restore.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "hoardd/library/DurableFolders.h"
#include "hoardd/library/StagedFile.h"
#include "hoardd/saving/Saving.h"
#include "wickerlane/platform/object/Paths.h"
#include "wickerlane/protocol/JobKeys.h"

namespace wickerlane::hoardd {

namespace {

Result<UniqueFd> openSource(const std::string &path) {
    UniqueFd source(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    struct stat status {};
    if (!source || ::fstat(source.get(), &status) != 0)
        return failSystem("read", path);
    if (!S_ISREG(status.st_mode))
        return fail(ProblemKind::invalid, "it is not a regular file", path);
    return source;
}

/// Puts an original that is missing back, from a file with the same contents.
Result<> putBack(Library &library, const store::AssetRecord &asset, const std::string &path) {
    const auto source = openSource(path);
    if (!source)
        return passOn(source);
    const MutexLock lock(library.locks().of(asset.uuid));
    const auto isThere = library.writer().contains(asset.uuid);
    if (!isThere)
        return passOn(isThere);
    if (!*isThere)
        return fail(ProblemKind::notFound, "there is no such asset any more");

    auto copy = StagedFile::create(library.paths().saving());
    if (!copy)
        return passOn(copy);
    if (auto copied = copy->copyFrom(source->get()); !copied)
        return copied;
    const auto sum = copy->sum();
    if (!sum)
        return passOn(sum);
    if (*sum != asset.sha256)
        return fail(ProblemKind::invalid, "it is another picture", path);
    if (auto sealed = copy->seal(); !sealed)
        return sealed;
    const std::string original = library.paths().original(asset);
    const std::string folder(parentFolder(original));
    if (auto made = makeDurableFolder(folder); !made)
        return made;
    if (auto moved = copy->moveTo(original); !moved)
        return moved;
    return makeNamesDurable(folder);
}

Result<> saveUnder(Library &library, const std::string &uuid, const std::string &path) {
    const SaveJob job{Dictionary::createWithKeys({{protocol::job::filePath, String::of(path)}}), nullptr,
                      nullptr, true, uuid};
    const auto saves = saveAssets(library, {&job, 1});
    if (!saves.front())
        return passOn(saves.front());
    return {};
}

} // namespace

Result<> restoreAsset(Library &library, const std::string &uuid, std::span<const std::string> files,
                      bool mayReadFiles) {
    const MutexLock lock(library.locks().ofRestores());
    const auto found = library.assets().assetWithUUID(uuid);
    if (!found)
        return passOn(found);
    const Ref<store::ManagedAsset> &asset = *found;
    if (asset && ::access(library.paths().original(asset->record()).c_str(), F_OK) == 0)
        return {};
    if (!mayReadFiles)
        return fail(ProblemKind::refused, "files are read only for the user that hoardd serves");
    Result<> restored = fail(ProblemKind::invalid, "no path was named");
    for (const std::string &file : files) {
        restored = asset ? putBack(library, asset->record(), file) : saveUnder(library, uuid, file);
        if (restored)
            break;
        restored.error().text.insert(0, file + ": ");
    }
    return restored;
}

} // namespace wickerlane::hoardd
