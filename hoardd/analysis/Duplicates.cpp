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

/// More new assets than this that are like others in one analysis are not linked one by one: finding all
/// groups again takes less time than comparing each with all others.
constexpr std::size_t maxLinks = 64;

/// By asset: those that it may be like.
using Candidates = std::vector<std::vector<std::int64_t>>;

/// Whether the groups are stale, and all fingerprints that are known.
struct KnownFingerprints {
    bool isStale = false;
    FingerprintMemory::Known all;
    std::size_t links = 0; ///< New assets that may be like others.

    /// Adds those of new assets. Gives, unless the groups are stale, what each may be like.
    Candidates add(std::span<const NewAsset> assets, const Fingerprints &fingerprints) {
        Candidates candidates(assets.size());
        for (std::size_t i = 0; i < assets.size(); ++i) {
            if (!fingerprints[i])
                continue;
            if (!isStale)
                for (const std::size_t place : mayBeLike(*fingerprints[i], all.fingerprints))
                    candidates[i].push_back(all.assets[place]);
            links += candidates[i].empty() ? 0 : 1;
            isStale = isStale || links > maxLinks;
            all.fingerprints.push_back(*fingerprints[i]);
            all.assets.push_back(assets[i].key);
        }
        return candidates;
    }
};

Result<KnownFingerprints> readKnown(Library &library) {
    const auto isStale = library.read(areGroupsStale);
    if (!isStale)
        return passOn(isStale);
    if (auto kept = library.fingerprints().take())
        return KnownFingerprints{*isStale, *std::move(kept), 0};
    const auto version = library.fingerprints().version();
    auto known = library.read(readFingerprints);
    if (!known)
        return passOn(known);
    known->version = version;
    return KnownFingerprints{*isStale, *std::move(known), 0};
}

/// Of the first assets: as many as have `maxRowsPerCommit` thumbnails, so that a kill leaves most of long
/// work stored. Nothing for an asset without thumbnail, or with one that is of no use: it is compared by its
/// bytes alone.
Result<Fingerprints> firstFingerprints(Library &library, std::span<const NewAsset> assets) {
    Fingerprints fingerprints;
    constexpr store::ThumbnailSize size = store::ThumbnailSize::small;
    std::size_t thumbnails = 0;
    for (const NewAsset &asset : assets) {
        if (thumbnails == maxRowsPerCommit)
            break;
        const std::string path = library.paths().thumbnail(asset.uuid, size);
        const UniqueFd thumbnail = openFile(path, O_RDONLY);
        if (!thumbnail && errno != ENOENT)
            return failSystem("open", path);
        thumbnails += thumbnail ? 1 : 0;
        const auto fingerprint = thumbnail ? library.media().fingerprint(thumbnail.get(), maxSideOf(size))
                                           : Result<std::optional<Fingerprint>>(std::nullopt);
        // What says nothing about the thumbnail is left for the next analysis.
        if (!fingerprint && fingerprint.error().kind != ProblemKind::invalid)
            return fail(inContext(path, pictureProblem(fingerprint.error(), path)));
        fingerprints.push_back(fingerprint.value_or(std::nullopt));
    }
    return fingerprints;
}

/// Whether one of the assets was in a group that may be another one with its new fingerprint.
Result<bool> isAnyGrouped(Database &database, std::span<const NewAsset> assets) {
    for (const NewAsset &asset : assets) {
        const auto grouped = isGrouped(database, asset.key);
        if (!grouped || *grouped)
            return grouped;
    }
    return false;
}

/// Whether the groups are right with the assets, which have just got their fingerprints.
Result<bool> linkAssets(Database &database, std::span<const NewAsset> assets, const Candidates &candidates) {
    const auto stale = areGroupsStale(database);
    if (!stale || *stale)
        return stale ? Result<bool>(false) : stale;
    for (std::size_t i = 0; i < assets.size(); ++i) {
        const auto linked = linkAsset(database, assets[i].key, candidates[i]);
        if (!linked || !*linked)
            return linked;
    }
    return true;
}

/// Gives whether the groups are stale then. Nothing is linked when they are.
Result<bool> storeFingerprints(Database &database, std::span<const NewAsset> assets,
                               const Fingerprints &fingerprints, const Candidates &candidates, bool isStale) {
    if (!isStale) {
        const auto grouped = isAnyGrouped(database, assets);
        if (!grouped)
            return grouped;
        isStale = *grouped;
    }
    if (const auto written = writeFingerprints(database, assets, fingerprints); !written)
        return passOn(written);
    if (!isStale) {
        const auto linked = linkAssets(database, assets, candidates);
        if (!linked)
            return linked;
        isStale = !*linked;
    }
    if (isStale) // also if they have been for long: they may be found at this moment
        if (const auto marked = markGroupsStale(database); !marked)
            return passOn(marked);
    return isStale;
}

/// Fingerprints some assets and stores that. Adds them to what is done.
Result<> fingerprintAssets(Library &library, std::span<const NewAsset> assets, KnownFingerprints &known,
                           WorkDone &work) {
    while (!assets.empty()) {
        if (const auto on = library.goesOn(work); !on)
            return passOn(on);
        const auto fingerprints = firstFingerprints(library, assets);
        if (!fingerprints)
            return passOn(fingerprints);
        const auto batch = assets.first(fingerprints->size());
        assets = assets.subspan(batch.size());
        const Candidates candidates = known.add(batch, *fingerprints);
        library.fingerprints().noteChange();
        const auto isStale = library.writer().change([&](Database &database) {
            return storeFingerprints(database, batch, *fingerprints, candidates, known.isStale);
        });
        library.fingerprints().noteChange();
        known.all.version += 2;
        if (!isStale)
            return passOn(isStale);
        known.isStale = *isStale;
        work.done += batch.size();
    }
    return {};
}

Result<> fingerprintNewAssets(Library &library) {
    std::optional<KnownFingerprints> known;
    WorkDone work{0, library.read(countWithoutFingerprint).value_or(0)};
    for (std::int64_t last = 0;;) {
        if (const auto on = library.goesOn(); !on)
            return passOn(on);
        const auto batch = library.read([&](Database &database) {
            return assetsWithoutFingerprint(database, last, maxQuickRowsPerCommit);
        });
        if (!batch)
            return passOn(batch);
        if (batch->empty()) {
            if (known)
                library.fingerprints().keep(std::move(known->all));
            return {};
        }
        if (batch->back().key <= last) // or this would not end
            return fail(ProblemKind::damagedStore, "the store's assets are in no order");
        last = batch->back().key;
        if (!known) {
            auto read = readKnown(library);
            if (!read)
                return passOn(read);
            known = *std::move(read);
        }
        if (const auto done = fingerprintAssets(library, *batch, *known, work); !done)
            return done;
    }
}

// Most saves end here.
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

Result<> resetDuplicates(Library &library) {
    const auto done = library.writer().change(forgetDuplicates);
    library.fingerprints().forget(); // or each asset would be like itself
    return done;
}

Result<> setAreDuplicates(Library &library, std::span<const std::int64_t> assets, bool areDuplicates) {
    return library.writer()
        .change([&](Database &database) { return setAreDuplicates(database, assets, areDuplicates); })
        .and_then([&] { return groupDuplicates(library); });
}

} // namespace wickerlane::hoardd
