#include "cli/view/Lists.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <nlohmann/json.hpp>
#include <span>
#include <unordered_set>

#include "cli/AssetDescription.h"
#include "cli/BestDuplicate.h"
#include "cli/Formatting.h"
#include "cli/Queries.h"
#include "cli/view/Base64.h"
#include "cli/view/DaemonQuestions.h"
#include "cli/view/Parameters.h"
#include "wickerlane/client/JXGatekeeperClient.h"
#include "wickerlane/platform/object/Number.h"

namespace wickerlane::cli::view {
namespace {

/// In one answer.
constexpr std::size_t maxGridAssets = 50'000;
constexpr std::size_t maxEntries = 1'000;

/// Groups of duplicates in one answer, and assets of each that are described: a picture may have any number
/// of copies, of which the others are only named.
constexpr std::size_t maxGroups = 25;
constexpr std::size_t assetsOfGroup = 40;

/// Assets of one question: what they take is held until its answer is written.
constexpr std::size_t assetsOfPage = 1'000;

JXGatekeeperClient *client() {
    return JXGatekeeperClient::sharedInstance();
}

/// "2026-11-24".
std::string dayText(double seconds) {
    constexpr std::size_t length = 10;
    return clockText(seconds).substr(0, length);
}

/// Changes with each picture that is shown for the asset.
std::string versionOf(const AssetRecord &asset) {
    return std::to_string(asset.thumbnailIndex);
}

std::string textOf(const JSON &value) {
    return value.dump(-1, ' ', false, JSON::error_handler_t::replace);
}

/// The UUIDs of those assets of a filter that have an edited version.
Result<std::unordered_set<std::string>> editedOf(AssetFilter filter) {
    std::unordered_set<std::string> uuids;
    filter.isEdited = true;
    AssetQuery query{.filter = std::move(filter), .limit = assetsOfPage, .fields = AssetFields::identity};
    do {
        const ReleaseScope scope;
        const auto page = askAgain([&] { return client()->assetsMatchingQuery(query); });
        if (!page)
            return failAsked();
        for (const Ref<ManagedAsset> &each : page->assets)
            uuids.insert(each->record().uuid);
        query.cursor = page->next;
    } while (!query.cursor.empty() && uuids.size() < maxGridAssets);
    return uuids;
}

/// Narrows a filter to its newest assets: whole days that have at least `count` of them. Zero leaves all.
/// Gives whether older ones are left out.
Result<bool> narrowToFirst(AssetFilter &filter, std::size_t count) {
    if (count == 0)
        return false;
    constexpr double secondsOfDay = 86'400;
    const ReleaseScope scope;
    const AssetQuery query{.filter = filter,
                           .isDescending = true,
                           .limit = count,
                           .fields = AssetFields::identity | fieldOf<&AssetRecord::dateCreated>() |
                                     fieldOf<&AssetRecord::clockDate>()};
    const auto page = askAgain([&] { return client()->assetsMatchingQuery(query); });
    if (!page)
        return failAsked();
    if (page->next.empty())
        return false;
    const double date = page->assets.back()->record().shownDate();
    const double day = std::floor(date / secondsOfDay) * secondsOfDay;
    filter.from = std::max(day, filter.from.value_or(day));
    return true;
}

/// What the grid shows of an asset.
void appendGridEntry(std::string &text, const AssetRecord &asset, bool isEdited) {
    fmt::format_to(std::back_inserter(text), R"({}{{"id":"{}","kind":"{}","v":"{}")",
                   text.back() == '[' ? "" : ",", asset.uuid, kindText(asset), asset.thumbnailIndex);
    if (asset.duration > 0)
        fmt::format_to(std::back_inserter(text), R"(,"duration":{:.3f})", asset.duration);
    if (asset.favourite)
        text += R"(,"favourite":true)";
    if (isEdited)
        text += R"(,"edited":true)";
    if (!asset.problem.empty())
        text += R"(,"problem":true)";
    text += '}';
}

/// A short description of an asset in a list of few.
JSON briefOf(const ManagedAsset &asset) {
    const AssetRecord &record = asset.record();
    return {{"id", record.uuid},
            {"kind", kindText(record)},
            {"name", outsideName(record)},
            {"width", record.width},
            {"height", record.height},
            {"bytes", record.byteSize},
            {"created", isoClockText(record.shownDate(), record.zoneMinutes)},
            {"v", versionOf(record)}};
}

/// Some assets of a group of duplicates, the best among them, and the names of its others. Null when fewer
/// than two are left of it.
Result<JSON> describeGroup(KnownAssets &known, const DuplicatesRecord &group) {
    Assets shown;
    JSON others = JSON::array();
    std::size_t best = 0;
    for (auto uuids = std::span(group.uuids); !uuids.empty();) {
        const ReleaseScope scope;
        const auto part = uuids.first(std::min(uuids.size(), assetsOfPage));
        uuids = uuids.subspan(part.size());
        const auto assets = askForAssetsWithUUIDs(part);
        if (!assets)
            return passOn(assets);
        for (const std::string &uuid : part) {
            const auto found = assets->find(uuid);
            if (found == assets->end())
                continue; // deleted since
            const AssetRecord &record = found->second->record();
            const bool isBest = shown.empty() || isBetterDuplicate(record, shown[best]->record());
            if (shown.size() < assetsOfGroup) {
                best = isBest ? shown.size() : best;
                shown.push_back(found->second);
                continue;
            }
            // The best is shown in any case, in the place of the last.
            others.push_back(isBest ? shown.back()->record().uuid : uuid);
            if (isBest) {
                best = shown.size() - 1;
                shown.back() = found->second;
            }
        }
    }
    if (shown.size() < 2)
        return JSON();
    JSON entries = JSON::array();
    for (const Ref<ManagedAsset> &each : shown) {
        known.note(*each);
        entries.push_back(briefOf(*each));
    }
    entries[best]["best"] = true;
    JSON described = {{"likeness", group.isSame ? "same" : "similar"},
                      {"count", shown.size() + others.size()},
                      {"assets", std::move(entries)}};
    if (!others.empty())
        described["others"] = std::move(others);
    return described;
}

} // namespace

Result<std::string> listSections(KnownAssets &, const httplib::Request &request) {
    const std::string unit = request.get_param_value("unit");
    if (!unit.empty() && unit != "day" && unit != "month")
        return fail(ProblemKind::invalid, "'unit' must be day or month");
    auto filter = filterIn(request);
    const auto first = numberIn(request, "first", 0);
    if (!filter)
        return passOn(filter);
    if (!first)
        return passOn(first);
    const auto isNarrowed = narrowToFirst(*filter, static_cast<std::size_t>(*first));
    if (!isNarrowed)
        return passOn(isNarrowed);
    const auto sections = askAgain([&] {
        return client()->sectionsOfAssets(*filter, unit == "month" ? SectionUnit::month : SectionUnit::day,
                                          true);
    });
    if (!sections)
        return failAsked();
    std::string text = fmt::format(R"({{"isWhole":{},"sections":[)", !*isNarrowed);
    for (const AssetSection &each : *sections) {
        fmt::format_to(std::back_inserter(text), R"({}{{"start":"{}","count":{},"shapes":")",
                       text.back() == '[' ? "" : ",", dayText(each.start), each.shapes.size());
        appendBase64(text, std::as_bytes(std::span(each.shapes))); // little-endian, as this machine is
        text += R"("})";
    }
    text += "]}";
    return text;
}

