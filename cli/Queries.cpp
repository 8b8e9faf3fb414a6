#include "cli/Queries.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <future>

#include "cli/AssetDescription.h"
#include "cli/DaemonRequests.h"
#include "cli/ForeignProblems.h"
#include "cli/LibraryState.h"
#include "cli/Output.h"
#include "cli/Suggestion.h"
#include "cli/Texts.h"
#include "wickerlane/model/AssetURL.h"
#include "wickerlane/platform/console/Console.h"
#include "wickerlane/store/LibraryPaths.h"

namespace wickerlane::cli {
namespace {

Result<AssetPage> askForPage(const AssetQuery &query) {
    const ReleaseScope scope;
    return orLastError(JXGatekeeperClient::sharedInstance()->assetsMatchingQuery(query));
}

/// The UUID in a name that is one or a persistent URL; empty for another.
std::string uuidIn(const std::string &name) {
    const ReleaseScope scope;
    if (const auto uuid = UUID::createWithText(name))
        return std::string(uuid->uuidString()->utf8());
    return uuidOfAssetURL(URL::create(name).get());
}

bool isURI(const std::string &name) {
    return name.find("://") != std::string::npos;
}

/// Fewer characters of a UUID name no asset.
constexpr std::size_t shortestBeginning = 4;

/// At least as many characters as are needed, with which the text of a UUID may begin.
bool isBeginningOfUUID(std::string_view text, std::size_t shortest = shortestBeginning) {
    constexpr std::size_t longest = 36;
    if (text.size() < shortest || text.size() > longest)
        return false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool isHyphen = i == 8 || i == 13 || i == 18 || i == 23;
        if (isHyphen ? text[i] != '-' : std::isxdigit(static_cast<unsigned char>(text[i])) == 0)
            return false;
    }
    return true;
}

/// Whether it may be meant for a UUID.
bool isTooShort(const std::string &name) {
    return name.size() < shortestBeginning && isBeginningOfUUID(name, 1);
}

Failure failTooShort(const std::string &name) {
    return fail(ProblemKind::notFound,
                localized("no asset is called {}, and of a UUID at least {} characters are needed", name,
                          shortestBeginning));
}

/// Several assets have one name. A few of them are listed.
Failure failForSeveral(const std::string &name, const Assets &candidates, bool areMore) {
    std::string text = localized("several assets are called {}; name one by its UUID:", name);
    for (const Ref<ManagedAsset> &each : candidates)
        text += fmt::format("\n{}  {}  {}", each->record().uuid, createdText(each->record()),
                            escapingControls(outsideName(each->record())));
    if (areMore)
        text += "\n" + localized("and more");
    return fail(ProblemKind::invalid, text);
}

/// The asset whose UUID begins so, or whose original name it is. Null when there is none.
Result<Ref<ManagedAsset>> askForNamed(const std::string &name) {
    constexpr std::size_t maxCandidates = 10;
    Assets candidates;
    const auto add = [&](const AssetFilter &filter) -> Result<> {
        const auto page = askForPage({.filter = filter, .limit = maxCandidates + 1});
        if (!page)
            return passOn(page);
        for (const Ref<ManagedAsset> &each : page->assets)
            if (std::ranges::find(candidates, each->record().uuid, [](const Ref<ManagedAsset> &known) {
                    return known->record().uuid;
                }) == candidates.end())
                candidates.push_back(each);
        return {};
    };
    if (isBeginningOfUUID(name))
        if (const auto added = add({.identity = name}); !added)
            return passOn(added);
    if (const auto added = add({.name = name}); !added)
        return passOn(added);
    // The case of letters does not count, and a name may have a star in it, unless one is called just so.
    const auto isCalledSo = [&](const Ref<ManagedAsset> &each) {
        return outsideName(each->record()) == name;
    };
    if (std::ranges::count_if(candidates, isCalledSo) == 1 && !isBeginningOfUUID(name))
        return *std::ranges::find_if(candidates, isCalledSo);
    if (candidates.empty())
        return Ref<ManagedAsset>();
    if (candidates.size() == 1)
        return candidates.front();
    const bool areMore = candidates.size() > maxCandidates;
    candidates.resize(std::min(candidates.size(), maxCandidates));
    return failForSeveral(name, candidates, areMore);
}

/// The album whose name differs in the case of letters alone. Null when there is none or are several.
Ref<ManagedAlbum> albumInOtherCase(const std::vector<Ref<ManagedAlbum>> &albums, const std::string &name) {
    const ReleaseScope scope;
    const String *wanted = String::of(name);
    if (wanted == nullptr)
        return {}; // it is not UTF-8, as all names of albums are
    Ref<ManagedAlbum> found;
    for (const Ref<ManagedAlbum> &each : albums) {
        if (wanted->compare(String::of(each->record().name), CompareOptions::caseInsensitive) != 0)
            continue;
        if (found)
            return {};
        found = each;
    }
    return found;
}

/// Whether an asset of the trash is called so, by another name than its UUID.
bool isCalled(const ManagedAsset &asset, const std::string &name) {
    const AssetRecord &record = asset.record();
    if (isURI(name))
        return asset.objectID()->uriRepresentation()->absoluteString()->utf8() == name;
    if (isBeginningOfUUID(name) && std::ranges::equal(name, record.uuid.substr(0, name.size()), {},
                                                      [](char each) { return std::toupper(each); }))
        return true;
    return outsideName(record) == name;
}

} // namespace

