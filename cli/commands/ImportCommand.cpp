// wickerlane import
#include <fcntl.h>
#include <fmt/format.h>
#include <linux/magic.h>
#include <nlohmann/json.hpp>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <deque>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <optional>
#include <set>
#include <span>

#include "cli/Albums.h"
#include "cli/Awaited.h"
#include "cli/DaemonRequests.h"
#include "cli/FileFailures.h"
#include "cli/FilePairs.h"
#include "cli/ForeignProblems.h"
#include "cli/Interrupt.h"
#include "cli/Output.h"
#include "cli/Progress.h"
#include "cli/Queries.h"
#include "cli/Selection.h"
#include "cli/SharedJSON.h"
#include "cli/Subcommands.h"
#include "cli/Texts.h"
#include "wickerlane/client/JXGatekeeperClient.h"
#include "wickerlane/client/Refusals.h"
#include "wickerlane/model/MediaType.h"
#include "wickerlane/platform/consent/Consent.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/object/Paths.h"
#include "wickerlane/protocol/JobKeys.h"

namespace wickerlane::cli {
namespace {

namespace fs = std::filesystem;

/// Files in one request, and their bytes. Few enough that progress is shown often and Ctrl-C takes effect
/// soon; small files are many, so that the daemon syncs and commits many at once.
constexpr std::size_t maxFilesOfBatch = 48;
constexpr std::uintmax_t maxBytesOfBatch = 8 << 20;
/// Requests that are sent before the first is answered, so that the daemon never waits for the next one.
constexpr std::size_t maxPendingBatches = 3;
/// Of a file that is sent by its bytes: what a message can hold besides.
constexpr std::size_t maxSentBytes = std::size_t{255} << 20;

struct Options {
    std::vector<std::string> paths;
    std::string filesFrom; ///< A file with further paths; "-" for standard input.
    std::string album;
    bool isDryRun = false;
    bool again = false;
    bool noPairs = false;
    bool json = false;
};

/// A file to be saved.
struct Source {
    std::string path;
    std::string sidecar; ///< Of the metadata beside it; empty for none.
    std::string second;  ///< What may be of the same shot; empty for none.
};

struct RefusedFile {
    std::string path;
    std::string reason;
};

struct SavedFile {
    std::string path;
    std::string uuid{};
    std::string assetURL{};
    bool wasPresent = false;
    std::string problem{}; ///< Why its picture can't be decoded, or not whole; empty when it can.
    bool isShown = true;   ///< At least in part.
    std::string first{};   ///< The first file of the pair in which it is second; empty in none.
};

struct Report {
    std::vector<SavedFile> saved;
    std::vector<RefusedFile> refused;
    std::vector<std::string> passedOver; ///< Files in folders that are neither pictures nor videos.
    Result<> daemon{};                   ///< The problem that it serves no longer.
    bool interrupted = false;
    std::string album; ///< The name of the one that they were added to.
    std::size_t addedToAlbum = 0;
    bool albumFailed = false;
};

std::size_t newlySaved(const Report &report) {
    return static_cast<std::size_t>(std::ranges::count(report.saved, false, &SavedFile::wasPresent));
}

/// Whether the contents of a file are those of a picture or a video. One that can't be read counts, so that
/// its problem is told.
bool looksLikeMedia(const std::string &path) {
    const UniqueFd file = openFile(path, O_RDONLY | O_NONBLOCK);
    std::array<std::byte, mediaTypeBytes> start{};
    const ssize_t count = file ? pread(file.get(), start.data(), start.size(), 0) : -1;
    return count < 0 ||
           mediaTypeOfContent(std::span(start).first(static_cast<std::size_t>(count))) != nullptr;
}

/// The metadata beside a picture: "a.jpg.xmp", or "a.xmp".
std::string sidecarOf(const std::string &path) {
    struct stat status = {};
    for (const std::string &base : {path, fs::path(path).replace_extension().string()})
        for (const char *extension : {".xmp", ".XMP"})
            if (std::string sidecar = base + extension; stat(sidecar.c_str(), &status) == 0 &&
                                                        S_ISREG(status.st_mode) &&
                                                        access(sidecar.c_str(), R_OK) == 0)
                return sidecar;
    return {};
}

/// Whether a file has to be sent by its bytes: of other users than the library's owner, the daemon reads no
/// open file whose file system may be a program's.
bool sendsBytes(const std::string &path) {
    struct statfs status = {}, system = {};
    if (geteuid() == ownerOfRoot() || statfs(path.c_str(), &status) != 0)
        return false;
    return status.f_type == FUSE_SUPER_MAGIC ||
           (status.f_type == OVERLAYFS_SUPER_MAGIC &&
            (statfs("/", &system) != 0 ||
             std::memcmp(&status.f_fsid, &system.f_fsid, sizeof status.f_fsid) != 0));
}

/// Files that are to be saved apart from each other, or as pairs.
std::vector<Source> sourcesOf(const std::vector<std::string> &files, const Options &options) {
    const auto pairs = options.noPairs ? std::map<std::string, std::string>() : pairsAmong(files);
    std::set<std::string> seconds;
    for (const auto &[first, second] : pairs)
        seconds.insert(second);
    std::vector<Source> sources;
    for (const std::string &path : files) {
        if (seconds.contains(path))
            continue;
        Source source{path, sidecarOf(path), {}};
        if (const auto pair = pairs.find(path); pair != pairs.end())
            source.second = pair->second;
        if (source.sidecar.empty() && !source.second.empty())
            source.sidecar = sidecarOf(source.second);
        sources.push_back(std::move(source));
    }
    return sources;
}

bool isHidden(const fs::path &path) {
    return path.filename().string().starts_with('.');
}

/// Adds all files to be saved in a folder and the folders in it, in the order of their paths.
void gatherFolder(const fs::path &folder, std::vector<std::string> &files, Report &report) {
    std::error_code error;
    std::vector<std::string> found, others;
    std::vector<fs::path> pending{folder};
    while (!pending.empty()) {
        const fs::path current = std::move(pending.back());
        pending.pop_back();
        fs::directory_iterator entries(current, error);
        for (; !error && entries != fs::directory_iterator(); entries.increment(error)) {
            const fs::directory_entry &entry = *entries;
            std::error_code unknown;
            if (isHidden(entry.path()))
                continue;
            // Links to folders are not followed: they could form a cycle.
            if (entry.is_directory(unknown) && !entry.is_symlink(unknown))
                pending.push_back(entry.path());
            else if (mediaTypeOfExtension(pathExtension(entry.path().native())) != nullptr ||
                     (entry.is_regular_file(unknown) && looksLikeMedia(entry.path())))
                found.push_back(entry.path().string());
            else if (entry.is_regular_file(unknown))
                others.push_back(entry.path().string());
        }
        if (error)
            report.refused.push_back({current.string(), textOfError(error.value())});
    }
    std::sort(found.begin(), found.end());
    files.insert(files.end(), found.begin(), found.end());
    std::sort(others.begin(), others.end());
    report.passedOver.insert(report.passedOver.end(), others.begin(), others.end());
}

/// Whether the file can be sent to the daemon. Checked here, since the daemon may have other rights than the
/// caller.
Result<> checkReadable(const std::string &path) {
    if (!String::create(path))
        return fail(ProblemKind::invalid, localized("its name is not UTF-8; rename it first"), path);
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0 || access(path.c_str(), R_OK) != 0)
        return fail(ProblemKind::failed, textOfError(errno), path);
    if (!S_ISREG(status.st_mode))
        return fail(ProblemKind::invalid, localized("not a file"), path);
    return {};
}

/// Adds the files that can't be sent to the report.
std::vector<Source> gather(const std::vector<std::string> &paths, const Options &options, Report &report) {
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
        const auto readable = checkReadable(path);
        if (!readable)
            report.refused.push_back({path, readable.error().text});
        return !readable;
    });
    std::vector<Source> sources = sourcesOf(files, options);
    std::set<std::string> sidecars;
    for (const Source &each : sources)
        sidecars.insert(each.sidecar);
    std::erase_if(report.passedOver, [&](const std::string &path) { return sidecars.contains(path); });
    return sources;
}

