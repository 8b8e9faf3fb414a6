#include "cli/StoreLookup.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <set>

#include "cli/DaemonRequests.h"
#include "wickerlane/model/AssetURL.h"
#include "wickerlane/store/LibraryCheck.h"

namespace wickerlane::cli {

namespace {

Failure failWithoutStore(const store::LibraryPaths &paths) {
    if (store::hasOriginals(paths))
        return fail(
            ProblemKind::damagedStore,
            fmt::format("the store of the library in {} is missing beside its originals. To make it again: "
                        "wickerlane check --repair",
                        paths.folder()));
    return fail(ProblemKind::notFound,
                fmt::format("there is no library in {} yet. To make one, save photos into it: "
                            "wickerlane import FOLDER",
                            paths.folder()));
}

std::string whatToDo(ProblemKind kind) {
    switch (kind) {
    case ProblemKind::damagedStore:
        return ". To repair it: wickerlane check --repair";
    case ProblemKind::newerVersion:
        return ". Install a wickerlane that is at least as new";
    case ProblemKind::refused:
        return ". Only its owner may read it directly";
    default:
        return {};
    }
}

bool isNamed(const ManagedAsset &asset, const std::string &name) {
    const auto uuid = UUID::createWithText(name);
    const std::string named =
        uuid ? std::string(uuid->uuidString()->utf8()) : uuidOfAssetURL(URL::create(name).get());
    return asset.record().uuid == named ||
           asset.objectID()->uriRepresentation()->absoluteString()->utf8() == name;
}

} // namespace

Failure failToOpenStore(const Problem &problem) {
    return fail(problem.kind,
                fmt::format("the library in {} can't be read: {}{}", store::LibraryPaths().folder(),
                            problem.text, whatToDo(problem.kind)));
}

Result<> requireLibrary() {
    const store::LibraryPaths paths;
    if (access(paths.database().c_str(), F_OK) != 0 && errno == ENOENT)
        return failWithoutStore(paths);
    return {};
}

Result<std::unique_ptr<store::StoreReader>> openStore() {
    if (const auto there = requireLibrary(); !there)
        return passOn(there);
    const store::LibraryPaths paths;
    auto store = store::StoreReader::open(paths);
    if (!store && store.error().kind == ProblemKind::busy) {
        // The daemon brings it up to date when it opens it.
        if (const auto answers = requireDaemon(); !answers)
            return passOn(answers);
        store = store::StoreReader::open(paths);
    }
    if (!store)
        return failToOpenStore(store.error());
    return store;
}

Result<Ref<ManagedAsset>> findAsset(store::StoreReader &store, const std::string &name) {
    auto found = store.assetWithUUID(name);
    if (found && !*found && name.find("://") != std::string::npos) {
        found = store.assetWithURL(URL::create(name).get());
        if (found && !*found)
            found = store.assetWithURI(name);
    }
    if (!found)
        return failToReadStore(found);
    if (!*found)
        return fail(ProblemKind::notFound,
                    fmt::format("there is no asset {} in {}. To list all assets: wickerlane list", name,
                                store.paths().folder()));
    return found;
}

Result<Ref<ManagedAsset>> findAsset(const std::string &name) {
    return openStore().and_then([&](const auto &store) { return findAsset(*store, name); });
}

Result<std::vector<std::string>> findUUIDs(const std::vector<std::string> &names) {
    const auto store = openStore();
    if (!store)
        return passOn(store);
    std::vector<std::string> uuids;
    std::set<std::string> known;
    for (const std::string &name : names) {
        const auto asset = findAsset(**store, name);
        if (!asset)
            return passOn(asset);
        const std::string &uuid = (*asset)->record().uuid;
        if (known.insert(uuid).second)
            uuids.push_back(uuid);
    }
    return uuids;
}

Result<std::vector<TrashedAsset>> readTrash(store::StoreReader &store) {
    auto trash = store.trash();
    if (!trash)
        return failToReadStore(trash);
    return trash;
}

Result<std::vector<TrashedAsset>> readTrash() {
    return openStore().and_then([](const auto &store) { return readTrash(*store); });
}

Result<TrashedAsset> findTrashed(const std::vector<TrashedAsset> &trash, const std::string &name) {
    const auto found =
        std::ranges::find_if(trash, [&](const TrashedAsset &each) { return isNamed(*each.asset, name); });
    if (found == trash.end())
        return fail(
            ProblemKind::notFound,
            fmt::format("there is no asset {} in the trash. To list what is: wickerlane trash list", name));
    return *found;
}

Result<Ref<ManagedAlbum>> findAlbum(store::StoreReader &store, const std::string &name) {
    auto found = store.albumNamed(name);
    if (found && !*found)
        found = store.albumWithUUID(name);
    if (!found)
        return failToReadStore(found);
    if (!*found)
        return fail(ProblemKind::notFound,
                    fmt::format("there is no album {}. To list all albums: wickerlane album list", name));
    return found;
}

Result<store::AnalysisReader> openAnalyses(const store::StoreReader &store) {
    auto reader = store::AnalysisReader::open(store.paths());
    if (!reader)
        return failToReadStore(reader);
    return reader;
}

} // namespace wickerlane::cli
