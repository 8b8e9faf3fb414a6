// The library's store, and the assets and albums in it that a person names.
#ifndef CLI_STORELOOKUP_H
#define CLI_STORELOOKUP_H

#include <memory>
#include <string>
#include <vector>

#include "wickerlane/model/Result.h"
#include "wickerlane/store/AnalysisReader.h"
#include "wickerlane/store/StoreReader.h"

namespace wickerlane::cli {

/// Fails when nothing has been saved into the library yet: asking the daemon would make it.
Result<> requireLibrary();

Result<std::unique_ptr<store::StoreReader>> openStore();

/// The problem of a store that is open but can't be read.
template <class T>
Failure failToReadStore(const Result<T> &failed) {
    const Problem &problem = failed.error();
    return fail(problem.kind, "the library's store can't be read: " + problem.text, problem.file);
}

/// The problem of a store that can't be opened, with what to do about it.
Failure failToOpenStore(const Problem &problem);

/// An asset by its UUID, its persistent URL or the URI of its object ID.
Result<Ref<ManagedAsset>> findAsset(store::StoreReader &store, const std::string &name);
/// The same, of the current library.
Result<Ref<ManagedAsset>> findAsset(const std::string &name);

/// The UUIDs of assets of the current library, each once, in the order of their names. Fails when one of the
/// assets is not there.
Result<std::vector<std::string>> findUUIDs(const std::vector<std::string> &names);

/// What is in the trash, the latest first.
Result<std::vector<TrashedAsset>> readTrash();
/// The same, over a store that is open.
Result<std::vector<TrashedAsset>> readTrash(store::StoreReader &store);
/// One of them, by the names that an asset has.
Result<TrashedAsset> findTrashed(const std::vector<TrashedAsset> &trash,
                                        const std::string &name);

/// An album by its name or UUID.
Result<Ref<ManagedAlbum>> findAlbum(store::StoreReader &store, const std::string &name);

/// The moments, duplicates and the cloud feed of a library.
Result<store::AnalysisReader> openAnalyses(const store::StoreReader &store);

} // namespace wickerlane::cli

#endif
