#include "wickerlane/api/WLCompanion.h"

#include "wickerlane/api/CallInternal.h"
#include "wickerlane/api/FactsInternal.h"

using namespace wickerlane;

WLCompanions *WLCompanionsCreate(const WLArray *assets, WLError **error) {
    const auto uuids = MutableArray::create();
    if (assets != nullptr && assets->holdsObjects())
        for (Object *each : *assets)
            if (const auto *asset = as<ManagedAsset>(each))
                uuids->append(String::create(asset->record().uuid).get());
    auto companions = sharedClient()->companionsOfPhotos(uuids.get());
    return withLastError(companions ? makeRef<CompanionsObject>(*std::move(companions)).leak() : nullptr,
                         error);
}

size_t WLCompanionsCount(const WLCompanions *companions) {
    return countOf(companions);
}

const char *WLCompanionsAssetUUID(const WLCompanions *companions, size_t index) {
    return factAt(companions, index, &CompanionRecord::assetUUID);
}

const char *WLCompanionsPath(const WLCompanions *companions, size_t index) {
    return factAt(companions, index, &CompanionRecord::path);
}

const char *WLCompanionsOriginalFilename(const WLCompanions *companions, size_t index) {
    return factAt(companions, index, &CompanionRecord::originalFilename);
}

const char *WLCompanionsFormat(const WLCompanions *companions, size_t index) {
    return factAt(companions, index, &CompanionRecord::format);
}

uint64_t WLCompanionsByteSize(const WLCompanions *companions, size_t index) {
    return factAt(companions, index, &CompanionRecord::byteSize);
}
