// An owned file descriptor.
#ifndef WICKERLANE_PLATFORM_FILE_UNIQUEFD_H
#define WICKERLANE_PLATFORM_FILE_UNIQUEFD_H

#include <unistd.h>

#include <utility>

namespace wickerlane {

/// Closes its descriptor when it goes away. Move-only.
class UniqueFd {
public:
    constexpr UniqueFd() noexcept = default;
    constexpr explicit UniqueFd(int owned) noexcept : descriptor(owned) {}
    UniqueFd(UniqueFd &&other) noexcept : descriptor(other.release()) {}
    UniqueFd &operator=(UniqueFd &&other) noexcept {
        reset(other.release());
        return *this;
    }
    ~UniqueFd() { reset(); }

    [[nodiscard]] int get() const noexcept { return descriptor; } ///< -1 when there is none.
    [[nodiscard]] int release() noexcept { return std::exchange(descriptor, -1); }
    explicit operator bool() const noexcept { return descriptor >= 0; }
    void reset(int owned = -1) noexcept {
        if (descriptor >= 0 && descriptor != owned)
            ::close(descriptor);
        descriptor = owned;
    }

private:
    int descriptor = -1;
};

} // namespace wickerlane

#endif
