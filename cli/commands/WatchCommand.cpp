// wickerlane watch
#include <nlohmann/json.hpp>
#include <optional>

#include "cli/Interrupt.h"
#include "cli/LibraryCounts.h"
#include "cli/Subcommands.h"
#include "cli/Texts.h"
#include "wickerlane/api/WLCallables.h"
#include "wickerlane/platform/object/ReleaseScope.h"

namespace wickerlane::cli {
namespace {

using namespace std::chrono_literals;

struct Options {
    std::uint64_t changes = 0; ///< Ends after that many; 0 is never.
    bool json = false;
};

/// Asks again if the daemon dies before it answers: the request starts another.
Result<LibraryCounts> countWithRetry() {
    const auto counts = countLibrary();
    return counts ? counts : countLibrary();
}

/// Flushes the line, so that a reader of a pipe gets it now.
Result<> write(const LibraryCounts &counts, bool json) {
    print(json ? describe(counts).dump() : textOf(counts));
    return flushOutput();
}

Result<ExitCode> watchUntilInterrupted(const Options &options) {
    Semaphore &wakeUp = interruptSemaphore();
    std::optional<LibraryCounts> shown;
    for (std::uint64_t changes = 0; !isInterrupted();) {
        const ReleaseScope scope;
        const auto counts = countWithRetry();
        if (!counts)
            return passOn(counts);
        if (shown != *counts) {
            if (const auto written = write(*counts, options.json); !written)
                return passOn(written);
            if (shown && ++changes == options.changes)
                break;
            shown = *counts;
        }
        wakeUp.wait();
        while (wakeUp.wait(0ns)) {
        } // one request for all changes until now
    }
    return ExitCode::success;
}

Result<ExitCode> watch(const Options &options) {
    const InterruptScope interrupts;
    // Before the first request, so that no change is missed in between.
    Number *token =
        RZRegisterForPhotosAndVideosCount([] { interruptSemaphore().signal(); }, WorkQueue::global());
    if (token == nullptr)
        return fail(ProblemKind::failed,
                    localized("changes can't be watched; is the library's folder yours?"));
    const auto result = watchUntilInterrupted(options);
    RZUnregisterForPhotosAndVideosCount(token);
    return result;
}

} // namespace

void setUpWatch(Command command) {
    command.footer("Ctrl-C ends it.\n\nExample:\n  wickerlane watch --json");
    Options &options = command.runs(watch);
    command.addOption("--changes", options.changes, "End after this number of changes")
        .positive()
        .typeName("COUNT");
    command.addFlag("--json", options.json, "Write one line of JSON each time");
}

} // namespace wickerlane::cli
