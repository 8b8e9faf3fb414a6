// wickerlane check
#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <filesystem>
#include <optional>

#include "cli/DaemonRequests.h"
#include "cli/FileFailures.h"
#include "cli/ForeignProblems.h"
#include "cli/Interrupt.h"
#include "cli/LibraryState.h"
#include "cli/Output.h"
#include "cli/Progress.h"
#include "cli/Subcommands.h"
#include "cli/Texts.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/protocol/LibraryRows.h"
#include "wickerlane/store/LibraryCheck.h"
#include "wickerlane/store/Sha256Internal.h"

namespace wickerlane::cli {
namespace {

struct Options {
    bool repair = false;
    bool withoutSums = false;
    bool json = false;
};

Result<Sha256> sumOfFile(const std::string &path) {
    const UniqueFd file = openFile(path, O_RDONLY);
    if (!file)
        return failToRead(path);
    return store::sha256OfFile(file.get(), path);
}

Result<store::CheckReport> runCheck(const store::LibraryPaths &paths, const Options &options) {
    std::unique_ptr<Progress> progress;
    std::size_t shown = 0;
    store::CheckOptions wanted;
    if (!options.withoutSums) {
        wanted.sumOfFile = [](const std::string &path) { return sumOfFile(path); };
        wanted.thumbnails = store::ThumbnailLook::whole;
    }
    wanted.isCancelled = [] { return isInterrupted(); };
    wanted.progress = [&](std::size_t done, std::size_t total) {
        if (!progress)
            progress = std::make_unique<Progress>(localized("checking"), total);
        progress->advance(done - shown);
        shown = done;
    };
    auto report = store::checkLibrary(paths, wanted);
    if (!report)
        return fail(report.error().kind,
                    localized("the library can't be checked: {}", withKindInWords(report.error()).text),
                    report.error().file);
    return report;
}

JSON describe(const store::CheckReport &report, std::size_t repaired) {
    JSON findings = JSON::array();
    for (const store::Finding &each : report.findings) {
        findings.push_back({{"kind", nameOf(each.kind)}, {"path", each.path}});
        if (!each.uuid.empty())
            findings.back()["uuid"] = each.uuid;
        if (!each.detail.empty())
            findings.back()["problem"] = each.detail;
    }
    return {{"assetCount", report.assets},
            {"findings", findings},
            {"repaired", repaired},
            {"interrupted", isInterrupted()}};
}

/// About an original or a companion, which only a backup brings back.
bool isAboutKeptFile(const store::Finding &finding) {
    using enum store::Finding::Kind;
    constexpr std::array kinds{missingOriginal,  changedOriginal,  damagedOriginal, unreadable,
                               missingCompanion, changedCompanion, damagedCompanion};
    return std::ranges::find(kinds, finding.kind) != kinds.end();
}

/// Nothing else was looked at.
bool isAboutStore(const store::Finding &finding) {
    using Kind = store::Finding::Kind;
    return finding.kind == Kind::damagedStore || finding.kind == Kind::missingStore;
}

void printReport(const store::CheckReport &report, std::size_t repaired, const Options &options) {
    for (const store::Finding &each : report.findings)
        print(fmt::format("{}: {}{}", nameOf(each.kind), each.path,
                          each.detail.empty() ? "" : " (" + each.detail + ")"));
    const std::size_t found = report.findings.size();
    std::vector parts{options.withoutSums
                          ? localizedCount(report.assets, "{} asset checked without checksums",
                                           "{} assets checked without checksums")
                          : localizedCount(report.assets, "{} asset checked", "{} assets checked")};
    if (repaired > 0) {
        parts.push_back(localizedCount(repaired, "{} problem repaired", "{} problems repaired"));
        parts.push_back(found == 0 ? localized("none left")
                                   : localizedCount(found, "{} problem left", "{} problems left"));
    } else
        parts.push_back(found == 0 ? localized("no problems found")
                                   : localizedCount(found, "{} problem found", "{} problems found"));
    const std::string summary = joined(parts);
    print(isInterrupted() ? localized("{}; interrupted, the rest was not checked", summary) : summary);
    if (!report.findings.empty() && !options.repair)
        advise(localized("to repair what can be repaired: wickerlane check --repair"));
    if (std::ranges::any_of(report.findings, isAboutKeptFile))
        advise(localized(
            "if a backup has good copies of these files, which is not known here, this puts them back: "
            "wickerlane backup restore FOLDER"));
}

/// What repairs have written beside the store about what they did to it.
std::vector<std::string> repairReports(const store::LibraryPaths &paths) {
    const std::filesystem::path database = paths.database();
    const std::string prefix = database.filename().string() + '.';
    std::vector<std::string> reports;
    std::error_code none;
    for (const auto &entry : std::filesystem::directory_iterator(database.parent_path(), none)) {
        const std::string name = entry.path().filename();
        if (name.starts_with(prefix) && name.ends_with(".txt"))
            reports.push_back(entry.path());
    }
    std::ranges::sort(reports);
    return reports;
}

/// Has the daemon repair the library, and says what became of a store that was damaged.
Result<> repair(const store::LibraryPaths &paths) {
    const auto before = repairReports(paths);
    Progress progress(localized("repairing"));
    const auto done = waitForEndOfWork(client::Request(protocol::repairPotentialModelCorruption), &progress);
    for (const std::string &path : repairReports(paths)) {
        constexpr std::size_t maxBytes = 64 << 10;
        std::vector<std::byte> text;
        if (std::ranges::find(before, path) == before.end() && readFile(path, text, maxBytes) &&
            !text.empty())
            note(std::string_view(reinterpret_cast<const char *>(text.data()), text.size() - 1));
    }
    return done ? requireDaemon() : done;
}

Result<ExitCode> check(const Options &options) {
    // A check needs no store that can be read: it says what is the matter with it.
    if (const auto readable = requireReadableStore();
        !readable && readable.error().kind != ProblemKind::damagedStore)
        return passOn(readable);
    const InterruptScope interrupts;
    const store::LibraryPaths paths;
    auto report = runCheck(paths, options);
    if (!report)
        return passOn(report);
    std::size_t repaired = 0;
    if (options.repair && !report->findings.empty() && !isInterrupted()) {
        if (const auto done = repair(paths); !done)
            return passOn(done);
        const std::size_t before = report->findings.size();
        report = runCheck(paths, options);
        if (!report)
            return passOn(report);
        repaired = before - std::min(before, report->findings.size());
    }
    if (options.json)
        printJSON(describe(*report, repaired));
    else
        printReport(*report, repaired, options);
    if (std::ranges::any_of(report->findings, isAboutStore))
        return ExitCode::damaged;
    return report->findings.empty() && !isInterrupted() ? ExitCode::success : ExitCode::failure;
}

} // namespace

void setUpCheck(Command command) {
    command.footer(
        "Reads every original, edit and thumbnail; with --no-sums only the beginning and end of each\n"
        "thumbnail. Pictures that can't be decoded are problems, too. The library may be in use meanwhile.\n"
        "The daemon reads the originals too, each within 90 days; what it has found is shown also with\n"
        "--no-sums.\n\n"
        "--repair makes missing and damaged thumbnails, tries pictures again that could not be decoded, and\n"
        "moves files that belong to no asset to PhotoData/LostAndFound. A damaged store is set aside, and a\n"
        "new one is made of what can be read of it, of the daemon's backups and notes, and of the files. It\n"
        "deletes nothing. It can't repair an original or edit that is missing or changed: wickerlane backup\n"
        "restore can bring originals back, if a backup has them.\n\n"
        "Example:\n  wickerlane check --json | jq -r '.findings[].path'");
    Options &options = command.runs(check);
    command.addFlag("--repair", options.repair, "Repair what can be repaired");
    command.addFlag("--no-sums", options.withoutSums,
                    "Read no originals, compare their sizes only: this is quick");
    command.addFlag("--json", options.json, "Write JSON");
}

} // namespace wickerlane::cli
