// The daemon: its library, its service, and when it ends.
#ifndef HOARDD_DAEMON_H
#define HOARDD_DAEMON_H

#include <atomic>
#include <chrono>
#include <span>
#include <vector>

#include "hoardd/analysis/QuietTimer.h"
#include "hoardd/library/LibraryFolder.h"
#include "hoardd/service/Dispatcher.h"
#include "wickerlane/platform/message/listener/MessageListener.h"

namespace wickerlane::hoardd {

/// All that is served: the operations of each family.
[[nodiscard]] std::vector<std::span<const Operation>> allOperations();

struct DaemonOptions {
    std::chrono::milliseconds idleTime{30'000}; ///< Without a connection; then the daemon ends. 0: never.
    std::size_t maxJobs = 256; ///< Saves of a client that wait or run; further ones are refused.
    /// Without a change of the assets; then the library is analyzed. 0: only when a client asks.
    std::chrono::milliseconds quietTime{5'000};
    /// Within which each original is read again. 0: never.
    std::chrono::duration<double> scrubTime = std::chrono::hours(90 * 24);
};

/// One for a process. Thread-safe.
class Daemon {
public:
    explicit Daemon(DaemonOptions options);

    /// Takes the service's name and begins to serve. `ended` is called, on any thread, when the daemon has
    /// been idle. Fails when the name is taken.
    [[nodiscard]] Result<> start(Handler<void()> ended);
    /// Takes no more requests, and waits for the saves that run and for what is being answered.
    void stop();

private:
    void prepareLibrary(Library &library);
    void watchBulletins(Library &library);
    void analyzeWhenQuiet(Library &library);
    void scrubWhenQuiet(Library &library);
    /// Has the trash emptied of what has expired, a day from now and each day after that. The daemon lives as
    /// long as the process.
    void emptyTrashTomorrow(Library &library);
    [[nodiscard]] bool isTimeToLookForBackups() const noexcept;
    void backUpWhenDue();
    [[nodiscard]] bool isTimeToLookForReplacement() const noexcept;
    /// Looks from time to time whether another program has taken the place of this one, as in an upgrade. If
    /// so, ends as soon as no request is being worked for: clients that stay connected, and those that wait
    /// for changes, would keep the old version alive. What they send next starts the new one.
    void endWhenReplaced();
    void endWhenAtRest();
    void backUp(Library &library, const Handler<bool()> &goesOn);

    const DaemonOptions settings;
    JobQueue jobs;       // saves and pictures
    JobQueue beside;     // what reads or decodes for a moment
    JobQueue longWork;   // rebuilds, analyses, repairs: one at a time, so that saves go on beside them
    JobQueue background; // reading originals: a large one takes long, and nothing waits for it
    QuietTimer analysis; // begins what no client has asked for
    QuietTimer scrubbing;
    LibraryFolder folder;
    Dispatcher dispatcher;
    Ref<MessageListener> listener;
    Handler<void()> end; ///< Given by start().
    /// When to look next whether the program was replaced; far away once it was.
    std::atomic<std::chrono::steady_clock::duration> nextLook{};
    /// When to look next whether a backup is due; far away as long as no library is open.
    std::atomic<std::chrono::steady_clock::duration> nextBackup{std::chrono::steady_clock::duration::max()};
};

} // namespace wickerlane::hoardd

#endif
