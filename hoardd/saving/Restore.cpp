#include "hoardd/saving/Restore.h"

#include <unistd.h>

#include "hoardd/library/CallersFile.h"
#include "hoardd/library/DurableFolders.h"
#include "hoardd/library/Failures.h"
#include "hoardd/library/Lookup.h"
#include "hoardd/library/StagedFile.h"
#include "hoardd/saving/Saving.h"
#include "hoardd/saving/Trash.h"
#include "wickerlane/platform/object/Paths.h"
#include "wickerlane/protocol/JobKeys.h"

namespace wickerlane::hoardd {

namespace {

/// Puts an original that is missing back, from a file with the same contents.
Result<> putBack(Library &library, const AssetRecord &asset, const std::string &path, bool mayReadFiles) {
    const auto source = openCallersFile(path, mayReadFiles);
    if (!source)
        return passOn(source);
    const MutexLock lock(library.locks().of(asset.uuid));
    if (auto isThere = requireAsset(library, asset.uuid); !isThere)
        return isThere;

    auto copy = StagedFile::create(library.paths().saving());
    if (!copy)
        return passOn(copy);
    if (auto copied = copy->copyFrom(source->file.get()); !copied)
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

Result<> saveUnder(Library &library, const std::string &uuid, const std::string &path, bool mayReadFiles) {
    const SaveJob job{Dictionary::createWithKeys({{protocol::job::filePath, String::of(path)}}), nullptr,
                      nullptr, mayReadFiles, uuid};
    const auto saves = saveAssets(library, {&job, 1});
    if (!saves.front())
        return passOn(saves.front());
    return {};
}

} // namespace

Result<> restoreAsset(Library &library, const std::string &uuid, std::span<const std::string> files,
                      bool mayReadFiles) {
    const MutexLock lock(library.locks().ofRestores());
    // What the restored device has is wanted again.
    if (auto wanted = restoreFromTrash(library, uuid);
        !wanted && wanted.error().kind != ProblemKind::notFound)
        return wanted;
    const auto found = library.assets().assetWithUUID(uuid);
    if (!found)
        return passOn(found);
    const Ref<ManagedAsset> &asset = *found;
    if (asset && ::access(library.paths().original(asset->record()).c_str(), F_OK) == 0)
        return {};
    Result<> restored = fail(ProblemKind::invalid, "no path was named");
    for (const std::string &file : files) {
        restored = asset ? putBack(library, asset->record(), file, mayReadFiles)
                         : saveUnder(library, uuid, file, mayReadFiles);
        if (restored)
            break;
        restored = fail(inContext(file, restored.error()));
    }
    return restored;
}

} // namespace wickerlane::hoardd
