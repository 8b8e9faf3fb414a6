#include "hoardd/analysis/Duplicates.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <optional>
#include <vector>

#include "hoardd/analysis/DuplicateStore.h"
#include "hoardd/library/Commits.h"
#include "hoardd/library/Failures.h"
#include "hoardd/pictures/PictureProblem.h"
#include "wickerlane/platform/file/Files.h"

namespace wickerlane::hoardd {

using sqlite::Database;

namespace {

using Fingerprints = std::vector<std::optional<Fingerprint>>;

/// Whether the groups are stale, and all fingerprints that are known.
struct KnownFingerprints {
    bool isStale = false;
    std::vector<Fingerprint> all;

    /// Adds new ones. The groups become stale when one is like another.
    void add(const Fingerprints &fingerprints) {
        for (const auto &fingerprint : fingerprints) {
            if (!fingerprint)
                continue;
            // Once they are stale, no other reason is needed.
            isStale = isStale || mayBeLikeAny(*fingerprint, all);
            all.push_back(*fingerprint);
        }
    }
};

Result<KnownFingerprints> readKnown(Database &database) {
    const auto isStale = areGroupsStale(database);
    if (!isStale)
        return passOn(isStale);
    auto fingerprints = readFingerprints(database);
    if (!fingerprints)
        return passOn(fingerprints);
    return KnownFingerprints{*isStale, *std::move(fingerprints)};
}

/// Nothing for an asset without thumbnail, or with one that is of no use: it is compared by its bytes alone.
Result<Fingerprints> fingerprintsOf(Library &library, std::span<const NewAsset> assets) {
    Fingerprints fingerprints;
    fingerprints.reserve(assets.size());
    constexpr store::ThumbnailSize size = store::ThumbnailSize::small;
    for (const NewAsset &asset : assets) {
        const std::string path = library.paths().thumbnail(asset.uuid, size);
        const UniqueFd thumbnail = openFile(path, O_RDONLY);
        if (!thumbnail && errno != ENOENT)
            return failSystem("open", path);
        const auto fingerprint = thumbnail ? library.media().fingerprint(thumbnail.get(), maxSideOf(size))
                                           : Result<std::optional<Fingerprint>>(std::nullopt);
        // What says nothing about the thumbnail is left for the next analysis.
        if (!fingerprint && fingerprint.error().kind != ProblemKind::invalid)
            return fail(inContext(path, pictureProblem(fingerprint.error(), path)));
        fingerprints.push_back(fingerprint.value_or(std::nullopt));
    }
    return fingerprints;
}

/// Gives whether one of the assets makes the groups stale; not looked for when they are.
Result<bool> writeFingerprints(Database &database, std::span<const NewAsset> assets,
                               const Fingerprints &fingerprints, bool isStale) {
    for (std::size_t i = 0; i < assets.size(); ++i) {
        if (!isStale) {
            const auto linked = isLinked(database, assets[i].key);
            if (!linked)
                return linked;
            isStale = *linked;
        }
        if (const auto written = writeFingerprint(database, assets[i], fingerprints[i]); !written)
            return passOn(written);
    }
    return isStale;
}

Result<> fingerprintNewAssets(Library &library) {
    auto known = library.read(readKnown);
    if (!known)
        return passOn(known);
    for (std::int64_t last = 0;;) {
        if (library.isEnding())
            return stopped();
        const auto batch = library.read(
            [&](Database &database) { return assetsWithoutFingerprint(database, last, maxRowsPerCommit); });
        if (!batch)
            return passOn(batch);
        if (batch->empty())
            return {};
        if (batch->back().key <= last) // or this would not end
            return fail(ProblemKind::damagedStore, "the store's assets are in no order");
        last = batch->back().key;
        const auto fingerprints = fingerprintsOf(library, *batch);
        if (!fingerprints)
            return passOn(fingerprints);
        const bool wasStale = known->isStale;
        known->add(*fingerprints);
        const auto isStale = library.writer().change([&](Database &database) {
            return writeFingerprints(database, *batch, *fingerprints, known->isStale)
                .and_then([&](bool stale) -> Result<bool> {
                    if (stale && !wasStale)
                        if (const auto marked = markGroupsStale(database); !marked)
                            return passOn(marked);
                    return stale;
                });
        });
        if (!isStale)
            return passOn(isStale);
        known->isStale = *isStale;
    }
}

// Assets that are like no others change no group, so that most saves end here.
Result<> groupDuplicates(Library &library) {
    const auto isStale = library.read(areGroupsStale);
    if (!isStale)
        return passOn(isStale);
    if (!*isStale)
        return {};
    const auto plan = library.read(planDuplicates);
    if (!plan)
        return passOn(plan);
    return library.writer().change([&](Database &database) { return applyPlan(database, *plan); });
}

} // namespace

Result<> analyzeDuplicates(Library &library) {
    return fingerprintNewAssets(library).and_then([&] { return groupDuplicates(library); });
}

Result<> setAreDuplicates(Library &library, std::span<const std::int64_t> assets, bool areDuplicates) {
    return library.writer()
        .change([&](Database &database) { return setAreDuplicates(database, assets, areDuplicates); })
        .and_then([&] { return groupDuplicates(library); });
}

} // namespace wickerlane::hoardd
