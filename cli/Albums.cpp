#include "cli/Albums.h"

#include <set>

#include "cli/Awaited.h"
#include "cli/DaemonRequests.h"
#include "cli/Queries.h"
#include "cli/Texts.h"
#include "wickerlane/client/JXGatekeeperClient.h"

namespace wickerlane::cli {

Result<std::string> createAlbum(const std::string &name) {
    struct Created {
        bool nameTaken = false;
        std::string url;
    };
    const Awaited<Created> answer;
    JXGatekeeperClient::sharedInstance()->addGroupWithName(
        String::of(name), [answer](bool nameTaken, const URL *groupURL, Error *) {
            answer.give({nameTaken, groupURL != nullptr ? std::string(groupURL->absoluteString()->utf8())
                                                        : std::string()});
        });
    const Created created = answer.take();
    if (created.nameTaken)
        return fail(ProblemKind::exists, localized("there is already an album {}", name));
    if (created.url.empty())
        return fail(ProblemKind::failed, localized("the album could not be made; see the daemon's log"));
    return created.url;
}

Result<PartedByAlbum> partByAlbum(std::span<const std::string> uuids, const std::string &albumUUID) {
    PartedByAlbum parted;
    const auto asked = forEachPart(uuids, [&](std::span<const std::string> part) -> Result<> {
        const ReleaseScope scope;
        const auto page = orLastError(JXGatekeeperClient::sharedInstance()->assetsMatchingQuery(
            {.filter = {.uuids = std::vector(part.begin(), part.end()), .album = albumUUID},
             .limit = entriesOfPage,
             .fields = AssetFields::identity}));
        if (!page)
            return passOn(page);
        std::set<std::string, std::less<>> inside;
        for (const Ref<ManagedAsset> &each : page->assets)
            inside.insert(each->record().uuid);
        for (const std::string &each : part)
            (inside.contains(each) ? parted.inside : parted.outside).push_back(each);
        return {};
    });
    if (!asked)
        return passOn(asked);
    return parted;
}

Result<> addToAlbum(URL *assetURL, const std::string &albumUUID, const std::string &what) {
    return waitForSuccess(localized("{} was not added", what), [&](const SuccessHandler &handler) {
        JXGatekeeperClient::sharedInstance()->addAssetWithURL(assetURL, String::of(albumUUID), handler);
    });
}

} // namespace wickerlane::cli