Failure failLastRequest() {
    const Error *error = JXGatekeeperClient::lastError();
    if (error == nullptr)
        return failUnreachable();
    const auto kind = static_cast<ProblemKind>(error->code());
    const std::string text(error->localizedDescription()->utf8());
    if (kind == ProblemKind::damagedStore)
        return failToOpenStore({kind, text, {}});
    // What was asked for makes sense to this program, so that the daemon alone can say what is wrong.
    return failRequest(withKindInWords({kind, text, {}}));
}

// The next page is on its way while the last one is used.
Result<> forEachAsset(AssetQuery query, std::size_t offset, std::size_t limit,
                      const Handler<void(const ManagedAsset &)> &use) {
    if (const auto there = requireLibrary(); !there)
        return there;
    const auto asked = [&, fields = query.fields] {
        const bool isPassedOver = offset > 0;
        query.limit = std::min(isPassedOver ? std::min(offset, entriesOfPage) : entriesOfPage, limit);
        query.fields = isPassedOver ? AssetFields::identity : fields;
        return std::async(std::launch::async, [query = query] { return askForPage(query); });
    };
    if (limit == 0)
        return {};
    auto coming = asked();
    for (;;) {
        const auto page = coming.get();
        if (!page)
            return passOn(page);
        const bool isPassedOver = offset > 0;
        (isPassedOver ? offset : limit) -= page->assets.size();
        query.cursor = page->next;
        const bool goesOn = !page->next.empty() && limit > 0;
        if (goesOn)
            coming = asked();
        for (const Ref<ManagedAsset> &each : page->assets)
            if (!isPassedOver) {
                ReleaseScope scope;
                use(*each);
            }
        if (!goesOn)
            return {};
    }
}

Result<Ref<ManagedAsset>> askForAsset(const std::string &name) {
    auto found = askForAssets({&name, 1});
    if (!found)
        return passOn(found);
    if (!found->front())
        return failToFindAsset(name);
    return std::move(found->front());
}

Result<Assets> askForAssets(std::span<const std::string> names) {
    if (const auto there = requireLibrary(); !there)
        return passOn(there);
    std::vector<std::string> uuids;
    for (const std::string &name : names)
        uuids.push_back(uuidIn(name));
    const auto known = askForAssetsWithUUIDs(uuids);
    if (!known)
        return passOn(known);
    Assets assets(names.size());
    for (std::size_t i = 0; i < names.size(); ++i)
        if (const auto found = known->find(uuids[i]); found != known->end()) {
            assets[i] = found->second;
        } else if (uuids[i].empty() && isURI(names[i])) {
            const auto page = askForPage({.filter = {.identity = names[i]}, .limit = 1});
            if (!page)
                return passOn(page);
            if (!page->assets.empty())
                assets[i] = page->assets.front();
        } else if (uuids[i].empty() && !names[i].empty()) {
            auto named = askForNamed(names[i]);
            if (!named)
                return passOn(named);
            assets[i] = *std::move(named);
        }
    return assets;
}

Result<Assets> askForTrashed(std::span<const std::string> names) {
    if (const auto there = requireLibrary(); !there)
        return passOn(there);
    std::vector<std::string> uuids;
    for (const std::string &name : names)
        uuids.push_back(uuidIn(name));
    std::unordered_map<std::string, std::vector<std::size_t>> placesOfUUID;
    std::vector<std::size_t> others;
    for (std::size_t i = 0; i < names.size(); ++i)
        if (uuids[i].empty())
            others.push_back(i);
        else
            placesOfUUID[uuids[i]].push_back(i);
    std::vector<Assets> found(names.size());
    const auto take = [&](const TrashPage &page) -> Result<> {
        for (const TrashedAsset &each : page.assets) {
            if (const auto places = placesOfUUID.extract(each.asset->record().uuid))
                for (const std::size_t place : places.mapped())
                    found[place].push_back(each.asset);
            for (const std::size_t place : others)
                if (isCalled(*each.asset, names[place]))
                    found[place].push_back(each.asset);
        }
        return {};
    };
    const auto read = [&](const TrashQuery &query) {
        return forEachPage(query, &JXGatekeeperClient::trashMatchingQuery, take);
    };
    // Several may have another name than a UUID, so that all are looked at.
    auto done = others.empty()
                    ? forEachPart(std::span<const std::string>(uuids),
                                  [&](std::span<const std::string> part) {
                                      return read({.limit = entriesOfPage,
                                                   .uuids = std::vector(part.begin(), part.end())});
                                  })
                    : read({.limit = entriesOfPage});
    // The daemon of 0.9 gives all that is in the trash or nothing.
    if (others.empty() && !done && done.error().kind == ProblemKind::invalid)
        done = read({.limit = entriesOfPage});
    if (!done)
        return passOn(done);
    Assets assets(names.size());
    for (std::size_t i = 0; i < names.size(); ++i)
        if (found[i].size() > 1)
            return failForSeveral(names[i], found[i], false);
        else if (!found[i].empty())
            assets[i] = found[i].front();
    return assets;
}

