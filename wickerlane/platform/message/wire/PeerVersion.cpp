#include "wickerlane/platform/message/wire/PeerVersion.h"

namespace wickerlane {

PeerVersion PeerVersion::own() noexcept {
    return {.protocol = 1, .release = {WICKERLANE_RELEASE}};
}

PeerVersion PeerVersion::fromNumber(std::uint64_t number) noexcept {
    const auto part = [&](unsigned place) { return static_cast<std::uint16_t>(number >> (16 * place)); };
    return {.protocol = part(3), .release = {part(2), part(1), part(0)}};
}

std::uint64_t PeerVersion::number() const noexcept {
    std::uint64_t number = protocol;
    for (const std::uint16_t part : release)
        number = number << 16 | part;
    return number;
}

std::string PeerVersion::text() const {
    if (protocol == 0)
        return "0.9 or older";
    return std::to_string(release[0]) + '.' + std::to_string(release[1]) + '.' + std::to_string(release[2]);
}

} // namespace wickerlane
