#include "wickerlane/api/WLAsset.h"

#include "wickerlane/api/FactsInternal.h"

using namespace wickerlane;

static_assert(WLAssetKindPhoto == static_cast<int>(AssetKind::photo));
static_assert(WLAssetKindVideo == static_cast<int>(AssetKind::video));

WLAsset *WLAsAsset(WLObject *object) {
    return as<ManagedAsset>(object);
}

const char *WLAssetUUID(const WLAsset *asset) {
    return factOf(asset, &AssetRecord::uuid);
}

WLURL *WLAssetURL(const WLAsset *asset) {
    return asset != nullptr ? asset->assetURL() : nullptr;
}

WLURL *WLAssetObjectID(const WLAsset *asset) {
    return asset != nullptr ? asset->objectID()->uriRepresentation() : nullptr;
}

WLURL *WLAssetFileURL(const WLAsset *asset) {
    return asset != nullptr ? asset->fileURL() : nullptr;
}

WLString *WLAssetFilePath(const WLAsset *asset) {
    return asset != nullptr && asset->fileURL() != nullptr ? asset->fileURL()->path() : nullptr;
}

const char *WLAssetFilename(const WLAsset *asset) {
    return factOf(asset, &AssetRecord::filename);
}

int WLAssetKind(const WLAsset *asset) {
    return static_cast<int>(factOf(asset, &AssetRecord::kind));
}

const char *WLAssetOriginalFilename(const WLAsset *asset) {
    return factOf(asset, &AssetRecord::originalFilename);
}

const char *WLAssetFormat(const WLAsset *asset) {
    return factOf(asset, &AssetRecord::format);
}

uint32_t WLAssetWidth(const WLAsset *asset) {
    return factOf(asset, &AssetRecord::width);
}

uint32_t WLAssetHeight(const WLAsset *asset) {
    return factOf(asset, &AssetRecord::height);
}

uint32_t WLAssetOrientation(const WLAsset *asset) {
    return factOf(asset, &AssetRecord::orientation);
}

uint64_t WLAssetByteSize(const WLAsset *asset) {
    return factOf(asset, &AssetRecord::byteSize);
}

const uint8_t *WLAssetSHA256(const WLAsset *asset) {
    return asset != nullptr ? reinterpret_cast<const uint8_t *>(asset->record().sha256.data()) : nullptr;
}

double WLAssetDuration(const WLAsset *asset) {
    return factOf(asset, &AssetRecord::duration);
}

const char *WLAssetProblem(const WLAsset *asset) {
    return factOf(asset, &AssetRecord::problem);
}

int64_t WLAssetThumbnailIndex(const WLAsset *asset) {
    return factOf(asset, &AssetRecord::thumbnailIndex);
}

double WLAssetDate(const WLAsset *asset) {
    return asset != nullptr ? asset->record().shownDate() : 0;
}

double WLAssetDateCreated(const WLAsset *asset) {
    return factOf(asset, &AssetRecord::dateCreated);
}

double WLAssetDateAdded(const WLAsset *asset) {
    return factOf(asset, &AssetRecord::dateAdded);
}

bool WLAssetGetClockDate(const WLAsset *asset, double *date) {
    return store(factOf(asset, &AssetRecord::clockDate), date);
}

bool WLAssetGetZoneMinutes(const WLAsset *asset, int64_t *minutes) {
    return store(factOf(asset, &AssetRecord::zoneMinutes), minutes);
}

bool WLAssetGetLocation(const WLAsset *asset, double *latitude, double *longitude) {
    const bool isKnown = store(factOf(asset, &AssetRecord::latitude), latitude);
    return store(factOf(asset, &AssetRecord::longitude), longitude) && isKnown;
}

const char *WLAssetCamera(const WLAsset *asset) {
    return factOf(asset, &AssetRecord::camera);
}

const char *WLAssetLens(const WLAsset *asset) {
    return factOf(asset, &AssetRecord::lens);
}

bool WLAssetGetExposureSeconds(const WLAsset *asset, double *seconds) {
    return store(factOf(asset, &AssetRecord::exposureSeconds), seconds);
}

bool WLAssetGetAperture(const WLAsset *asset, double *number) {
    return store(factOf(asset, &AssetRecord::aperture), number);
}

bool WLAssetGetISOSpeed(const WLAsset *asset, int64_t *speed) {
    return store(factOf(asset, &AssetRecord::isoSpeed), speed);
}

bool WLAssetGetFocalLength(const WLAsset *asset, double *millimetres) {
    return store(factOf(asset, &AssetRecord::focalLength), millimetres);
}

bool WLAssetIsFavourite(const WLAsset *asset) {
    return factOf(asset, &AssetRecord::favourite);
}

bool WLAssetIsHidden(const WLAsset *asset) {
    return factOf(asset, &AssetRecord::hidden);
}

int64_t WLAssetRating(const WLAsset *asset) {
    return factOf(asset, &AssetRecord::rating);
}

const char *WLAssetCaption(const WLAsset *asset) {
    return factOf(asset, &AssetRecord::caption);
}

const char *WLAssetKeywords(const WLAsset *asset) {
    return factOf(asset, &AssetRecord::keywords);
}

uint64_t WLAssetExternalUsageIntent(const WLAsset *asset) {
    return factOf(asset, &AssetRecord::externalUsageIntent);
}
