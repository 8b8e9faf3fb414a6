// wickerlane export
#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <functional>
#include <optional>
#include <span>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "cli/AssetDescription.h"
#include "cli/DaemonRequests.h"
#include "cli/FileFailures.h"
#include "cli/FilterOptions.h"
#include "cli/Interrupt.h"
#include "cli/LibraryState.h"
#include "cli/NewFile.h"
#include "cli/Output.h"
#include "cli/Progress.h"
#include "cli/Queries.h"
#include "cli/Selection.h"
#include "cli/Subcommands.h"
#include "cli/TargetFolder.h"
#include "cli/Texts.h"
#include "wickerlane/client/JXGatekeeperClient.h"
#include "wickerlane/platform/file/Retry.h"
#include "wickerlane/store/LibraryPaths.h"

namespace wickerlane::cli {
namespace {

namespace fs = std::filesystem;

struct Options {
    Selection selection;
    bool all = false;
    bool edited = false;
    std::string to = ".";
    bool force = false;
};

/// An asset with its second file, if it has one.
struct Shot {
    const ManagedAsset &asset;
    const CompanionRecord *companion;
};

Shot shotOf(const ManagedAsset &asset, const Companions &companions) {
    const auto found = companions.find(asset.record().uuid);
    return {asset, found == companions.end() ? nullptr : &found->second};
}

/// What is exported of an asset.
struct Source {
    UniqueFd file;
    std::string name; ///< Of the copy.
    bool isEdited = false;
};

/// The edited version of an asset, if it is wanted and there is one; it has the original's name with its own
/// extension.
Result<std::optional<Source>> openEdited(const ManagedAsset &asset) {
    const auto rendition =
        orLastError(JXGatekeeperClient::sharedInstance()->renditionOfAsset(asset.assetURL()));
    if (!rendition)
        return passOn(rendition);
    if (!rendition->file)
        return std::nullopt;
    const std::string path = rendition->file->fileSystemPath();
    UniqueFd file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file)
        return failToRead(path);
    const fs::path name = fs::path(outsideName(asset.record())).replace_extension(fs::path(path).extension());
    return Source{std::move(file), name.string(), true};
}

Result<Source> openSource(const ManagedAsset &asset, const Options &options) {
    if (options.edited) {
        auto edited = openEdited(asset);
        if (!edited)
            return passOn(edited);
        if (*edited)
            return **std::move(edited);
    }
    UniqueFd original(JXGatekeeperClient::sharedInstance()->fileDescriptorForAssetURL(asset.assetURL()));
    if (!original)
        return failRequest({ProblemKind::failed,
                            localized("the original of {} could not be opened", asset.record().uuid),
                            {}});
    return Source{std::move(original), outsideName(asset.record())};
}

Result<> writeCopy(const ManagedAsset &asset, int original, const std::string &path, bool force) {
    auto file = NewFile::create(path);
    if (!file)
        return passOn(file);
    return file->copyFrom(original)
        .and_then([&] { return file->setModified(captureTime(asset.record())); })
        .and_then([&] { return file->finish(force); });
}

/// Copies the file of metadata that came with an asset beside its copy, unless there is one of that name.
Result<> writeSidecar(const ManagedAsset &asset, const std::string &copy) {
    const std::string sidecar = sidecarPath(asset.record()), path = copy + ".xmp";
    if (sidecar.empty())
        return {};
    const UniqueFd source(::open(sidecar.c_str(), O_RDONLY | O_CLOEXEC));
    if (!source)
        return failToRead(sidecar);
    auto file = NewFile::create(path);
    if (!file)
        return passOn(file);
    const auto written = file->copyFrom(source.get()).and_then([&] { return file->finish(false); });
    return !written && written.error().kind == ProblemKind::exists ? Result<>() : written;
}

/// Beside a copy, under the same name with its own extension.
std::string pathOfCompanion(const CompanionRecord &companion, const std::string &copy) {
    const fs::path own(companion.originalFilename.empty() ? companion.path : companion.originalFilename);
    return fs::path(copy).replace_extension(own.extension()).string();
}

Result<UniqueFd> openCompanion(const Shot &shot) {
    const std::string &path = shot.companion->path;
    UniqueFd file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file)
        return failToRead(path);
    return file;
}

