#include "hoardd/albums/BulletinTexts.h"

#include <span>
#include <string>

#include "wickerlane/platform/locale/NumberFormatter.h"
#include "wickerlane/util/texts/JXLocalization.h"

namespace wickerlane::hoardd {

namespace {

std::string localized(const BulletinText &text) {
    return std::string(JXServicesLocalizedFrameworkStringForHoardd(String::of(text.key))->utf8());
}

/// A text with its places "%1$@", "%2$@" ... filled. Whatever else a translation holds stays as it is.
std::string filled(const std::string &text, std::span<const std::string_view> values) {
    std::string result;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const std::string_view rest = std::string_view(text).substr(at);
        const bool isPlace = rest.size() >= 4 && rest[0] == '%' && rest[2] == '$' && rest[3] == '@';
        const auto index = isPlace ? static_cast<std::size_t>(rest[1] - '1') : values.size();
        if (index < values.size()) {
            result += values[index];
            at += 3;
        } else {
            result += text[at];
        }
    }
    return result;
}

/// In the way of writing of the texts.
std::string numberText(std::size_t number) {
    const auto formatter = NumberFormatter::create(localized(language), NumberStyle::decimal);
    return std::string(formatter->stringFromInteger(number)->utf8());
}

} // namespace

String *assetsAddedText(const AddedAssets &added, std::string_view sender, std::string_view album) {
    const std::string_view name[] = {sender};
    const std::string who = sender.empty() ? localized(unknownName) : filled(localized(knownName), name);
    const std::size_t count = added.photos + added.videos;
    if (count == 1) {
        const std::string_view values[] = {who, album};
        return String::of(filled(localized(added.photos == 1 ? addedPhoto : addedVideo), values));
    }
    const BulletinText &text = added.videos == 0 ? addedPhotos : added.photos == 0 ? addedVideos : addedItems;
    const std::string number = numberText(count);
    const std::string_view values[] = {who, number, album};
    return String::of(filled(localized(text), values));
}

String *originalsLostText(std::size_t count) {
    const std::string number = numberText(count);
    const std::string_view values[] = {number};
    return String::of(count == 1 ? localized(lostOriginal) : filled(localized(lostOriginals), values));
}

String *libraryTitle() {
    return String::of(localized(libraryName));
}

} // namespace wickerlane::hoardd
