#include "hoardd/library/LibraryFolder.h"

#include <chrono>

#include "hoardd/library/DiskReserve.h"
#include "wickerlane/log/JXLog.h"

namespace wickerlane::hoardd {

namespace {

/// How long a request waits for a mend: longer than to find that the store of a usual library is sound.
constexpr std::chrono::seconds mendPatience{2};

/// The problem with what to do about it.
Problem withCure(Problem problem) {
    constexpr std::string_view cure = "; to repair it: wickerlane check --repair";
    if (problem.kind == ProblemKind::damagedStore && problem.text.find(cure) == std::string::npos)
        problem.text += cure;
    return problem;
}

} // namespace

Result<Library *> LibraryFolder::open() {
    const MutexLock lock(mutex);
    const auto deadline = std::chrono::steady_clock::now() + mendPatience;
    while (isMending)
        if (!mendingEnded.waitUntil(mutex, deadline) && isMending)
            return fail(ProblemKind::busy, "the library is being repaired; try again when that has ended");
    if (damage)
        return fail(*damage);
    return openLocked();
}

Result<Library *> LibraryFolder::openLocked() {
    if (library == nullptr) {
        if (isEnding)
            return stopped();
        auto made = withDiskReserve(folderPaths, [&] { return Library::open(folderPaths); });
        if (!made) {
            JX_LOG(JXLogLevelError, JXGenericLog, "%s", made.error().text.c_str());
            return fail(withCure(made.error()));
        }
        if (whenOpened)
            whenOpened(**made);
        library = *std::move(made);
    }
    if (!isEnding)
        readyLibrary = library.get();
    return library.get();
}

Result<LibraryFolder::Mended> LibraryFolder::openMended() {
    MutexLock lock(mutex);
    while (isMending)
        mendingEnded.wait(mutex);
    if (isEnding)
        return stopped();
    readyLibrary = nullptr;
    isMending = true;
    Library *const known = library.get();
    lock.unlock();
    const auto mended = known != nullptr ? known->writer().mend() : Library::mend(folderPaths);
    lock.lock();
    isMending = false;
    mendingEnded.notifyAll();
    if (!mended) {
        JX_LOG(JXLogLevelError, JXPhotosStateLog, "can't mend the store: %s", mended.error().text.c_str());
        return passOn(mended);
    }
    if (!mended->text.empty())
        JX_LOG(JXLogLevelNotice, JXPhotosStateLog, "%s", mended->text.c_str());
    damage.reset();
    const auto opened = openLocked();
    if (!opened)
        return passOn(opened);
    const bool isChanged = !mended->text.empty();
    if (isChanged)
        if (const auto noted = (*opened)->writer().rewriteNotes(); !noted)
            JX_LOG(JXLogLevelWarning, JXPhotosStateLog, "%s", noted.error().text.c_str());
    return Mended{*opened, isChanged};
}

void LibraryFolder::noteDamage(const Problem &problem) {
    const MutexLock lock(mutex);
    if (library != nullptr && !damage) // else the next call finds out by itself
        damage = withCure(problem);
    if (damage)
        readyLibrary = nullptr;
}

void LibraryFolder::end() {
    const MutexLock lock(mutex);
    isEnding = true;
    readyLibrary = nullptr;
    if (library != nullptr)
        library->end();
}

Library *LibraryFolder::opened() {
    const MutexLock lock(mutex);
    return library.get();
}

} // namespace wickerlane::hoardd