Result<std::string> countAssets(KnownAssets &, const httplib::Request &request) {
    const auto filter = filterIn(request);
    if (!filter)
        return passOn(filter);
    const auto count = askAgain([&] { return client()->countOfAssets(*filter); });
    if (!count)
        return failAsked();
    return fmt::format(R"({{"count":{}}})", *count);
}

Result<std::string> listGrid(KnownAssets &known, const httplib::Request &request) {
    const auto filter = filterIn(request);
    if (!filter)
        return passOn(filter);
    auto offset = numberIn(request, "offset", 0);
    auto limit = numberIn(request, "limit", maxGridAssets);
    if (!offset || !limit)
        return passOn(offset ? limit : offset);
    const auto edited = editedOf(*filter);
    if (!edited)
        return passOn(edited);
    constexpr AssetFields fields = AssetFields::identity | fieldOf<&AssetRecord::kind>() |
                                   fieldOf<&AssetRecord::duration>() | fieldOf<&AssetRecord::favourite>() |
                                   fieldOf<&AssetRecord::problem>() | fieldOf<&AssetRecord::thumbnailIndex>();
    AssetQuery query{.filter = *filter, .isDescending = true};
    std::string text = R"({"assets":[)";
    std::size_t left = std::min<std::uint64_t>(*limit, maxGridAssets);
    while (left > 0) {
        const ReleaseScope scope;
        const bool isPassedOver = *offset > 0;
        query.fields = isPassedOver ? AssetFields::identity : fields;
        query.limit = isPassedOver ? static_cast<std::size_t>(std::min<std::uint64_t>(*offset, assetsOfPage))
                                   : std::min(left, assetsOfPage);
        const auto page = askAgain([&] { return client()->assetsMatchingQuery(query); });
        if (!page)
            return failAsked();
        for (const Ref<ManagedAsset> &each : page->assets) {
            if (isPassedOver)
                continue;
            appendGridEntry(text, each->record(), edited->contains(each->record().uuid));
            known.note(*each);
        }
        if (isPassedOver)
            *offset -= page->assets.size();
        else
            left -= page->assets.size();
        query.cursor = page->next;
        if (query.cursor.empty())
            break;
    }
    text += "]}";
    return text;
}

