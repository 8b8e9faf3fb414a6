#include "wickerlane/platform/message/value/MessageText.h"

#include <sys/random.h>

#include <algorithm>
#include <cstring>

#include "wickerlane/platform/object/UTF8Internal.h"

namespace wickerlane {

bool isUTF8(std::string_view text) noexcept {
    const std::size_t ascii = utf8::asciiPrefix(text);
    return ascii == text.size() || utf8::lengthInUTF16(text.substr(ascii)) != utf8::notValid;
}

std::uint32_t hashOfKey(std::string_view key) noexcept {
    static const std::uint64_t seed = [] {
        std::uint64_t random = 0;
        if (getrandom(&random, sizeof random, GRND_NONBLOCK) != sizeof random)
            random = reinterpret_cast<std::uintptr_t>(&random);
        return random | 1;
    }();
    const auto mix = [](std::uint64_t a, std::uint64_t b) {
        const auto product = static_cast<unsigned __int128>(a) * b;
        return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
    };
    std::uint64_t hash = seed ^ key.size();
    const char *p = key.data();
    for (std::size_t left = key.size(); left != 0;) {
        std::uint64_t word = 0;
        const std::size_t count = std::min(left, sizeof word);
        std::memcpy(&word, p, count);
        hash = mix(hash ^ word, seed ^ 0x9E3779B97F4A7C15U);
        p += count;
        left -= count;
    }
    return static_cast<std::uint32_t>(hash ^ hash >> 32);
}

} // namespace wickerlane