/// Files that were sent in one request, and the daemon's answer.
struct Batch {
    std::vector<Source> sources;
    Awaited<Ref<Array>> results; ///< Null when there is no answer.
    bool isRepeated = false;
};

/// Names the files, which the client opens, or gives the bytes.
Result<> putSource(MutableDictionary *job, const Source &source) {
    if (!sendsBytes(source.path)) {
        job->set(protocol::job::filePath, String::of(source.path));
        if (!source.sidecar.empty())
            job->set(protocol::job::sidecarPath, String::of(source.sidecar));
        if (!source.second.empty())
            job->set(protocol::job::companionPath, String::of(source.second));
        return {};
    }
    std::vector<std::byte> bytes;
    std::error_code unknown;
    if (!readFile(fs::canonical(source.path, unknown), bytes, maxSentBytes))
        return fail(ProblemKind::failed,
                    errno == EFBIG ? localized("of this file system, files above 255 MiB are saved for the "
                                               "library's owner only")
                                   : textOfError(errno),
                    source.path);
    job->set(protocol::job::imageData, Data::createAdopting(std::move(bytes)).get());
    if (!source.sidecar.empty())
        note(localized("{}: not kept, since of this file system that is done for the library's owner only",
                       source.sidecar));
    return {};
}

Batch sendBatch(std::span<const Source> sources, bool again, Report &report) {
    ReleaseScope scope;
    Batch batch;
    auto jobs = MutableArray::create();
    for (const Source &source : sources) {
        auto job = MutableDictionary::create();
        if (const auto put = putSource(job.get(), source); !put) {
            report.refused.push_back({source.path, put.error().text});
            continue;
        }
        job->set(protocol::job::originalFilename, String::of(fs::path(source.path).filename().string()));
        job->set(protocol::job::unlessPresent, Number::of(!again));
        jobs->append(job.get());
        batch.sources.push_back(source);
    }
    JXGatekeeperClient::sharedInstance()->saveOpenFilesWithJobDictionaries(
        jobs.get(), [results = batch.results](Array *received, Error *) { results.give(received); });
    return batch;
}

