#include "hoardd/analysis/DuplicateRule.h"

#include <algorithm>
#include <cmath>

#include "hoardd/analysis/NearFingerprints.h"

namespace wickerlane::hoardd {

namespace {

constexpr double maxDurationDifference = 0.5;
constexpr double maxShapeDifference = 0.02; // of the ratio of the sides

bool haveOneShape(const DuplicateItem &one, const DuplicateItem &other) {
    const double a = static_cast<double>(one.width) * other.height;
    const double b = static_cast<double>(other.width) * one.height;
    return std::abs(a - b) <= maxShapeDifference * std::max(a, b);
}

/// Shortly after each other, as two pictures from one camera are, while a copy has its picture's own date or
/// one that has nothing to do with it. What resized it may have dropped parts of a second.
bool areShotsOfOneBurst(const DuplicateItem &one, const DuplicateItem &other) {
    const double apart = std::abs(one.date - other.date);
    const bool haveOneSize = one.width == other.width && one.height == other.height;
    return apart <= burstSeconds && (haveOneSize ? apart > 0 : apart >= 1);
}

} // namespace

std::optional<Likeness> likenessOf(const DuplicateItem &one, const DuplicateItem &other) {
    if (one.sum == other.sum)
        return Likeness::same;
    if (!one.fingerprint || !other.fingerprint || one.kind != other.kind ||
        std::abs(one.duration - other.duration) > maxDurationDifference || !haveOneShape(one, other))
        return std::nullopt;
    const bool isBurst = areShotsOfOneBurst(one, other);
    if (!isBurst && areNear(*one.fingerprint, *other.fingerprint, maxBitsOfSame))
        return Likeness::same;
    if (isBurst && areNear(*one.fingerprint, *other.fingerprint, maxBitsOfSimilar))
        return Likeness::similar;
    return std::nullopt;
}

int distanceOf(const DuplicateItem &one, const DuplicateItem &other) {
    if (one.sum == other.sum)
        return 0;
    return 1 + hammingDistance(one.fingerprint->difference, other.fingerprint->difference) +
           hammingDistance(one.fingerprint->frequency, other.fingerprint->frequency);
}

bool mayBeLike(const Fingerprint &one, const Fingerprint &other) {
    return areNear(one, other, maxBitsOfSimilar);
}

std::vector<std::size_t> mayBeLike(const Fingerprint &one, std::span<const Fingerprint> others) {
    std::vector<std::size_t> places;
    for (std::size_t place = 0; place < others.size(); ++place)
        if (mayBeLike(one, others[place]))
            places.push_back(place);
    return places;
}

} // namespace wickerlane::hoardd
