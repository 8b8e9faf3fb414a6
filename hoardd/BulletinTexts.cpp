#include "hoardd/BulletinTexts.h"

#include <span>
#include <string>

#include "wickerlane/util/JXLocalization.h"

namespace hoardd {

using namespace wickerlane;

namespace {

std::string localized(const char *key) {
    return std::string(JXServicesLocalizedFrameworkStringForHoardd(String::of(key))->utf8());
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

} // namespace

String *assetsAddedText(const AddedAssets &added, std::string_view sender, std::string_view album) {
    const std::size_t count = added.photos + added.videos;
    const std::string unknown = sender.empty() ? localized("BULLETIN_UNKNOWN_NAME") : std::string();
    const std::string_view who = sender.empty() ? std::string_view(unknown) : sender;
    if (count == 1) {
        const std::string_view values[] = {who, album};
        return String::of(
            filled(localized(added.photos == 1 ? "BULLETIN_ADDED_PHOTO" : "BULLETIN_ADDED_VIDEO"), values));
    }
    const char *key = added.videos == 0   ? "BULLETIN_ADDED_PHOTOS"
                      : added.photos == 0 ? "BULLETIN_ADDED_VIDEOS"
                                          : "BULLETIN_ADDED_ITEMS";
    const std::string number = std::to_string(count);
    const std::string_view values[] = {who, number, album};
    return String::of(filled(localized(key), values));
}

} // namespace hoardd
