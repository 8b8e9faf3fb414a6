#include "wickerlane/util/texts/JXItemKinds.h"

#include <optional>

#include "wickerlane/util/texts/PhotoTypeInternal.h"

using namespace wickerlane;

namespace {

WL_IMMORTAL Immortal<ConstantString> photoSuffix{"PHOTO"};
WL_IMMORTAL Immortal<ConstantString> videoSuffix{"VIDEO"};
WL_IMMORTAL Immortal<ConstantString> itemSuffix{"ITEM"};

} // namespace

std::uint16_t wickerlane::photoTypeForItems(JXItemCollection items) {
    std::optional<std::uint16_t> first;
    bool isMixed = false;
    items.forEachKind([&](std::uint16_t kind) {
        if (!first)
            first = kind;
        isMixed = kind != *first;
        return !isMixed;
    });
    return isMixed ? std::uint16_t{JXAssetKindFourth} : first.value_or(JXAssetKindFourth);
}

String *JXSuffixForItems(JXItemCollection items) {
    switch (photoTypeForItems(items)) {
    case JXAssetKindPhoto:
        return photoSuffix.get();
    case JXAssetKindVideo:
        return videoSuffix.get();
    case JXAssetKindThird:
    case JXAssetKindFourth:
        return itemSuffix.get();
    default:
        return nullptr;
    }
}

void JXAssetCountsByType(JXItemCollection items, std::uint64_t *photos, std::uint64_t *videos,
                         std::uint64_t *kind2, std::uint64_t *kind3) {
    std::uint64_t *const counters[] = {photos, videos, kind2, kind3};
    for (std::uint64_t *counter : counters)
        *counter = 0;
    items.forEachKind([&](std::uint16_t kind) {
        if (kind <= JXAssetKindFourth)
            ++*counters[kind];
        return true;
    });
}