std::string textOf(const Dictionary *dictionary, std::string_view key) {
    const auto *text = dictionary != nullptr ? dictionary->get<String>(key) : nullptr;
    return text != nullptr ? std::string(text->utf8()) : std::string();
}

/// Why a file was not saved.
std::string reasonIn(const Dictionary *result) {
    const auto problem = result != nullptr ? client::problemOfJob(*result) : std::nullopt;
    if (!problem)
        return localized("the daemon gave no reason");
    if (problem->kind == ProblemKind::empty)
        return localized("the file is empty");
    return withKindInWords(*problem).text;
}

/// Adds what the daemon says of a file, and of the second one of its pair. Whether it has both.
bool receive(const Source &source, const Dictionary *result, Report &report) {
    SavedFile saved{.path = source.path,
                    .uuid = textOf(result, protocol::jobResult::uuid),
                    .assetURL = textOf(result, protocol::jobResult::assetURL),
                    .problem = translated(textOf(result, protocol::jobResult::problem))};
    if (saved.uuid.empty()) {
        report.refused.push_back({source.path, reasonIn(result)});
        return false;
    }
    const auto says = [&](std::string_view key) { return result->get(key) != nullptr; };
    saved.wasPresent = says(protocol::jobResult::wasPresent);
    const auto *width = result->get<Number>(protocol::jobResult::width);
    saved.isShown = width != nullptr && width->uint64Value() != 0;
    report.saved.push_back(saved);
    const bool secondWasPresent = says(protocol::jobResult::companionWasPresent);
    if (!secondWasPresent && !says(protocol::jobResult::companionWasSaved))
        return false;
    report.saved.push_back({.path = source.second,
                            .uuid = saved.uuid,
                            .assetURL = saved.assetURL,
                            .wasPresent = secondWasPresent,
                            .first = source.path});
    return true;
}

/// What the daemon says of a file of a batch; null when it did not answer, because it ended for instance.
const Dictionary *answerIn(const Array *results, std::size_t file) {
    const auto *result =
        results != nullptr && file < results->count() ? as<Dictionary>(results->at(file)) : nullptr;
    return result != nullptr && result->get(protocol::jobResult::requestErrorKind) == nullptr ? result
                                                                                              : nullptr;
}

