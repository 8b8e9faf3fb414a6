#include "hoardd/analysis/Analyses.h"

#include <fcntl.h>

#include <algorithm>

#include "hoardd/albums/CloudFeed.h"
#include "hoardd/library/Interim.h"
#include "hoardd/pictures/Thumbnails.h"
#include "wickerlane/log/JXLog.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/object/ReleaseScope.h"

namespace wickerlane::hoardd {

using sqlite::Database;

namespace {

/// Written in one transaction: few enough that nobody waits long, enough that commits cost little.
constexpr std::size_t mostPerCommit = 64;

/// Plans that are made while others write may be overtaken; after so many, one is made while they wait.
constexpr int mostTries = 3;

/// Reads with `read`, which gives an optional, over a connection of its own. Nothing, with the reason, on
/// failure.
template <class Read>
auto readSteadily(const Library &library, std::string &problem, const Read &read) {
    decltype(read(std::declval<Database &>())) result;
    auto database = openReader(library, problem);
    if (!database)
        return result;
    const sqlite::Snapshot snapshot(*database);
    result = read(*database);
    problem = result ? std::string() : database->problem().text;
    return result;
}

} // namespace

std::string Analyses::rebuildMoments(bool incremental) {
    std::string problem;
    for (int tries = 0; tries < mostTries; ++tries) {
        const auto plan = readSteadily(
            library, problem, [&](Database &database) { return planMoments(database, incremental); });
        if (!plan)
            return problem;
        bool overtaken = false;
        problem = asText(library.writer().change([&](Database &database) {
            overtaken = !isCurrent(database, *plan);
            return overtaken || applyPlan(database, *plan);
        }));
        if (!overtaken)
            return problem;
    }
    return asText(library.writer().change([&](Database &database) {
        const auto plan = planMoments(database, incremental);
        return plan && applyPlan(database, *plan);
    }));
}

std::string Analyses::rebuildMomentLists() {
    return asText(
        library.writer().change([](Database &database) { return hoardd::rebuildMomentLists(database); }));
}

std::string Analyses::analyzeMoments(const AnalysisScope &scope) {
    std::string problem;
    const auto moments =
        readSteadily(library, problem, [&](Database &database) { return momentsIn(database, scope); });
    if (!moments)
        return problem;
    for (std::span left(*moments); !left.empty();) {
        if (library.isEnding())
            return stopped().value().text;
        const auto batch = left.first(std::min(left.size(), mostPerCommit));
        left = left.subspan(batch.size());
        problem = asText(library.writer().change([&](Database &database) {
            return std::ranges::all_of(batch, [&](std::int64_t key) { return analyzeMoment(database, key); });
        }));
        if (!problem.empty())
            return problem;
    }
    return asText(library.writer().change([&](Database &database) { return analyzeLists(database, scope); }));
}

std::string Analyses::analyzeDuplicates() {
    std::string problem = lookAtUnseenAssets();
    return problem.empty() ? groupDuplicates() : problem;
}

std::vector<std::optional<Fingerprint>> Analyses::fingerprintsOf(std::span<const UnseenAsset> assets) {
    std::vector<std::optional<Fingerprint>> fingerprints;
    fingerprints.reserve(assets.size());
    for (const UnseenAsset &asset : assets) {
        const UniqueFd thumbnail =
            openFile(library.paths().thumbnail(asset.uuid, store::ThumbnailSize::small), O_RDONLY);
        // What has none is compared by its bytes alone.
        fingerprints.push_back(thumbnail ? library.media().fingerprint(thumbnail.get()).fingerprint
                                         : std::nullopt);
    }
    return fingerprints;
}

std::string Analyses::lookAtUnseenAssets() {
    std::string problem;
    bool stale = false;
    auto known = readSteadily(library, problem, [&](Database &database) {
        stale = areGroupsStale(database).value_or(true);
        return readFingerprints(database);
    });
    if (!known)
        return problem;
    const auto isLikeAnother = [&](const std::optional<Fingerprint> &fingerprint) {
        const bool isLike = fingerprint && mayBeLikeAny(*fingerprint, *known);
        if (fingerprint)
            known->push_back(*fingerprint);
        return isLike;
    };
    for (std::int64_t last = 0;;) {
        if (library.isEnding())
            return stopped().value().text;
        const auto batch = readSteadily(library, problem, [&](Database &database) {
            return unseenAssets(database, last, mostPerCommit);
        });
        if (!batch || batch->empty())
            return problem;
        last = batch->back().key;
        const auto seen = fingerprintsOf(*batch);
        // Once the groups have to be made anew, there is no need to know why else.
        const bool wasStale = stale;
        stale = stale || std::ranges::any_of(seen, isLikeAnother);
        problem = asText(library.writer().change([&](Database &database) {
            for (std::size_t i = 0; i < batch->size(); ++i) {
                if (!stale) {
                    const auto ties = hasTies(database, (*batch)[i].key);
                    if (!ties)
                        return false;
                    stale = *ties;
                }
                if (!writeFingerprint(database, (*batch)[i], seen[i]))
                    return false;
            }
            return wasStale || !stale || markGroupsStale(database);
        }));
        if (!problem.empty())
            return problem;
    }
}

// Assets that are like no others change no group, so that most saves end here.
std::string Analyses::groupDuplicates() {
    std::string problem;
    const auto stale = readSteadily(library, problem, areGroupsStale);
    if (!stale || !*stale)
        return problem;
    const auto plan = readSteadily(library, problem, planDuplicates);
    if (!plan)
        return problem;
    return asText(library.writer().change([&](Database &database) { return applyPlan(database, *plan); }));
}

std::string Analyses::resetDuplicates() {
    return asText(library.writer().change([](Database &database) { return forgetDuplicates(database); }));
}

std::string Analyses::setAreDuplicates(std::span<const std::int64_t> assets, bool areDuplicates) {
    const std::string problem = asText(library.writer().change(
        [&](Database &database) { return hoardd::setAreDuplicates(database, assets, areDuplicates); }));
    return problem.empty() ? groupDuplicates() : problem;
}

std::string Analyses::rebuildCloudFeed() {
    return asText(
        library.writer().change([](Database &database) { return hoardd::rebuildCloudFeed(database); }));
}

std::string Analyses::rebuildThumbnails() {
    std::string problem;
    std::size_t failed = 0;
    std::string firstFailure;
    for (std::int64_t last = 0;;) {
        const auto uuids = readSteadily(library, problem, [&](Database &database) {
            std::vector<std::string> found;
            sqlite::Statement statement = database.prepare(
                "SELECT pk, uuid FROM zgenericasset WHERE pk > ? AND problem = '' ORDER BY pk LIMIT ?");
            statement.bind(last, mostPerCommit);
            while (statement.next()) {
                last = statement.integer(0);
                found.emplace_back(statement.text(1));
            }
            return statement.failed() ? std::nullopt : std::optional(std::move(found));
        });
        if (!uuids)
            return problem;
        if (uuids->empty())
            break;
        for (const std::string &uuid : *uuids) {
            if (library.isEnding())
                return stopped().value().text;
            ReleaseScope scope;
            const Ref<store::ManagedAsset> asset = library.assets().assetWithUUID(uuid);
            if (!asset)
                continue; // gone meanwhile
            problem = asText(makeThumbnails(library, asset->record(), {.isForced = true, .newIndex = true}));
            if (problem.empty())
                continue;
            JX_LOG(JXLogLevelError, JXThumbnailsLog, "can't make the thumbnails of %s: %s", uuid.c_str(),
                   problem.c_str());
            if (failed++ == 0)
                firstFailure = problem;
        }
    }
    if (failed == 0)
        return {};
    return "the thumbnails of " + std::to_string(failed) +
           " assets could not be made; of the first: " + firstFailure;
}

} // namespace wickerlane::hoardd
