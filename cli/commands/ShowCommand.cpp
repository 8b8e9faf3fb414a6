// wickerlane show
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "cli/OpenedLibrary.h"

namespace wickerlane::cli {
namespace {

void printLines(const store::ManagedAsset &asset) {
    const store::AssetRecord &record = asset.record();
    const auto line = [](std::string_view label, std::string_view value) {
        print(fmt::format("{:<12}{}", label, value));
    };
    line("UUID", record.uuid);
    line("Kind", record.kind == store::AssetKind::photo ? "photo" : "video");
    line("Name", outsideName(record));
    line("Format", record.format);
    line("Pixels", record.width > 0 ? fmt::format("{}x{}", record.width, record.height) : "unknown");
    line("Created", dateText(record.dateCreated));
    line("Added", dateText(record.dateAdded));
    if (record.latitude && record.longitude)
        line("Place", fmt::format("{:.6f}, {:.6f}", *record.latitude, *record.longitude));
    line("Size", sizeText(record.byteSize));
    line("URL", asset.assetURL()->absoluteString()->utf8());
    line("Object ID", asset.objectID()->uriRepresentation()->absoluteString()->utf8());
    line("File", asset.fileURL()->fileSystemPath());
    if (!record.problem.empty())
        line("Problem", record.problem);
}

ExitCode show(const std::string &name, bool json) {
    ReleaseScope scope;
    const auto store = openStore();
    if (!store)
        return ExitCode::notFound;
    const auto asset = findAsset(*store, name);
    if (!asset)
        return ExitCode::notFound;
    if (json)
        printJSON(describe(*asset));
    else
        printLines(*asset);
    return ExitCode::success;
}

} // namespace

void addShow(Command app, Action &chosen) {
    const auto command = app.addSubcommand("show", "Show all that the library knows of one asset");
    command.footer("Example:\n  wickerlane show 7F3D0A52-6C1B-4E0E-9D43-2B1C7A5E8F10 --json");
    struct Options {
        std::string asset;
        bool json = false;
    };
    auto options = std::make_shared<Options>();
    command.addOption("ASSET", options->asset, "UUID, URL or object ID of the asset").required();
    command.addFlag("--json", options->json, "Write JSON");
    command.callback(
        [options, &chosen] { chosen = [options] { return show(options->asset, options->json); }; });
}

} // namespace wickerlane::cli
