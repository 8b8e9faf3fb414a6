#include "cli/Queries.h"

#include <fmt/format.h>

#include <algorithm>

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

} // namespace

Result<> forEachAsset(AssetQuery query, std::size_t offset, std::size_t limit,
                      const Handler<void(const ManagedAsset &)> &use) {
    constexpr std::size_t pageSize = 1'000;
    if (const auto there = requireLibrary(); !there)
        return there;
    JXGatekeeperClient *client = JXGatekeeperClient::sharedInstance();
    const AssetFields fields = query.fields;
    while (limit > 0) {
        ReleaseScope scope;
        query.limit = std::min(offset > 0 ? std::min(offset, pageSize) : pageSize, limit);
        query.fields = offset > 0 ? AssetFields::identity : fields;
        const auto page = client->assetsMatchingQuery(query);
        if (!page)
            return failLastRequest();
        if (offset > 0) {
            offset -= std::min(offset, page->assets.size());
        } else {
            for (const Ref<ManagedAsset> &each : page->assets)
                use(*each);
            limit -= page->assets.size();
        }
        if (page->next.empty())
            break;
        query.cursor = page->next;
    }
    return {};
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

} // namespace wickerlane::cli
