// The rows of what hoardd computes from the library: moments, duplicates, the cloud feed, thumbnails.
#ifndef WICKERLANE_PROTOCOL_ANALYSISROWS_H
#define WICKERLANE_PROTOCOL_ANALYSISROWS_H

#include "wickerlane/protocol/Keys.h"
#include "wickerlane/protocol/Row.h"

namespace wickerlane::protocol {

inline constexpr Row rebuildMoments{61, "rebuildMomentsIncremental:", request(keys::incremental), reply()};

inline constexpr Row rebuildMomentLists{62, "rebuildMomentLists", request(), reply()};

inline constexpr Row analyzeAllMoments{63, "analyzeAllMoments", request(), reply()};

inline constexpr Row analyzeInvalidMomentsAndDupesIfNeeded{64, "analyzeInvalidMomentsAndDupesIfNeeded",
                                                           request(), reply()};

inline constexpr Row analyzeMoment{65, "analyzeMoment:", request(keys::momentOID), reply()};

inline constexpr Row analyzeMomentList{66, "analyzeMomentList:", request(keys::momentListOID), reply()};

inline constexpr Row rebuildCloudFeed{67, "rebuildCloudFeed", request(), reply()};

inline constexpr Row resetDupesAnalysis{68, "resetDupesAnalysis", request(), reply()};

inline constexpr Row hasCompletedMomentAnalysis{72, "hasCompletedMomentAnalysis", request(),
                                                reply(keys::isComplete)};

inline constexpr Row rebuildAllThumbnails{73, "rebuildAllThumbnails", request(), reply()};

/// A person's correction of what the analysis of duplicates has found. Codes from 1000 on are additions to
/// the original operations.
inline constexpr Row setAreDuplicates{
    1000, "setAreDuplicates:forPhotos:", request(keys::areDuplicates, keys::photoUUIDs), reply()};

} // namespace wickerlane::protocol

#endif
