#include "wickerlane/model/RecordFaults.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "wickerlane/model/AssetDetails.h"
#include "wickerlane/platform/message/value/MessageText.h"

namespace wickerlane {

namespace {

bool isExtension(std::string_view text) {
    return std::ranges::all_of(text, [](char each) {
        return (each >= '0' && each <= '9') || (each >= 'A' && each <= 'Z') || (each >= 'a' && each <= 'z');
    });
}

/// Whether a path stays below the folder from which it starts.
bool staysBelow(std::string_view path) {
    if (path.empty() || path.starts_with('/'))
        return false;
    for (std::size_t begin = 0; begin <= path.size();) {
        const std::size_t end = std::min(path.find('/', begin), path.size());
        if (path.substr(begin, end - begin) == "..")
            return false;
        begin = end + 1;
    }
    return true;
}

} // namespace

bool isUUID(std::string_view text) {
    constexpr std::string_view form = "00000000-0000-0000-0000-000000000000";
    const auto fits = [](char place, char given) {
        return place == '-' ? given == '-' : (given >= '0' && given <= '9') || (given >= 'A' && given <= 'F');
    };
    return text.size() == form.size() && std::equal(form.begin(), form.end(), text.begin(), fits);
}

bool isText(std::string_view text) {
    return text.find('\0') == std::string_view::npos && isUTF8(text);
}

std::string faultOf(const AssetRecord &asset) {
    if (!isUUID(asset.uuid))
        return "its UUID is none";
    if (!isText(asset.directory) || !staysBelow(asset.directory))
        return "its folder can't be one";
    if (!isText(asset.filename) || !staysBelow(asset.filename) ||
        asset.filename.find('/') != std::string::npos || !isExtension(extensionOf(asset.filename)))
        return "its file name can't be one";
    for (const std::string *text : {&asset.originalFilename, &asset.format, &asset.problem})
        if (!isText(*text))
            return "it holds a text that is none";
    if (!isText(asset.camera) || !isText(asset.lens) || !isCaption(asset.caption) ||
        !areKeywordLines(asset.keywords))
        return "it is described with a text that is none";
    if (asset.rating < 0 || asset.rating > maxRating || asset.isoSpeed.value_or(0) < 0)
        return "it is described with a number that can't be";
    for (const std::optional<double> each : {asset.exposureSeconds, asset.aperture, asset.focalLength})
        if (each && !(*each >= 0 && std::isfinite(*each)))
            return "it is described with a number that can't be";
    if (asset.byteSize > INT64_MAX)
        return "it has a size that is none";
    if (!std::isfinite(asset.dateCreated) || !std::isfinite(asset.dateAdded))
        return "it has a date that is none";
    return {};
}

std::string faultOf(const AlbumRecord &album) {
    if (!isUUID(album.uuid))
        return "its UUID is none";
    if (!isText(album.name) || !isText(album.streamID))
        return "it holds a text that is none";
    if (!std::isfinite(album.dateCreated))
        return "it has a date that is none";
    return {};
}

} // namespace wickerlane
