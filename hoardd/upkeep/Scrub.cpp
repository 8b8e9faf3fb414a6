#include "hoardd/upkeep/Scrub.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "hoardd/albums/BulletinStore.h"
#include "hoardd/library/Clock.h"
#include "hoardd/library/State.h"
#include "hoardd/service/LowPriority.h"
#include "hoardd/upkeep/ScrubStore.h"
#include "wickerlane/log/JXLog.h"
#include "wickerlane/model/RecordFaults.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/store/Schema.h"
#include "wickerlane/store/Sha256Internal.h"

namespace wickerlane::hoardd {

using sqlite::Database;
using std::chrono::milliseconds;
using store::OriginalFault;

namespace {

constexpr std::size_t maxFiles = 64; // of one call
constexpr std::uint64_t maxBytes = 64 << 20;

/// The times of which the pace is made, in seconds.
struct Pace {
    // The rest is for a daemon that did not run, or could not keep up.
    explicit Pace(double within) : round(within * 8 / 9), behind(within / 18), faulty(within / 90) {}

    double round;  ///< For reading all once.
    double behind; ///< What it may be behind by.
    double faulty; ///< Between two readings of an original with a fault.
};

/// What there is to read.
struct Plan {
    double scrubbed = 0; ///< Until when the pace was kept.
    bool isNoted = true; ///< By the store, just so.
    std::int64_t files = 0;
    std::size_t due = 0;
    std::vector<ScrubbedFile> faulty;
    std::vector<ScrubbedFile> next;
};

std::int64_t nanoseconds(const timespec &time) {
    return std::int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

/// A file that has just been looked at.
struct Reading {
    ScrubbedFile file;        ///< With what was found.
    OriginalFault former;     ///< What was found the last time.
    bool isConclusive = true; ///< Not when a passing reason kept it from being read, or it was just changed.
};

/// Shortages of this process, or of the system, which say nothing of the file.
bool isShortage(int errorNumber) {
    return errorNumber == EMFILE || errorNumber == ENFILE || errorNumber == ENOMEM;
}

bool isSameFile(const struct stat &one, const struct stat &other) {
    return one.st_ino == other.st_ino && one.st_size == other.st_size &&
           nanoseconds(one.st_ctim) == nanoseconds(other.st_ctim);
}

/// Without a time at which it was read last, that of its saving stands for it, with room for copying.
bool wasWrittenSince(const ScrubbedFile &last, const struct stat &status) {
    constexpr double copying = 60;
    return last.modified ? *last.modified != nanoseconds(status.st_mtim)
                         : referenceSeconds(status.st_mtim) > last.asset.dateAdded + copying;
}

class Scrub {
public:
    Scrub(Library &scrubbed, double time) : library(scrubbed), now(time) {}

    /// Reads at a low priority, as many as are not too much for one turn. At least one.
    void read(std::vector<ScrubbedFile> files) {
        if (files.empty())
            return;
        runAtLowPriority(DiskUse::idle, [&] {
            for (ScrubbedFile &each : files) {
                if (library.isEnding() || bytes >= maxBytes)
                    break;
                bytes += each.byteSize();
                readings.push_back(reading(std::move(each)));
                conclusions += readings.back().isConclusive ? 1 : 0;
            }
        });
        std::erase_if(readings, [this](const Reading &each) { return !isToBeNoted(each); });
    }

    /// How many were read, conclusively or not.
    std::size_t count = 0;
    /// How many of those need not be read again for now.
    std::size_t conclusions = 0;

    [[nodiscard]] const std::vector<Reading> &conclusive() const noexcept { return readings; }

private:
    Reading reading(ScrubbedFile read) {
        ++count;
        const OriginalFault former = read.fault;
        Reading made{std::move(read), former};
        made.file.fault = OriginalFault::none;
        made.file.detail.clear();
        made.file.date = now;
        if (!faultOf(made.file.asset).empty())
            return made; // a check finds the row
        const std::string path = made.file.path(library.paths());
        struct stat before {};
        UniqueFd file = openFile(path, O_RDONLY | O_NONBLOCK);
        if (!file || ::fstat(file.get(), &before) != 0)
            return failed(std::move(made), errno);
        if (!S_ISREG(before.st_mode) || static_cast<std::uint64_t>(before.st_size) != made.file.byteSize()) {
            judge(made, OriginalFault::changed, before);
            return made;
        }
        // From the disk, not from memory, and without pushing anything else out of that.
        static_cast<void>(::posix_fadvise(file.get(), 0, 0, POSIX_FADV_DONTNEED));
        errno = 0; // it may fail for a reason of its own
        const auto sum = store::sha256OfFile(file.get(), path, [this] { return !library.isEnding(); });
        const int errorNumber = errno;
        static_cast<void>(::posix_fadvise(file.get(), 0, 0, POSIX_FADV_DONTNEED));
        if (!sum && sum.error().kind == ProblemKind::ending)
            made.isConclusive = false;
        else if (!sum)
            return failed(std::move(made), errorNumber);
        else if (*sum == made.file.sum())
            made.file.modified = nanoseconds(before.st_mtim);
        else
            judge(made,
                  wasWrittenSince(made.file, before) || made.former == OriginalFault::changed
                      ? OriginalFault::changed
                      : OriginalFault::damaged,
                  before);
        return made;
    }

    /// A file that is not what was saved. It is the same one under the asset's lock, unless somebody
    /// works on it.
    void judge(Reading &made, OriginalFault fault, const struct stat &before) {
        made.file.fault = fault;
        made.file.modified = nanoseconds(before.st_mtim);
        const MutexLock lock(library.locks().of(made.file.asset.uuid));
        struct stat after {};
        made.isConclusive =
            ::lstat(made.file.path(library.paths()).c_str(), &after) == 0 && isSameFile(before, after);
    }

    Reading failed(Reading made, int errorNumber) {
        const std::string path = made.file.path(library.paths());
        const MutexLock lock(library.locks().of(made.file.asset.uuid));
        struct stat status {};
        const bool isMissing = ::lstat(path.c_str(), &status) != 0 && errno == ENOENT;
        made.file.fault = isMissing ? OriginalFault::missing : OriginalFault::unreadable;
        made.isConclusive = isMissing || (errorNumber != ENOENT && !isShortage(errorNumber));
        if (!isMissing)
            made.file.detail = systemProblem("read", path, errorNumber).text;
        return made;
    }

    /// The asset may have gone while its file was read.
    bool isToBeNoted(const Reading &each) {
        return each.isConclusive && library.writer().contains(each.file.asset.uuid).value_or(false);
    }

    Library &library;
    const double now;
    std::uint64_t bytes = 0;
    std::vector<Reading> readings;
};

const char *describe(OriginalFault fault) {
    switch (fault) {
    case OriginalFault::none:
        return "is what was saved";
    case OriginalFault::damaged:
        return "is damaged: its contents are others, though nothing seems to have written to it";
    case OriginalFault::changed:
        return "was changed by another program";
    case OriginalFault::unreadable:
        return "can't be read";
    case OriginalFault::missing:
        return "is missing";
    }
    return "";
}

void logReadings(Library &library, const std::vector<Reading> &readings) {
    for (const auto &[file, former, isConclusive] : readings)
        if (file.fault != former)
            JX_LOG(file.fault == OriginalFault::none ? JXLogLevelNotice : JXLogLevelError, JXPhotosStateLog,
                   "the %s %s %s%s%s%s", file.companion ? "companion" : "original",
                   file.path(library.paths()).c_str(), describe(file.fault),
                   file.fault == OriginalFault::none ? " again" : "", file.detail.empty() ? "" : ": ",
                   file.detail.c_str());
}

/// Stores the results, and posts a bulletin for each asset that was without a fault.
Result<> noteReadings(Library &library, const std::vector<Reading> &readings, double now,
                      std::optional<double> scrubbed) {
    const auto noted = library.writer().change([&](Database &database) -> Result<> {
        for (const Reading &each : readings) {
            const auto wasFaulty = isFaulty(database, each.file.asset);
            if (!wasFaulty)
                return passOn(wasFaulty);
            if (const auto stored = storeScrubbed(database, each.file); !stored)
                return stored;
            if (*wasFaulty || each.file.fault == OriginalFault::none)
                continue;
            if (const auto posted = addOriginalBulletin(database, each.file.asset, now); !posted)
                return posted;
        }
        if (!scrubbed)
            return {};
        return state::set(database, state::scrubbed, std::llround(*scrubbed * 1000));
    });
    if (!noted)
        return noted;
    logReadings(library, readings);
    return {};
}

bool isDueAgain(const Library &library, const ScrubbedFile &faulty, const Pace &pace, double now) {
    struct stat status {};
    const bool isThere = ::lstat(faulty.path(library.paths()).c_str(), &status) == 0;
    return faulty.date > now || faulty.date + pace.faulty <= now ||
           isThere == (faulty.fault == OriginalFault::missing) ||
           (isThere && referenceSeconds(status.st_ctim) > faulty.date);
}

Result<Plan> makePlan(Library &library, const Pace &pace, double now) {
    return library.read([&](Database &database) -> Result<Plan> {
        Plan plan;
        const auto scrubbed = state::get(database, state::scrubbed);
        const auto files = countFilesToScrub(database);
        auto faulty = faultyFiles(database, maxFiles);
        if (!scrubbed)
            return passOn(scrubbed);
        if (!files)
            return passOn(files);
        if (!faulty)
            return passOn(faulty);
        plan.files = *files;
        // A clock that was set may have made the time a future one.
        const double noted = *scrubbed ? static_cast<double>(**scrubbed) / 1000 : now;
        plan.scrubbed = std::clamp(noted, now - pace.round, now);
        plan.isNoted = *scrubbed && plan.scrubbed == noted;
        constexpr double rounding = 1e-6; // of a file
        plan.due = static_cast<std::size_t>(
            (now - plan.scrubbed) / pace.round * static_cast<double>(plan.files) + rounding);
        plan.faulty = *std::move(faulty);
        if (plan.due == 0)
            return plan;
        auto next = longestUnread(database, std::min(plan.due, maxFiles));
        if (!next)
            return passOn(next);
        plan.next = *std::move(next);
        return plan;
    });
}

} // namespace

Result<ScrubOutcome> scrub(Library &library, double within, double now) {
    const Pace pace(within);
    auto plan = makePlan(library, pace, now);
    if (!plan)
        return passOn(plan);
    const double each = pace.round / static_cast<double>(std::max<std::int64_t>(plan->files, 1));
    std::erase_if(plan->faulty, [&](const ScrubbedFile &faulty) {
        return !isDueAgain(library, faulty, pace, now) ||
               std::ranges::any_of(plan->next,
                                   [&](const ScrubbedFile &next) { return next.isSameAs(faulty); });
    });
    Scrub turn(library, now);
    turn.read(std::move(plan->next));
    // The pace falls behind by what was inconclusive, so that others are read beside it.
    const std::size_t done = turn.count, conclusions = turn.conclusions;
    turn.read(std::move(plan->faulty));
    const double scrubbed = plan->scrubbed + static_cast<double>(conclusions) * each;
    // Without anything to note, the disk is left alone.
    if (turn.count > 0 || (plan->files > 0 && !plan->isNoted))
        if (const auto noted = noteReadings(library, turn.conclusive(), now, scrubbed); !noted)
            return passOn(noted);
    constexpr double longest = 3600, rounds = 11'520; // of each, pauses of ten minutes where it is 80 days
    return ScrubOutcome{.read = turn.count,
                        .isBehind = conclusions > 0 && now - scrubbed > pace.behind,
                        .isDue = plan->due > done,
                        .pause = milliseconds(std::llround(
                            1000 * std::min(longest, std::max({each, pace.round / rounds, 0.1}))))};
}

Result<> scrubFaulty(Library &library, double now) {
    constexpr std::size_t many = 100'000;
    auto faulty = library.read([](Database &database) { return faultyFiles(database, many); });
    if (!faulty)
        return passOn(faulty);
    for (ScrubbedFile &each : *faulty) {
        if (const auto on = library.goesOn(); !on)
            return {};
        Scrub turn(library, now);
        turn.read({std::move(each)});
        if (const auto noted = noteReadings(library, turn.conclusive(), now, std::nullopt); !noted)
            return noted;
    }
    return {};
}

} // namespace wickerlane::hoardd
