// wickerlane export
#include <fmt/format.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "cli/Interrupt.h"
#include "cli/NewFile.h"
#include "cli/OpenedLibrary.h"
#include "wickerlane/client/JXGatekeeperClient.h"
#include "wickerlane/platform/file/Files.h"

namespace wickerlane::cli {
namespace {

struct Options {
    std::vector<std::string> assets;
    bool all = false;
    std::string to = ".";
    bool force = false;
    bool quiet = false;
};

/// Copies from the start of one file to the end of another. False, with errno set, on failure.
bool copyBytes(int from, int to) {
    std::vector<std::byte> buffer(std::size_t{1} << 18);
    for (off_t position = 0;;) {
        const ssize_t count = pread(from, buffer.data(), buffer.size(), position);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return count == 0;
        if (!writeAll(to, std::span(buffer).first(static_cast<std::size_t>(count))))
            return false;
        position += count;
    }
}

ExitCode exportAsset(const store::ManagedAsset &asset, const std::string &path, bool force) {
    ReleaseScope scope;
    const UniqueFd original(
        JXGatekeeperClient::sharedInstance()->fileDescriptorForAssetURL(asset.assetURL()));
    if (!original)
        return daemonAnswers() ? fail(ExitCode::failure, fmt::format("the original of {} could not be opened",
                                                                     asset.record().uuid))
                               : failUnreachable();
    NewFile file(path);
    if (file.descriptor() < 0 || !copyBytes(original.get(), file.descriptor()) || !file.finish(force))
        return failToWrite(path);
    return ExitCode::success;
}

ExitCode exportAll(const Options &options) {
    ReleaseScope scope;
    const auto store = openStore();
    if (!store)
        return ExitCode::notFound;

    ExitCode result = ExitCode::success;
    std::vector<Ref<store::ManagedAsset>> assets;
    if (options.all) {
        Array *every = store->assets();
        if (every == nullptr)
            return fail(ExitCode::failure, "the library's store could not be read");
        for (Object *each : *every)
            assets.emplace_back(as<store::ManagedAsset>(each));
    }
    for (const std::string &name : options.assets) {
        if (auto asset = findAsset(*store, name))
            assets.push_back(std::move(asset));
        else
            result = ExitCode::notFound;
    }

    const bool toFolder = std::filesystem::is_directory(options.to);
    if (!toFolder && (assets.size() > 1 || options.all))
        return fail(ExitCode::usage, fmt::format("{} is not a folder; several assets need one", options.to));

    Progress progress("exported", assets.size(), options.quiet || assets.size() < 2);
    for (const auto &asset : assets) {
        if (isInterrupted())
            return fail(ExitCode::failure, "interrupted; what is not there yet was left out");
        const std::string path =
            toFolder ? (std::filesystem::path(options.to) / outsideName(asset->record())).string()
                     : options.to;
        const ExitCode each = exportAsset(*asset, path, options.force);
        if (each == ExitCode::unreachable)
            return each;
        if (each != ExitCode::success)
            result = each;
        else if (assets.size() == 1 && !options.quiet)
            print(path);
        progress.advance(1);
    }
    return result;
}

} // namespace

void addExport(Command app, Action &chosen) {
    const auto command = app.addSubcommand("export", "Take originals out of the library, byte for byte");
    command.footer("Examples:\n"
                   "  wickerlane export 7F3D0A52-6C1B-4E0E-9D43-2B1C7A5E8F10 --to beach.jpg\n"
                   "  wickerlane export --all --to ~/backup");
    auto options = std::make_shared<Options>();
    const auto assets = command.addOption("ASSET", options->assets, "UUIDs, URLs or object IDs of assets");
    command.addFlag("--all", options->all, "Take everything").excludes(assets);
    command
        .addOption("-o,--to", options->to,
                   "File to write, or folder to write into (default: the working folder)")
        .typeName("PATH");
    command.addFlag("--force", options->force, "Replace files that exist");
    command.addFlag("-q,--quiet", options->quiet, "Say nothing unless something is wrong");
    command.callback([options, &chosen] {
        if (!options->all && options->assets.empty())
            failMissing("ASSET or --all");
        chosen = [options] { return exportAll(*options); };
    });
}

} // namespace wickerlane::cli
