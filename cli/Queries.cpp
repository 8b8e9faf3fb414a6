#include "cli/Queries.h"

#include <fmt/format.h>

#include <algorithm>
#include <future>

#include "cli/DaemonRequests.h"
#include "cli/StoreLookup.h"
#include "wickerlane/client/JXGatekeeperClient.h"

namespace wickerlane::cli {
namespace {

/// Why the last question to the daemon was not answered.
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

Result<AssetPage> askForPage(const AssetQuery &query) {
    ReleaseScope scope;
    auto page = JXGatekeeperClient::sharedInstance()->assetsMatchingQuery(query);
    if (!page)
        return failLastRequest();
    return *std::move(page);
}

} // namespace

// The next page is on its way while the last one is used.
Result<> forEachAsset(AssetQuery query, std::size_t offset, std::size_t limit,
                      const Handler<void(const ManagedAsset &)> &use) {
    if (const auto there = requireLibrary(); !there)
        return there;
    constexpr std::size_t pageSize = 1'000;
    const auto asked = [&, fields = query.fields] {
        const bool isPassedOver = offset > 0;
        query.limit = std::min(isPassedOver ? std::min(offset, pageSize) : pageSize, limit);
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

Result<Ref<ManagedAlbum>> askForAlbum(const std::string &name) {
    if (const auto there = requireLibrary(); !there)
        return passOn(there);
    const auto albums = JXGatekeeperClient::sharedInstance()->albums();
    if (!albums)
        return failLastRequest();
    const auto uuid = UUID::createWithText(name);
    const std::string_view asUUID = uuid ? uuid->uuidString()->utf8() : std::string_view();
    for (const Ref<ManagedAlbum> &each : *albums)
        if (each->record().name == name || each->record().uuid == asUUID)
            return each;
    return fail(ProblemKind::notFound,
                fmt::format("there is no album {}. To list all albums: wickerlane album list", name));
}

Result<ChangesPage> askForChanges(const std::string &token) {
    constexpr std::size_t pageSize = 1'000;
    if (const auto there = requireLibrary(); !there)
        return passOn(there);
    auto page = JXGatekeeperClient::sharedInstance()->changesSinceToken(token, pageSize);
    if (!page)
        return failLastRequest();
    return *std::move(page);
}

} // namespace wickerlane::cli
