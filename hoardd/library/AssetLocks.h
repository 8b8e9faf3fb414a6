// Who works on which asset.
#ifndef HOARDD_LIBRARY_ASSETLOCKS_H
#define HOARDD_LIBRARY_ASSETLOCKS_H

#include <array>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <utility>

#include "wickerlane/platform/object/Mutex.h"

namespace wickerlane::hoardd {

/// Thread-safe.
class AssetLocks {
public:
    /// Guards the files of a stored asset, and what the store says of them: its original, renditions and
    /// thumbnails change only while it is held. Several assets may share one, so no thread holds two.
    [[nodiscard]] Mutex &of(std::string_view uuid) {
        return mutexes[std::hash<std::string_view>()(uuid) % mutexes.size()];
    }

    /// Guards whether there is an asset of a UUID: for as long as it lives, no other thread saves, restores
    /// or removes one. It is made before the lock of the asset is taken.
    class Reservation {
    public:
        Reservation() = default; ///< Of nothing.
        Reservation(Reservation &&other) noexcept
            : locks(std::exchange(other.locks, nullptr)), uuid(std::move(other.uuid)) {}
        Reservation &operator=(Reservation &&other) noexcept {
            std::swap(locks, other.locks);
            std::swap(uuid, other.uuid);
            return *this;
        }
        ~Reservation() {
            if (locks != nullptr)
                locks->release(uuid);
        }
        explicit operator bool() const noexcept { return locks != nullptr; }
        /// Lets the UUID be reserved until the process ends.
        void keep() noexcept { locks = nullptr; }

    private:
        friend class AssetLocks;
        Reservation(AssetLocks *all, std::string reservedUUID) : locks(all), uuid(std::move(reservedUUID)) {}
        AssetLocks *locks = nullptr;
        std::string uuid;
    };
    /// Held by a restore, so that two of one UUID don't both find the asset missing. Taken before any other.
    [[nodiscard]] Mutex &ofRestores() noexcept { return restoring; }

    /// A reservation of nothing when the UUID is reserved already.
    [[nodiscard]] Reservation reserve(const std::string &uuid) {
        const MutexLock lock(reserving);
        return reserved.insert(uuid).second ? Reservation(this, uuid) : Reservation();
    }

private:
    void release(const std::string &uuid) {
        const MutexLock lock(reserving);
        reserved.erase(uuid);
    }

    std::array<Mutex, 256> mutexes;
    Mutex restoring;
    Mutex reserving;
    std::unordered_set<std::string> reserved WL_GUARDED_BY(reserving);
};

} // namespace wickerlane::hoardd

#endif
