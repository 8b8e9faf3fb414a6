// The fingerprints of a library, kept from one analysis to the next.
#ifndef HOARDD_LIBRARY_FINGERPRINTMEMORY_H
#define HOARDD_LIBRARY_FINGERPRINTMEMORY_H

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "hoardd/media/Fingerprint.h"

namespace wickerlane::hoardd {

/// Keeps fingerprints for some time, since reading them from the store takes longer the more there are. Those
/// of assets that have gone may be among them; none is missing. Thread-safe.
class FingerprintMemory {
public:
    /// Counts the changes of what the store has. Who reads that takes the version first.
    using Version = std::uint64_t;
    struct Known {
        std::vector<Fingerprint> fingerprints;
        std::vector<std::int64_t> assets; ///< Their keys, in the same order.
        Version version = 0;
    };

    explicit FingerprintMemory(std::chrono::nanoseconds keptFor = std::chrono::minutes(1));
    FingerprintMemory(const FingerprintMemory &) = delete;
    FingerprintMemory &operator=(const FingerprintMemory &) = delete;
    ~FingerprintMemory() { forget(); }

    [[nodiscard]] Version version() const;
    /// Fingerprints are about to be added to the store, or have been: to be called at both times, so that no
    /// version that was taken between is the present one after both.
    void noteChange();

    /// What is kept, which is the caller's then; nothing if it is not all that the store has.
    [[nodiscard]] std::optional<Known> take();
    /// Keeps all that the store has, unless it has changed since the version. Too many are not kept.
    void keep(Known known);
    void forget();

private:
    struct State;
    static void dropWhenDue(const std::shared_ptr<State> &state);
    std::shared_ptr<State> state; // which a timer may hold longer than the object lives
};

} // namespace wickerlane::hoardd

#endif
