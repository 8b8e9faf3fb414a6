#include "wickerlane/platform/object/KeyedHash.h"

#include <sys/random.h>

#include <bit>
#include <cstring>

namespace wickerlane {
namespace {

struct HashKey {
    std::uint64_t a, b;
};

const HashKey &hashKey() noexcept {
    static const HashKey key = [] {
        HashKey made{0x736f6d6570736575, 0x646f72616e646f6d};
        [[maybe_unused]] const auto got = getrandom(&made, sizeof made, GRND_NONBLOCK);
        return made;
    }();
    return key;
}

class SipHash {
public:
    explicit SipHash(const HashKey &key) noexcept
        : v0(key.a ^ 0x736f6d6570736575), v1(key.b ^ 0x646f72616e646f6d), v2(key.a ^ 0x6c7967656e657261),
          v3(key.b ^ 0x7465646279746573) {}

    std::uint64_t operator()(std::string_view bytes) noexcept {
        const char *p = bytes.data();
        std::size_t left = bytes.size();
        for (; left >= 8; left -= 8, p += 8)
            add(word(p, 8));
        add(word(p, left) | std::uint64_t{bytes.size()} << 56);
        v2 ^= 0xff;
        for (int i = 0; i < 3; ++i)
            round();
        return v0 ^ v1 ^ v2 ^ v3;
    }

private:
    static std::uint64_t word(const char *p, std::size_t size) noexcept {
        std::uint64_t w = 0;
        if (size != 0)
            std::memcpy(&w, p, size);
        return w;
    }
    void add(std::uint64_t w) noexcept {
        v3 ^= w;
        round();
        v0 ^= w;
    }
    void round() noexcept {
        v0 += v1;
        v1 = std::rotl(v1, 13) ^ v0;
        v0 = std::rotl(v0, 32);
        v2 += v3;
        v3 = std::rotl(v3, 16) ^ v2;
        v0 += v3;
        v3 = std::rotl(v3, 21) ^ v0;
        v2 += v1;
        v1 = std::rotl(v1, 17) ^ v2;
        v2 = std::rotl(v2, 32);
    }
    std::uint64_t v0, v1, v2, v3;
};

} // namespace

std::uint64_t keyedHash(std::string_view bytes) noexcept {
    return SipHash(hashKey())(bytes);
}

} // namespace wickerlane
