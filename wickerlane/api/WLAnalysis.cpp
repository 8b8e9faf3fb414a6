#include "wickerlane/api/WLAnalysis.h"

#include "wickerlane/api/CallInternal.h"
#include "wickerlane/model/StoredObject.h"

using namespace wickerlane;

namespace {

/// The store's UUID, which stands in the IDs of all its objects; empty with an error when it is unknown.
std::string storeUUID() {
    const ReleaseScope scope;
    const auto page = sharedClient()->assetsMatchingQuery(AssetQuery{.limit = 1});
    if (!page) {
        if (client::lastErrorOfThread() == nullptr)
            client::noteProblem({ProblemKind::failed, noAnswer, {}});
        return {};
    }
    if (page->assets.empty()) {
        client::noteProblem({ProblemKind::notFound, "the library has no assets, and so no moments", {}});
        return {};
    }
    const String *host = page->assets.front()->objectID()->uriRepresentation()->host();
    if (host == nullptr) {
        client::noteProblem({ProblemKind::failed, noAnswer, {}});
        return {};
    }
    return std::string(host->utf8());
}

bool analyze(void (JXGatekeeperClient::*analysis)(const ManagedObject *), std::string_view entity,
             std::int64_t number, WLError **error) {
    if (number == 0)
        return failing(false, ProblemKind::invalid, "there is no moment", error);
    const std::string store = storeUUID();
    if (!store.empty())
        (sharedClient()->*analysis)(StoredObject::create(store, entity, number).get());
    return withLastError(!store.empty(), error);
}

} // namespace

bool WLMomentsRebuild(bool isIncremental, WLError **error) {
    return waitFor(&JXGatekeeperClient::rebuildMomentsIncremental, error, isIncremental);
}

bool WLMomentListsRebuild(WLError **error) {
    return waitFor(&JXGatekeeperClient::rebuildMomentLists, error);
}

bool WLMomentsAnalyze(WLError **error) {
    return waitFor(&JXGatekeeperClient::analyzeAllMoments, error);
}

bool WLAnalyzeWhatIsOutOfDate(WLError **error) {
    return waitFor(&JXGatekeeperClient::analyzeInvalidMomentsAndDupesIfNeeded, error);
}

bool WLMomentsAreAnalyzed(WLError **error) {
    return waitFor(&JXGatekeeperClient::hasCompletedMomentAnalysis, error);
}

bool WLMomentAnalyze(const WLMoment *moment, WLError **error) {
    return analyze(&JXGatekeeperClient::analyzeMoment, momentEntity, WLMomentNumber(moment), error);
}

bool WLMomentListAnalyze(int64_t listNumber, WLError **error) {
    return analyze(&JXGatekeeperClient::analyzeMomentList, momentListEntity, listNumber, error);
}

bool WLDuplicatesReset(WLError **error) {
    return waitFor(&JXGatekeeperClient::resetDupesAnalysis, error);
}

bool WLAssetsSetAreDuplicates(WLArray *assets, bool areDuplicates, WLError **error) {
    return waitFor(&JXGatekeeperClient::setAreDuplicates, error, areDuplicates, assets);
}
