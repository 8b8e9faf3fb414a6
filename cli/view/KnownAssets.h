// By which numbers the daemon knows the assets that the page has seen.
#ifndef CLI_VIEW_KNOWNASSETS_H
#define CLI_VIEW_KNOWNASSETS_H

#include <array>
#include <cstdint>
#include <string>
#include <unordered_map>

#include "wickerlane/model/ManagedAsset.h"
#include "wickerlane/model/Result.h"
#include "wickerlane/platform/object/Mutex.h"

namespace wickerlane::cli::view {

/// Object IDs by UUIDs, so that a picture takes one question. Holds a bounded number of those that were used
/// last. Thread-safe.
class KnownAssets {
public:
    void note(const ManagedAsset &asset);
    /// Of an asset, which the daemon is asked for unless it is known.
    [[nodiscard]] Result<Ref<ManagedObjectID>> objectID(const std::string &uuid);
    /// An asset that is not there any more, or has another number.
    void forget(const std::string &uuid);

private:
    using Key = std::array<std::uint64_t, 2>;
    struct Hash {
        std::size_t operator()(const Key &key) const noexcept {
            return static_cast<std::size_t>(key[0] ^ key[1]); // random digits
        }
    };
    using Numbers = std::unordered_map<Key, std::int64_t, Hash>;

    [[nodiscard]] static Key keyOf(std::string_view uuid);
    void put(const Key &key, std::int64_t number) WL_REQUIRES(mutex);

    Mutex mutex;
    std::string store WL_GUARDED_BY(mutex); // the UUID of the store that all numbers are of
    Numbers recent WL_GUARDED_BY(mutex), earlier WL_GUARDED_BY(mutex);
};

} // namespace wickerlane::cli::view

#endif
