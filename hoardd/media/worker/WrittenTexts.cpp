#include "hoardd/media/worker/WrittenTexts.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <set>
#include <vector>

#include "wickerlane/model/AssetDetails.h"
#include "wickerlane/platform/message/value/MessageText.h"

namespace wickerlane::hoardd::media {

namespace {

/// A text of a file as UTF-8, up to its first NUL. What is not UTF-8 counts as Latin-1, which older programs
/// write.
std::string utf8Of(std::string text) {
    text.resize(std::min(text.find('\0'), text.size()));
    if (isUTF8(text))
        return text;
    std::string converted;
    for (const char each : text) {
        const auto code = static_cast<unsigned char>(each);
        if (code >= 0x80)
            converted += static_cast<char>(0xC0 | code >> 6);
        converted += static_cast<char>(code >= 0x80 ? 0x80 | (code & 0x3F) : code);
    }
    return converted;
}

/// The first language's is the one that stands for all, if there is one.
std::string xmpCaption(const Exiv2::XmpData &xmp) {
    const auto found = xmp.findKey(Exiv2::XmpKey("Xmp.dc.description"));
    if (found == xmp.end())
        return {};
    if (const auto *languages = dynamic_cast<const Exiv2::LangAltValue *>(&found->value()))
        return languages->value_.empty() ? std::string() : languages->value_.begin()->second;
    return found->toString();
}

std::string iptcCaption(const Exiv2::IptcData &iptc) {
    const auto found = iptc.findKey(Exiv2::IptcKey("Iptc.Application2.Caption"));
    return found != iptc.end() ? found->toString() : std::string();
}

std::set<std::string> wordsIn(std::string_view text) {
    std::set<std::string> words;
    std::string word;
    for (const char each : std::string(text) + ' ') {
        if (std::isalnum(static_cast<unsigned char>(each)) != 0) {
            word += static_cast<char>(std::tolower(static_cast<unsigned char>(each)));
        } else if (!word.empty()) {
            words.insert(word);
            word.clear();
        }
    }
    return words;
}

/// Whether a description says no more than what the camera is, or is one that cameras write by default.
bool isOfCamera(std::string_view description, std::string_view maker, std::string_view model) {
    if (description.starts_with("DCIM/") || description.starts_with("DCIM\\"))
        return true;
    std::set<std::string> known = wordsIn(maker);
    known.merge(wordsIn(model));
    known.insert({"digital", "still", "camera", "dsc", "exif", "jpeg", "picture", "default"});
    return std::ranges::includes(known, wordsIn(description));
}

std::string exifCaption(const Exiv2::ExifData &exif, std::string_view maker, std::string_view model) {
    const auto found = exif.findKey(Exiv2::ExifKey("Exif.Image.ImageDescription"));
    if (found == exif.end())
        return {};
    std::string description = captionOf(utf8Of(found->toString()));
    const bool isASCII = std::ranges::all_of(description, [](char each) { return each > 0; });
    return isASCII && isOfCamera(description, maker, model) ? std::string() : description;
}

/// Stops when there are enough.
class KeywordList {
public:
    [[nodiscard]] bool isFull() const { return keywords.size() >= maxKeywords; }
    void add(std::string text) {
        std::string keyword = keywordOf(utf8Of(std::move(text)));
        if (!keyword.empty() && !isFull() && std::ranges::find(keywords, keyword) == keywords.end())
            keywords.push_back(std::move(keyword));
    }
    [[nodiscard]] std::string lines() const { return keywordLines(keywords); }

private:
    std::vector<std::string> keywords;
};

bool isArray(Exiv2::TypeId type) {
    return type == Exiv2::xmpBag || type == Exiv2::xmpSeq || type == Exiv2::xmpAlt;
}

} // namespace

std::uint32_t writtenRating(const MetadataBlocks &blocks) {
    const auto xmp = blocks.xmp.findKey(Exiv2::XmpKey("Xmp.xmp.Rating"));
    std::int64_t rating = 0;
    if (xmp != blocks.xmp.end()) {
        const std::string text = xmp->toString();
        std::from_chars(text.data(), text.data() + text.size(), rating);
    } else {
        rating = exifNumber(blocks.exif, "Image", "Rating").value_or(0);
    }
    return rating >= 0 && rating <= maxRating ? static_cast<std::uint32_t>(rating) : 0;
}

std::string writtenCaption(const MetadataBlocks &blocks, std::string_view maker, std::string_view model) {
    std::string caption = captionOf(utf8Of(xmpCaption(blocks.xmp)));
    if (caption.empty())
        caption = captionOf(utf8Of(iptcCaption(blocks.iptc)));
    return caption.empty() ? exifCaption(blocks.exif, maker, model) : caption;
}

std::string writtenKeywords(const MetadataBlocks &blocks) {
    KeywordList list;
    const auto subject = blocks.xmp.findKey(Exiv2::XmpKey("Xmp.dc.subject"));
    if (subject != blocks.xmp.end() && isArray(subject->typeId()))
        for (long i = 0; i < static_cast<long>(subject->count()) && !list.isFull(); ++i)
            list.add(subject->toString(i));
    else if (subject != blocks.xmp.end())
        list.add(subject->toString());
    for (const Exiv2::Iptcdatum &each : blocks.iptc) {
        if (list.isFull())
            break;
        if (each.record() == Exiv2::IptcDataSets::application2 && each.tag() == Exiv2::IptcDataSets::Keywords)
            list.add(each.toString());
    }
    return list.lines();
}

std::optional<std::uint32_t> exifNumber(const Exiv2::ExifData &exif, const std::string &group,
                                        const char *tag) {
    const auto found = exif.findKey(Exiv2::ExifKey("Exif." + group + '.' + tag));
    const bool isNumber = found != exif.end() && found->count() == 1 &&
                          (found->typeId() == Exiv2::unsignedShort || found->typeId() == Exiv2::unsignedLong);
    return isNumber ? std::optional(static_cast<std::uint32_t>(found->toLong())) : std::nullopt;
}

} // namespace wickerlane::hoardd::media
