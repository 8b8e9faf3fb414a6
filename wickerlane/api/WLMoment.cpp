#include "wickerlane/api/WLMoment.h"

#include <cmath>

#include "wickerlane/api/CallInternal.h"
#include "wickerlane/api/FactsInternal.h"
#include "wickerlane/api/PageInternal.h"

using namespace wickerlane;

namespace {

template <class Record>
std::vector<Ref<RecordObject<Record>>> objectsOf(std::vector<Record> records) {
    std::vector<Ref<RecordObject<Record>>> objects;
    objects.reserve(records.size());
    for (Record &each : records)
        objects.push_back(makeRef<RecordObject<Record>>(std::move(each)));
    return objects;
}

MomentPageObject *createMoments(const MomentQuery &query, WLError **error) {
    return createPage<MomentPageObject>(
        &JXGatekeeperClient::momentsMatchingQuery, query,
        [](MomentPage page) { return objectsOf(std::move(page.moments)); }, error);
}

DuplicatesPageObject *createDuplicates(const DuplicatesQuery &query, WLError **error) {
    return createPage<DuplicatesPageObject>(
        &JXGatekeeperClient::duplicatesMatchingQuery, query,
        [](DuplicatesPage page) { return objectsOf(std::move(page.groups)); }, error);
}

// What is no number stays, so that it is refused.
std::optional<double> limitOf(double date, double none) {
    return date == none ? std::nullopt : std::optional(date);
}

} // namespace

WLMomentPage *WLMomentPageCreate(double from, double until, bool isDescending, size_t limit,
                                 WLError **error) {
    return createMoments({limitOf(from, -HUGE_VAL), limitOf(until, HUGE_VAL), isDescending, limit, {}},
                         error);
}

WLMomentPage *WLMomentPageCreateNext(const WLMomentPage *page, WLError **error) {
    return createNext(page, createMoments, error);
}

size_t WLMomentPageCount(const WLMomentPage *page) {
    return page != nullptr ? page->count() : 0;
}

WLMoment *WLMomentPageGet(const WLMomentPage *page, size_t index) {
    return page != nullptr ? page->at(index) : nullptr;
}

int64_t WLMomentNumber(const WLMoment *moment) {
    return factOf(moment, &MomentRecord::primaryKey);
}

int64_t WLMomentListNumber(const WLMoment *moment) {
    return factOf(moment, &MomentRecord::list);
}

double WLMomentStartDate(const WLMoment *moment) {
    return factOf(moment, &MomentRecord::startDate);
}

double WLMomentEndDate(const WLMoment *moment) {
    return factOf(moment, &MomentRecord::endDate);
}

uint64_t WLMomentAssetCount(const WLMoment *moment) {
    return factOf(moment, &MomentRecord::assetCount);
}

bool WLMomentGetLocation(const WLMoment *moment, double *latitude, double *longitude) {
    const bool isKnown = store(factOf(moment, &MomentRecord::latitude), latitude);
    return store(factOf(moment, &MomentRecord::longitude), longitude) && isKnown;
}

bool WLMomentIsAnalyzed(const WLMoment *moment) {
    return factOf(moment, &MomentRecord::isAnalyzed);
}

uint64_t WLMomentPhotoCount(const WLMoment *moment) {
    return factOf(moment, &MomentRecord::photoCount);
}

uint64_t WLMomentVideoCount(const WLMoment *moment) {
    return factOf(moment, &MomentRecord::videoCount);
}

const char *WLMomentKeyAsset(const WLMoment *moment) {
    return factOf(moment, &MomentRecord::keyAsset);
}

WLMomentLists *WLMomentListsCreate(WLError **error) {
    std::optional<MomentLists> answer = sharedClient()->momentLists();
    return withLastError(answer ? makeRef<MomentListsObject>(std::move(answer->lists)).leak() : nullptr,
                         error);
}

size_t WLMomentListsCount(const WLMomentLists *lists) {
    return countOf(lists);
}

int64_t WLMomentListsNumber(const WLMomentLists *lists, size_t index) {
    return factAt(lists, index, &MomentListRecord::primaryKey);
}

double WLMomentListsStartDate(const WLMomentLists *lists, size_t index) {
    return factAt(lists, index, &MomentListRecord::startDate);
}

double WLMomentListsEndDate(const WLMomentLists *lists, size_t index) {
    return factAt(lists, index, &MomentListRecord::endDate);
}

uint64_t WLMomentListsMomentCount(const WLMomentLists *lists, size_t index) {
    return factAt(lists, index, &MomentListRecord::momentCount);
}

uint64_t WLMomentListsAssetCount(const WLMomentLists *lists, size_t index) {
    return factAt(lists, index, &MomentListRecord::assetCount);
}

bool WLMomentListsIsAnalyzed(const WLMomentLists *lists, size_t index) {
    return factAt(lists, index, &MomentListRecord::isAnalyzed);
}

const char *WLMomentListsKeyAsset(const WLMomentLists *lists, size_t index) {
    return factAt(lists, index, &MomentListRecord::keyAsset);
}

WLDuplicatesPage *WLDuplicatesPageCreate(int kind, size_t limit, WLError **error) {
    if (kind < WLDuplicatesAll || kind > WLDuplicatesSimilar)
        return failing<WLDuplicatesPage *>(nullptr, ProblemKind::invalid,
                                           "duplicates have no kind " + std::to_string(kind), error);
    DuplicatesQuery query{.limit = limit};
    if (kind != WLDuplicatesAll)
        query.isSame = kind == WLDuplicatesSame;
    return createDuplicates(query, error);
}

WLDuplicatesPage *WLDuplicatesPageCreateNext(const WLDuplicatesPage *page, WLError **error) {
    return createNext(page, createDuplicates, error);
}

size_t WLDuplicatesPageCount(const WLDuplicatesPage *page) {
    return page != nullptr ? page->count() : 0;
}

WLDuplicates *WLDuplicatesPageGet(const WLDuplicatesPage *page, size_t index) {
    return page != nullptr ? page->at(index) : nullptr;
}

bool WLDuplicatesAreSame(const WLDuplicates *group) {
    return factOf(group, &DuplicatesRecord::isSame);
}

size_t WLDuplicatesCount(const WLDuplicates *group) {
    return group != nullptr ? group->record().uuids.size() : 0;
}

const char *WLDuplicatesGetUUID(const WLDuplicates *group, size_t index) {
    return index < WLDuplicatesCount(group) ? group->record().uuids[index].c_str() : nullptr;
}