bool isAnswered(const Batch &batch, const Array *results) {
    for (std::size_t i = 0; i < batch.sources.size(); ++i)
        if (answerIn(results, i) == nullptr)
            return false;
    return true;
}

/// Gives the second files that are to be saved by themselves.
std::vector<Source> receiveBatch(const Batch &batch, const Array *results, Report &report) {
    std::vector<Source> apart;
    for (std::size_t i = 0; i < batch.sources.size(); ++i) {
        const Source &source = batch.sources[i];
        const Dictionary *result = answerIn(results, i);
        if (result == nullptr) {
            for (const std::string &path : {source.path, source.second})
                if (!path.empty())
                    report.refused.push_back(
                        {path, localized("the daemon did not answer; `wickerlane list` shows "
                                         "whether the file was saved")});
            continue;
        }
        if (receive(source, result, report) || source.second.empty())
            continue;
        apart.push_back({source.second, sidecarOf(source.second), {}});
        std::erase(report.passedOver, apart.back().sidecar);
    }
    return apart;
}

/// The first files of those that are left, which are sent in one request.
std::span<const Source> nextBatch(std::span<const Source> files) {
    if (sendsBytes(files.front().path))
        return files.first(1); // it is held until it is answered
    std::size_t count = 0;
    for (std::uintmax_t bytes = 0; count < std::min(files.size(), maxFilesOfBatch); ++count) {
        std::error_code unknown;
        const std::uintmax_t size = fs::file_size(files[count].path, unknown);
        bytes += unknown ? 0 : size;
        if (count > 0 && (bytes > maxBytesOfBatch || sendsBytes(files[count].path)))
            break;
    }
    return files.first(count);
}

void saveFiles(std::vector<Source> files, const Options &options, Report &report) {
    const auto pairs = std::ranges::count_if(files, [](const Source &each) { return !each.second.empty(); });
    Progress progress(localized("saving"), files.size() + static_cast<std::size_t>(pairs));
    std::deque<Batch> pending;
    std::size_t sent = 0;
    while (sent < files.size() || !pending.empty()) {
        report.interrupted = isInterrupted();
        const bool sendMore = !report.interrupted && report.daemon;
        if (!sendMore && pending.empty())
            break;
        if (sendMore && sent < files.size() && pending.size() < maxPendingBatches) {
            const auto next = nextBatch(std::span<const Source>(files).subspan(sent));
            pending.push_back(sendBatch(next, options.again, report));
            sent += next.size();
            continue;
        }
        const Batch batch = std::move(pending.front());
        pending.pop_front();
        const Ref<Array> results = batch.results.take();
        if (!isAnswered(batch, results.get())) {
            // The daemon refused the requests, or ended. It may have started again.
            report.daemon = requireDaemon();
            // What it saved before is found present. With --again it would be saved twice.
            if (report.daemon && !batch.isRepeated && !options.again) {
                pending.push_back(sendBatch(batch.sources, options.again, report));
                pending.back().isRepeated = true;
                continue;
            }
        }
        const std::size_t saved = report.saved.size(), refused = report.refused.size();
        const std::vector<Source> apart = receiveBatch(batch, results.get(), report);
        files.insert(files.end(), apart.begin(), apart.end());
        progress.advance(report.saved.size() - saved, report.refused.size() - refused);
    }
}

