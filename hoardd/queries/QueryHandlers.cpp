#include "hoardd/service/OperationFamilies.h"

#include <chrono>

#include "hoardd/library/Lookup.h"
#include "hoardd/service/Call.h"
#include "wickerlane/protocol/QueryCoding.h"
#include "wickerlane/protocol/QueryRows.h"
#include "wickerlane/store/AnalysisReader.h"
#include "wickerlane/store/CompanionReader.h"

namespace wickerlane::hoardd {

namespace keys = protocol::keys;

namespace {

template <class Query>
Result<Query> queryOf(const Call &call) {
    Query query;
    const auto *coded = as<Dictionary>(call.get(keys::query));
    if (coded == nullptr && call.value(keys::query) != nullptr)
        return fail(ProblemKind::invalid, "the query is no dictionary");
    if (const auto decoded = protocol::decode(coded, query); !decoded)
        return passOn(decoded);
    return query;
}

/// Without a cursor it is the last page.
Answer withCursor(Answer answer, const std::string &next) {
    if (!next.empty())
        answer.set(keys::cursor, String::of(next));
    return answer;
}

Result<Answer> assetsMatchingQuery(Library &library, const Call &call) {
    const auto query = queryOf<AssetQuery>(call);
    if (!query)
        return passOn(query);
    const auto page = library.queries().page(*query);
    if (!page)
        return passOn(page);
    Answer answer;
    answer.set(keys::assets, protocol::packed(page->records, query->fields).get());
    answer.set(keys::storeUUID, String::of(library.queries().storeUUID()));
    return withCursor(std::move(answer), page->next);
}

Result<Answer> sectionsOfAssets(Library &library, const Call &call) {
    const auto query = queryOf<AssetQuery>(call);
    if (!query)
        return passOn(query);
    const std::int64_t unit = call.get(keys::unit);
    if (unit != static_cast<int>(SectionUnit::day) && unit != static_cast<int>(SectionUnit::month))
        return fail(ProblemKind::invalid, "sections are days (0) or months (1)");
    // All rows are looked at: pages are read meanwhile.
    const auto reader = store::StoreReader::open(library.paths());
    if (!reader)
        return passOn(reader);
    const auto sections =
        (*reader)->sections(query->filter, static_cast<SectionUnit>(unit), query->isDescending);
    if (!sections)
        return passOn(sections);
    return Answer().set(keys::sections, protocol::packed(*sections).get());
}

Result<Answer> allAlbums(Library &library, const Call &) {
    const auto albums = library.queries().albums();
    if (!albums)
        return passOn(albums);
    std::vector<AlbumRecord> records;
    records.reserve(albums->size());
    for (const Ref<ManagedAlbum> &each : *albums)
        records.push_back(each->record());
    Answer answer;
    answer.set(keys::albums, protocol::packed(records).get());
    return answer.set(keys::storeUUID, String::of(library.queries().storeUUID()));
}

Result<Answer> trashMatchingQuery(Library &library, const Call &call) {
    const auto query = queryOf<TrashQuery>(call);
    if (!query)
        return passOn(query);
    const auto page = library.queries().trash(*query);
    if (!page)
        return passOn(page);
    Answer answer;
    answer.set(keys::assets, protocol::packed(page->records).get());
    answer.set(keys::storeUUID, String::of(library.queries().storeUUID()));
    return withCursor(std::move(answer), page->next);
}

Result<Answer> countOfAssets(Library &library, const Call &call) {
    const auto query = queryOf<AssetQuery>(call);
    if (!query)
        return passOn(query);
    // Many rows may be looked at: pages are read meanwhile.
    const auto reader = store::StoreReader::open(library.paths());
    if (!reader)
        return passOn(reader);
    const auto count = (*reader)->count(query->filter);
    if (!count)
        return passOn(count);
    return Answer().set(keys::count, *count);
}

Result<Answer> companionsOfPhotos(Library &library, const Call &call) {
    const auto uuids = uuidsIn(as<Array>(call.get(keys::photoUUIDs)));
    if (!uuids)
        return passOn(uuids);
    const auto companions =
        library.read([&](sqlite::Database &database) { return store::readCompanions(database, *uuids); });
    if (!companions)
        return passOn(companions);
    std::vector<CompanionRecord> records;
    records.reserve(companions->size());
    for (const auto &[uuid, each] : *companions)
        records.push_back({uuid, store::companionPath(library.paths(), uuid, each), each.originalFilename,
                           each.format, each.byteSize});
    return Answer().set(keys::companions, protocol::packed(records).get());
}

Ref<Data> packedPage(const MomentPage &page, const MomentQuery &query) {
    return protocol::packed(page.moments, query.withAssets);
}
Ref<Data> packedPage(const DuplicatesPage &page, const DuplicatesQuery &) {
    return protocol::packed(page.groups);
}

/// A page of what an analysis has found.
template <class Query, class Page>
Result<Answer> pageOfAnalysis(Library &library, const Call &call,
                              Result<Page> (store::AnalysisReader::*read)(const Query &),
                              const protocol::Key<protocol::coding::ByteData> &key) {
    const auto query = queryOf<Query>(call);
    if (!query)
        return passOn(query);
    auto reader = store::AnalysisReader::open(library.paths());
    if (!reader)
        return passOn(reader);
    const auto page = ((*reader).*read)(*query);
    if (!page)
        return passOn(page);
    Answer answer;
    answer.set(key, packedPage(*page, *query).get()).set(keys::isComplete, page->isComplete);
    if constexpr (requires { page->storeUUID; })
        answer.set(keys::storeUUID, String::of(page->storeUUID));
    return withCursor(std::move(answer), page->next);
}

Result<Answer> momentsMatchingQuery(Library &library, const Call &call) {
    return pageOfAnalysis<MomentQuery, MomentPage>(library, call, &store::AnalysisReader::moments,
                                                   keys::moments);
}

Result<Answer> duplicatesMatchingQuery(Library &library, const Call &call) {
    return pageOfAnalysis<DuplicatesQuery, DuplicatesPage>(library, call, &store::AnalysisReader::duplicates,
                                                           keys::groups);
}

Result<Answer> allMomentLists(Library &library, const Call &) {
    auto reader = store::AnalysisReader::open(library.paths());
    if (!reader)
        return passOn(reader);
    const auto lists = reader->momentLists();
    if (!lists)
        return passOn(lists);
    Answer answer;
    answer.set(keys::lists, protocol::packed(*lists).get());
    return answer.set(keys::storeUUID, String::of(library.queries().storeUUID()));
}

Result<Answer> cloudFeed(Library &library, const Call &) {
    auto reader = store::AnalysisReader::open(library.paths());
    if (!reader)
        return passOn(reader);
    const auto entries = reader->cloudFeed();
    if (!entries)
        return passOn(entries);
    return Answer().set(keys::entries, protocol::packed(*entries).get());
}

Result<ChangesPage> changesAskedFor(Library &library, const Call &call) {
    const String *token = call.get(keys::token);
    return library.queries().changesSince(token != nullptr ? token->utf8() : std::string_view(),
                                          call.get(keys::limit));
}

Answer answerOf(const ChangesPage &page) {
    Answer answer;
    answer.set(keys::changes, protocol::packed(page.changes).get()).set(keys::token, String::of(page.token));
    return answer.set(keys::isLast, page.isLast).set(keys::isTooOld, page.isTooOld);
}

Result<Answer> changesSinceToken(Library &library, const Call &call) {
    return changesAskedFor(library, call).transform(answerOf);
}

Result<std::optional<Answer>> awaitChangesSinceToken(Library &library, const Call &call) {
    constexpr std::chrono::seconds longest{600};
    const std::chrono::seconds time(call.get(keys::seconds));
    if (time > longest || time.count() < 0)
        return fail(ProblemKind::invalid, "changes are awaited for 0 to 600 seconds");
    const std::size_t limit = call.get(keys::limit);
    if (limit == 0)
        return fail(ProblemKind::invalid, "the limit is 1 change at least");
    const auto first = changesAskedFor(library, call);
    if (!first)
        return passOn(first);
    // Without a token it waits with that of the first look, so that it learns of a gap.
    const auto look = [&library, limit, token = first->token]() -> Result<std::optional<Answer>> {
        const auto page = library.queries().changesSince(token, limit);
        if (!page)
            return passOn(page);
        return page->changes.empty() && !page->isTooOld ? std::nullopt : std::optional(answerOf(*page));
    };
    if (!first->changes.empty() || first->isTooOld)
        return answerOf(*first);
    return library.waitingCalls().answerOrKeep(call, time, look, answerOf(*first));
}

constexpr Operation operations[] = {
    reading(protocol::assetsMatchingQuery, assetsMatchingQuery, Runs::beside),
    reading(protocol::sectionsOfAssets, sectionsOfAssets, Runs::beside),
    reading(protocol::allAlbums, allAlbums, Runs::beside),
    reading(protocol::momentsMatchingQuery, momentsMatchingQuery, Runs::beside),
    reading(protocol::duplicatesMatchingQuery, duplicatesMatchingQuery, Runs::beside),
    reading(protocol::changesSinceToken, changesSinceToken, Runs::beside),
    reading(protocol::awaitChangesSinceToken, awaitChangesSinceToken, Runs::beside),
    reading(protocol::trashMatchingQuery, trashMatchingQuery, Runs::beside),
    reading(protocol::companionsOfPhotos, companionsOfPhotos, Runs::beside),
    reading(protocol::countOfAssets, countOfAssets, Runs::beside),
    reading(protocol::allMomentLists, allMomentLists, Runs::beside),
    reading(protocol::cloudFeed, cloudFeed, Runs::beside),
};

} // namespace

std::span<const Operation> queryOperations() {
    return operations;
}

} // namespace wickerlane::hoardd
