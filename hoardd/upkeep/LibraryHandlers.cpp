// The library's life and upkeep.
#include "hoardd/albums/Albums.h"
#include "hoardd/library/Clock.h"
#include "hoardd/library/State.h"
#include "hoardd/saving/FoundFiles.h"
#include "hoardd/service/Handlers.h"
#include "hoardd/service/LongWork.h"
#include "hoardd/upkeep/Repair.h"
#include "hoardd/upkeep/Upkeep.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/preferences/Preferences.h"
#include "wickerlane/store/Schema.h"

namespace wickerlane::hoardd {

using namespace protocol;

namespace {

constexpr const char *hoarddDomain = "org.wickerlane.hoardd"; // of its preferences

/// Makes a quick change of the store, and answers.
template <class Change>
void changeStore(Daemon &daemon, const Call &call, const Change &change) {
    if (Library *library = daemon.library(call))
        call.finish(library->writer().change(change));
}

} // namespace

void createPixholdDatabase(Daemon &daemon, const Call &call) {
    if (daemon.library(call) != nullptr)
        call.answer(Answer());
}

void getPhotosAndVideosCount(Daemon &daemon, const Call &call) {
    Library *library = daemon.library(call);
    if (library == nullptr)
        return;
    const auto counts = library->assets().counts();
    if (!counts)
        return call.refuse("the library's store can't be read");
    call.answer(Answer().set(keys::photoCount, counts->photos).set(keys::videoCount, counts->videos));
}

// A library that is open has this version: another one is not opened.
void getCurrentModelVersion(Daemon &daemon, const Call &call) {
    if (daemon.library(call) != nullptr)
        call.answer(Answer().set(keys::version, store::modelVersion()));
}

void getLibrarySizes(Daemon &daemon, const Call &call) {
    Library *library = daemon.library(call);
    if (library == nullptr)
        return;
    std::string problem;
    const auto sizes = sizesOf(*library, problem);
    if (!sizes)
        return call.refuse(problem);
    auto kinds = MutableDictionary::create();
    for (const auto &[kind, bytes] : *sizes)
        kinds->set(String::of(std::to_string(kind)), Number::of(bytes));
    call.answer(Answer().set(keys::sizes, kinds.get()));
}

void importFileSystemAssets(Daemon &daemon, const Call &call) {
    runLongWork(daemon, call, [&daemon](Library &library) {
        return saveFoundFiles(library, [&daemon] { return daemon.longWork().isClosed(); });
    });
}

void repairPotentialModelCorruption(Daemon &daemon, const Call &call) {
    runLongWork(daemon, call, [&daemon](Library &library) {
        return repairLibrary(library, [&daemon] { return daemon.longWork().isClosed(); });
    });
}

// The files are there again, and the store may be older than they are.
void updateModelAfterOTARestore(Daemon &daemon, const Call &call) {
    runLongWork(daemon, call, [&daemon](Library &library) {
        const std::string problem = library.writer().change(
            [](sqlite::Database &database) { return state::set(database, state::restoring, 1); });
        return problem.empty() ? repairLibrary(library, [&daemon] { return daemon.longWork().isClosed(); })
                               : problem;
    });
}

void finalizeOTARestore(Daemon &daemon, const Call &call) {
    const bool withAlbums = call.get(keys::recreateAlbumsFromMetadata), ended = call.get(keys::restoreEnded);
    runLongWork(daemon, call, [withAlbums, ended](Library &library) {
        std::string problem = withAlbums ? Albums(library).recreate() : std::string();
        if (problem.empty() && ended)
            problem = library.writer().change(
                [](sqlite::Database &database) { return state::set(database, state::restoring, 0); });
        return problem;
    });
}

void hasCompletedRestorePostProcessing(Daemon &daemon, const Call &call) {
    Library *library = daemon.library(call);
    if (library == nullptr)
        return;
    std::string problem;
    auto database = library->openReader(problem);
    if (!database)
        return call.refuse(problem);
    call.answer(Answer().set(keys::isComplete, state::get(*database, state::restoring).value_or(0) == 0));
}

void secondsNeededToCleanupModel(Daemon &daemon, const Call &call) {
    Library *library = daemon.library(call);
    if (library == nullptr)
        return;
    std::string problem;
    if (const auto seconds = secondsToRepair(*library, problem))
        call.answer(Answer().set(keys::seconds, *seconds));
    else
        call.refuse(problem);
}

// What a restore from a computer leaves to do is what a repair does.
void cleanupModel(Daemon &daemon, const Call &call) {
    repairPotentialModelCorruption(daemon, call);
}

// Whoever migrates waits for the work that was asked for before; then the database file stands alone.
void dataMigrationWillFinish(Daemon &daemon, const Call &call) {
    runLongWork(daemon, call, [](Library &library) -> std::string {
        return library.writer().checkpoint() ? std::string() : "the store can't be made to stand alone";
    });
}

void notifyAboutTermination(Daemon &daemon, const Call &call) {
    Library *library = daemon.library(call);
    if (library == nullptr)
        return;
    const String *name = call.get(keys::name), *reason = call.get(keys::reason);
    JX_LOG(JXLogLevelError, JXPhotosStateLog, "process %d (%s) ends by an exception: %@: %@",
           call.peer().process, call.peer().executable.c_str(), name, reason);
    call.finish(library->writer().change([&](sqlite::Database &database) {
        return database
            .prepare(
                "INSERT INTO ztermination (date, executable, process, name, reason) VALUES (?, ?, ?, ?, ?)")
            .bind(secondsNow(), call.peer().executable, call.peer().process,
                  name != nullptr ? name->utf8() : std::string_view(),
                  reason != nullptr ? reason->utf8() : std::string_view())
            .run();
    }));
}

void clearChangeStore(Daemon &daemon, const Call &call) {
    changeStore(daemon, call,
                [](sqlite::Database &database) { return database.execute("DELETE FROM zchange"); });
}

// Opening the library is the recovery: what was half saved is completed or undone before anything else.
void recoverFromCrashIfNeeded(Daemon &daemon, const Call &call) {
    createPixholdDatabase(daemon, call);
}

// What there must be one of: the library's identity, and a row of numbers for each kind of asset.
void repairSingletonObjects(Daemon &daemon, const Call &call) {
    changeStore(daemon, call, [](sqlite::Database &database) {
        return database.execute("DELETE FROM zlibrary WHERE rowid > (SELECT min(rowid) FROM zlibrary);") &&
               database.execute(store::recountAssets);
    });
}

// A demonstration library goes back to what it was at the date that the preferences name; without one,
// nothing is a visitor's.
void cleanupForStoreDemoMode(Daemon &daemon, const Call &call) {
    const auto *began = as<Date>(preferenceValue("StoreDemoModeDate", hoarddDomain));
    if (began == nullptr)
        return call.refuse("the library is in no demo mode: the preference StoreDemoModeDate is not set");
    runLongWork(daemon, call, [&daemon, date = began->referenceSeconds()](Library &library) {
        return removeAddedSince(library, date, [&daemon] { return daemon.longWork().isClosed(); });
    });
}

} // namespace wickerlane::hoardd
