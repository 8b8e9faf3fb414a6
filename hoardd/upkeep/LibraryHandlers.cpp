#include "hoardd/service/OperationFamilies.h"

#include "hoardd/albums/Albums.h"
#include "hoardd/library/Clock.h"
#include "hoardd/library/Failures.h"
#include "hoardd/library/LibraryFolder.h"
#include "hoardd/library/State.h"
#include "hoardd/pictures/Thumbnails.h"
#include "hoardd/saving/FoundFiles.h"
#include "hoardd/service/Call.h"
#include "hoardd/service/PeerLog.h"
#include "hoardd/upkeep/DemoMode.h"
#include "hoardd/upkeep/Repair.h"
#include "hoardd/upkeep/Sizes.h"
#include "hoardd/upkeep/UpkeepStore.h"
#include "wickerlane/log/JXLog.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/preferences/Preferences.h"
#include "wickerlane/protocol/LibraryRows.h"
#include "wickerlane/store/Schema.h"

namespace wickerlane::hoardd {

namespace keys = protocol::keys;
using sqlite::Database;

namespace {

constexpr const char *hoarddDomain = "org.wickerlane.hoardd"; // of its preferences

Result<Answer> createPixholdDatabase(LibraryFolder &folder, const Call &) {
    const auto library = folder.open();
    if (!library)
        return passOn(library);
    return Answer();
}

// Opening the library is most of the recovery: half-done saves are completed or undone before anything else.
// Thumbnails may be due in an open one too, such as after a time without room for them.
Result<Answer> recoverFromCrashIfNeeded(LibraryFolder &folder, const Call &) {
    const auto library = folder.open();
    if (!library)
        return passOn(library);
    makeThumbnailsLeftDue(**library);
    return Answer();
}

Answer answerCounts(std::uint64_t photos, std::uint64_t videos) {
    return Answer().set(keys::photoCount, photos).set(keys::videoCount, videos);
}

Result<Answer> getPhotosAndVideosCount(Library &library, const Call &) {
    const auto counts = library.assets().counts();
    if (!counts)
        return passOn(counts);
    return answerCounts(counts->photos, counts->videos);
}

std::optional<Answer> knownCounts(Library *library, const Call &) {
    const auto counts = library != nullptr ? library->writer().counts() : std::nullopt;
    return counts ? std::optional(answerCounts(counts->photos, counts->videos)) : std::nullopt;
}

// A library that is open has this version: another one is not opened.
Result<Answer> getCurrentModelVersion(Library &, const Call &) {
    return Answer().set(keys::version, store::modelVersion());
}

std::optional<Answer> knownModelVersion(Library *library, const Call &) {
    return library != nullptr ? std::optional(Answer().set(keys::version, store::modelVersion()))
                              : std::nullopt;
}

Result<Answer> getLibrarySizes(Library &library, const Call &) {
    const auto sizes = librarySizes(library);
    if (!sizes)
        return passOn(sizes);
    auto kinds = MutableDictionary::create();
    for (const auto &[kind, bytes] : *sizes)
        kinds->set(String::of(std::to_string(kind)), Number::of(bytes));
    return Answer().set(keys::sizes, kinds.get());
}

Result<Answer> importFileSystemAssets(Library &library, const Call &) {
    return whenDone(saveFoundFiles(library));
}

/// The open library, with its store mended if need be: of its albums there are copies.
Result<Library *> openMended(LibraryFolder &folder) {
    const auto mended = folder.openMended();
    if (!mended)
        return passOn(mended);
    if (mended->isChanged)
        if (const auto recreated = recreateAlbumsOfMendedStore(*mended->library); !recreated)
            return passOn(recreated);
    return mended->library;
}

Result<Answer> repairPotentialModelCorruption(LibraryFolder &folder, const Call &) {
    const auto library = openMended(folder);
    if (!library)
        return passOn(library);
    return whenDone(repairLibrary(**library));
}

// What a restore from a computer leaves to do is what a repair does.
Result<Answer> cleanupModel(Library &library, const Call &) {
    return whenDone(repairLibrary(library));
}

Result<> setRestoring(Library &library, bool isRestoring) {
    return library.writer().change([isRestoring](Database &database) {
        return state::set(database, state::restoring, isRestoring ? 1 : 0);
    });
}

// The files are there again, and the store may be older than they are.
Result<Answer> updateModelAfterOTARestore(LibraryFolder &folder, const Call &) {
    const auto library = openMended(folder);
    if (!library)
        return passOn(library);
    if (const auto noted = setRestoring(**library, true); !noted)
        return passOn(noted);
    return whenDone(repairLibrary(**library));
}

Result<Answer> finalizeOTARestore(Library &library, const Call &call) {
    if (call.get(keys::recreateAlbumsFromMetadata))
        if (const auto recreated = recreateAlbums(library); !recreated)
            return passOn(recreated);
    if (call.get(keys::restoreEnded))
        if (const auto noted = setRestoring(library, false); !noted)
            return passOn(noted);
    return Answer();
}

Result<Answer> hasCompletedRestorePostProcessing(Library &library, const Call &) {
    const auto restoring =
        library.read([](Database &database) { return state::get(database, state::restoring); });
    if (!restoring)
        return passOn(restoring);
    return Answer().set(keys::isComplete, restoring->value_or(0) == 0);
}

Result<Answer> secondsNeededToCleanupModel(Library &library, const Call &) {
    const auto seconds = secondsToRepair(library);
    if (!seconds)
        return passOn(seconds);
    return Answer().set(keys::seconds, *seconds);
}

// A migration waits for the long work that was asked for before; then the database file stands alone.
Result<Answer> dataMigrationWillFinish(Library &library, const Call &) {
    if (const auto moved = library.writer().checkpoint(); !moved)
        return fail(inContext("the store can't be made to stand alone", moved.error()));
    return Answer();
}

Result<Answer> notifyAboutTermination(Library &library, const Call &call) {
    const String *name = call.get(keys::name), *reason = call.get(keys::reason);
    const Termination termination{secondsNow(), call.peer().program.path, call.peer().process,
                                  name != nullptr ? name->utf8() : std::string_view(),
                                  reason != nullptr ? reason->utf8() : std::string_view()};
    JX_LOG(JXLogLevelError, JXPhotosStateLog, "process %d (%s) ends by an exception: %s: %s",
           termination.process, shownInLog(termination.executable).c_str(),
           shownInLog(termination.name).c_str(), shownInLog(termination.reason).c_str());
    return whenDone(library.writer().change(
        [&](Database &database) { return insertTermination(database, termination); }));
}

Result<Answer> clearChangeStore(Library &library, const Call &) {
    return whenDone(library.writer().change(deleteChanges));
}

Result<Answer> repairSingletonObjects(Library &library, const Call &) {
    const std::string &identity = library.assets().storeUUID();
    return whenDone(
        library.writer().change([&](Database &database) { return repairSingletons(database, identity); }));
}

// A demonstration library goes back to what it was at the date that the preferences name; without one,
// nothing is a visitor's.
Result<Answer> cleanupForStoreDemoMode(Library &library, const Call &) {
    const auto *began = as<Date>(preferenceValue("StoreDemoModeDate", hoarddDomain));
    if (began == nullptr)
        return fail(ProblemKind::invalid,
                    "the library is in no demo mode: the preference StoreDemoModeDate is not set");
    return whenDone(removeAddedSince(library, began->referenceSeconds()));
}

constexpr Operation operations[] = {
    {&protocol::createPixholdDatabase, createPixholdDatabase},
    {&protocol::recoverFromCrashIfNeeded, recoverFromCrashIfNeeded, Runs::longWork},
    {.row = &protocol::getPhotosAndVideosCount, .handler = getPhotosAndVideosCount, .known = knownCounts},
    {.row = &protocol::getCurrentModelVersion, .handler = getCurrentModelVersion, .known = knownModelVersion},
    reading(protocol::getLibrarySizes, getLibrarySizes, Runs::beside),
    {&protocol::importFileSystemAssets, importFileSystemAssets, Runs::longWork},
    {&protocol::importFileSystemAssetsInBackground, importFileSystemAssets, Runs::longWork},
    {&protocol::repairPotentialModelCorruption, repairPotentialModelCorruption, Runs::longWork},
    {&protocol::cleanupModel, cleanupModel, Runs::longWork},
    reading(protocol::secondsNeededToCleanupModel, secondsNeededToCleanupModel, Runs::beside),
    {&protocol::updateModelAfterOTARestore, updateModelAfterOTARestore, Runs::longWork},
    {&protocol::finalizeOTARestore, finalizeOTARestore, Runs::longWork},
    reading(protocol::hasCompletedRestorePostProcessing, hasCompletedRestorePostProcessing),
    {&protocol::dataMigrationWillFinish, dataMigrationWillFinish, Runs::longWork},
    {&protocol::notifyAboutTermination, notifyAboutTermination},
    {&protocol::clearChangeStore, clearChangeStore},
    {&protocol::repairSingletonObjects, repairSingletonObjects},
    {&protocol::cleanupForStoreDemoMode, cleanupForStoreDemoMode, Runs::longWork},
};

} // namespace

std::span<const Operation> libraryOperations() {
    return operations;
}

} // namespace wickerlane::hoardd
