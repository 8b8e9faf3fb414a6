// Records of a library that does not exist.
#ifndef WICKERLANE_TESTING_MADEUPRECORDS_H
#define WICKERLANE_TESTING_MADEUPRECORDS_H

#include <string_view>
#include <vector>

#include "wickerlane/model/AssetChange.h"
#include "wickerlane/model/AssetFiles.h"
#include "wickerlane/model/AssetQuery.h"
#include "wickerlane/model/AssetRecord.h"
#include "wickerlane/model/ManagedAlbum.h"
#include "wickerlane/model/Moments.h"
#include "wickerlane/platform/object/Array.h"

namespace wickerlane {

/// Of the store that all objects come from.
inline constexpr std::string_view madeUpStoreUUID = "00000000-0000-4000-8000-000000000000";
/// For the changes behind those of an answer.
inline constexpr std::string_view madeUpToken = "made-up";

// Make up what records leave out and no record can lack: their primary keys, UUIDs, names and formats. They
// throw std::invalid_argument, with the reason, for a record that no library could hold.

void completeRecords(std::vector<AssetRecord> &records);
void completeRecords(std::vector<AlbumRecord> &records);
void completeRecords(std::vector<MomentRecord> &records);

// Complete records by plain facts: an array of dictionaries. They throw std::invalid_argument, with the
// reason, for anything else, and for a key or a value that such records don't have.

[[nodiscard]] std::vector<AssetRecord> assetsOfFacts(const Object *facts);
[[nodiscard]] std::vector<AlbumRecord> albumsOfFacts(const Object *facts);
[[nodiscard]] std::vector<MomentRecord> momentsOfFacts(const Object *facts);
[[nodiscard]] std::vector<DuplicatesRecord> duplicatesOfFacts(const Object *facts);
[[nodiscard]] std::vector<AssetChange> changesOfFacts(const Object *facts);
[[nodiscard]] std::vector<AssetSection> sectionsOfFacts(const Object *facts);
[[nodiscard]] std::vector<MomentListRecord> momentListsOfFacts(const Object *facts);
[[nodiscard]] std::vector<FeedEntryRecord> feedOfFacts(const Object *facts);
[[nodiscard]] std::vector<CompanionRecord> companionsOfFacts(const Object *facts);

} // namespace wickerlane

#endif
