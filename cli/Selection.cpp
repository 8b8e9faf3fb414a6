#include "cli/Selection.h"

#include <fmt/format.h>

#include <iostream>
#include <iterator>
#include <limits>
#include <set>

#include "cli/AssetListing.h"
#include "cli/Confirmation.h"
#include "cli/DaemonRequests.h"
#include "cli/FilterOptions.h"
#include "cli/Texts.h"

namespace wickerlane::cli {

std::vector<std::string> namesIn(const std::vector<std::string> &given) {
    std::vector<std::string> names;
    for (const std::string &name : given) {
        if (name != "-") {
            names.push_back(name);
            continue;
        }
        const auto read = linesOf(std::string(std::istreambuf_iterator<char>(std::cin), {}));
        names.insert(names.end(), read.begin(), read.end());
    }
    return names;
}

Option addNames(const Command &command, std::vector<std::string> &names) {
    return command.addOption("ASSET", names,
                             fmt::format("{}; - reads them from standard input", namesOfAssets));
}

void addSelection(const Command &command, Selection &selection) {
    addQueryOption(command, selection.query).excludes(addNames(command, selection.names));
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

Result<FoundAssets> find(const Selection &selection) {
    if (selection.isEmpty())
        return fail(ProblemKind::invalid, localized("ASSET or --where is required"));
    FoundAssets found;
    if (!selection.query.empty()) {
        auto filter = filterOfQuery(selection.query);
        if (!filter)
            return passOn(filter);
        const auto read =
            forEachAsset({.filter = *std::move(filter), .fields = AssetFields::identity}, 0,
                         std::numeric_limits<std::size_t>::max(),
                         [&](const ManagedAsset &asset) { found.uuids.push_back(asset.record().uuid); });
        if (!read)
            return passOn(read);
        return found;
    }
    const std::vector<std::string> names = namesIn(selection.names);
    const auto assets = askForAssets(names);
    if (!assets)
        return passOn(assets);
    std::set<std::string, std::less<>> known;
    for (std::size_t i = 0; i < names.size(); ++i)
        if ((*assets)[i] == nullptr)
            found.absent.push_back(names[i]);
        else if (known.insert((*assets)[i]->record().uuid).second)
            found.uuids.push_back((*assets)[i]->record().uuid);
    return found;
}

Result<FoundTrash> findTrashed(std::span<const std::string> names) {
    const auto assets = askForTrashed(names);
    if (!assets)
        return passOn(assets);
    FoundTrash found;
    std::set<std::string, std::less<>> known;
    for (std::size_t i = 0; i < names.size(); ++i)
        if ((*assets)[i] == nullptr)
            found.absent.push_back(names[i]);
        else if (known.insert((*assets)[i]->record().uuid).second)
            found.assets.push_back((*assets)[i]);
    return found;
}

Result<SelectedAssets> select(const Selection &selection) {
    return find(selection).map([](FoundAssets &&found) {
        SelectedAssets selected{std::move(found.uuids)};
        for (const std::string &name : found.absent)
            selected.code = report(failToFindAsset(name).value());
        return selected;
    });
}

Result<ExitCode> printDryRun(std::span<const std::string> uuids, const std::string &summary,
                             const Assets &trashed) {
    auto listing = AssetListing::create({});
    if (!listing)
        return passOn(listing);
    const auto listed = forEachPart(uuids, [&](std::span<const std::string> part) -> Result<> {
        const auto assets = askForAssets(part);
        if (!assets)
            return passOn(assets);
        for (const Ref<ManagedAsset> &each : *assets)
            if (each)
                listing->add(*each);
        return {};
    });
    if (!listed)
        return passOn(listed);
    for (const Ref<ManagedAsset> &each : trashed)
        listing->add(*each);
    listing->end(localized("no assets"));
    summarize(summary);
    return ExitCode::success;
}

Result<ExitCode> changeSelected(const Selection &selection, const ChangeTexts &texts,
                                const protocol::Row &row,
                                const Handler<void(client::Request &request)> &fill) {
    const auto selected = select(selection);
    if (!selected)
        return passOn(selected);
    if (selected->code != ExitCode::success)
        return selected->code;
    return change(selected->uuids, selection, texts, row, fill);
}

Result<ExitCode> change(std::span<const std::string> uuids, const Selection &selection,
                        const ChangeTexts &texts, const protocol::Row &row,
                        const Handler<void(client::Request &request)> &fill) {
    if (selection.isDryRun)
        return printDryRun(uuids, texts.wouldBeDone(uuids.size()));
    if (texts.question && selection.isOpen() && !uuids.empty() && !selection.yes)
        if (const auto confirmed = confirm(texts.question(uuids.size()),
                                           localized("nothing was changed; --yes changes without asking"));
            !confirmed)
            return passOn(confirmed);
    const InterruptScope interrupts;
    Progress progress(texts.doing, uuids.size());
    std::size_t done = 0;
    const auto changed = forEachPart(uuids, [&](std::span<const std::string> part) -> Result<> {
        if (isInterrupted())
            return failInterrupted(localized("interrupted: {} of {} are done", done, uuids.size()));
        client::Request request(row);
        fill(request);
        request.set(protocol::keys::photoUUIDs, textsOf(part).get());
        if (const auto worked = waitForWork(request, &progress); !worked)
            return worked;
        done += part.size();
        progress.advance(part.size());
        return {};
    });
    if (!changed)
        return passOn(changed);
    summarize(texts.done(done));
    return ExitCode::success;
}

} // namespace wickerlane::cli
