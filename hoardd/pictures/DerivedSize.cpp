#include "hoardd/pictures/DerivedSize.h"

#include "hoardd/library/Commits.h"
#include "hoardd/pictures/PictureStore.h"
#include "wickerlane/log/JXLog.h"
#include "wickerlane/store/KeptSums.h"

namespace wickerlane::hoardd {

using sqlite::Database;
using store::AssetsIn;
using store::UnmeasuredAsset;

namespace {

const char *tableOf(AssetsIn place) {
    return place == AssetsIn::library ? "zgenericasset" : "ztrashedasset";
}

/// A transaction that changes files begins before it does and ends after it has: no other comes between.
Result<std::size_t> measure(const Library &library, Database &database, AssetsIn place, std::int64_t &last) {
    const auto assets = unmeasuredAssets(database, place, last, maxRowsPerCommit);
    if (!assets)
        return passOn(assets);
    std::size_t count = 0;
    for (const UnmeasuredAsset &each : *assets) {
        last = each.primaryKey;
        if (each.mayChange)
            continue;
        const auto stored =
            storeDerivedBytes(database, tableOf(place), each.primaryKey,
                              bytesOfDerivedFiles(library.paths(), each.uuid, each.rendition));
        if (!stored)
            return passOn(stored);
        ++count;
    }
    return count;
}

} // namespace

Result<> beginDerivedChange(Library &library, std::int64_t asset) {
    return library.writer().change([=](Database &database) { return storeDerivedChange(database, asset); });
}

Result<> storeDerivedSize(const Library &library, Database &database, const AssetRecord &asset) {
    const auto rendition = database.prepare("SELECT filename FROM zrendition WHERE assetuuid = ?")
                               .bind(asset.uuid)
                               .first([](const sqlite::Statement &row) { return std::string(row.text(0)); });
    if (!rendition)
        return passOn(rendition);
    return storeDerivedBytes(database, tableOf(AssetsIn::library), asset.primaryKey,
                             bytesOfDerivedFiles(library.paths(), asset.uuid, rendition->value_or("")));
}

Result<> endDerivedChange(Library &library, const AssetRecord &asset) {
    return library.writer().change(
        [&](Database &database) { return storeDerivedSize(library, database, asset); });
}

Result<> storeUnknownDerivedSize(const Library &library, Database &database, const AssetRecord &asset) {
    const auto isUnknown =
        database.prepare("SELECT 1 FROM zgenericasset WHERE pk = ? AND derivedbytes IS NULL")
            .bind(asset.primaryKey)
            .any();
    if (!isUnknown)
        return passOn(isUnknown);
    return *isUnknown ? storeDerivedSize(library, database, asset) : Result<>();
}

Result<> measureAgain(Library &library, const std::string &uuid) {
    const MutexLock lock(library.locks().of(uuid));
    return library.writer().change([&](Database &database) -> Result<> {
        for (const AssetsIn place : {AssetsIn::library, AssetsIn::trash}) {
            const std::string renditions = place == AssetsIn::library ? "zrendition" : "ztrashedrendition";
            const auto asset =
                database
                    .prepare("SELECT pk, (SELECT filename FROM " + renditions +
                             " WHERE assetuuid = uuid) FROM " + tableOf(place) + " WHERE uuid = ?")
                    .bind(uuid)
                    .first([](const sqlite::Statement &row) {
                        return std::pair(row.integer(0), std::string(row.text(1)));
                    });
            if (!asset)
                return passOn(asset);
            if (!*asset)
                continue;
            const auto &[key, rendition] = **asset;
            const auto stored = storeDerivedBytes(database, tableOf(place), key,
                                                  bytesOfDerivedFiles(library.paths(), uuid, rendition));
            if (!stored)
                return stored;
        }
        return {};
    });
}

Result<> forgetUnfinishedChanges(Library &library) {
    return library.writer().change([](Database &database) {
        // By the index, which has no others; the first condition is that of the index.
        return database.execute(
            "UPDATE zgenericasset INDEXED BY zgenericasset_unmeasured SET derivedbytes = NULL "
            "WHERE coalesce(derivedbytes, -1) < 0 AND derivedbytes < 0;"
            "UPDATE ztrashedasset INDEXED BY ztrashedasset_unmeasured SET derivedbytes = NULL "
            "WHERE coalesce(derivedbytes, -1) < 0 AND derivedbytes < 0;");
    });
}

void measureLeftUnknown(Library &library) {
    std::size_t count = 0;
    for (const AssetsIn place : {AssetsIn::library, AssetsIn::trash})
        for (std::int64_t last = 0; !library.isEnding();) {
            const std::int64_t before = last;
            const auto measured = library.writer().change(
                [&](Database &database) { return measure(library, database, place, last); });
            if (!measured) {
                JX_LOG(JXLogLevelError, JXThumbnailsLog, "can't store the sizes of derived files: %s",
                       measured.error().text.c_str());
                return;
            }
            count += *measured;
            if (last <= before) // none is left; a damaged store may give keys in no order
                break;
        }
    if (count > 0)
        JX_LOG(JXLogLevelNotice, JXThumbnailsLog, "measured the thumbnails and renditions of %zu assets",
               count);
}

} // namespace wickerlane::hoardd
