// wickerlane import
#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <deque>
#include <filesystem>

#include "cli/Interrupt.h"
#include "cli/OpenedLibrary.h"
#include "cli/Waiting.h"
#include "wickerlane/client/JXGatekeeperClient.h"
#include "wickerlane/model/MediaType.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/object/Paths.h"
#include "wickerlane/protocol/JobKeys.h"

namespace wickerlane::cli {
namespace {

namespace fs = std::filesystem;

/// Files in one request. Small enough for a lively progress, and for Ctrl-C to end soon.
constexpr std::size_t batchSize = 8;
/// Requests under way at a time, so that the daemon never waits for the next one.
constexpr std::size_t mostBatches = 3;

struct Options {
    std::vector<std::string> paths;
    bool again = false;
    bool json = false;
    bool quiet = false;
};

struct Refusal {
    std::string path;
    std::string reason;
};

struct Saved {
    std::string path;
    std::string uuid;
    std::string assetURL;
    bool wasPresent = false;
    std::string problem; ///< Of its picture, which could not be decoded; empty when it could.
};

struct Report {
    std::vector<Saved> saved;
    std::vector<Refusal> refused;
    std::size_t passedOver = 0; ///< Files in folders that are not pictures or videos by their names.
    bool daemonLost = false;
    bool interrupted = false;
};

/// Whether a file met on the way through a folder is meant to be saved. Files that are named are always.
bool looksLikeMedia(const fs::path &path) {
    const MediaType *type = mediaTypeOfExtension(pathExtension(path.native()));
    return type != nullptr && type->isImported;
}

bool isHidden(const fs::path &path) {
    return path.filename().string().starts_with('.');
}

/// All files to be saved below a folder, in the order of their paths.
void gatherFolder(const fs::path &folder, std::vector<std::string> &files, Report &report) {
    std::error_code problem;
    std::vector<std::string> found;
    std::vector<fs::path> pending{folder};
    while (!pending.empty()) {
        const fs::path current = std::move(pending.back());
        pending.pop_back();
        fs::directory_iterator entries(current, problem);
        for (; !problem && entries != fs::directory_iterator(); entries.increment(problem)) {
            const fs::directory_entry &entry = *entries;
            std::error_code unknown;
            if (isHidden(entry.path()))
                continue;
            // Links to folders are not followed: they may lead round in circles.
            if (entry.is_directory(unknown) && !entry.is_symlink(unknown))
                pending.push_back(entry.path());
            else if (looksLikeMedia(entry.path()))
                found.push_back(entry.path().string());
            else if (entry.is_regular_file(unknown))
                ++report.passedOver;
        }
        if (problem)
            report.refused.push_back({current.string(), problem.message()});
    }
    std::sort(found.begin(), found.end());
    files.insert(files.end(), found.begin(), found.end());
}

/// Why a file can't be sent, found out here so that the reason names the caller's own rights; empty if it
/// can.
std::string problemReading(const std::string &path) {
    if (!String::create(path))
        return "its name is not UTF-8; rename it first";
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0 || access(path.c_str(), R_OK) != 0)
        return std::strerror(errno);
    return S_ISREG(status.st_mode) ? "" : "not a file";
}

std::vector<std::string> gather(const std::vector<std::string> &paths, Report &report) {
    std::vector<std::string> files;
    std::error_code unknown;
    for (const std::string &path : paths) {
        const std::string absolute = fs::absolute(path).lexically_normal().string();
        if (fs::is_directory(absolute, unknown))
            gatherFolder(absolute, files, report);
        else
            files.push_back(absolute);
    }
    std::erase_if(files, [&](const std::string &path) {
        const std::string problem = problemReading(path);
        if (!problem.empty())
            report.refused.push_back({path, problem});
        return !problem.empty();
    });
    return files;
}

/// Some files on their way, and what the daemon says of them.
struct Batch {
    std::vector<std::string> paths;
    Awaited<Ref<Array>> results; ///< Null when the daemon was lost.
};

Batch sendBatch(std::span<const std::string> paths, bool again) {
    ReleaseScope scope;
    Batch batch;
    auto jobs = MutableArray::create();
    for (const std::string &path : paths) {
        const auto text = String::create(path);
        const auto name = String::create(fs::path(path).filename().string());
        jobs->append(Dictionary::createWithKeys({{protocol::job::filePath, text.get()},
                                                 {protocol::job::originalFilename, name.get()},
                                                 {protocol::job::unlessPresent, Number::of(!again)}})
                         .get());
        batch.paths.push_back(path);
    }
    JXGatekeeperClient::sharedInstance()->batchSaveAssetsWithJobDictionaries(
        jobs.get(), [results = batch.results](Array *received, Error *) { results.give(received); });
    return batch;
}

std::string textOf(const Dictionary *dictionary, std::string_view key) {
    const auto *text = dictionary != nullptr ? dictionary->get<String>(key) : nullptr;
    return text != nullptr ? std::string(text->utf8()) : std::string();
}

void receiveBatch(const Batch &batch, Report &report) {
    const Ref<Array> results = batch.results.take();
    if (!results) {
        // The daemon refused the whole request, or went away and may be there again.
        report.daemonLost = !daemonAnswers();
        for (const std::string &path : batch.paths)
            report.refused.push_back(
                {path, "the daemon gave no answer; look with `list` whether it is there"});
        return;
    }
    for (std::size_t i = 0; i < batch.paths.size(); ++i) {
        const auto *result = i < results->count() ? as<Dictionary>(results->at(i)) : nullptr;
        std::string uuid = textOf(result, protocol::jobResult::uuid);
        if (uuid.empty()) {
            std::string reason = textOf(result, protocol::jobResult::error);
            report.refused.push_back({batch.paths[i], reason.empty() ? "the daemon gave no reason" : reason});
        } else {
            report.saved.push_back({batch.paths[i], std::move(uuid),
                                    textOf(result, protocol::jobResult::assetURL),
                                    result->get(protocol::jobResult::wasPresent) != nullptr,
                                    textOf(result, protocol::jobResult::problem)});
        }
    }
}

void saveFiles(std::span<const std::string> files, const Options &options, Report &report) {
    Progress progress("saved", files.size(), options.quiet);
    std::deque<Batch> underWay;
    std::size_t sent = 0;
    while (sent < files.size() || !underWay.empty()) {
        report.interrupted = isInterrupted();
        const bool sendMore = !report.interrupted && !report.daemonLost;
        if (!sendMore && underWay.empty())
            break;
        if (sendMore && sent < files.size() && underWay.size() < mostBatches) {
            const auto next = files.subspan(sent, std::min(batchSize, files.size() - sent));
            underWay.push_back(sendBatch(next, options.again));
            sent += next.size();
            continue;
        }
        receiveBatch(underWay.front(), report);
        progress.advance(underWay.front().paths.size());
        underWay.pop_front();
    }
}

JSON describe(const Report &report) {
    JSON saved = JSON::array();
    for (const Saved &each : report.saved) {
        saved.push_back({{"path", each.path}, {"uuid", each.uuid}, {"url", each.assetURL}});
        if (each.wasPresent)
            saved.back()["wasPresent"] = true;
        if (!each.problem.empty())
            saved.back()["problem"] = each.problem;
    }
    JSON refused = JSON::array();
    for (const Refusal &each : report.refused)
        refused.push_back({{"path", each.path}, {"reason", each.reason}});
    return {{"saved", saved},
            {"refused", refused},
            {"passedOver", report.passedOver},
            {"interrupted", report.interrupted}};
}

void printSummary(const Report &report) {
    for (const Saved &each : report.saved)
        if (!each.problem.empty())
            note(fmt::format("{}: saved, but it can't be shown: {}", each.path, each.problem));
    for (const Refusal &each : report.refused)
        note(fmt::format("{}: {}", each.path, each.reason));

    const auto present = static_cast<std::size_t>(std::ranges::count(report.saved, true, &Saved::wasPresent));
    std::string summary = countText(report.saved.size() - present, "file", "files") + " saved";
    if (present > 0)
        summary += fmt::format(", {} there already", present);
    if (!report.refused.empty())
        summary += fmt::format(", {} refused", report.refused.size());
    if (report.passedOver > 0)
        summary += fmt::format(", {} passed over (not pictures)", report.passedOver);
    if (report.interrupted)
        summary += "; interrupted, the rest was left out";
    print(summary);
}

ExitCode import(const Options &options) {
    Report report;
    const std::vector<std::string> files = gather(options.paths, report);
    if (!files.empty()) {
        if (!daemonAnswers())
            return failUnreachable();
        saveFiles(files, options, report);
    }
    if (options.json)
        printJSON(describe(report));
    else
        printSummary(report);
    if (report.daemonLost)
        return failUnreachable();
    return report.refused.empty() && !report.interrupted ? ExitCode::success : ExitCode::failure;
}

} // namespace

void addImport(Command app, Action &chosen) {
    const auto command = app.addSubcommand("import", "Save photos into the library");
    command.footer(
        "Folders are searched with all folders inside them, hidden files left out. A file whose contents\n"
        "the library has already is not saved a second time. Ctrl-C ends the work after what is under way;\n"
        "what was saved stays saved.\n\n"
        "Examples:\n"
        "  wickerlane import ~/Pictures\n"
        "  wickerlane import beach.jpg dunes.jpg --json");
    auto options = std::make_shared<Options>();
    command.addOption("PATH", options->paths, "Files and folders").required();
    command.addFlag("--again", options->again, "Save files once more whose contents the library has");
    command.addFlag("--json", options->json, "Write JSON: what was saved, what was refused and why");
    command.addFlag("-q,--quiet", options->quiet, "Show no progress");
    command.callback([options, &chosen] { chosen = [options] { return import(*options); }; });
}

} // namespace wickerlane::cli
