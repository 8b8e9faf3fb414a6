// wickerlane watch
#include <cstdio>
#include <nlohmann/json.hpp>
#include <optional>

#include "cli/Command.h"
#include "cli/Interrupt.h"
#include "cli/OpenedLibrary.h"
#include "cli/Waiting.h"
#include "wickerlane/api/RZLibrary.h"
#include "wickerlane/platform/object/ReleaseScope.h"

namespace wickerlane::cli {
namespace {

using namespace std::chrono_literals;

struct Counts {
    std::uint64_t photos = 0;
    std::uint64_t videos = 0;
    bool operator==(const Counts &) const = default;
};

std::optional<Counts> askOnce() {
    Awaited<std::optional<Counts>> answer;
    RZGetPhotosAndVideosCount([answer](const Number *photos, const Number *videos) {
        answer.give(photos != nullptr && videos != nullptr
                        ? std::optional(Counts{photos->uint64Value(), videos->uint64Value()})
                        : std::nullopt);
    });
    return answer.take();
}

/// Asks again when the daemon has died over the question: the next one is started.
std::optional<Counts> askCounts() {
    const auto counts = askOnce();
    return counts ? counts : askOnce();
}

/// Writes a line that is seen at once, also in a pipe.
bool write(const Counts &counts, bool json) {
    if (json)
        print(JSON{{"photos", counts.photos}, {"videos", counts.videos}}.dump());
    else
        print(countText(counts.photos, "photo", "photos") + ", " +
              countText(counts.videos, "video", "videos"));
    return std::fflush(stdout) == 0;
}

struct Options {
    std::size_t changes = 0; ///< After which it ends; 0 is never.
    bool json = false;
};

ExitCode watchUntilInterrupted(const Options &options) {
    Semaphore &wakeUp = interruptSemaphore();
    std::optional<Counts> shown;
    for (std::size_t changes = 0; !isInterrupted();) {
        const auto counts = askCounts();
        if (!counts)
            return failUnreachable();
        if (shown != counts) {
            if (!write(*counts, options.json))
                return fail(ExitCode::failure, "the output could not be written");
            if (shown && ++changes == options.changes)
                break;
            shown = counts;
        }
        wakeUp.wait();
        while (wakeUp.wait(0ns)) {
        } // several changes make one question
    }
    return ExitCode::success;
}

ExitCode watch(const Options &options) {
    ReleaseScope scope;
    // First of all, so that no change falls between the first question and the watch.
    Number *token =
        RZRegisterForPhotosAndVideosCount([] { interruptSemaphore().signal(); }, WorkQueue::global());
    if (token == nullptr)
        return fail(ExitCode::failure, "changes can't be watched; is the library's folder yours?");
    const ExitCode result = watchUntilInterrupted(options);
    RZUnregisterForPhotosAndVideosCount(token);
    return result;
}

} // namespace

void addWatch(Command app, Action &chosen) {
    const auto command =
        app.addSubcommand("watch", "Show the counts of photos and videos, and again whenever they "
                                   "change, until Ctrl-C");
    command.footer("Example:\n  wickerlane watch --json");
    auto options = std::make_shared<Options>();
    command.addOption("--changes", options->changes, "End after so many changes")
        .positive()
        .typeName("COUNT");
    command.addFlag("--json", options->json, "Write JSON, a line each time");
    command.callback([options, &chosen] { chosen = [options] { return watch(*options); }; });
}

} // namespace wickerlane::cli
