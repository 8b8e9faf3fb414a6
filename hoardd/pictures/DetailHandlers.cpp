#include <vector>

#include "hoardd/library/Lookup.h"
#include "hoardd/pictures/DetailChange.h"
#include "hoardd/pictures/LateFacts.h"
#include "hoardd/service/Call.h"
#include "hoardd/service/OperationFamilies.h"
#include "wickerlane/model/AssetRecord.h"
#include "wickerlane/protocol/AssetRows.h"
#include "wickerlane/protocol/Entitlements.h"

namespace wickerlane::hoardd {

namespace keys = protocol::keys;

using sqlite::Database;

namespace {

/// What there is of an asset before the change.
struct Present {
    std::int64_t key;
    std::int64_t due;
    std::string keywords;
};

Result<Present> presentIn(sqlite::Statement &selection, std::string_view uuid) {
    auto found = selection.bind(uuid).first([](const sqlite::Statement &row) {
        return Present{row.integer(0), row.integer(1), std::string(row.text(2))};
    });
    if (!found)
        return passOn(found);
    if (!*found)
        return fail(ProblemKind::notFound, "there is no such asset");
    return **std::move(found);
}

constexpr const char *selectPresent = "SELECT pk, duedetails, keywords FROM zgenericasset WHERE uuid = ?";

/// Reads the keywords that are still to be read from files, so that words can be added and removed.
Result<> readDueKeywords(Library &library, const std::vector<std::string_view> &uuids) {
    const auto due = library.read([&](Database &database) -> Result<std::vector<std::int64_t>> {
        std::vector<std::int64_t> found;
        auto selection = database.prepare(selectPresent);
        for (const std::string_view uuid : uuids) {
            const auto present = presentIn(selection, uuid);
            if (!present)
                return passOn(present);
            if ((present->due & dueKeywords) != 0)
                found.push_back(present->key);
        }
        return found;
    });
    return due ? readLateFactsOf(library, *due) : passOn(due);
}

Result<> store(Database &database, const DetailChange &change, const std::vector<std::string_view> &uuids) {
    auto selection = database.prepare(selectPresent);
    auto update =
        database.prepare("UPDATE zgenericasset SET favourite = coalesce(?, favourite), "
                         "hidden = coalesce(?, hidden), rating = coalesce(?, rating), "
                         "caption = coalesce(?, caption), keywords = ?, duedetails = ? WHERE pk = ?");
    for (const std::string_view uuid : uuids) {
        const auto present = presentIn(selection, uuid);
        if (!present)
            return passOn(present);
        const auto keywords =
            change.changesKeywords() ? change.keywordsAfter(present->keywords) : present->keywords;
        if (!keywords)
            return passOn(keywords);
        const auto done = update
                              .bind(change.favourite, change.hidden, change.rating, change.caption, *keywords,
                                    present->due & ~change.settled(), present->key)
                              .run();
        if (!done)
            return done;
    }
    return {};
}

Result<Answer> setDetails(Library &library, const Call &call) {
    const auto change = DetailChange::read(as<Dictionary>(call.get(keys::properties)));
    if (!change)
        return passOn(change);
    const auto *photos = as<Array>(call.get(keys::photoUUIDs));
    const auto uuids = uuidsIn(photos);
    if (!uuids)
        return passOn(uuids);
    if (change->needsKeywords())
        if (const auto read = readDueKeywords(library, *uuids); !read)
            return passOn(read);
    return whenDone(
        library.writer().change([&](Database &database) { return store(database, *change, *uuids); }));
}

constexpr Operation operations[] = {
    {.row = &protocol::setDetails,
     .handler = setDetails,
     .runs = Runs::asJob,
     .entitlement = &JXWriteAssetsEntitlement},
};

} // namespace

std::span<const Operation> detailOperations() {
    return operations;
}

} // namespace wickerlane::hoardd
