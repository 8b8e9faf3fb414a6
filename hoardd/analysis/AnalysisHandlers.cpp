#include "hoardd/service/OperationFamilies.h"

#include "hoardd/albums/CloudFeedStore.h"
#include "hoardd/analysis/Duplicates.h"
#include "hoardd/analysis/LibraryAnalysis.h"
#include "hoardd/analysis/MomentListStore.h"
#include "hoardd/analysis/Moments.h"
#include "hoardd/analysis/ThumbnailRebuild.h"
#include "hoardd/library/Lookup.h"
#include "hoardd/service/Call.h"
#include "wickerlane/protocol/AnalysisRows.h"
#include "wickerlane/store/AnalysisReader.h"

namespace wickerlane::hoardd {

namespace keys = protocol::keys;

namespace {

Result<Answer> rebuildMoments(Library &library, const Call &call) {
    return whenDone(rebuildMoments(library, call.get(keys::incremental)));
}

Result<Answer> rebuildMomentLists(Library &library, const Call &) {
    return whenDone(library.writer().change(rebuildAllMomentLists));
}

Result<Answer> analyzeAllMoments(Library &library, const Call &) {
    return whenDone(analyzeAfterUpdate(library, AnalysisScope::Kind::all));
}

Result<Answer> analyzeInvalidMomentsAndDupesIfNeeded(Library &library, const Call &) {
    return whenDone(analyzeChanges(library));
}

Result<Answer> analyzeMoment(Library &library, const Call &call) {
    const auto key = keyOfObject(library, call.value(keys::momentOID), momentEntity);
    if (!key)
        return passOn(key);
    return whenDone(analyzeMoments(library, {AnalysisScope::Kind::oneMoment, *key}));
}

Result<Answer> analyzeMomentList(Library &library, const Call &call) {
    const auto key = keyOfObject(library, call.value(keys::momentListOID), momentListEntity);
    if (!key)
        return passOn(key);
    return whenDone(analyzeMoments(library, {AnalysisScope::Kind::oneList, *key}));
}

Result<Answer> rebuildCloudFeed(Library &library, const Call &) {
    return whenDone(library.writer().change(hoardd::rebuildCloudFeed));
}

Result<Answer> resetDupesAnalysis(Library &library, const Call &) {
    return whenDone(resetDuplicates(library));
}

Result<Answer> hasCompletedMomentAnalysis(Library &library, const Call &) {
    auto reader = store::AnalysisReader::open(library.paths());
    if (!reader)
        return passOn(reader);
    const auto complete = reader->areMomentsComplete();
    if (!complete)
        return passOn(complete);
    return Answer().set(keys::isComplete, *complete);
}

Result<Answer> rebuildAllThumbnails(Library &library, const Call &) {
    return whenDone(rebuildThumbnails(library));
}

Result<Answer> setAreDuplicates(Library &library, const Call &call) {
    constexpr std::size_t maxPhotos = 1'000; // every two of them are a row
    const auto *uuids = as<Array>(call.get(keys::photoUUIDs));
    if (uuids == nullptr || uuids->count() < 2 || uuids->count() > maxPhotos)
        return fail(ProblemKind::invalid, "photoUUIDs must name 2 to 1000 assets");
    std::vector<std::int64_t> assets;
    for (const Object *each : *uuids) {
        const auto *uuid = as<String>(each);
        const auto asset = assetWithUUID(library, uuid != nullptr ? uuid->utf8() : std::string_view());
        if (!asset)
            return passOn(asset);
        assets.push_back((*asset)->record().primaryKey);
    }
    return whenDone(setAreDuplicates(library, assets, call.get(keys::areDuplicates)));
}

constexpr Operation operations[] = {
    {&protocol::rebuildMoments, rebuildMoments, Runs::longWork},
    {&protocol::rebuildMomentLists, rebuildMomentLists, Runs::longWork},
    {&protocol::analyzeAllMoments, analyzeAllMoments, Runs::longWork},
    {&protocol::analyzeInvalidMomentsAndDupesIfNeeded, analyzeInvalidMomentsAndDupesIfNeeded, Runs::longWork},
    {&protocol::analyzeMoment, analyzeMoment, Runs::longWork},
    {&protocol::analyzeMomentList, analyzeMomentList, Runs::longWork},
    {&protocol::rebuildCloudFeed, rebuildCloudFeed, Runs::longWork},
    {&protocol::resetDupesAnalysis, resetDupesAnalysis, Runs::longWork},
    reading(protocol::hasCompletedMomentAnalysis, hasCompletedMomentAnalysis),
    {&protocol::rebuildAllThumbnails, rebuildAllThumbnails, Runs::longWork},
    {&protocol::setAreDuplicates, setAreDuplicates, Runs::longWork},
};

} // namespace

std::span<const Operation> analysisOperations() {
    return operations;
}

} // namespace wickerlane::hoardd
