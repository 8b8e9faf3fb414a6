#include "cli/StoreLookup.h"

#include <fmt/format.h>
#include <unistd.h>

namespace wickerlane::cli {

Result<Ref<store::ObjectStore>> openStore() {
    const store::LibraryPaths paths;
    if (access(paths.database().c_str(), F_OK) != 0)
        return fail(ProblemKind::notFound,
                    fmt::format("there is no library in {} yet. To make one, save photos into it: "
                                "wickerlane import FOLDER",
                                paths.folder()));
    std::string problem;
    auto store = store::ObjectStore::open(paths, &problem);
    if (!store)
        return fail(ProblemKind::notFound,
                    fmt::format("the library in {} can't be read: {}", paths.folder(), problem));
    return store;
}

Failure failToReadStore(std::string_view reason) {
    std::string text = "the library's store can't be read";
    if (!reason.empty())
        text.append(": ").append(reason);
    return fail(ProblemKind::damagedStore, std::move(text));
}

Result<Ref<store::ManagedAsset>> findAsset(store::ObjectStore &store, const std::string &name) {
    const ReleaseScope scope;
    Ref<store::ManagedAsset> found(store.assetWithUUID(name));
    if (!found && name.find("://") != std::string::npos)
        if (const auto url = URL::create(name)) {
            found = store.assetWithURL(url.get());
            if (!found)
                found = store.assetWithObjectID(ManagedObjectID::create(url.get()).get());
        }
    if (!found)
        return fail(ProblemKind::notFound,
                    fmt::format("there is no asset {} in {}. To list all assets: wickerlane list", name,
                                store.paths().folder()));
    return found;
}

Result<Ref<store::ManagedAsset>> findAsset(const std::string &name) {
    return openStore().and_then([&](const auto &store) { return findAsset(*store, name); });
}

Result<Ref<store::ManagedAlbum>> findAlbum(store::ObjectStore &store, const std::string &name) {
    const ReleaseScope scope;
    store::ManagedAlbum *album = store.albumNamed(name);
    if (album == nullptr)
        album = store.albumWithUUID(name);
    if (album == nullptr)
        return fail(ProblemKind::notFound,
                    fmt::format("there is no album {}. To list all albums: wickerlane album list", name));
    return Ref<store::ManagedAlbum>(album);
}

Result<store::AnalysisReader> openAnalyses(const store::ObjectStore &store) {
    auto reader = store::AnalysisReader::open(store.paths());
    if (!reader)
        return failToReadStore(reader.error().text);
    return reader;
}

} // namespace wickerlane::cli
