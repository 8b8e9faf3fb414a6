#include "wickerlane/platform/applications/library/DesktopEntry.h"

#include <algorithm>

#include "wickerlane/platform/object/String.h"

namespace wickerlane {
namespace {

constexpr std::string_view mainGroup = "Desktop Entry";

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view blanks = " \t\r\f\v";
    const std::size_t start = text.find_first_not_of(blanks);
    if (start == text.npos)
        return {};
    return text.substr(start, text.find_last_not_of(blanks) + 1 - start);
}

std::string_view takeLine(std::string_view &text) {
    const std::size_t end = text.find('\n');
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(end == text.npos ? text.size() : end + 1);
    return trimmed(line);
}

// "Name", or "Name[pt_BR]".
bool isKey(std::string_view key) {
    const std::string_view plain = key.substr(0, key.find('['));
    if (plain.size() != key.size() && (!key.ends_with(']') || key.size() < plain.size() + 3))
        return false;
    return !plain.empty() && std::ranges::all_of(plain, [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-';
    });
}

// A backslash before a character that it has no meaning for stands for itself.
std::string unescaped(std::string_view value) {
    std::string result;
    for (std::size_t i = 0; i < value.size(); ++i) {
        constexpr std::string_view escapes = "sntr\\", meanings = " \n\t\r\\";
        const std::size_t known =
            value[i] == '\\' && i + 1 < value.size() ? escapes.find(value[i + 1]) : escapes.npos;
        result += known == escapes.npos ? value[i] : meanings[known];
        i += known != escapes.npos;
    }
    return result;
}

void set(DesktopEntry &entry, std::string_view key, std::string_view value) {
    if (key == "Type")
        entry.type = unescaped(value);
    else if (key == "Name")
        entry.name = unescaped(value);
    else if (key == "TryExec")
        entry.tryExec = unescaped(value);
    else if (key == "Hidden")
        entry.isHidden = value == "true" || value == "1"; // the number is of older entries
}

} // namespace

std::optional<DesktopEntry> parseDesktopEntry(std::string_view text) {
    if (text.find('\0') != text.npos || !String::create(text))
        return std::nullopt;
    DesktopEntry entry;
    std::string_view group;
    while (!text.empty()) {
        const std::string_view line = takeLine(text);
        if (line.empty() || line.front() == '#')
            continue;
        if (line.front() == '[') {
            const std::string_view name = line.substr(1, line.size() - 2);
            const bool isFirst = group.empty();
            if (line.size() < 3 || line.back() != ']' || name.find_first_of("[]") != name.npos ||
                isFirst != (name == mainGroup))
                return std::nullopt;
            group = name;
            continue;
        }
        const std::size_t sign = line.find('=');
        const std::string_view key = trimmed(line.substr(0, sign));
        if (group.empty() || sign == line.npos || !isKey(key))
            return std::nullopt;
        if (group == mainGroup)
            set(entry, key, trimmed(line.substr(sign + 1)));
    }
    if (group.empty())
        return std::nullopt;
    return entry;
}

} // namespace wickerlane
