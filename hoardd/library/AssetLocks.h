// Who works on which asset.
#ifndef HOARDD_LIBRARY_ASSETLOCKS_H
#define HOARDD_LIBRARY_ASSETLOCKS_H

#include <array>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_set>

namespace wickerlane::hoardd {

/// Thread-safe.
class AssetLocks {
public:
    /// To be held while an asset's files are changed: renditions, thumbnails, deletion. Several assets may
    /// share one, so nobody holds two.
    [[nodiscard]] std::mutex &of(std::string_view uuid) {
        return locks[std::hash<std::string_view>()(uuid) % locks.size()];
    }

    /// Sets a UUID aside for an asset that is to be saved under it, deleted or brought back. False when it is
    /// set aside already.
    [[nodiscard]] bool reserve(const std::string &uuid) {
        const std::lock_guard guard(reserving);
        return reserved.insert(uuid).second;
    }
    void release(const std::string &uuid) {
        const std::lock_guard guard(reserving);
        reserved.erase(uuid);
    }

    /// The same for a scope.
    class Reservation {
    public:
        Reservation(AssetLocks &all, std::string uuid)
            : locks(all), reserved(std::move(uuid)), isHeld(locks.reserve(reserved)) {}
        ~Reservation() {
            if (isHeld)
                locks.release(reserved);
        }
        Reservation(const Reservation &) = delete;
        Reservation &operator=(const Reservation &) = delete;
        explicit operator bool() const noexcept { return isHeld; }

    private:
        AssetLocks &locks;
        const std::string reserved;
        const bool isHeld;
    };

private:
    std::array<std::mutex, 64> locks;
    std::mutex reserving;
    std::unordered_set<std::string> reserved;
};

} // namespace wickerlane::hoardd

#endif
