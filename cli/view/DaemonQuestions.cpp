#include "cli/view/DaemonQuestions.h"

#include <cstdint>
#include <utility>
#include <vector>

#include "wickerlane/client/JXGatekeeperClient.h"
#include "wickerlane/platform/object/String.h"

namespace wickerlane::cli::view {

Failure failAsked(std::string absence) {
    const Error *error = JXGatekeeperClient::lastError();
    if (error == nullptr)
        return fail(ProblemKind::notFound, std::move(absence));
    return fail(static_cast<ProblemKind>(error->code()), std::string(error->localizedDescription()->utf8()));
}

bool hasEnded() {
    const Error *error = JXGatekeeperClient::lastError();
    return error != nullptr && error->code() == static_cast<std::int64_t>(ProblemKind::ending);
}

Result<Ref<ManagedAsset>> assetWithUUID(const std::string &uuid, AssetFields fields) {
    const auto page = askAgain([&] {
        return JXGatekeeperClient::sharedInstance()->assetsMatchingQuery(
            {.filter = {.uuids = std::vector{uuid}}, .limit = 1, .fields = fields});
    });
    if (!page)
        return failAsked();
    if (page->assets.empty())
        return fail(ProblemKind::notFound, "there is no such asset in the library any more");
    return page->assets.front();
}

} // namespace wickerlane::cli::view
