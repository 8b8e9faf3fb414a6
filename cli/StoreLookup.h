// The library's store, and the assets and albums in it that a person names.
#ifndef CLI_STORELOOKUP_H
#define CLI_STORELOOKUP_H

#include "wickerlane/model/Result.h"
#include "wickerlane/store/AnalysisReader.h"
#include "wickerlane/store/ObjectStore.h"

namespace wickerlane::cli {

Result<Ref<store::ObjectStore>> openStore();

/// The problem of a store that is open but can't be read.
Failure failToReadStore(std::string_view reason = {});

/// An asset by its UUID, its persistent URL or the URI of its object ID.
Result<Ref<store::ManagedAsset>> findAsset(store::ObjectStore &store, const std::string &name);
/// The same, of the current library.
Result<Ref<store::ManagedAsset>> findAsset(const std::string &name);

/// An album by its name or UUID.
Result<Ref<store::ManagedAlbum>> findAlbum(store::ObjectStore &store, const std::string &name);

/// The moments, duplicates and the cloud feed of a library.
Result<store::AnalysisReader> openAnalyses(const store::ObjectStore &store);

} // namespace wickerlane::cli

#endif
