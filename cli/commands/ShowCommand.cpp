// wickerlane show
#include <algorithm>
#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <optional>
#include <span>
#include <utility>

#include "cli/AssetDescription.h"
#include "cli/ForeignProblems.h"
#include "cli/Formatting.h"
#include "cli/Output.h"
#include "cli/Queries.h"
#include "cli/Selection.h"
#include "cli/Subcommands.h"
#include "cli/Table.h"
#include "cli/Texts.h"
#include "wickerlane/model/AssetDetails.h"

namespace wickerlane::cli {
namespace {

struct Options {
    Selection selection;
    bool json = false;
};

/// What the editor of an asset said, as texts.
JSON describeProperties(const EditedRendition &rendition) {
    JSON described = JSON::object();
    if (rendition.properties)
        for (const auto &[key, value] : *rendition.properties)
            described[std::string(key->description()->utf8())] = std::string(value->description()->utf8());
    return described;
}

void printEdit(const EditedRendition &rendition) {
    printField(localized("Edited"), rendition.file->fileSystemPath());
    const JSON properties = describeProperties(rendition);
    for (const auto &[key, value] : properties.items())
        printField("  " + key, value.get<std::string>());
}

/// What people say of it.
void printDetails(const AssetRecord &record) {
    if (record.favourite)
        printField(localized("Favourite"), localized("yes"));
    if (record.hidden)
        printField(localized("Hidden"), localized("yes"));
    if (record.rating > 0)
        printField(localized("Rating"), localized("{0} of {1}", record.rating, maxRating));
    std::string_view caption = record.caption;
    for (std::string label = localized("Caption"); !caption.empty(); label.clear()) {
        const std::size_t length = std::min(caption.find('\n'), caption.size());
        printField(label, caption.substr(0, length));
        caption.remove_prefix(std::min(length + 1, caption.size()));
    }
    if (!record.keywords.empty())
        printField(localized("Keywords"), fmt::format("{}", fmt::join(keywordsIn(record.keywords), ", ")));
}

void printFields(const ManagedAsset &asset) {
    const AssetRecord &record = asset.record();
    printField("UUID", record.uuid);
    printField(localized("Kind"), kindText(record));
    printField(localized("Name"), outsideName(record));
    printField(localized("Format"), record.format);
    printField(localized("Pixels"), pixelsText(record, localized("unknown").c_str()));
    printField(localized("Created"), record.zoneMinutes ? fmt::format("{} (UTC{})", createdText(record),
                                                                      zoneText(*record.zoneMinutes))
                                                        : createdText(record));
    printField(localized("Added"), dateText(record.dateAdded));
    if (record.latitude && record.longitude)
        printField(localized("Place"), fmt::format("{:.6f}, {:.6f}", *record.latitude, *record.longitude));
    if (!record.camera.empty())
        printField(localized("Camera"), record.camera);
    if (!record.lens.empty())
        printField(localized("Lens"), record.lens);
    if (const std::string exposure = exposureText(record); !exposure.empty())
        printField(localized("Exposure"), exposure);
    printDetails(record);
    printField(localized("Size"), sizeText(record.byteSize));
    printField("URL", asset.assetURL()->absoluteString()->utf8());
    printField(localized("Object ID"), asset.objectID()->uriRepresentation()->absoluteString()->utf8());
    printField(localized("File"), asset.fileURL()->fileSystemPath());
    if (record.externalUsageIntent != 0)
        printField(localized("Usage intent"), std::to_string(record.externalUsageIntent));
    if (const std::string sidecar = sidecarPath(record); !sidecar.empty())
        printField(localized("Metadata"), sidecar);
    if (!record.problem.empty())
        printField(localized("Problem"), translated(record.problem));
}

void printCompanion(const CompanionRecord &companion) {
    printField(localized("Companion"), companion.path);
    printField("  " + localized("Name"), companion.originalFilename);
    printField("  " + localized("Format"), companion.format);
    printField("  " + localized("Size"), sizeText(companion.byteSize));
}

JSON describeCompanion(const CompanionRecord &companion) {
    return {{"path", companion.path},
            {"name", companion.originalFilename},
            {"format", companion.format},
            {"bytes", companion.byteSize}};
}

/// An asset, with what the library knows of it besides.
struct Shown {
    Ref<ManagedAsset> asset;
    EditedRendition rendition;
    std::optional<CompanionRecord> companion;
};

JSON describeShown(const Shown &shown) {
    JSON described = describe(*shown.asset);
    if (shown.rendition.file)
        described["edited"] = {{"path", shown.rendition.file->fileSystemPath()},
                               {"properties", describeProperties(shown.rendition)}};
    if (shown.companion)
        described["companion"] = describeCompanion(*shown.companion);
    return described;
}

void printShown(const Shown &shown) {
    printFields(*shown.asset);
    if (shown.companion)
        printCompanion(*shown.companion);
    if (shown.rendition.file)
        printEdit(shown.rendition);
}

/// Calls `use` with each of the assets, which fit into one request.
Result<> forEachShown(std::span<const std::string> uuids, const Handler<void(const Shown &)> &use) {
    auto assets = askForAssets(uuids);
    if (!assets)
        return passOn(assets);
    std::erase_if(*assets, [](const Ref<ManagedAsset> &each) { return !each; }); // gone meanwhile
    const auto companions = askForCompanions(*assets);
    if (!companions)
        return passOn(companions);
    for (const Ref<ManagedAsset> &asset : *assets) {
        auto rendition =
            orLastError(JXGatekeeperClient::sharedInstance()->renditionOfAsset(asset->assetURL()));
        if (!rendition)
            return passOn(rendition);
        const auto found = companions->find(asset->record().uuid);
        use({asset, *std::move(rendition),
             found != companions->end() ? std::optional(found->second) : std::nullopt});
    }
    return {};
}

// A list of JSON is for what may be several, however many there are.
Result<ExitCode> show(const Options &options) {
    const auto selected = select(options.selection);
    if (!selected)
        return passOn(selected);
    const bool isList = options.selection.isOpen() || options.selection.names.size() > 1;
    JSONList list;
    bool isFirst = true;
    const auto showOne = [&](const Shown &shown) {
        if (options.json) {
            isList ? list.add(describeShown(shown)) : printJSON(describeShown(shown));
            return;
        }
        if (!std::exchange(isFirst, false))
            print("");
        printShown(shown);
    };
    const auto all = forEachPart(std::span(selected->uuids), [&](std::span<const std::string> part) {
        return forEachShown(part, showOne);
    });
    if (!all)
        return passOn(all);
    if (options.json && isList)
        list.end();
    return selected->code;
}

} // namespace

void setUpShow(Command command) {
    command.footer("Examples:\n"
                   "  wickerlane show 7F3D0A52-6C1B-4E0E-9D43-2B1C7A5E8F10 --json\n"
                   "  wickerlane show --where 'from=2019-08 problem'");
    Options &options = command.runs(show);
    addSelection(command, options.selection);
    command.addFlag("--json", options.json, "Write JSON");
}

} // namespace wickerlane::cli
