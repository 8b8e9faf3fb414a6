// The rows of what hoardd makes of the library: moments, duplicates, the cloud feed, thumbnails.
#ifndef WICKERLANE_PROTOCOL_ANALYSISROWS_H
#define WICKERLANE_PROTOCOL_ANALYSISROWS_H

#include "wickerlane/protocol/Keys.h"
#include "wickerlane/protocol/Operation.h"

namespace wickerlane::protocol {

inline constexpr Operation rebuildMoments{61, "rebuildMomentsIncremental:", request(keys::incremental),
                                          reply()};

inline constexpr Operation rebuildMomentLists{62, "rebuildMomentLists", request(), reply()};

inline constexpr Operation analyzeAllMoments{63, "analyzeAllMoments", request(), reply()};

inline constexpr Operation analyzeInvalidMomentsAndDupesIfNeeded{64, "analyzeInvalidMomentsAndDupesIfNeeded",
                                                                 request(), reply()};

inline constexpr Operation analyzeMoment{65, "analyzeMoment:", request(keys::momentOID), reply()};

inline constexpr Operation analyzeMomentList{66, "analyzeMomentList:", request(keys::momentListOID), reply()};

inline constexpr Operation rebuildCloudFeed{67, "rebuildCloudFeed", request(), reply()};

inline constexpr Operation resetDupesAnalysis{68, "resetDupesAnalysis", request(), reply()};

inline constexpr Operation hasCompletedMomentAnalysis{72, "hasCompletedMomentAnalysis", request(),
                                                      reply(keys::isComplete)};

inline constexpr Operation rebuildAllThumbnails{73, "rebuildAllThumbnails", request(), reply()};

/// Codes from 1000 on belong to operations that the others do not depend on: a person's word on what the
/// analysis of duplicates has found.
inline constexpr Operation setAreDuplicates{
    1000, "setAreDuplicates:forPhotos:", request(keys::areDuplicates, keys::photoUUIDs), reply()};

} // namespace wickerlane::protocol

#endif