Result<std::int64_t> askForMomentKey(const std::string &name) {
    std::int64_t key = 0;
    const char *end = name.data() + name.size();
    if (const auto [stopped, error] = std::from_chars(name.data(), end, key);
        error == std::errc() && stopped == end && key > 0)
        return key;
    const auto lists = orLastError(JXGatekeeperClient::sharedInstance()->momentLists());
    if (!lists)
        return passOn(lists);
    key = primaryKeyInURI(name, lists->storeUUID, momentEntity);
    if (key <= 0)
        return fail(ProblemKind::notFound,
                    localized("there is no moment {}. To list all moments: wickerlane moments", name));
    return key;
}

Failure failToFindAsset(const std::string &name) {
    if (isTooShort(name))
        return failTooShort(name);
    return fail(ProblemKind::notFound,
                localized("there is no asset {} in {}. To list all assets: wickerlane list", name,
                          store::LibraryPaths().folder()));
}

Failure failToFindTrashed(const std::string &name) {
    if (isTooShort(name))
        return failTooShort(name);
    return fail(ProblemKind::notFound,
                localized("there is no asset {} in the trash. To list what is: wickerlane trash list", name));
}

Result<std::unordered_map<std::string, Ref<ManagedAsset>>>
askForAssetsWithUUIDs(std::span<const std::string> uuids) {
    std::unordered_map<std::string, Ref<ManagedAsset>> assets;
    const auto asked = forEachPart(uuids, [&](std::span<const std::string> part) -> Result<> {
        const auto page =
            askForPage({.filter = {.uuids = std::vector(part.begin(), part.end())}, .limit = entriesOfPage});
        if (!page)
            return passOn(page);
        for (const Ref<ManagedAsset> &each : page->assets)
            assets.emplace(each->record().uuid, each);
        return {};
    });
    if (!asked)
        return passOn(asked);
    return assets;
}

Result<Companions> askForCompanions(std::span<const Ref<ManagedAsset>> assets) {
    Companions companions;
    const auto asked = forEachPart(assets, [&](std::span<const Ref<ManagedAsset>> part) -> Result<> {
        const ReleaseScope scope;
        const auto uuids = MutableArray::create();
        for (const Ref<ManagedAsset> &each : part)
            uuids->append(String::of(each->record().uuid));
        auto found = orLastError(JXGatekeeperClient::sharedInstance()->companionsOfPhotos(uuids.get()));
        if (!found)
            return passOn(found);
        for (CompanionRecord &each : *found)
            companions.emplace(each.assetUUID, std::move(each));
        return {};
    });
    if (!asked)
        return passOn(asked);
    return companions;
}

Result<std::vector<Ref<ManagedAlbum>>> askForAlbums() {
    if (const auto there = requireLibrary(); !there)
        return passOn(there);
    return orLastError(JXGatekeeperClient::sharedInstance()->albums());
}

Result<Ref<ManagedAlbum>> askForAlbum(const std::string &name) {
    const auto albums = askForAlbums();
    if (!albums)
        return passOn(albums);
    const auto named = [](const std::string &wanted) {
        return [&](const Ref<ManagedAlbum> &each) { return each->record().name == wanted; };
    };
    auto found = std::ranges::find_if(*albums, named(name));
    if (found == albums->end())
        found = std::ranges::find_if(*albums, [uuid = uuidIn(name)](const Ref<ManagedAlbum> &each) {
            return each->record().uuid == uuid;
        });
    if (found != albums->end())
        return *found;
    if (auto other = albumInOtherCase(*albums, name))
        return other;
    std::vector<std::string> names;
    for (const Ref<ManagedAlbum> &each : *albums)
        names.push_back(each->record().name);
    return fail(ProblemKind::notFound,
                localized("there is no album {}{} To list all albums: wickerlane album list", name,
                          didYouMean(name, names)));
}

Result<ChangesPage> askForChanges(const std::string &token) {
    if (const auto there = requireLibrary(); !there)
        return passOn(there);
    return orLastError(JXGatekeeperClient::sharedInstance()->changesSinceToken(token, entriesOfPage));
}

} // namespace wickerlane::cli
