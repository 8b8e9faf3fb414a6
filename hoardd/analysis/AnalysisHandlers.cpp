// What hoardd makes of the library: moments, duplicates, the cloud feed, thumbnails.
#include "hoardd/Daemon.h"
#include "hoardd/analysis/Analyses.h"
#include "hoardd/service/Handlers.h"
#include "hoardd/service/LongWork.h"
#include "wickerlane/protocol/AnalysisRows.h"
#include "wickerlane/store/AnalysisReader.h"

namespace wickerlane::hoardd {

using namespace protocol;

namespace {

/// Runs an analysis, which gives an empty text or the reason for which it failed, as long work.
template <class Work>
void runAnalysis(Daemon &daemon, const Call &call, Work work) {
    runLongWork(daemon, call, [&daemon, work = std::move(work)](Library &library) {
        Analyses analyses(library, [&daemon] { return daemon.longWork().isClosed(); });
        return work(analyses);
    });
}

/// The primary key of an object that a call names by its ID; 0, and the call answered, when it can't be one
/// of this library.
std::int64_t keyNamedBy(Daemon &daemon, const Call &call, const Key<coding::ObjectID> &key,
                        std::string_view entity) {
    Library *library = daemon.library(call);
    if (library == nullptr)
        return 0;
    const auto *uri = as<MessageData>(call.value(key));
    const std::int64_t found =
        uri != nullptr ? store::primaryKeyInURI({static_cast<const char *>(uri->bytes()), uri->length()},
                                                library->assets().storeUUID(), entity)
                       : 0;
    if (found == 0)
        call.refuse("the object ID is not that of a " + std::string(entity) + " of this library");
    return found;
}

/// The moments are brought up to date before they are looked into.
std::string analyzeAfterUpdate(Analyses &analyses, AnalysisScope::Kind kind) {
    const std::string problem = analyses.rebuildMoments(true);
    return problem.empty() ? analyses.analyzeMoments({kind, 0}) : problem;
}

} // namespace

void rebuildMoments(Daemon &daemon, const Call &call) {
    runAnalysis(daemon, call, [incremental = call.get(keys::incremental)](Analyses &analyses) {
        return analyses.rebuildMoments(incremental);
    });
}

void rebuildMomentLists(Daemon &daemon, const Call &call) {
    runAnalysis(daemon, call, [](Analyses &analyses) { return analyses.rebuildMomentLists(); });
}

void analyzeAllMoments(Daemon &daemon, const Call &call) {
    runAnalysis(daemon, call,
                [](Analyses &analyses) { return analyzeAfterUpdate(analyses, AnalysisScope::Kind::all); });
}

// Duplicates first: what an asset shows has a say in which of them stands for its moment.
void analyzeInvalidMomentsAndDupesIfNeeded(Daemon &daemon, const Call &call) {
    runAnalysis(daemon, call, [](Analyses &analyses) {
        const std::string problem = analyses.analyzeDuplicates();
        return problem.empty() ? analyzeAfterUpdate(analyses, AnalysisScope::Kind::invalid) : problem;
    });
}

void analyzeMoment(Daemon &daemon, const Call &call) {
    const std::int64_t key = keyNamedBy(daemon, call, keys::momentOID, store::momentEntity);
    if (key != 0)
        runAnalysis(daemon, call, [key](Analyses &analyses) {
            return analyses.analyzeMoments({AnalysisScope::Kind::oneMoment, key});
        });
}

void analyzeMomentList(Daemon &daemon, const Call &call) {
    const std::int64_t key = keyNamedBy(daemon, call, keys::momentListOID, store::momentListEntity);
    if (key != 0)
        runAnalysis(daemon, call, [key](Analyses &analyses) {
            return analyses.analyzeMoments({AnalysisScope::Kind::oneList, key});
        });
}

void rebuildCloudFeed(Daemon &daemon, const Call &call) {
    runAnalysis(daemon, call, [](Analyses &analyses) { return analyses.rebuildCloudFeed(); });
}

void resetDupesAnalysis(Daemon &daemon, const Call &call) {
    runAnalysis(daemon, call, [](Analyses &analyses) { return analyses.resetDuplicates(); });
}

void hasCompletedMomentAnalysis(Daemon &daemon, const Call &call) {
    Library *library = daemon.library(call);
    if (library == nullptr)
        return;
    std::string problem;
    auto reader = store::AnalysisReader::open(library->paths(), problem);
    const auto complete = reader ? reader->areMomentsComplete() : std::nullopt;
    if (!complete)
        return call.refuse(reader ? reader->problem() : problem);
    call.answer(Answer().set(keys::isComplete, *complete));
}

void rebuildAllThumbnails(Daemon &daemon, const Call &call) {
    runAnalysis(daemon, call, [](Analyses &analyses) { return analyses.rebuildThumbnails(); });
}

void setAreDuplicates(Daemon &daemon, const Call &call) {
    Library *library = daemon.library(call);
    if (library == nullptr)
        return;
    constexpr std::size_t mostPhotos = 1'000; // every two of them are a row
    const auto *uuids = as<Array>(call.get(keys::photoUUIDs));
    if (uuids == nullptr || uuids->count() < 2 || uuids->count() > mostPhotos)
        return call.refuse("photoUUIDs must name 2 to 1000 assets");
    std::vector<std::int64_t> assets;
    for (const Object *each : *uuids) {
        const auto *uuid = as<String>(each);
        const store::ManagedAsset *asset =
            uuid != nullptr ? library->assets().assetWithUUID(uuid->utf8()) : nullptr;
        if (asset == nullptr)
            return call.refuse("there is no such asset");
        assets.push_back(asset->record().primaryKey);
    }
    runAnalysis(daemon, call,
                [assets = std::move(assets), are = call.get(keys::areDuplicates)](Analyses &analyses) {
                    return analyses.setAreDuplicates(assets, are);
                });
}

} // namespace wickerlane::hoardd
