#include "cli/view/Changes.h"

#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "cli/Queries.h"
#include "cli/view/DaemonQuestions.h"
#include "cli/view/Imports.h"
#include "cli/view/Parameters.h"
#include "cli/view/Rotation.h"
#include "wickerlane/client/JXGatekeeperClient.h"
#include "wickerlane/platform/object/Array.h"
#include "wickerlane/platform/object/Dictionary.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/protocol/DetailKeys.h"

namespace wickerlane::cli::view {
namespace {

namespace detail = protocol::detail;

/// Dates that are changed by one request of the client.
constexpr std::size_t datesOfRequest = 1'000;

constexpr std::size_t maxTitleBytes = 1'024;

JXGatekeeperClient *client() {
    return JXGatekeeperClient::sharedInstance();
}

/// What a change that gives nothing answers.
Result<JSON> done(bool isDone) {
    if (!isDone)
        return failAsked("there is no such thing in the library any more");
    return JSON::object();
}

Ref<Array> photosOf(const Assets &assets) {
    auto photos = MutableArray::create();
    for (const Ref<ManagedAsset> &each : assets)
        photos->append(each.get());
    return photos;
}

/// The assets that the body names, all of which must be there.
Result<Assets> namedAssets(const JSON &body, const char *name) {
    const auto uuids = uuidsIn(body, name);
    if (!uuids)
        return passOn(uuids);
    auto assets = askForAssets(*uuids);
    if (!assets)
        return passOn(assets);
    if (std::ranges::find(*assets, nullptr) != assets->end())
        return fail(ProblemKind::notFound,
                    "some of these assets are not in the library any more; nothing was changed");
    return assets;
}

/// A value of a detail; null when it makes no sense.
Ref<Object> detailOf(std::string_view name, const JSON &value) {
    if ((name == detail::favourite || name == detail::hidden) && value.is_boolean())
        return Number::create(value.get<bool>());
    if (name == detail::rating && value.is_number_integer())
        return Number::create(value.get<std::int64_t>());
    if (name == detail::caption && value.is_string())
        return String::create(value.get_ref<const std::string &>());
    const bool isList =
        name == detail::keywords || name == detail::addKeywords || name == detail::removeKeywords;
    if (!isList || !value.is_array())
        return nullptr;
    auto texts = MutableArray::create();
    for (const JSON &each : value) {
        const auto text = each.is_string() ? String::create(each.get_ref<const std::string &>()) : nullptr;
        if (!text)
            return nullptr;
        texts->append(text.get());
    }
    return texts;
}

Result<JSON> setDetails(const JSON &body) {
    const auto given = body.find("details");
    if (given == body.end() || !given->is_object() || given->empty())
        return fail(ProblemKind::invalid, "'details' must say what to set, such as {\"rating\":5}");
    const auto details = MutableDictionary::create();
    for (const auto &[name, value] : given->items()) {
        const Ref<Object> set = detailOf(name, value);
        if (!set)
            return fail(ProblemKind::invalid, "the detail '" + name + "' can't be set to that");
        details->set(name, set.get());
    }
    const auto assets = namedAssets(body, "ids");
    if (!assets)
        return passOn(assets);
    return done(client()->setDetails(details.get(), photosOf(*assets).get()));
}

/// Does something to each of the assets that `find` finds, by its URL. Names those of which it succeeded
/// under `name`, and says why of the others.
template <class Act>
Result<JSON> forEachNamed(const JSON &body, const char *name,
                          Result<Assets> (*find)(std::span<const std::string>), const Act &act) {
    const auto uuids = uuidsIn(body, "ids");
    if (!uuids)
        return passOn(uuids);
    const auto assets = find(*uuids);
    if (!assets)
        return passOn(assets);
    JSON succeeded = JSON::array(), refused = JSON::array();
    for (std::size_t i = 0; i < uuids->size(); ++i) {
        const ReleaseScope scope;
        const ManagedAsset *asset = (*assets)[i].get();
        if (asset != nullptr && act(asset->assetURL())) {
            succeeded.push_back((*uuids)[i]);
            continue;
        }
        const Problem problem = asset == nullptr
                                    ? Problem{ProblemKind::notFound, "it is not there any more", {}}
                                    : failAsked().value();
        if (problem.kind == ProblemKind::unreachable)
            return fail(problem);
        refused.push_back({{"id", (*uuids)[i]}, {"text", problem.text}});
    }
    return JSON{{name, std::move(succeeded)}, {"refused", std::move(refused)}};
}

Result<JSON> deleteAssets(const JSON &body) {
    return forEachNamed(body, "deleted", askForAssets, [](URL *url) { return client()->deleteAsset(url); });
}

Result<JSON> revertAssets(const JSON &body) {
    return forEachNamed(body, "reverted", askForAssets, [](URL *url) { return client()->revertAsset(url); });
}

Result<JSON> adjustDates(const JSON &body) {
    const auto seconds = integerIn(body, "seconds");
    if (!seconds)
        return passOn(seconds);
    const auto assets = namedAssets(body, "ids");
    if (!assets)
        return passOn(assets);
    for (std::size_t first = 0; first < assets->size(); first += datesOfRequest) {
        const auto end = std::min(first + datesOfRequest, assets->size());
        const Assets part(assets->begin() + static_cast<std::ptrdiff_t>(first),
                          assets->begin() + static_cast<std::ptrdiff_t>(end));
        if (!client()->adjustDatesBySeconds(*seconds, photosOf(part).get()))
            return failAsked();
    }
    return JSON::object();
}

Result<JSON> createAlbum(const JSON &body) {
    const auto title = textIn(body, "title");
    if (!title)
        return passOn(title);
    if (title->empty() || title->size() > maxTitleBytes)
        return fail(ProblemKind::invalid, "an album has a title of 1 to 1024 bytes");
    const URL *url = client()->addAlbum(String::of(*title));
    if (url == nullptr)
        return failAsked("the album could not be made; see the daemon's log");
    const auto albums = client()->albums();
    if (!albums)
        return failAsked();
    for (const Ref<ManagedAlbum> &each : *albums)
        if (each->groupURL()->isEqual(url))
            return JSON{{"id", each->record().uuid}};
    return fail(ProblemKind::notFound, "the album was made, but is gone already");
}

Result<JSON> renameAlbum(const JSON &body) {
    const auto uuid = uuidIn(body, "id"), title = textIn(body, "title");
    if (!uuid || !title)
        return passOn(uuid ? title : uuid);
    return done(client()->renameAlbumWithUUID(String::of(*uuid), String::of(*title)));
}

Result<JSON> deleteAlbum(const JSON &body) {
    const auto uuid = uuidIn(body, "id");
    if (!uuid)
        return passOn(uuid);
    return done(client()->deleteAlbumWithUUID(String::of(*uuid)));
}

Result<JSON> addToAlbum(const JSON &body) {
    const auto album = uuidIn(body, "id");
    if (!album)
        return passOn(album);
    const auto assets = namedAssets(body, "assets");
    if (!assets)
        return passOn(assets);
    for (const Ref<ManagedAsset> &each : *assets) {
        const ReleaseScope scope;
        if (client()->addAsset(each->assetURL(), String::of(*album)))
            continue;
        auto failure = failAsked();
        const auto isThere = askForAlbum(*album);
        return isThere ? failure : passOn(isThere);
    }
    return JSON::object();
}

Result<JSON> removeFromAlbum(const JSON &body) {
    const auto album = uuidIn(body, "id");
    if (!album)
        return passOn(album);
    const auto assets = namedAssets(body, "assets");
    if (!assets)
        return passOn(assets);
    return done(client()->removePhotos(photosOf(*assets).get(), String::of(*album)));
}

Result<JSON> dismissDuplicates(const JSON &body) {
    const auto assets = namedAssets(body, "ids");
    if (!assets)
        return passOn(assets);
    client()->setAreDuplicates(false, photosOf(*assets).get());
    return done(JXGatekeeperClient::lastError() == nullptr);
}

Result<JSON> clearBulletins(const JSON &body) {
    const auto record = integerIn(body, "record");
    if (!record)
        return passOn(record);
    if (*record < 0)
        return fail(ProblemKind::invalid, "'record' must be that of a bulletin");
    client()->clearAllBulletinsWithLastClearedRecordID(static_cast<unsigned long>(*record));
    // It has no answer of its own; that of a later request comes when it is done.
    return done(client()->getCurrentBulletins() != nullptr);
}

Result<JSON> restoreTrashed(const JSON &body) {
    return forEachNamed(body, "restored", askForTrashed,
                        [](URL *url) { return client()->restoreTrashedAsset(url); });
}

/// For good. What is not in the trash is never deleted so.
Result<JSON> deleteTrashed(const JSON &body) {
    return forEachNamed(body, "deleted", askForTrashed, [](URL *url) { return client()->removeAsset(url); });
}

Result<JSON> emptyTrash(const JSON &) {
    return done(client()->emptyTrash());
}

constexpr std::array changes = {
    NamedChange{"/api/assets/set", setDetails},
    NamedChange{"/api/assets/delete", deleteAssets},
    NamedChange{"/api/assets/rotate", rotateAsset},
    NamedChange{"/api/assets/revert", revertAssets},
    NamedChange{"/api/assets/adjust-dates", adjustDates},
    NamedChange{"/api/albums/create", createAlbum},
    NamedChange{"/api/albums/rename", renameAlbum},
    NamedChange{"/api/albums/delete", deleteAlbum},
    NamedChange{"/api/albums/add", addToAlbum},
    NamedChange{"/api/albums/remove", removeFromAlbum},
    NamedChange{"/api/duplicates/dismiss", dismissDuplicates},
    NamedChange{"/api/bulletins/clear", clearBulletins},
    NamedChange{"/api/trash/restore", restoreTrashed},
    NamedChange{"/api/trash/delete", deleteTrashed},
    NamedChange{"/api/trash/empty", emptyTrash},
    NamedChange{"/api/import/pairs", pairFiles},
};

} // namespace

std::span<const NamedChange> changesOfLibrary() {
    return changes;
}

} // namespace wickerlane::cli::view
