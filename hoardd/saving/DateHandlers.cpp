#include <cstdlib>
#include <vector>

#include "hoardd/library/Lookup.h"
#include "hoardd/service/Call.h"
#include "hoardd/service/OperationFamilies.h"
#include "wickerlane/protocol/AssetRows.h"
#include "wickerlane/protocol/Entitlements.h"

namespace wickerlane::hoardd {

namespace keys = protocol::keys;

using sqlite::Database;

namespace {

Result<std::vector<std::int64_t>> keysOfPhotos(Library &library, const Array *uuids) {
    constexpr std::size_t maxPhotos = 1'000;
    if (uuids == nullptr || uuids->count() < 1 || uuids->count() > maxPhotos)
        return fail(ProblemKind::invalid, "photoUUIDs must name 1 to 1000 assets");
    std::vector<std::int64_t> assets;
    for (const Object *each : *uuids) {
        const auto *uuid = as<String>(each);
        const auto asset = assetWithUUID(library, uuid != nullptr ? uuid->utf8() : std::string_view());
        if (!asset)
            return passOn(asset);
        assets.push_back((*asset)->record().primaryKey);
    }
    return assets;
}

Result<Answer> adjustDates(Library &library, const Call &call) {
    constexpr std::int64_t maxSeconds = 3'155'760'000; // a hundred years
    const std::int64_t seconds = call.get(keys::seconds);
    if (seconds > maxSeconds || seconds < -maxSeconds)
        return fail(ProblemKind::invalid, "seconds must be less than a hundred years");
    const auto assets = keysOfPhotos(library, as<Array>(call.get(keys::photoUUIDs)));
    if (!assets)
        return passOn(assets);
    return whenDone(library.writer().change([&](Database &database) -> Result<> {
        auto move = database.prepare("UPDATE zgenericasset SET datecreated = datecreated + ?1, "
                                     "clockdate = clockdate + ?1 WHERE pk = ?2");
        for (const std::int64_t asset : *assets)
            if (const auto moved = move.bind(seconds, asset).run(); !moved)
                return moved;
        return {};
    }));
}

constexpr Operation operations[] = {
    {.row = &protocol::adjustDates,
     .handler = adjustDates,
     .runs = Runs::asJob,
     .entitlement = &JXWriteAssetsEntitlement},
};

} // namespace

std::span<const Operation> dateOperations() {
    return operations;
}

} // namespace wickerlane::hoardd