/// Whether there is a file with the same bytes as the original.
bool hasSameBytes(const std::string &path, int original) {
    const UniqueFd file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    struct stat there = {}, wanted = {};
    if (!file || ::fstat(file.get(), &there) != 0 || !S_ISREG(there.st_mode) ||
        ::fstat(original, &wanted) != 0 || there.st_size != wanted.st_size)
        return false;
    std::vector<char> one(std::size_t{1} << 17), other(one.size());
    for (off_t at = 0; at < wanted.st_size;) {
        const auto length = std::min(one.size(), static_cast<std::size_t>(wanted.st_size - at));
        const auto readsAll = [&](int descriptor, std::vector<char> &block) {
            return retryInterrupted([&] { return ::pread(descriptor, block.data(), length, at); }) ==
                   static_cast<ssize_t>(length);
        };
        if (!readsAll(file.get(), one) || !readsAll(original, other) ||
            std::memcmp(one.data(), other.data(), length) != 0)
            return false;
        at += static_cast<off_t>(length);
    }
    return true;
}

bool isThere(const std::string &path) {
    struct stat status = {};
    return ::lstat(path.c_str(), &status) == 0;
}

/// Names in a folder, each for one asset.
class Names {
public:
    /// The names that are given for one asset.
    using Paths = std::vector<std::string>;
    explicit Names(fs::path where) : folder(std::move(where)) {}

    /// Calls `take` with the paths that an asset may have, best first, until it takes one: "a.jpg",
    /// "a 2.jpg", and so on, without those that other assets took. `addTo` adds the paths that go with one.
    Result<> give(const std::string &name, const std::function<void(Paths &)> &addTo,
                  const std::function<Result<bool>(const Paths &)> &take) {
        unsigned &first = firstFree[name];
        for (unsigned number = first;; ++number) {
            Paths all{pathOf(name, number)};
            addTo(all);
            if (std::ranges::any_of(all, [&](const std::string &path) { return taken.contains(path); }))
                continue;
            const auto isTaken = take(all);
            if (!isTaken)
                return passOn(isTaken);
            if (!*isTaken)
                continue;
            taken.insert(all.begin(), all.end());
            while (taken.contains(pathOf(name, first)))
                ++first;
            return {};
        }
    }

private:
    [[nodiscard]] std::string pathOf(const std::string &name, unsigned number) const {
        const fs::path plain(name);
        return folder / (number == 0 ? name
                                     : fmt::format("{} {}{}", plain.stem().string(), number + 1,
                                                   plain.extension().string()));
    }

    fs::path folder;
    std::unordered_map<std::string, unsigned> firstFree;
    std::unordered_set<std::string> taken;
};

struct Exported {
    std::size_t written = 0;
    std::size_t wasThere = 0; ///< With the same bytes.
};

/// Exports an asset under a name that is free for all its files, unless they are there already.
Result<> exportInto(Names &names, const Shot &shot, const Options &options, Exported &exported) {
    const ReleaseScope scope;
    const ManagedAsset &asset = shot.asset;
    std::vector<UniqueFd> files;
    auto source = openSource(asset, options);
    if (!source)
        return passOn(source);
    files.push_back(std::move(source->file));
    // Without its companion, the original is exported all the same. It does not belong to an edited version.
    Result<> complete;
    if (shot.companion != nullptr && !source->isEdited) {
        auto companion = openCompanion(shot);
        if (companion)
            files.push_back(*std::move(companion));
        else
            complete = passOn(companion);
    }
    const auto addCompanion = [&](Names::Paths &paths) {
        if (files.size() > 1)
            paths.push_back(pathOfCompanion(*shot.companion, paths.front()));
    };
    const auto take = [&](const Names::Paths &paths) -> Result<bool> {
        std::vector<bool> isSame;
        for (std::size_t i = 0; i < paths.size(); ++i) {
            isSame.push_back(isThere(paths[i]));
            if (isSame.back() && !hasSameBytes(paths[i], files[i].get()))
                return false;
        }
        for (std::size_t i = 0; i < paths.size(); ++i) {
            if (isSame[i]) {
                ++exported.wasThere;
                continue;
            }
            const auto written = writeCopy(asset, files[i].get(), paths[i], false);
            if (!written && written.error().kind == ProblemKind::exists)
                return false; // it has just been made
            if (!written)
                return passOn(written);
            ++exported.written;
        }
        return writeSidecar(asset, paths.front()).map([] { return true; });
    };
    const auto given = names.give(source->name, addCompanion, take);
    return given ? complete : given;
}

