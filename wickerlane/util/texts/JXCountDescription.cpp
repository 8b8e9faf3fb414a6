#include "wickerlane/util/texts/JXCountDescription.h"

#include "wickerlane/platform/locale/Locale.h"
#include "wickerlane/platform/object/NeverDestroyed.h"
#include "wickerlane/util/texts/FormattedTextInternal.h"
#include "wickerlane/util/texts/JXLocalization.h"

using namespace wickerlane;

namespace {

struct KeysOfKind {
    Immortal<ConstantString> one;
    Immortal<ConstantString> many;
};

WL_IMMORTAL KeysOfKind imageKeys{Immortal<ConstantString>("1_ALBUM_IMAGE"),
                                 Immortal<ConstantString>("ALBUM_IMAGE_COUNT_FORMAT")};
WL_IMMORTAL KeysOfKind videoKeys{Immortal<ConstantString>("1_ALBUM_VIDEO"),
                                 Immortal<ConstantString>("ALBUM_VIDEO_COUNT_FORMAT")};
WL_IMMORTAL KeysOfKind otherKeys{Immortal<ConstantString>("1_ALBUM_OTHER"),
                                 Immortal<ConstantString>("ALBUM_OTHER_COUNT_FORMAT")};

WL_IMMORTAL Immortal<ConstantString> nothing{"ALBUM_ZERO_TYPES_LABEL"};
WL_IMMORTAL Immortal<ConstantString> twoCommas{"ALBUM_TWO_TYPES_LABEL_COMMAS"};
WL_IMMORTAL Immortal<ConstantString> twoConjunction{"ALBUM_TWO_TYPES_LABEL_CONJUNCTION"};
WL_IMMORTAL Immortal<ConstantString> threeCommas{"ALBUM_THREE_TYPES_LABEL_COMMAS"};
WL_IMMORTAL Immortal<ConstantString> threeConjunction{"ALBUM_THREE_TYPES_LABEL_CONJUNCTION"};

String *part(const KeysOfKind &keys, std::uint64_t count) {
    if (count == 1)
        return JXLocalizedFrameworkString(keys.one.get());
    return formattedText(JXLocalizedFrameworkString(keys.many.get()),
                         JXSharedCountFormatter()->stringFromInteger(count));
}

String *phrase(std::uint64_t photos, std::uint64_t videos, std::uint64_t others, bool conjunction) {
    String *parts[3];
    int count = 0;
    if (photos != 0)
        parts[count++] = part(imageKeys, photos);
    if (videos != 0)
        parts[count++] = part(videoKeys, videos);
    if (others != 0)
        parts[count++] = part(otherKeys, others);
    switch (count) {
    case 0:
        return JXLocalizedFrameworkString(nothing.get());
    case 1:
        return parts[0];
    case 2:
        return formattedText(JXLocalizedFrameworkString((conjunction ? twoConjunction : twoCommas).get()),
                             parts[0], parts[1]);
    default:
        return formattedText(JXLocalizedFrameworkString((conjunction ? threeConjunction : threeCommas).get()),
                             parts[0], parts[1], parts[2]);
    }
}

} // namespace

NumberFormatter *JXSharedCountFormatter() {
    static NeverDestroyed<Ref<NumberFormatter>> shared(
        NumberFormatter::create(currentLocale(), NumberStyle::decimal, true));
    return shared->get();
}

String *JXLocalizedCountDescription(std::uint64_t photoCount, std::uint64_t videoCount,
                                    std::uint64_t otherCount, bool keepCase, bool conjunction) {
    ReleaseScope scope;
    String *whole = phrase(photoCount, videoCount, otherCount, conjunction);
    return scope.handOver(keepCase ? whole : whole->lowercase());
}
