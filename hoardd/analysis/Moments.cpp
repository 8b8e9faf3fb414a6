#include "hoardd/analysis/Moments.h"

#include <algorithm>
#include <span>

#include "hoardd/analysis/MomentStore.h"
#include "hoardd/library/Commits.h"

namespace wickerlane::hoardd {

using sqlite::Database;

namespace {

/// A plan that is made while others write may be out of date before it is applied. After this number of
/// tries, one is made while the others wait.
constexpr int maxTries = 3;

/// Whether the plan was current, so that it has been applied.
Result<bool> applyIfCurrent(Database &database, const MomentPlan &plan) {
    const auto current = isCurrent(database, plan);
    if (!current || !*current)
        return current;
    if (const auto applied = applyPlan(database, plan); !applied)
        return passOn(applied);
    return true;
}

} // namespace

Result<> rebuildMoments(Library &library, bool incremental) {
    for (int tries = 0; tries < maxTries; ++tries) {
        const auto plan =
            library.read([&](Database &database) { return planMoments(database, incremental); });
        if (!plan)
            return passOn(plan);
        const auto isApplied =
            library.writer().change([&](Database &database) { return applyIfCurrent(database, *plan); });
        if (!isApplied)
            return passOn(isApplied);
        if (*isApplied)
            return {};
    }
    return library.writer().change([&](Database &database) {
        return planMoments(database, incremental).and_then([&](const MomentPlan &plan) {
            return applyPlan(database, plan);
        });
    });
}

Result<> analyzeMoments(Library &library, const AnalysisScope &scope) {
    const auto moments = library.read([&](Database &database) { return momentsIn(database, scope); });
    if (!moments)
        return passOn(moments);
    for (std::span left(*moments); !left.empty();) {
        if (const auto on = library.goesOn({moments->size() - left.size(), moments->size()}); !on)
            return passOn(on);
        const auto batch = left.first(std::min(left.size(), maxQuickRowsPerCommit));
        left = left.subspan(batch.size());
        const auto analyzed =
            library.writer().change([&](Database &database) { return analyzeMoments(database, batch); });
        if (!analyzed)
            return analyzed;
    }
    return library.writer().change([&](Database &database) { return analyzeLists(database, scope); });
}

} // namespace wickerlane::hoardd
