#include "cli/LibraryState.h"

#include <unistd.h>

#include <cerrno>

#include "cli/DaemonRequests.h"
#include "cli/ForeignProblems.h"
#include "cli/Texts.h"
#include "wickerlane/store/LibraryCheck.h"
#include "wickerlane/store/StoreReader.h"

namespace wickerlane::cli {
namespace {

Failure failWithoutStore(const store::LibraryPaths &paths) {
    if (store::hasOriginals(paths))
        return fail(
            ProblemKind::damagedStore,
            localized("the store of the library in {} is missing beside its originals. To make it again: "
                      "wickerlane check --repair",
                      paths.folder()));
    return fail(ProblemKind::notFound,
                localized("there is no library in {} yet. To make one, save photos into it: "
                          "wickerlane import FOLDER",
                          paths.folder()));
}

std::string withAdvice(ProblemKind kind, std::string text) {
    switch (kind) {
    case ProblemKind::damagedStore:
        return localized("{}. To repair it: wickerlane check --repair", text);
    case ProblemKind::newerVersion:
        return localized("{}. Install a wickerlane that is at least as new", text);
    case ProblemKind::refused:
        return localized("{}. Only its owner may read it directly", text);
    default:
        return text;
    }
}

} // namespace

Failure failToOpenStore(const Problem &problem) {
    return fail(problem.kind, withAdvice(problem.kind, localized("the library in {} can't be read: {}",
                                                                 store::LibraryPaths().folder(),
                                                                 withKindInWords(problem).text)));
}

Result<> requireLibrary() {
    const store::LibraryPaths paths;
    if (access(paths.database().c_str(), F_OK) != 0 && errno == ENOENT)
        return failWithoutStore(paths);
    return {};
}

Result<> requireReadableStore() {
    if (const auto there = requireLibrary(); !there)
        return there;
    const store::LibraryPaths paths;
    auto store = store::StoreReader::open(paths);
    if (!store && store.error().kind == ProblemKind::busy) {
        // The daemon brings it up to date when it opens it.
        if (const auto answers = requireDaemon(); !answers)
            return answers;
        store = store::StoreReader::open(paths);
    }
    if (!store)
        return failToOpenStore(store.error());
    return {};
}

} // namespace wickerlane::cli
