#include "hoardd/analysis/LibraryAnalysis.h"

#include "hoardd/analysis/Duplicates.h"
#include "hoardd/analysis/Moments.h"
#include "hoardd/service/Battery.h"
#include "hoardd/service/LowPriority.h"
#include "wickerlane/log/JXLog.h"
#include "wickerlane/platform/preferences/Preferences.h"
#include "wickerlane/store/AnalysisReader.h"

namespace wickerlane::hoardd {

namespace {

constexpr const char *hoarddDomain = "org.wickerlane.hoardd"; // of its preferences

} // namespace

Result<> analyzeAfterUpdate(Library &library, AnalysisScope::Kind kind) {
    return rebuildMoments(library, true).and_then([&] { return analyzeMoments(library, {kind, 0}); });
}

// Duplicates first: the fingerprints have a say in which asset is the key asset of its moment.
Result<> analyzeChanges(Library &library) {
    return analyzeDuplicates(library).and_then(
        [&] { return analyzeAfterUpdate(library, AnalysisScope::Kind::invalid); });
}

Result<bool> isAnalyzed(Library &library) {
    auto reader = store::AnalysisReader::open(library.paths());
    if (!reader)
        return passOn(reader);
    const auto moments = reader->areMomentsComplete();
    if (!moments || !*moments)
        return moments;
    return reader->areDuplicatesComplete();
}

UnaskedOutcome analyzeUnasked(Library &library, const std::string &powerSupplies) {
    if (preferenceInteger("AnalyzesUnasked", hoarddDomain, 1) == 0)
        return UnaskedOutcome::unwanted;
    const auto analyzed = isAnalyzed(library);
    if (analyzed && *analyzed)
        return UnaskedOutcome::done;
    if (preferenceInteger("AnalyzesOnBattery", hoarddDomain, 0) == 0 && isOnBattery(powerSupplies))
        return UnaskedOutcome::onBattery;
    runAtLowPriority(DiskUse::normal, [&library] {
        if (const auto done = analyzeChanges(library); !done && done.error().kind != ProblemKind::ending)
            JX_LOG(JXLogLevelError, JXPhotosStateLog, "can't analyze what has changed: %s",
                   done.error().text.c_str());
    });
    return UnaskedOutcome::done;
}

} // namespace wickerlane::hoardd
