// What the daemon says is in the library, and the assets and albums in it that a person names.
#ifndef CLI_QUERIES_H
#define CLI_QUERIES_H

#include <algorithm>
#include <optional>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "wickerlane/client/JXGatekeeperClient.h"
#include "wickerlane/model/Result.h"
#include "wickerlane/platform/object/Handler.h"

namespace wickerlane::cli {

using Assets = std::vector<Ref<ManagedAsset>>;

/// How many entries are asked for at once.
inline constexpr std::size_t entriesOfPage = 1'000;

/// Why the client's last operation on this thread has failed.
Failure failLastRequest();

/// What an operation of the client gave, or why it has failed.
template <class Value>
Result<Value> orLastError(std::optional<Value> given) {
    if (!given)
        return failLastRequest();
    return *std::move(given);
}

/// Calls `use`, which gives a Result<>, with the pages of a query, from its cursor on, until one fails.
/// Memory for one page is held at a time.
template <class Query, class Page, class Use>
Result<> forEachPage(Query query, std::optional<Page> (JXGatekeeperClient::*ask)(const Query &),
                     const Use &use) {
    do {
        const ReleaseScope scope;
        const auto page = orLastError((JXGatekeeperClient::sharedInstance()->*ask)(query));
        if (!page)
            return passOn(page);
        if (const Result<> used = use(*page); !used)
            return used;
        query.cursor = page->next;
    } while (!query.cursor.empty());
    return {};
}

/// Calls `use`, which gives a Result<>, with each part of a list that fits into one request, until one fails.
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

/// Calls `use` with the assets that a query asks for, page by page, from the `offset`-th on and at most
/// `limit` of them. Memory for one page is held at a time.
Result<> forEachAsset(AssetQuery query, std::size_t offset, std::size_t limit,
                      const Handler<void(const ManagedAsset &)> &use);

/// What help says of the names of assets.
inline constexpr const char *namesOfAssets = "UUIDs or beginnings of them, file names or URLs of assets";
inline constexpr const char *nameOfAsset = "UUID or a beginning of it, file name or URL of the asset";

/// An asset by its UUID or a beginning of it, its original file name, its persistent URL or the URI of its
/// object ID. Fails for a name that several have, and lists them.
Result<Ref<ManagedAsset>> askForAsset(const std::string &name);

/// Assets by such names, in their order; null where there is none.
Result<Assets> askForAssets(std::span<const std::string> names);
/// The same of what is in the trash.
Result<Assets> askForTrashed(std::span<const std::string> names);

/// The problem of a name that no asset has.
Failure failToFindAsset(const std::string &name);
Failure failToFindTrashed(const std::string &name);

/// The number of a moment, by that or by the URI of its object ID.
Result<std::int64_t> askForMomentKey(const std::string &name);

/// Assets by their UUIDs; what is not there is left out.
Result<std::unordered_map<std::string, Ref<ManagedAsset>>>
askForAssetsWithUUIDs(std::span<const std::string> uuids);

/// By the UUIDs of their assets.
using Companions = std::unordered_map<std::string, CompanionRecord>;
Result<Companions> askForCompanions(std::span<const Ref<ManagedAsset>> assets);

/// All albums, by name.
Result<std::vector<Ref<ManagedAlbum>>> askForAlbums();
/// An album by its name or UUID. The case of letters does not count where that leaves one album only.
Result<Ref<ManagedAlbum>> askForAlbum(const std::string &name);

/// What has changed since a token: JXGatekeeperClient::changesSinceToken().
Result<ChangesPage> askForChanges(const std::string &token);

} // namespace wickerlane::cli

#endif
