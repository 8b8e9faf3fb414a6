#include <algorithm>

#include "wickerlane/client/ClientInternal.h"
#include "wickerlane/model/RecordFaults.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/protocol/AssetRows.h"
#include "wickerlane/protocol/QueryCoding.h"
#include "wickerlane/protocol/QueryRows.h"

using namespace wickerlane;
using namespace wickerlane::client;
namespace keys = wickerlane::protocol::keys;

namespace {

Problem unreadable() {
    return {ProblemKind::failed, "hoardd's answer can't be read: is it another version?", {}};
}

// A reply that is not what hoardd sends is a failure like one that never came.
template <class Value>
std::optional<Value> orFailure(std::optional<Value> value) {
    if (!value)
        noteProblem(unreadable());
    return value;
}

std::string textOf(const String *text) {
    return text != nullptr ? std::string(text->utf8()) : std::string();
}

/// Sends a query, and reads the rows of the answer by `unpack`.
template <class Query, class Unpack>
auto ask(MessageConnection *connection, const protocol::Row &row, const Query &query,
         const protocol::Key<protocol::coding::ByteData> &rows, const Unpack &unpack)
    -> std::optional<std::pair<typename decltype(unpack(nullptr))::value_type, Reply>> {
    ReleaseScope scope;
    Request request(row);
    request.set(keys::query, protocol::encoded(query).get());
    Reply reply = request.sendAndWait(connection);
    if (reply.isError())
        return std::nullopt;
    auto unpacked = orFailure(unpack(reply.get(rows)));
    if (!unpacked)
        return std::nullopt;
    return std::pair(*std::move(unpacked), std::move(reply));
}

/// Asks for changes.
Request &fill(Request &request, const std::string &token, std::size_t limit) {
    if (!token.empty())
        request.set(keys::token, String::of(token));
    return request.set(keys::limit, limit);
}

std::optional<ChangesPage> changesIn(const Reply &reply) {
    auto changes = protocol::unpackedChanges(reply.get(keys::changes));
    if (!changes)
        return std::nullopt;
    return ChangesPage{*std::move(changes), textOf(reply.get(keys::token)), reply.get(keys::isLast),
                       reply.get(keys::isTooOld)};
}

} // namespace

std::optional<AssetPage> JXGatekeeperClient::assetsMatchingQuery(const AssetQuery &query) {
    const auto unpack = [&](const Data *data) { return protocol::unpackedAssets(data, query.fields); };
    auto answer = ask(connection(), protocol::assetsMatchingQuery, query, keys::assets, unpack);
    if (!answer)
        return std::nullopt;
    auto &[records, reply] = *answer;
    ReleaseScope scope;
    AssetPage page{{}, textOf(reply.get(keys::cursor))};
    page.assets.reserve(records.size());
    const std::string storeUUID = textOf(reply.get(keys::storeUUID));
    const std::string folder = pathUnderRoot(mediaFolder);
    for (AssetRecord &each : records) {
        if (!faultOf(each).empty() || !isUUID(storeUUID))
            return orFailure(std::optional<AssetPage>());
        page.assets.push_back(ManagedAsset::create(std::move(each), folder, storeUUID));
    }
    return page;
}

std::optional<std::vector<AssetSection>>
JXGatekeeperClient::sectionsOfAssets(const AssetFilter &filter, SectionUnit unit, bool isDescending) {
    ReleaseScope scope;
    Request request(protocol::sectionsOfAssets);
    request.set(keys::unit, static_cast<std::int64_t>(unit));
    request.set(keys::query,
                protocol::encoded(AssetQuery{.filter = filter, .isDescending = isDescending}).get());
    const Reply reply = request.sendAndWait(connection());
    if (reply.isError())
        return std::nullopt;
    return orFailure(protocol::unpackedSections(reply.get(keys::sections)));
}

std::optional<std::uint64_t> JXGatekeeperClient::countOfAssets(const AssetFilter &filter) {
    ReleaseScope scope;
    Request request(protocol::countOfAssets);
    request.set(keys::query, protocol::encoded(AssetQuery{.filter = filter}).get());
    const Reply reply = request.sendAndWait(connection());
    if (reply.isError())
        return std::nullopt;
    return reply.get(keys::count);
}

std::optional<TrashPage> JXGatekeeperClient::trashMatchingQuery(const TrashQuery &query) {
    auto answer =
        ask(connection(), protocol::trashMatchingQuery, query, keys::assets, protocol::unpackedTrash);
    if (!answer)
        return std::nullopt;
    auto &[records, reply] = *answer;
    ReleaseScope scope;
    TrashPage page{{}, textOf(reply.get(keys::cursor))};
    page.assets.reserve(records.size());
    const std::string storeUUID = textOf(reply.get(keys::storeUUID));
    const std::string folder = pathUnderRoot(mediaFolder);
    for (TrashedRecord &each : records) {
        if (!faultOf(each.asset).empty() || !isUUID(storeUUID))
            return orFailure(std::optional<TrashPage>());
        page.assets.push_back(
            {ManagedAsset::create(std::move(each.asset), folder, storeUUID), each.dateTrashed});
    }
    return page;
}