/// Where several assets go.
class Exporter {
public:
    Exporter(const Options &chosen, std::size_t total)
        : options(chosen), names(options.to), progress(localized("exporting"), total) {}

    /// Exports all that it can; the rest is reported.
    Result<> add(std::span<const Ref<ManagedAsset>> assets) {
        const auto companions = askForCompanions(assets);
        if (!companions)
            return passOn(companions);
        for (const auto &asset : assets) {
            if (isInterrupted())
                return failInterrupted(
                    localized("interrupted: the rest was not exported. The same command goes on"));
            const auto done = exportInto(names, shotOf(*asset, *companions), options, exported);
            if (!done && done.error().kind == ProblemKind::unreachable)
                return done;
            if (!done)
                code = report(done.error());
            progress.advance(done ? 1 : 0, done ? 0 : 1);
        }
        return {};
    }

    /// Says what was done. The code of the last problem, if there was one.
    [[nodiscard]] std::optional<ExitCode> end() const {
        std::vector summary{localizedCount(exported.written, "{} file written", "{} files written")};
        if (exported.wasThere > 0)
            summary.push_back(localizedCount(exported.wasThere, "{} already there", "{} already there"));
        summarize(joined(summary));
        return code;
    }

private:
    const Options &options;
    Names names;
    Exported exported;
    Progress progress;
    std::optional<ExitCode> code;
};

Result<ExitCode> exportOne(const Options &options, const Shot &shot, ExitCode code) {
    const ManagedAsset &asset = shot.asset;
    std::string path = options.to;
    std::error_code ignored; // writing there tells
    if (path.ends_with('/'))
        fs::create_directories(path, ignored);
    const auto source = openSource(asset, options);
    if (!source)
        return passOn(source);
    if (path.ends_with('/') || fs::is_directory(path, ignored))
        path = (fs::path(path) / source->name).string();
    if (!hasSameBytes(path, source->file.get()))
        if (const auto written = writeCopy(asset, source->file.get(), path, options.force); !written)
            return passOn(written);
    if (const auto written = writeSidecar(asset, path); !written)
        return passOn(written);
    summarize(path);
    if (shot.companion == nullptr || source->isEdited)
        return code;
    const auto companion = openCompanion(shot);
    if (!companion)
        return passOn(companion);
    const std::string beside = pathOfCompanion(*shot.companion, path);
    if (!hasSameBytes(beside, companion->get()))
        if (const auto written = writeCopy(asset, companion->get(), beside, options.force); !written)
            return passOn(written);
    summarize(beside);
    return code;
}

/// All, or those that a query finds, page by page.
Result<ExitCode> exportFound(const Options &options, const AssetFilter &filter) {
    if (const auto there = requireLibrary(); !there)
        return passOn(there);
    const auto total = orLastError(JXGatekeeperClient::sharedInstance()->countOfAssets(filter));
    if (!total)
        return passOn(total);
    if (const auto made = requireTargetFolder(options.to); !made)
        return passOn(made);
    Exporter exporter(options, *total);
    const auto done = forEachPage(AssetQuery{.filter = filter, .limit = entriesOfPage},
                                  &JXGatekeeperClient::assetsMatchingQuery,
                                  [&](const AssetPage &page) { return exporter.add(page.assets); });
    if (!done)
        return passOn(done);
    return exporter.end().value_or(ExitCode::success);
}

