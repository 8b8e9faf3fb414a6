#include "cli/LibraryState.h"

#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>

#include "cli/DaemonRequests.h"
#include "wickerlane/store/LibraryCheck.h"
#include "wickerlane/store/StoreReader.h"

namespace wickerlane::cli {
namespace {

Failure failWithoutStore(const store::LibraryPaths &paths) {
    if (store::hasOriginals(paths))
        return fail(
            ProblemKind::damagedStore,
            fmt::format("the store of the library in {} is missing beside its originals. To make it again: "
                        "wickerlane check --repair",
                        paths.folder()));
    return fail(ProblemKind::notFound,
                fmt::format("there is no library in {} yet. To make one, save photos into it: "
                            "wickerlane import FOLDER",
                            paths.folder()));
}

std::string whatToDo(ProblemKind kind) {
    switch (kind) {
    case ProblemKind::damagedStore:
        return ". To repair it: wickerlane check --repair";
    case ProblemKind::newerVersion:
        return ". Install a wickerlane that is at least as new";
    case ProblemKind::refused:
        return ". Only its owner may read it directly";
    default:
        return {};
    }
}

} // namespace

Failure failToOpenStore(const Problem &problem) {
    return fail(problem.kind,
                fmt::format("the library in {} can't be read: {}{}", store::LibraryPaths().folder(),
                            problem.text, whatToDo(problem.kind)));
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
