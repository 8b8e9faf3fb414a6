#include "cli/FilePairs.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <span>

#include "wickerlane/model/MediaType.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/object/Paths.h"

namespace wickerlane::cli {
namespace {

enum class Part { none, picture, raw, video };

/// The first bytes of a file; none when it can't be read.
std::string startOf(const std::string &path) {
    const UniqueFd file = openFile(path, O_RDONLY | O_NONBLOCK);
    std::string start(mediaTypeBytes, '\0');
    const ssize_t count = file ? pread(file.get(), start.data(), start.size(), 0) : 0;
    start.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    return start;
}

Part partOf(const std::string &path, const std::string &start) {
    const MediaType *named = mediaTypeOfExtension(pathExtension(path));
    const MediaType *type = mediaTypeOfContent(std::as_bytes(std::span(start)));
    if (type == nullptr)
        type = named;
    if (type == nullptr)
        return Part::none;
    if (type->format == MediaFormat::jpeg || type->format == MediaFormat::heif)
        return Part::picture;
    // Most raw files begin as TIFF files do.
    if (type->format == MediaFormat::raw || (type->format == MediaFormat::tiff && named != type))
        return Part::raw;
    return type->kind == AssetKind::video ? Part::video : Part::none;
}

struct SameName {
    std::string picture, raw, video; // the first of each; empty for none
};

/// `start` gives the first bytes of a file.
template <class Start>
std::map<std::string, std::string> pairsAmong(const std::vector<std::string> &files, const Start &start) {
    std::map<std::string, std::vector<std::string>> byName;
    for (const std::string &path : files)
        byName[std::filesystem::path(path).replace_extension().string()].push_back(path);
    std::map<std::string, std::string> pairs;
    for (auto &[name, paths] : byName) {
        if (paths.size() < 2)
            continue;
        std::ranges::sort(paths);
        SameName first;
        for (const std::string &path : paths) {
            const Part part = partOf(path, start(path));
            std::string *place = part == Part::picture ? &first.picture
                                 : part == Part::raw   ? &first.raw
                                 : part == Part::video ? &first.video
                                                       : nullptr;
            if (place != nullptr && place->empty())
                *place = path;
        }
        const std::string &second = first.raw.empty() ? first.video : first.raw;
        if (!first.picture.empty() && !second.empty())
            pairs.emplace(first.picture, second);
    }
    return pairs;
}

} // namespace

std::map<std::string, std::string> pairsAmong(const std::vector<std::string> &files) {
    return pairsAmong(files, startOf);
}

std::map<std::string, std::string> pairsAmong(const std::map<std::string, std::string> &starts) {
    std::vector<std::string> files;
    files.reserve(starts.size());
    for (const auto &[path, start] : starts)
        files.push_back(path);
    return pairsAmong(files, [&](const std::string &path) { return starts.at(path); });
}

} // namespace wickerlane::cli
