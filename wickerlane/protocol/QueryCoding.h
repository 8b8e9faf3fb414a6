// How queries and what they give travel.
#ifndef WICKERLANE_PROTOCOL_QUERYCODING_H
#define WICKERLANE_PROTOCOL_QUERYCODING_H

#include <optional>
#include <span>
#include <vector>

#include "wickerlane/model/AssetChange.h"
#include "wickerlane/model/AssetFiles.h"
#include "wickerlane/model/AssetQuery.h"
#include "wickerlane/model/ManagedAlbum.h"
#include "wickerlane/model/Moments.h"
#include "wickerlane/model/Result.h"
#include "wickerlane/model/Trash.h"
#include "wickerlane/platform/object/Data.h"
#include "wickerlane/platform/object/Dictionary.h"

namespace wickerlane::protocol {

// A dictionary of what differs from an empty query.

[[nodiscard]] WL_EXPORT Ref<Dictionary> encoded(const AssetQuery &query);
[[nodiscard]] WL_EXPORT Ref<Dictionary> encoded(const MomentQuery &query);
[[nodiscard]] WL_EXPORT Ref<Dictionary> encoded(const DuplicatesQuery &query);
[[nodiscard]] WL_EXPORT Ref<Dictionary> encoded(const TrashQuery &query);

// The query in a dictionary (may be null, as if empty). Each fails with `invalid` when it has a key or a
// value that queries don't have: a client may be newer than hoardd.

[[nodiscard]] WL_EXPORT Result<> decode(const Dictionary *coded, AssetQuery &query);
[[nodiscard]] WL_EXPORT Result<> decode(const Dictionary *coded, MomentQuery &query);
[[nodiscard]] WL_EXPORT Result<> decode(const Dictionary *coded, DuplicatesQuery &query);
[[nodiscard]] WL_EXPORT Result<> decode(const Dictionary *coded, TrashQuery &query);

/// Of each record its primary key and those fields.
[[nodiscard]] WL_EXPORT Ref<Data> packed(std::span<const AssetRecord> records, AssetFields fields);
[[nodiscard]] WL_EXPORT Ref<Data> packed(std::span<const AssetSection> sections);
[[nodiscard]] WL_EXPORT Ref<Data> packed(std::span<const AlbumRecord> albums);
[[nodiscard]] WL_EXPORT Ref<Data> packed(std::span<const MomentRecord> moments, bool withAssets);
[[nodiscard]] WL_EXPORT Ref<Data> packed(std::span<const DuplicatesRecord> groups);
[[nodiscard]] WL_EXPORT Ref<Data> packed(std::span<const AssetChange> changes);
[[nodiscard]] WL_EXPORT Ref<Data> packed(std::span<const MomentListRecord> lists);
[[nodiscard]] WL_EXPORT Ref<Data> packed(std::span<const FeedEntryRecord> entries);
[[nodiscard]] WL_EXPORT Ref<Data> packed(std::span<const CompanionRecord> companions);
/// With all fields of the assets.
[[nodiscard]] WL_EXPORT Ref<Data> packed(std::span<const TrashedRecord> trash);

// What was packed; null data holds nothing. Each gives nothing when the data is not that of whole rows.

[[nodiscard]] WL_EXPORT std::optional<std::vector<AssetRecord>> unpackedAssets(const Data *data,
                                                                               AssetFields fields);
[[nodiscard]] WL_EXPORT std::optional<std::vector<AssetSection>> unpackedSections(const Data *data);
[[nodiscard]] WL_EXPORT std::optional<std::vector<AlbumRecord>> unpackedAlbums(const Data *data);
[[nodiscard]] WL_EXPORT std::optional<std::vector<MomentRecord>> unpackedMoments(const Data *data,
                                                                                 bool withAssets);
[[nodiscard]] WL_EXPORT std::optional<std::vector<DuplicatesRecord>> unpackedGroups(const Data *data);
[[nodiscard]] WL_EXPORT std::optional<std::vector<AssetChange>> unpackedChanges(const Data *data);
[[nodiscard]] WL_EXPORT std::optional<std::vector<MomentListRecord>> unpackedMomentLists(const Data *data);
[[nodiscard]] WL_EXPORT std::optional<std::vector<FeedEntryRecord>> unpackedFeed(const Data *data);
[[nodiscard]] WL_EXPORT std::optional<std::vector<CompanionRecord>> unpackedCompanions(const Data *data);
[[nodiscard]] WL_EXPORT std::optional<std::vector<TrashedRecord>> unpackedTrash(const Data *data);

} // namespace wickerlane::protocol

#endif
