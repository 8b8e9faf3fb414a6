#include "hoardd/Daemon.h"

#include <unistd.h>

#include <algorithm>
#include <cmath>

#include "hoardd/albums/BulletinBoard.h"
#include "hoardd/analysis/LibraryAnalysis.h"
#include "hoardd/library/Clock.h"
#include "hoardd/library/StoreBackups.h"
#include "hoardd/pictures/DerivedSize.h"
#include "hoardd/pictures/LateFacts.h"
#include "hoardd/pictures/Thumbnails.h"
#include "hoardd/saving/FoundFiles.h"
#include "hoardd/saving/Publication.h"
#include "hoardd/saving/Trash.h"
#include "hoardd/service/Battery.h"
#include "hoardd/service/OperationFamilies.h"
#include "hoardd/upkeep/Scrub.h"
#include "wickerlane/log/JXLog.h"
#include "wickerlane/platform/console/Console.h"
#include "wickerlane/platform/process/RunningProgram.h"
#include "wickerlane/platform/queue/WorkQueue.h"
#include "wickerlane/protocol/ServiceName.h"

namespace wickerlane::hoardd {

namespace {

// Of one client. The listener holds fewer messages of a connection.
constexpr std::size_t maxBeside = 4'096;
constexpr std::size_t maxLongWork = 64;
constexpr std::chrono::minutes batteryPause{5};
constexpr std::chrono::hours pauseAfterFailure{1};
constexpr std::chrono::seconds scrubDelay{5}; // after the library was opened, when there is most to do

} // namespace

std::vector<std::span<const Operation>> allOperations() {
    return {accessOperations(), assetOperations(),   renditionOperations(), videoOperations(),
            saveOperations(),   fileOperations(),    dateOperations(),      detailOperations(),
            albumOperations(),  sharingOperations(), libraryOperations(),   analysisOperations(),
            trashOperations(),  queryOperations()};
}

Daemon::Daemon(DaemonOptions options)
    : settings(options), jobs(options.maxJobs), beside(maxBeside),
      longWork(maxLongWork, 1, "too much long work is waiting; try again later"), background(1, 1),
      analysis([this] {
          if (Library *library = folder.opened())
              analyzeWhenQuiet(*library);
      }),
      scrubbing([this] {
          if (Library *library = folder.opened())
              scrubWhenQuiet(*library);
      }),
      folder(store::LibraryPaths(), [this](Library &library) { prepareLibrary(library); }),
      dispatcher({.operations = allOperations(),
                  .folder = &folder,
                  .openLibrary = [this] { return folder.open(); },
                  .readyLibrary = [this] { return folder.ready(); },
                  .storeIsDamaged = [this](const Problem &problem) { folder.noteDamage(problem); },
                  .jobs = &jobs,
                  .beside = &beside,
                  .longWork = &longWork}) {
}

void Daemon::prepareLibrary(Library &library) {
    recoverSaves(library);
    if (const auto forgotten = forgetUnfinishedChanges(library); !forgotten)
        JX_LOG(JXLogLevelError, JXPhotosStateLog, "%s", forgotten.error().text.c_str());
    // Beside the requests.
    static_cast<void>(ClientJobs::ownOf(longWork).add({[&library] {
        saveFilesLeftFound(library);
        emptyExpiredTrash(library);
        tryUndecodable(library, Refused::byOthers);
        makeThumbnailsLeftDue(library);
    }}));
    static_cast<void>(ClientJobs::ownOf(background).add({[&library] {
        measureLeftUnknown(library);
        readLateFacts(library);
    }}));
    library.thumbnailRetry().whenDue([this, &library] {
        static_cast<void>(ClientJobs::ownOf(longWork).add({[&library] { makeThumbnailsLeftDue(library); }}));
    });
    nextBackup = std::chrono::steady_clock::now().time_since_epoch();
    emptyTrashTomorrow(library);
    watchBulletins(library);
    if (settings.scrubTime.count() > 0)
        scrubbing.startAfter(scrubDelay);
    const bool analyzes = settings.quietTime.count() != 0;
    library.writer().whenAssetsChange([this, &library, analyzes] {
        library.waitingCalls().noteChange();
        if (analyzes)
            analysis.startAfter(settings.quietTime);
    });
    if (analyzes)
        analysis.startAfter(settings.quietTime); // of what an earlier process has left
}

void Daemon::analyzeWhenQuiet(Library &library) {
    static_cast<void>(ClientJobs::ownOf(longWork).add({[this, &library] {
        if (analyzeUnasked(library, "/sys/class/power_supply") == UnaskedOutcome::onBattery)
            analysis.startAfter(batteryPause);
    }}));
}

void Daemon::scrubWhenQuiet(Library &library) {
    static_cast<void>(ClientJobs::ownOf(background).add({[this, &library] {
        using Clock = std::chrono::steady_clock;
        constexpr int restingShare = 3; // so that the disk rests for most of the time
        if (isOnBattery())
            return scrubbing.startAfter(batteryPause);
        while (!library.isEnding()) {
            const auto begun = Clock::now();
            const auto outcome = scrub(library, settings.scrubTime.count(), secondsNow());
            if (!outcome) {
                JX_LOG(JXLogLevelError, JXPhotosStateLog, "can't read originals again: %s",
                       outcome.error().text.c_str());
                return scrubbing.startAfter(pauseAfterFailure);
            }
            if (!outcome->isDue)
                return scrubbing.startAfter(outcome->pause);
            // The process does not end as long as it is behind.
            if (!outcome->isBehind)
                return scrubbing.startAfter((Clock::now() - begun) * restingShare);
        }
    }}));
}

// Looks again when the next one expires, or in an hour: others may have come, and clocks are set.
void Daemon::watchBulletins(Library &library) {
    const auto expire = [this, &library] {
        const double now = secondsNow();
        const auto next = expireBulletins(library, now);
        const double pause = next ? next->value_or(INFINITY) - now : INFINITY;
        WorkQueue::global()->after(
            std::chrono::milliseconds(static_cast<std::int64_t>(std::clamp(pause, 0.01, 3600.0) * 1000)),
            [this, &library] { watchBulletins(library); });
    };
    static_cast<void>(
        ClientJobs::ownOf(longWork).add({expire})); // which is closed when the process is ending
}

void Daemon::emptyTrashTomorrow(Library &library) {
    WorkQueue::global()->after(std::chrono::hours(24), [this, &library] {
        static_cast<void>(ClientJobs::ownOf(longWork).add({[&library] { emptyExpiredTrash(library); }}));
        emptyTrashTomorrow(library);
    });
}

bool Daemon::isTimeToLookForBackups() const noexcept {
    return std::chrono::steady_clock::now().time_since_epoch() >= nextBackup.load(std::memory_order_relaxed);
}

// Asked with each request, so that a daemon that runs for months makes backups, and one that nobody asks
// ends.
void Daemon::backUpWhenDue() {
    constexpr std::chrono::seconds between{60};
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    auto next = nextBackup.load(std::memory_order_relaxed);
    if (now < next || !nextBackup.compare_exchange_strong(next, now + between))
        return;
    Library *library = folder.opened();
    if (library != nullptr && (isBackupDue(library->paths()) || library->writer().areNotesIncomplete()))
        static_cast<void>(ClientJobs::ownOf(longWork).add(
            {[this, library] { backUp(*library, [library] { return !library->isEnding(); }); }}));
}

void Daemon::backUp(Library &library, const Handler<bool()> &goesOn) {
    const auto counts = library.assets().counts();
    Result<> done;
    if (isBackupDue(library.paths()) && counts && counts->photos + counts->videos > 0)
        done = backUpStore(library.paths(), goesOn);
    if (!done && done.error().kind == ProblemKind::damagedStore)
        folder.noteDamage(done.error());
    if (done)
        done = library.writer().rewriteNotes();
    if (!done)
        JX_LOG(JXLogLevelError, JXPhotosStateLog, "can't back the store up: %s", done.error().text.c_str());
}

bool Daemon::isTimeToLookForReplacement() const noexcept {
    return std::chrono::steady_clock::now().time_since_epoch() >= nextLook.load(std::memory_order_relaxed);
}

void Daemon::endWhenReplaced() {
    using Clock = std::chrono::steady_clock;
    constexpr std::chrono::seconds between{2};
    const auto now = Clock::now().time_since_epoch();
    auto next = nextLook.load(std::memory_order_relaxed);
    if (now < next || !nextLook.compare_exchange_strong(next, now + between))
        return;
    // One that was only removed has no successor.
    const RunningProgram program = programOf(::getpid());
    if (program.standing != ProgramStanding::gone || ::access(program.path.c_str(), X_OK) != 0)
        return;
    nextLook = Clock::duration::max();
    consoleLog("hoardd: %s was replaced: this hoardd, of version %s, ends when it has done what was asked",
               program.path.c_str(), PeerVersion::own().text().c_str());
    endWhenAtRest();
}

void Daemon::endWhenAtRest() {
    constexpr std::chrono::milliseconds pause{10}; // a client that asks in a loop leaves short gaps
    WorkQueue::global()->after(pause, [this] {
        Library *library = folder.opened();
        const std::size_t waiting = library != nullptr ? library->waitingCalls().count() : 0;
        if (listener->heldMessages() <= waiting)
            end();
        else
            endWhenAtRest();
    });
}

Result<> Daemon::start(Handler<void()> ended) {
    end = ended;
    // What one client asks for is done in the order in which it asked; what takes long is handed on.
    std::string reason;
    listener = MessageListener::create(
        WickerlaneGatekeeperName, WorkQueue::global(),
        [this](ReceivedMessage *message) {
            dispatcher.dispatch(Call(message));
            backUpWhenDue();
            endWhenReplaced();
        },
        {.idleTime = settings.idleTime,
         .idle = std::move(ended),
         .ordersEachPeer = true,
         .atOnce =
             [this](ReceivedMessage *message) {
                 return !isTimeToLookForBackups() && !isTimeToLookForReplacement() &&
                        dispatcher.serveKnown(Call(message));
             },
         .weight = [this](std::string_view key) { return dispatcher.weightOf(key); }},
        &reason);
    if (!listener)
        return fail(ProblemKind::failed, reason);
    if (!listener->resume())
        return fail(ProblemKind::failed, "the system has no thread left");
    return {};
}

void Daemon::stop() {
    jobs.close();
    folder.end();
    longWork.close();
    background.close();
    dispatcher.end();
    beside.close();
    listener->cancel(); // after the saves, so that they are answered
    dispatcher.stop();
    if (Library *library = folder.opened()) {
        if (storeBackups(library->paths()).empty()) // it has not run for long enough to make one
            backUp(*library, [] { return true; });
        library->close();
    }
}

} // namespace wickerlane::hoardd