std::string wouldBeExported(std::size_t count) {
    return localizedCount(count, "{} asset would be exported", "{} assets would be exported");
}

Result<ExitCode> exportNamed(const Options &options) {
    const auto selected = select(options.selection);
    if (!selected)
        return passOn(selected);
    const auto &[uuids, code] = *selected;
    if (uuids.empty())
        return code;
    if (options.selection.isDryRun)
        return printDryRun(uuids, wouldBeExported(uuids.size()));
    if (uuids.size() == 1 && !options.selection.isOpen()) {
        const auto asset = askForAsset(uuids.front());
        if (!asset)
            return passOn(asset);
        const auto companions = askForCompanions({&*asset, 1});
        if (!companions)
            return passOn(companions);
        return exportOne(options, shotOf(**asset, *companions), code);
    }
    if (const auto made = requireTargetFolder(options.to); !made)
        return passOn(made);
    Exporter exporter(options, uuids.size());
    const auto done = forEachPart(std::span(uuids), [&](std::span<const std::string> part) -> Result<> {
        auto assets = askForAssets(part);
        if (!assets)
            return passOn(assets);
        std::erase_if(*assets, [](const Ref<ManagedAsset> &each) { return !each; });
        return exporter.add(*assets);
    });
    if (!done)
        return passOn(done);
    return exporter.end().value_or(code);
}

/// The daemon opens originals for another user, but what goes with them is read from the library's files.
void noteWhatIsClosed() {
    const store::LibraryPaths paths;
    if (::access(paths.folder().c_str(), X_OK) != 0 && errno == EACCES)
        advise(localized("only originals are exported: companions and sidecars can be read by the library's "
                         "owner alone"));
}

Result<ExitCode> exportAssets(const Options &options) {
    Selection selection = options.selection;
    if (options.all && !selection.isEmpty())
        return fail(ProblemKind::invalid,
                    localized("--all stands for all assets: leave out ASSET and --where"));
    if (options.all)
        selection.query = allAssets;
    if (selection.isEmpty())
        return fail(ProblemKind::invalid, localized("ASSET, --where or --all is required"));
    noteWhatIsClosed();
    const InterruptScope interrupts;
    if (selection.query.empty())
        return exportNamed(options);
    if (selection.isDryRun)
        return select(selection).and_then([](const SelectedAssets &selected) {
            return printDryRun(selected.uuids, wouldBeExported(selected.uuids.size()));
        });
    const auto filter = filterOfQuery(selection.query);
    if (!filter)
        return passOn(filter);
    return exportFound(options, *filter);
}

} // namespace

void setUpExport(Command command) {
    command.footer(
        "The copies are the same byte for byte, and say that they were changed last when they were taken.\n"
        "Of several assets with one name, the others become \"NAME 2\", \"NAME 3\", and so on. A file that "
        "is\n"
        "there already with the same bytes is left as it is, so the same export can be run again. The "
        "second\n"
        "file of a pair is written beside the first, under the same name with its own extension.\n\n"
        "Examples:\n"
        "  wickerlane export 7F3D0A52 --to beach.jpg\n"
        "  wickerlane export --where 'from=2019-08 to=2019-09 favourite' --edited --to ~/best\n"
        "  wickerlane export --all --to ~/backup");
    Options &options = command.runs(exportAssets);
    addSelection(command, options.selection);
    addDryRun(command, options.selection);
    command.addFlag("--all", options.all, "Export all assets");
    command.addFlag("--edited", options.edited, "Copy the edited version instead, of assets that have one");
    command.addOption("-o,--to", options.to, "File or folder to write to (default: the current folder)")
        .typeName("PATH");
    command.addFlag("--force", options.force,
                    "Replace a file that already exists; only when one ASSET is exported");
}

} // namespace wickerlane::cli