/// Adds what was saved to an album, which is made if it is not there.
void addToAlbum(const std::string &name, Report &report) {
    report.album = name;
    auto album = askForAlbum(name);
    if (!album && album.error().kind == ProblemKind::notFound)
        album = createAlbum(name).and_then([&](const std::string &) { return askForAlbum(name); });
    if (!album) {
        report.albumFailed = true;
        cli::report(album.error());
        return;
    }
    report.album = (*album)->record().name;
    const std::string uuid = (*album)->record().uuid;
    std::vector<std::string> saved;
    for (const SavedFile &each : report.saved)
        saved.push_back(each.uuid);
    const auto parted = partByAlbum(saved, uuid);
    if (!parted) {
        report.albumFailed = true;
        cli::report(parted.error());
        return;
    }
    std::set<std::string> pending(parted->outside.begin(), parted->outside.end());
    Progress progress(localized("adding to the album"), pending.size());
    for (const SavedFile &each : report.saved) {
        if (isInterrupted())
            break;
        if (pending.erase(each.uuid) == 0)
            continue; // it is in the album, such as the second file of an asset
        const ReleaseScope scope;
        const auto added = cli::addToAlbum(URL::create(each.assetURL).get(), uuid, each.path);
        if (!added) {
            report.albumFailed = true;
            cli::report(added.error());
        }
        report.addedToAlbum += added ? 1 : 0;
        progress.advance(added ? 1 : 0, added ? 0 : 1);
    }
}

JSON describe(const Report &report) {
    JSON saved = JSON::array();
    for (const SavedFile &each : report.saved) {
        saved.push_back({{"path", each.path}, {"uuid", each.uuid}, {"url", each.assetURL}});
        if (each.wasPresent)
            saved.back()["wasPresent"] = true;
        if (!each.problem.empty())
            saved.back()["problem"] = each.problem;
        if (!each.first.empty())
            saved.back()["pairedWith"] = each.first;
    }
    JSON refused = JSON::array();
    for (const RefusedFile &each : report.refused)
        refused.push_back(describeProblem(each.path, each.reason));
    return {{"saved", saved},
            {"refused", refused},
            {"passedOver", report.passedOver},
            {"interrupted", report.interrupted}};
}

std::string refusedText(const Report &report) {
    return localizedCount(report.refused.size(), "{} refused", "{} refused");
}

void printSummary(const Report &report) {
    for (const SavedFile &each : report.saved)
        if (!each.problem.empty() && !each.wasPresent)
            note(each.isShown
                     ? localized("{}: saved, but not all of the picture can be shown: {}", each.path,
                                 each.problem)
                     : localized("{}: saved, but nothing of it can be shown: {}", each.path, each.problem));
    for (const RefusedFile &each : report.refused)
        note(fmt::format("{}: {}", each.path, each.reason));

    constexpr std::size_t maxNamed = 20;
    for (const std::string &path :
         std::span(report.passedOver).first(std::min(report.passedOver.size(), maxNamed)))
        note(localized("{}: skipped, since it is neither a picture nor a video", path));
    if (report.passedOver.size() > maxNamed)
        note(localizedCount(report.passedOver.size() - maxNamed,
                            "and {} file more was skipped; --json lists all",
                            "and {} files more were skipped; --json lists all"));

    const std::size_t present = report.saved.size() - newlySaved(report);
    std::vector summary{localizedCount(newlySaved(report), "{} file saved", "{} files saved")};
    const auto pairs = static_cast<std::size_t>(std::ranges::count_if(
        report.saved, [](const SavedFile &each) { return !each.first.empty() && !each.wasPresent; }));
    if (pairs > 0)
        summary.back() +=
            fmt::format(" ({})", localizedCount(pairs, "{} pair of one shot", "{} pairs of one shot"));
    if (present > 0)
        summary.push_back(localizedCount(present, "{} already in the library", "{} already in the library"));
    if (!report.refused.empty())
        summary.push_back(refusedText(report));
    if (!report.passedOver.empty())
        summary.push_back(localizedCount(report.passedOver.size(), "{} skipped (not pictures or videos)",
                                         "{} skipped (not pictures or videos)"));
    const std::string text = joined(summary);
    summarize(report.interrupted ? localized("{}; interrupted, the rest was not saved", text) : text);
}

/// What would be saved, if the library does not have it yet.
ExitCode printDryRun(const std::vector<Source> &files, const Report &report, const Options &options) {
    if (options.json) {
        JSON described = describe(report);
        described["wouldSave"] = JSON::array();
        for (const Source &each : files)
            for (const std::string &path : {each.path, each.second})
                if (!path.empty())
                    described["wouldSave"].push_back(path);
        printJSON(described);
    } else {
        std::size_t count = 0;
        for (const Source &each : files) {
            print(each.second.empty() ? each.path : localized("{} with {}", each.path, each.second));
            count += each.second.empty() ? 1 : 2;
        }
        for (const RefusedFile &each : report.refused)
            note(fmt::format("{}: {}", each.path, each.reason));
        summarize(joined({localizedCount(count, "{} file would be saved unless the library has it",
                                         "{} files would be saved unless the library has them"),
                          refusedText(report),
                          localizedCount(report.passedOver.size(), "{} skipped", "{} skipped")}));
    }
    return report.refused.empty() ? ExitCode::success : ExitCode::failure;
}