Result<std::string> describeAsset(KnownAssets &known, const httplib::Request &request) {
    const std::string uuid = uuidIn(std::string_view(request.path).substr(assetPath.size()));
    if (uuid.empty())
        return fail(ProblemKind::notFound, "there is no such asset in the library");
    const auto found = assetWithUUID(uuid);
    if (!found)
        return passOn(found);
    const ManagedAsset &asset = **found;
    known.note(asset);
    const auto rendition = askAgain([&] { return client()->renditionOfAsset(asset.assetURL()); });
    const auto albums = rendition ? askAgain([&] { return client()->albums(); }) : std::nullopt;
    if (!rendition || !albums)
        return failAsked();
    const auto companions = askAgain([&] { return askForCompanions({&*found, 1}); });
    if (!companions)
        return passOn(companions);
    JSON described = describe(asset);
    described["id"] = uuid;
    described["v"] = versionOf(asset.record());
    described["edited"] = rendition->file != nullptr;
    for (const auto &[of, companion] : *companions)
        described["companion"] = {{"name", companion.originalFilename},
                                  {"format", companion.format},
                                  {"bytes", companion.byteSize}};
    described["albums"] = JSON::array();
    for (const Ref<ManagedAlbum> &each : *albums) {
        const auto count = askAgain([&] {
            return client()->countOfAssets({.uuids = std::vector{uuid}, .album = each->record().uuid});
        });
        if (!count)
            return failAsked();
        if (*count > 0)
            described["albums"].push_back({{"id", each->record().uuid}, {"title", each->record().name}});
    }
    return textOf(described);
}

Result<std::string> listAlbums(KnownAssets &known, const httplib::Request &) {
    const auto albums = askAgain([&] { return client()->albums(); });
    if (!albums)
        return failAsked();
    JSON described = JSON::array();
    for (const Ref<ManagedAlbum> &each : *albums) {
        const AlbumRecord &record = each->record();
        described.push_back({{"id", record.uuid},
                             {"title", record.name},
                             {"kind", record.streamID.empty() ? "album" : "shared"},
                             {"count", record.assetCount}});
        if (!record.streamID.empty())
            described.back()["isShared"] = true;
        if (record.assetCount == 0)
            continue;
        const ReleaseScope scope;
        const auto newest = askAgain([&] {
            return client()->assetsMatchingQuery(
                {.filter = {.album = record.uuid, .isHidden = false},
                 .isDescending = true,
                 .limit = 1,
                 .fields = AssetFields::identity | fieldOf<&AssetRecord::thumbnailIndex>()});
        });
        if (!newest)
            return failAsked();
        if (newest->assets.empty())
            continue;
        known.note(*newest->assets.front());
        described.back()["cover"] = newest->assets.front()->record().uuid;
        described.back()["v"] = versionOf(newest->assets.front()->record());
    }
    return textOf({{"albums", std::move(described)}});
}

