#include "cli/Albums.h"

#include "cli/Awaited.h"
#include "cli/DaemonRequests.h"
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

Result<> addToAlbum(URL *assetURL, const std::string &albumUUID, const std::string &what) {
    return waitForSuccess(localized("{} was not added", what), [&](const SuccessHandler &handler) {
        JXGatekeeperClient::sharedInstance()->addAssetWithURL(assetURL, String::of(albumUUID), handler);
    });
}

} // namespace wickerlane::cli
