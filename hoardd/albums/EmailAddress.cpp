#include "hoardd/albums/EmailAddress.h"

#include <algorithm>

namespace wickerlane::hoardd {

namespace {

constexpr std::size_t maxNameBytes = 64, maxAddressBytes = 254;

bool isSpaceOrControl(char character) {
    const auto byte = static_cast<unsigned char>(character);
    return byte <= 0x20 || byte == 0x7F;
}

/// Parts that are not empty, with a dot between each two.
bool isDotted(std::string_view text) {
    return !text.empty() && text.front() != '.' && text.back() != '.' &&
           text.find("..") == std::string_view::npos;
}

} // namespace

bool isEmailAddress(std::string_view text) {
    const std::size_t at = text.find('@');
    if (at == std::string_view::npos || text.size() > maxAddressBytes ||
        std::ranges::any_of(text, isSpaceOrControl))
        return false;
    const std::string_view name = text.substr(0, at), domain = text.substr(at + 1);
    return name.size() <= maxNameBytes && isDotted(name) && isDotted(domain) &&
           domain.find('@') == std::string_view::npos;
}

} // namespace wickerlane::hoardd
