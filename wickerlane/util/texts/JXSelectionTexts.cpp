#include "wickerlane/util/texts/JXSelectionTexts.h"

#include "wickerlane/platform/object/Number.h"
#include "wickerlane/util/texts/FormattedTextInternal.h"
#include "wickerlane/util/texts/JXCountDescription.h"
#include "wickerlane/util/texts/JXItemKinds.h"
#include "wickerlane/util/texts/JXLocalization.h"
#include "wickerlane/util/texts/PhotoTypeInternal.h"

using namespace wickerlane;

namespace {

WL_IMMORTAL Immortal<ConstantString> selectPhotos{"SELECT_PHOTOS"};
WL_IMMORTAL Immortal<ConstantString> selectVideos{"SELECT_VIDEOS"};
WL_IMMORTAL Immortal<ConstantString> selectItems{"SELECT_ITEMS"};
WL_IMMORTAL Immortal<ConstantString> selectedAction{"SELECTED"};
WL_IMMORTAL Immortal<ConstantString> nothingPicked{"ADD_ITEMS_PICKER_PROMPT_0"};

} // namespace

String *JXLocalizedSelectionPromptForItemCounts(std::uint64_t photoCount, std::uint64_t videoCount,
                                                std::uint64_t totalCount) {
    if (photoCount != 0 && videoCount == 0 && totalCount == photoCount)
        return JXLocalizedFrameworkString(selectPhotos.get());
    if (photoCount == 0 && videoCount != 0 && totalCount == videoCount)
        return JXLocalizedFrameworkString(selectVideos.get());
    return JXLocalizedFrameworkString(selectItems.get());
}

String *JXLocalizedSelectionPromptForItems(JXItemCollection items) {
    switch (photoTypeForItems(items)) {
    case JXAssetKindPhoto:
        return JXLocalizedFrameworkString(selectPhotos.get());
    case JXAssetKindVideo:
        return JXLocalizedFrameworkString(selectVideos.get());
    default:
        return JXLocalizedFrameworkString(selectItems.get());
    }
}

String *JXLocalizedStringForAction(String *action, JXItemCollection items, JXSuffixFunction suffixFunction) {
    ReleaseScope scope;
    String *suffix = suffixFunction(items);
    const std::uint64_t count = items.count();
    if (count == 0)
        return nullptr;
    String *key = action;
    if (suffix != nullptr)
        key = String::format(count == 1 ? "%@_%@" : "%@_%@S", action, suffix);
    return scope.handOver(JXLocalizedFrameworkString(key));
}

String *JXLocalizedSelectionMessageForItems(JXItemCollection items) {
    ReleaseScope scope;
    String *text = JXLocalizedStringForAction(selectedAction.get(), items, &JXSuffixForItems);
    if (text == nullptr)
        return nullptr;
    return scope.handOver(formattedText(text, static_cast<unsigned long>(items.count())));
}

String *JXLocalizedAddPhotosPickerPromptForItems(JXItemCollection pickedItems, String *albumName) {
    ReleaseScope scope;
    const std::uint64_t count = pickedItems.count();
    if (count == 0)
        return scope.handOver(formattedText(JXLocalizedFrameworkString(nothingPicked.get()), albumName));
    String *key = String::format(count == 1 ? "ADD_ITEMS_PICKER_PROMPT_1_%@" : "ADD_ITEMS_PICKER_PROMPT_n_%@",
                                 JXSuffixForItems(pickedItems));
    return scope.handOver(formattedText(JXLocalizedFrameworkString(key), Number::of(count), albumName));
}

String *JXLocalizedHideItemsEverywhereWarning(JXItemCollection items, std::uint64_t albumCount) {
    ReleaseScope scope;
    const std::uint64_t count = items.count();
    if (count == 0)
        return nullptr;
    String *key =
        String::format(count == 1 ? "HIDE_EVERYWHERE_CONF_TITLE_%@_%s" : "HIDE_EVERYWHERE_CONF_TITLE_%@S_%s",
                       JXSuffixForItems(items), albumCount == 1 ? "1_ALBUM" : "N_ALBUMS");
    String *text = JXLocalizedFrameworkString(key);
    // 0 albums use the key of several, but the number is not filled in.
    if (albumCount >= 2)
        text = formattedText(text, JXSharedCountFormatter()->stringFromInteger(albumCount));
    return scope.handOver(text);
}
