#include "wickerlane/platform/device/DisplayList.h"

#include <dirent.h>

#include <algorithm>
#include <charconv>
#include <cstring>
#include <memory>

#include "wickerlane/platform/file/Files.h"

namespace wickerlane {
namespace {

struct CloseFolder {
    void operator()(DIR *folder) const { closedir(folder); }
};

std::string contentsOf(const std::string &path) {
    constexpr std::size_t maxBytes = 64 * 1024;
    std::vector<std::byte> contents;
    readFile(path, contents, maxBytes);
    return {reinterpret_cast<const char *>(contents.data()), contents.size()};
}

// "1920x1080", or "1920x1080i" for an interlaced one.
std::optional<PixelSize> parseMode(std::string_view line) {
    const char *end = line.data() + line.size();
    unsigned width = 0, height = 0;
    const auto first = std::from_chars(line.data(), end, width);
    if (first.ec != std::errc() || first.ptr == end || *first.ptr != 'x')
        return std::nullopt;
    const auto second = std::from_chars(first.ptr + 1, end, height);
    if (second.ec != std::errc() || width == 0 || height == 0)
        return std::nullopt;
    return PixelSize{static_cast<double>(width), static_cast<double>(height)};
}

std::vector<PixelSize> parseModes(std::string_view text) {
    std::vector<PixelSize> modes;
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        if (const auto mode = parseMode(text.substr(0, end)))
            modes.push_back(*mode);
        text.remove_prefix(end == text.npos ? text.size() : end + 1);
    }
    return modes;
}

bool isBuiltIn(const Display &display) {
    const std::string_view kind = std::string_view(display.connector).substr(display.connector.find('-') + 1);
    return kind.starts_with("eDP-") || kind.starts_with("LVDS-") || kind.starts_with("DSI-") ||
           kind.starts_with("DPI-");
}

bool comesBefore(const Display &a, const Display &b) {
    if (isBuiltIn(a) != isBuiltIn(b))
        return isBuiltIn(a);
    return strverscmp(a.connector.c_str(), b.connector.c_str()) < 0;
}

} // namespace

std::vector<Display> displayList(const std::string &folder) {
    std::vector<Display> displays;
    const std::unique_ptr<DIR, CloseFolder> cards(opendir(folder.c_str()));
    if (!cards)
        return displays;
    while (const dirent *entry = readdir(cards.get())) {
        const std::string name = entry->d_name;
        if (!name.starts_with("card") || name.find('-') == name.npos)
            continue;
        std::string path = folder + '/';
        path += name;
        displays.push_back(
            {name,
             contentsOf(path + "/status") == "connected\n" && contentsOf(path + "/enabled") == "enabled\n",
             parseModes(contentsOf(path + "/modes"))});
    }
    std::ranges::sort(displays, comesBefore);
    return displays;
}

} // namespace wickerlane