std::optional<EditedRendition> JXGatekeeperClient::renditionOfAsset(URL *assetURL) {
    ReleaseScope scope;
    Request request(protocol::renditionOfAsset);
    request.set(keys::assetURL, assetURL);
    const Reply reply = request.sendAndWait(connection());
    if (reply.isError())
        return std::nullopt;
    return EditedRendition{Ref<URL>(reply.get(keys::fileURL)),
                           Ref<Dictionary>(as<Dictionary>(reply.get(keys::properties)))};
}

std::optional<std::vector<CompanionRecord>> JXGatekeeperClient::companionsOfPhotos(Array *photoUUIDs) {
    ReleaseScope scope;
    Request request(protocol::companionsOfPhotos);
    request.set(keys::photoUUIDs, photoUUIDs);
    const Reply reply = request.sendAndWait(connection());
    if (reply.isError())
        return std::nullopt;
    auto companions = orFailure(protocol::unpackedCompanions(reply.get(keys::companions)));
    if (companions && !std::ranges::all_of(*companions, isText, &CompanionRecord::path))
        return orFailure(std::optional<std::vector<CompanionRecord>>());
    return companions;
}

std::optional<std::vector<Ref<ManagedAlbum>>> JXGatekeeperClient::albums() {
    ReleaseScope scope;
    const Request request(protocol::allAlbums);
    const Reply reply = request.sendAndWait(connection());
    if (reply.isError())
        return std::nullopt;
    auto records = orFailure(protocol::unpackedAlbums(reply.get(keys::albums)));
    if (!records)
        return std::nullopt;
    std::vector<Ref<ManagedAlbum>> albums;
    albums.reserve(records->size());
    const std::string storeUUID = textOf(reply.get(keys::storeUUID));
    for (AlbumRecord &each : *records) {
        if (!faultOf(each).empty() || !isUUID(storeUUID))
            return orFailure(std::optional<std::vector<Ref<ManagedAlbum>>>());
        albums.push_back(ManagedAlbum::create(std::move(each), storeUUID));
    }
    return albums;
}

std::optional<MomentPage> JXGatekeeperClient::momentsMatchingQuery(const MomentQuery &query) {
    const auto unpack = [&](const Data *data) { return protocol::unpackedMoments(data, query.withAssets); };
    auto answer = ask(connection(), protocol::momentsMatchingQuery, query, keys::moments, unpack);
    if (!answer)
        return std::nullopt;
    const Reply &reply = answer->second;
    return MomentPage{std::move(answer->first), textOf(reply.get(keys::cursor)),
                      textOf(reply.get(keys::storeUUID)), reply.get(keys::isComplete)};
}

std::optional<MomentLists> JXGatekeeperClient::momentLists() {
    ReleaseScope scope;
    const Reply reply = Request(protocol::allMomentLists).sendAndWait(connection());
    if (reply.isError())
        return std::nullopt;
    auto lists = orFailure(protocol::unpackedMomentLists(reply.get(keys::lists)));
    if (!lists)
        return std::nullopt;
    return MomentLists{*std::move(lists), textOf(reply.get(keys::storeUUID))};
}

std::optional<DuplicatesPage> JXGatekeeperClient::duplicatesMatchingQuery(const DuplicatesQuery &query) {
    auto answer =
        ask(connection(), protocol::duplicatesMatchingQuery, query, keys::groups, protocol::unpackedGroups);
    if (!answer)
        return std::nullopt;
    const Reply &reply = answer->second;
    return DuplicatesPage{std::move(answer->first), textOf(reply.get(keys::cursor)),
                          reply.get(keys::isComplete)};
}

std::optional<std::vector<FeedEntryRecord>> JXGatekeeperClient::cloudFeed() {
    ReleaseScope scope;
    const Reply reply = Request(protocol::cloudFeed).sendAndWait(connection());
    if (reply.isError())
        return std::nullopt;
    return orFailure(protocol::unpackedFeed(reply.get(keys::entries)));
}

std::optional<ChangesPage> JXGatekeeperClient::changesSinceToken(const std::string &token,
                                                                 std::size_t limit) {
    ReleaseScope scope;
    Request request(protocol::changesSinceToken);
    const Reply reply = fill(request, token, limit).sendAndWait(connection());
    return reply.isError() ? std::nullopt : orFailure(changesIn(reply));
}

std::optional<ChangesPage> JXGatekeeperClient::awaitChangesSinceToken(const std::string &token,
                                                                      std::size_t limit,
                                                                      std::chrono::seconds time) {
    ReleaseScope scope;
    Request request(protocol::awaitChangesSinceToken);
    const Reply reply =
        fill(request, token, limit).set(keys::seconds, time.count()).sendAndWait(connection());
    return reply.isError() ? std::nullopt : orFailure(changesIn(reply));
}

void JXGatekeeperClient::awaitChangesSinceToken(const std::string &token, std::size_t limit,
                                                std::chrono::seconds time,
                                                Handler<const ChangesPage *, Error *> handler) {
    if (handler == nullptr)
        failParameter(this, protocol::awaitChangesSinceToken.name, "handler != NULL");
    ReleaseScope scope;
    Request request(protocol::awaitChangesSinceToken);
    fill(request, token, limit)
        .set(keys::seconds, time.count())
        .sendWithReply(connection(), replyQueue(), [handler = std::move(handler)](const Reply &reply) {
            const auto page = reply.isError() ? std::nullopt : changesIn(reply);
            if (page)
                return handler(&*page, nullptr);
            handler(nullptr, reply.isError() ? reply.requestError() : errorOf(unreadable()));
        });
}
