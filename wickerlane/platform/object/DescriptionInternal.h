// How collections show what they hold.
#ifndef WICKERLANE_PLATFORM_OBJECT_DESCRIPTIONINTERNAL_H
#define WICKERLANE_PLATFORM_OBJECT_DESCRIPTIONINTERNAL_H

#include <cctype>
#include <string>

#include "wickerlane/platform/object/String.h"

namespace wickerlane {

// Nesting of descriptions under way on a thread: gives the indent, and ends cycles and excessive depths.
class DescriptionLevel {
public:
    static constexpr unsigned maxDepth = 64;

    DescriptionLevel() noexcept { ++depth(); }
    ~DescriptionLevel() { --depth(); }
    DescriptionLevel(const DescriptionLevel &) = delete;
    DescriptionLevel &operator=(const DescriptionLevel &) = delete;

    [[nodiscard]] bool tooDeep() const noexcept { return depth() > maxDepth; }
    [[nodiscard]] std::string indent() const { return std::string(std::size_t{depth()} * 4, ' '); }
    [[nodiscard]] std::string outerIndent() const { return std::string((std::size_t{depth()} - 1) * 4, ' '); }

private:
    static unsigned &depth() noexcept {
        thread_local constinit unsigned level = 0;
        return level;
    }
};

// An element's description as it stands inside a collection: quoted when it is a text that is not one plain
// word.
inline std::string describeElement(const Object *element) {
    const std::string_view text = element->description()->utf8();
    if (as<String>(element) == nullptr)
        return std::string(text);
    bool plain = !text.empty();
    for (const unsigned char c : text)
        plain = plain && (std::isalnum(c) != 0 || c == '_' || c == '.' || c == '/' || c == '-' || c >= 0x80);
    if (plain)
        return std::string(text);
    std::string quoted = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\')
            quoted += '\\';
        quoted += c;
    }
    return quoted += '"';
}

} // namespace wickerlane

#endif
