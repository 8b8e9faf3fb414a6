#include "wickerlane/api/WLAssetDetails.h"

#include "wickerlane/api/CallInternal.h"
#include "wickerlane/protocol/DetailKeys.h"

using namespace wickerlane;
namespace keys = wickerlane::protocol::detail;

namespace {

void set(MutableDictionary *details, std::string_view key, Object *value) {
    if (details != nullptr && value != nullptr)
        details->set(key, value);
}

} // namespace

WLAssetDetails *WLAssetDetailsCreate() {
    return MutableDictionary::create().leak();
}

void WLAssetDetailsSetFavourite(WLAssetDetails *details, bool isFavourite) {
    set(details, keys::favourite, Number::create(isFavourite).get());
}

void WLAssetDetailsSetHidden(WLAssetDetails *details, bool isHidden) {
    set(details, keys::hidden, Number::create(isHidden).get());
}

void WLAssetDetailsSetRating(WLAssetDetails *details, int64_t rating) {
    set(details, keys::rating, Number::create(rating).get());
}

bool WLAssetDetailsSetCaption(WLAssetDetails *details, const char *caption) {
    const auto text = String::create(caption);
    set(details, keys::caption, text.get());
    return text != nullptr;
}

void WLAssetDetailsSetKeywords(WLAssetDetails *details, WLArray *keywords) {
    set(details, keys::keywords, keywords);
}

void WLAssetDetailsAddKeywords(WLAssetDetails *details, WLArray *keywords) {
    set(details, keys::addKeywords, keywords);
}

void WLAssetDetailsRemoveKeywords(WLAssetDetails *details, WLArray *keywords) {
    set(details, keys::removeKeywords, keywords);
}

bool WLAssetDetailsApply(WLAssetDetails *details, WLArray *assets, WLError **error) {
    return waitFor(&JXGatekeeperClient::setDetails, error, details, assets);
}
