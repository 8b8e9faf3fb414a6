#include "cli/Queries.h"

#include <fmt/format.h>

#include <algorithm>
#include <future>
#include <map>
#include <set>

#include "cli/DaemonRequests.h"
#include "cli/LibraryState.h"
#include "cli/Output.h"
#include "wickerlane/model/AssetURL.h"
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

/// Calls `use` with each part of a list that fits into one request, until one fails.
template <class Element, class Use>
Result<> forEachPart(std::span<Element> list, const Use &use) {
    while (!list.empty()) {
        const auto part = list.first(std::min(list.size(), entriesOfPage));
        list = list.subspan(part.size());
        if (const Result<> used = use(part); !used)
            return used;
    }
    return {};
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
    return failRequest({kind, text, {}});
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
        }
    return assets;
}

Result<Assets> askForTrashed(std::span<const std::string> names) {
    if (const auto there = requireLibrary(); !there)
        return passOn(there);
    std::multimap<std::string, std::size_t, std::less<>> places;
    for (std::size_t i = 0; i < names.size(); ++i) {
        const std::string uuid = uuidIn(names[i]);
        if (!uuid.empty() || isURI(names[i]))
            places.emplace(uuid.empty() ? names[i] : uuid, i);
    }
    Assets assets(names.size());
    const auto take = [&](const TrashPage &page) {
        for (const TrashedAsset &each : page.assets) {
            const std::string_view uri =
                each.asset->objectID()->uriRepresentation()->absoluteString()->utf8();
            for (const std::string_view name : {std::string_view(each.asset->record().uuid), uri}) {
                const auto [first, end] = places.equal_range(name);
                for (auto place = first; place != end; ++place)
                    assets[place->second] = each.asset;
                places.erase(first, end);
            }
        }
    };
    TrashQuery query{.limit = entriesOfPage};
    while (!places.empty()) {
        const ReleaseScope scope;
        const auto page = orLastError(JXGatekeeperClient::sharedInstance()->trashMatchingQuery(query));
        if (!page)
            return passOn(page);
        take(*page);
        query.cursor = page->next;
        if (query.cursor.empty())
            break;
    }
    return assets;
}

Failure failToFindAsset(const std::string &name) {
    return fail(ProblemKind::notFound,
                fmt::format("there is no asset {} in {}. To list all assets: wickerlane list", name,
                            store::LibraryPaths().folder()));
}

Failure failToFindTrashed(const std::string &name) {
    return fail(
        ProblemKind::notFound,
        fmt::format("there is no asset {} in the trash. To list what is: wickerlane trash list", name));
}

Result<NamedAssets> askForAllOf(std::span<const std::string> names) {
    auto found = askForAssets(names);
    if (!found)
        return passOn(found);
    NamedAssets named;
    for (std::size_t i = 0; i < names.size(); ++i)
        if ((*found)[i])
            named.assets.push_back(std::move((*found)[i]));
        else
            named.code = report(failToFindAsset(names[i]).value());
    return named;
}

Result<std::vector<std::string>> askForUUIDs(std::span<const std::string> names) {
    const auto assets = askForAssets(names);
    if (!assets)
        return passOn(assets);
    std::vector<std::string> uuids;
    std::set<std::string> known;
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (!(*assets)[i])
            return failToFindAsset(names[i]);
        const std::string &uuid = (*assets)[i]->record().uuid;
        if (known.insert(uuid).second)
            uuids.push_back(uuid);
    }
    return uuids;
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
    if (found == albums->end())
        return fail(ProblemKind::notFound,
                    fmt::format("there is no album {}. To list all albums: wickerlane album list", name));
    return *found;
}

Result<ChangesPage> askForChanges(const std::string &token) {
    if (const auto there = requireLibrary(); !there)
        return passOn(there);
    return orLastError(JXGatekeeperClient::sharedInstance()->changesSinceToken(token, entriesOfPage));
}

} // namespace wickerlane::cli
