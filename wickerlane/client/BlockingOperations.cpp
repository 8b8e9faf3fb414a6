#include "wickerlane/client/ClientInternal.h"
#include "wickerlane/protocol/AlbumRows.h"
#include "wickerlane/protocol/AssetRows.h"
#include "wickerlane/protocol/JobKeys.h"

using namespace wickerlane;
using namespace wickerlane::client;
namespace keys = wickerlane::protocol::keys;

namespace {

constexpr const char *noAnswer = "hoardd's answer can't be read: is it another version?";
constexpr const char *noArgument = "The asset's URL or the album's UUID is missing.";

// Why hoardd says no in a reply that is no error; nothing when it has saved the asset.
std::optional<Problem> refusalIn(const Reply &reply, const Dictionary *result) {
    if (reply.get(keys::noData))
        return Problem{ProblemKind::empty, "The job holds no data to save.", {}};
    if (reply.get(keys::jobQueueFull))
        return Problem{ProblemKind::queueFull, "Too many jobs are waiting in hoardd. Try again later.", {}};
    if (result == nullptr)
        return Problem{ProblemKind::failed, noAnswer, {}};
    if (const auto *error = result->get<String>(protocol::jobResult::error))
        return Problem{ProblemKind::failed, std::string(error->utf8()), {}};
    return std::nullopt;
}

// Of a reply that has no reason in it.
bool succeeded(const Reply &reply, const char *reason) {
    const bool success = reply.get(keys::success);
    if (!success && !reply.isError())
        noteProblem({ProblemKind::failed, reason, {}});
    return success;
}

} // namespace

Dictionary *JXGatekeeperClient::saveAsset(Dictionary *jobDictionary) {
    Request request(protocol::saveAsset);
    request.set(keys::jobDictionary, jobDictionary);
    const Reply reply = request.sendAndWait(connection());
    if (reply.isError())
        return nullptr;
    Dictionary *result = reply.get(keys::resultJobDictionary);
    const auto refusal = refusalIn(reply, result);
    if (refusal)
        noteProblem(*refusal);
    return request.handOver(refusal ? nullptr : result);
}

URL *JXGatekeeperClient::addAlbum(String *name) {
    Request request(protocol::addGroup);
    request.set(keys::name, name);
    const Reply reply = request.sendAndWait(connection());
    if (reply.isError())
        return nullptr;
    URL *url = reply.get(keys::groupURL);
    if (reply.get(keys::nameTaken))
        noteProblem({ProblemKind::exists, "There is an album of that name.", {}});
    else if (url == nullptr)
        noteProblem({ProblemKind::failed, noAnswer, {}});
    return request.handOver(url);
}

bool JXGatekeeperClient::addAsset(URL *assetURL, String *toAlbumWithUUID) {
    if (assetURL == nullptr || toAlbumWithUUID == nullptr) {
        noteProblem({ProblemKind::invalid, noArgument, {}});
        return false;
    }
    Request request(protocol::addAssetToAlbum);
    request.set(keys::assetURL, assetURL);
    request.set(keys::albumUUID, toAlbumWithUUID);
    return succeeded(request.sendAndWait(connection()),
                     "hoardd did not add the asset. See that there is such an asset and such an album; more "
                     "is in hoardd's log.");
}

bool JXGatekeeperClient::deleteAsset(URL *assetURL) {
    if (assetURL == nullptr) {
        noteProblem({ProblemKind::invalid, noArgument, {}});
        return false;
    }
    Request request(protocol::deleteAsset);
    request.set(keys::assetURL, assetURL);
    const Reply reply = request.sendAndWait(connection());
    if (!reply.isError() && !reply.get(keys::hasEntitlement)) {
        noteProblem(
            {ProblemKind::refused,
             "This program lacks the entitlement " + std::string(JXDeleteAssetsEntitlement->utf8()) + ".",
             {}});
        return false;
    }
    return succeeded(reply, "hoardd did not delete the asset. See that there is such an asset; more is in "
                            "hoardd's log.");
}