Result<std::string> listMoments(KnownAssets &, const httplib::Request &request) {
    const auto from = dayIn(request, "from"), until = dayIn(request, "until");
    if (!from || !until)
        return passOn(from ? until : from);
    MomentQuery query{.from = *from, .until = *until, .isDescending = true, .limit = maxEntries};
    std::string text = R"({"moments":[)";
    bool isComplete = false;
    do {
        const ReleaseScope scope;
        const auto page = askAgain([&] { return client()->momentsMatchingQuery(query); });
        if (!page)
            return failAsked();
        for (const MomentRecord &each : page->moments) {
            JSON moment = {{"key", std::to_string(each.primaryKey)},
                           {"start", isoClockText(each.startDate)},
                           {"end", isoClockText(each.endDate)},
                           {"count", each.assetCount}};
            if (each.latitude && each.longitude)
                moment["place"] = {{"latitude", *each.latitude}, {"longitude", *each.longitude}};
            if (!each.keyAsset.empty())
                moment["cover"] = each.keyAsset;
            text += (text.back() == '[' ? "" : ",") + textOf(moment);
        }
        isComplete = page->isComplete;
        query.cursor = page->next;
    } while (!query.cursor.empty());
    text += fmt::format(R"(],"isComplete":{}}})", isComplete);
    return text;
}

Result<std::string> listDuplicates(KnownAssets &known, const httplib::Request &request) {
    const auto page = askAgain([&] {
        return client()->duplicatesMatchingQuery(
            {.limit = maxGroups, .cursor = request.get_param_value("cursor")});
    });
    if (!page)
        return failAsked();
    JSON groups = JSON::array();
    for (const DuplicatesRecord &group : page->groups) {
        const ReleaseScope scope;
        auto described = describeGroup(known, group);
        if (!described)
            return passOn(described);
        if (!described->is_null())
            groups.push_back(*std::move(described));
    }
    JSON described = {{"groups", std::move(groups)}, {"isComplete", page->isComplete}};
    if (!page->next.empty())
        described["next"] = page->next;
    return textOf(described);
}

Result<std::string> listBulletins(KnownAssets &, const httplib::Request &) {
    const Array *all = askAgain([] { return client()->getCurrentBulletins(); });
    if (all == nullptr)
        return failAsked("the daemon can't list the bulletins; see its log");
    JSON bulletins = JSON::array();
    for (Object *each : *all) {
        const auto *bulletin = as<Dictionary>(each);
        if (bulletin == nullptr)
            continue;
        const auto *title = bulletin->get<String>(kBulletinKeyTitle->utf8());
        const auto *message = bulletin->get<String>(kBulletinKeyMessage->utf8());
        const auto *date = bulletin->get<Date>(kBulletinKeyDate->utf8());
        const auto *record = bulletin->get<Number>(kBulletinKeyRecordID->utf8());
        const auto *kind = bulletin->get<Number>(kBulletinkeyBulletinType->utf8());
        const auto *asset = bulletin->get<String>(kBulletinKeyAssetUUID->utf8());
        if (message == nullptr || date == nullptr || record == nullptr)
            continue;
        bulletins.push_back({{"record", record->uint64Value()},
                             {"kind", kind != nullptr ? kind->int64Value() : 0},
                             {"title", title != nullptr ? title->utf8() : ""},
                             {"text", message->utf8()},
                             {"date", isoDateText(date->referenceSeconds())}});
        if (asset != nullptr)
            bulletins.back()["assets"] = {asset->utf8()};
    }
    return textOf({{"bulletins", std::move(bulletins)}});
}

Result<std::string> listTrash(KnownAssets &known, const httplib::Request &request) {
    const auto page = askAgain([&] {
        return client()->trashMatchingQuery(
            {.limit = maxEntries, .cursor = request.get_param_value("cursor")});
    });
    if (!page)
        return failAsked();
    JSON described = {{"assets", JSON::array()}};
    for (const TrashedAsset &each : page->assets) {
        const ReleaseScope scope;
        known.note(*each.asset);
        JSON entry = briefOf(*each.asset);
        entry["trashed"] = isoDateText(each.dateTrashed);
        entry["keptUntil"] = isoDateText(each.dateTrashed + trashLifetime);
        described["assets"].push_back(std::move(entry));
    }
    if (!page->next.empty())
        described["next"] = page->next;
    return textOf(described);
}

} // namespace wickerlane::cli::view
