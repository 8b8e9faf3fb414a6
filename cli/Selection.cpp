#include "cli/Selection.h"

#include <fmt/format.h>

#include <iostream>
#include <iterator>
#include <limits>
#include <set>

#include "cli/AssetListing.h"
#include "cli/FilterOptions.h"
#include "cli/Formatting.h"

namespace wickerlane::cli {

Option addSelection(const Command &command, Selection &selection) {
    const Option names = command.addOption(
        "ASSET", selection.names, fmt::format("{}; - reads them from standard input", namesOfAssets));
    addQueryOption(command, selection.query).excludes(names);
    return names;
}

void addDryRun(const Command &command, Selection &selection) {
    command.addFlag("-n,--dry-run", selection.isDryRun, "Only list the assets that it would be done to");
}

void addYes(const Command &command, bool &yes) {
    command.addFlag("-y,--yes", yes, "Do not ask");
}

std::vector<std::string> linesOf(const std::string &text) {
    std::vector<std::string> lines;
    const char end = text.find('\0') != std::string::npos ? '\0' : '\n';
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t stop = std::min(text.find(end, begin), text.size());
        if (stop > begin)
            lines.push_back(text.substr(begin, stop - begin));
        begin = stop + 1;
    }
    return lines;
}

Result<std::vector<std::string>> namesIn(const Selection &selection) {
    std::vector<std::string> names;
    for (const std::string &name : selection.names) {
        if (name != "-") {
            names.push_back(name);
            continue;
        }
        const auto read = linesOf(std::string(std::istreambuf_iterator<char>(std::cin), {}));
        names.insert(names.end(), read.begin(), read.end());
    }
    return names;
}

Result<SelectedAssets> select(const Selection &selection) {
    if (selection.isEmpty())
        return fail(ProblemKind::invalid, "ASSET or --where is required");
    SelectedAssets selected;
    if (!selection.query.empty()) {
        auto filter = filterOfQuery(selection.query);
        if (!filter)
            return passOn(filter);
        const auto found =
            forEachAsset({.filter = *std::move(filter), .fields = AssetFields::identity}, 0,
                         std::numeric_limits<std::size_t>::max(),
                         [&](const ManagedAsset &asset) { selected.uuids.push_back(asset.record().uuid); });
        if (!found)
            return passOn(found);
        return selected;
    }
    const auto names = namesIn(selection);
    if (!names)
        return passOn(names);
    const auto assets = askForAssets(*names);
    if (!assets)
        return passOn(assets);
    std::set<std::string, std::less<>> known;
    for (std::size_t i = 0; i < names->size(); ++i)
        if ((*assets)[i] == nullptr)
            selected.code = report(failToFindAsset((*names)[i]).value());
        else if (known.insert((*assets)[i]->record().uuid).second)
            selected.uuids.push_back((*assets)[i]->record().uuid);
    return selected;
}

Result<ExitCode> printDryRun(std::span<const std::string> uuids, std::string_view what) {
    auto listing = AssetListing::create({});
    if (!listing)
        return passOn(listing);
    for (std::size_t begin = 0; begin < uuids.size(); begin += entriesOfPage) {
        const auto part = uuids.subspan(begin, std::min(uuids.size() - begin, entriesOfPage));
        const auto assets = askForAssetsWithUUIDs(part);
        if (!assets)
            return passOn(assets);
        for (const std::string &uuid : part)
            if (const auto found = assets->find(uuid); found != assets->end())
                listing->add(*found->second);
    }
    listing->end("no assets");
    summarize(fmt::format("{} would be {}", countText(uuids.size(), "asset", "assets"), what));
    return ExitCode::success;
}

} // namespace wickerlane::cli