/// The paths of the command line and of the list that it names.
Result<std::vector<std::string>> pathsOf(const Options &options) {
    std::vector<std::string> paths = options.paths;
    if (options.filesFrom.empty())
        return paths;
    std::string text;
    if (options.filesFrom == "-") {
        text.assign(std::istreambuf_iterator<char>(std::cin), {});
    } else {
        std::ifstream file(options.filesFrom, std::ios::binary);
        if (!file)
            return failToRead(options.filesFrom);
        text.assign(std::istreambuf_iterator<char>(file), {});
    }
    const auto lines = linesOf(text);
    paths.insert(paths.end(), lines.begin(), lines.end());
    return paths;
}

Result<ExitCode> importFiles(const Options &options) {
    if (options.paths.empty() && options.filesFrom.empty())
        return fail(ProblemKind::invalid, localized("PATH or --files-from is required"));
    const auto paths = pathsOf(options);
    if (!paths)
        return passOn(paths);
    const InterruptScope interrupts;
    Report report;
    std::vector<Source> files = gather(*paths, options, report);
    if (options.isDryRun)
        return printDryRun(files, report, options);
    if (!files.empty()) {
        if (const auto answers = requireDaemon(); !answers)
            return passOn(answers);
        saveFiles(std::move(files), options, report);
    }
    if (!options.album.empty() && report.daemon)
        addToAlbum(options.album, report);
    if (options.json) {
        JSON described = describe(report);
        if (!options.album.empty())
            described["addedToAlbum"] = report.addedToAlbum;
        printJSON(described);
    } else {
        printSummary(report);
        if (!options.album.empty())
            summarize(localizedCount(report.addedToAlbum, "{} asset added to {}", "{} assets added to {}",
                                     report.album));
    }
    if (!report.daemon)
        return passOn(report.daemon);
    return report.refused.empty() && !report.interrupted && !report.albumFailed ? ExitCode::success
                                                                                : ExitCode::failure;
}

} // namespace

void setUpImport(Command command) {
    command.footer("Folders are searched, with all folders in them, for files that are pictures or videos by "
                   "their contents\n"
                   "or their names. Hidden files are skipped. A file is not saved again if the library "
                   "already has the same\n"
                   "contents. Metadata beside a picture (a.xmp or a.jpg.xmp) is kept with it. Ctrl-C stops "
                   "after the files\n"
                   "that are being saved.\n\n"
                   "A raw file and the picture of the same shot, or a picture and its short video, are one "
                   "asset with two\n"
                   "files if their names differ in the extension alone and both say that they were taken at "
                   "the same time.\n\n"
                   "Examples:\n"
                   "  wickerlane import ~/Pictures\n"
                   "  wickerlane import beach.jpg dunes.jpg --album Dunes\n"
                   "  find /media/card -newer last -print0 | wickerlane import --files-from -");
    Options &options = command.runs(importFiles);
    command.addOption("PATH", options.paths, "Files and folders");
    command
        .addOption(
            "--files-from", options.filesFrom,
            "Save the files in this list, too: one a line, or each ended by a NUL; - is standard input")
        .typeName("FILE");
    command.addOption("--album", options.album, "Add them to this album, which is made if it is not there")
        .typeName("ALBUM");
    command.addFlag("-n,--dry-run", options.isDryRun, "Only say which files would be saved");
    command.addFlag("--again", options.again, "Save files even if the library already has the same contents");
    command.addFlag("--no-pairs", options.noPairs, "Save the two files of a shot as two assets");
    command.addFlag("--json", options.json, "Write JSON: what was saved, what was refused and why");
}

} // namespace wickerlane::cli
