// Which version is at each end of a connection.
#ifndef WICKERLANE_PLATFORM_MESSAGE_WIRE_PEERVERSION_H
#define WICKERLANE_PLATFORM_MESSAGE_WIRE_PEERVERSION_H

#include <array>
#include <cstdint>
#include <string>

#include "wickerlane/platform/object/Export.h"

namespace wickerlane {

/// What one end tells the other when they connect.
struct WL_EXPORT PeerVersion {
    /// What the messages mean. Raised by each release that adds or drops an operation, a key or a value that
    /// one end relies on. 0: the end has not told it, as none did before version 1.
    std::uint16_t protocol = 0;
    /// Major, minor and patch of the release.
    std::array<std::uint16_t, 3> release{};

    /// That of this library, and so of the program that uses it.
    [[nodiscard]] static PeerVersion own() noexcept;

    // In a frame's id. 0: not told.

    [[nodiscard]] static PeerVersion fromNumber(std::uint64_t number) noexcept;
    [[nodiscard]] std::uint64_t number() const noexcept;

    /// Such as "1.0.0"; "0.9 or older" when it was not told.
    [[nodiscard]] std::string text() const;

    friend bool operator==(const PeerVersion &, const PeerVersion &) = default;
};

} // namespace wickerlane

#endif
