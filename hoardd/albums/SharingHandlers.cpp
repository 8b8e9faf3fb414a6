// There is no cloud: what a server would keep is kept in the library.
#include "hoardd/service/OperationFamilies.h"

#include "hoardd/albums/Albums.h"
#include "hoardd/albums/BulletinBoard.h"
#include "hoardd/albums/EmailAddress.h"
#include "hoardd/albums/PeopleStore.h"
#include "hoardd/library/State.h"
#include "hoardd/pictures/SharedSpace.h"
#include "hoardd/service/Call.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/propertylist/PropertyList.h"
#include "wickerlane/protocol/SharingRows.h"

namespace wickerlane::hoardd {

namespace keys = protocol::keys;
using sqlite::Database;

namespace {

constexpr std::size_t maxInfoBytes = 1 << 20; // of one person

Result<std::string> textUnder(const Call &call, const protocol::Key<protocol::coding::Text> &key) {
    const String *text = call.get(key);
    if (text == nullptr || text->utf8().empty())
        return fail(ProblemKind::invalid, std::string(key.text) + " is empty");
    return std::string(text->utf8());
}

// A stream shows itself by its album alone, so that enabling it is making the album.
Result<Answer> enableStream(Library &library, const Call &call) {
    const auto stream = textUnder(call, keys::streamID);
    if (!stream)
        return passOn(stream);
    if (const auto made = makeStreamAlbum(library, *stream); !made)
        return fail(made.error().kind, "can't make the album: " + made.error().text);
    return Answer();
}

Result<Answer> getCurrentBulletins(Library &library, const Call &) {
    const auto bulletins = currentBulletins(library);
    if (!bulletins)
        return passOn(bulletins);
    return Answer().set(keys::bulletins, bulletins->get());
}

Result<Answer> getCurrentApplicationBadgeCount(Library &library, const Call &) {
    const auto count = badgeCount(library);
    if (!count)
        return passOn(count);
    return Answer().set(keys::badgeCount, *count);
}

Result<Answer> getThumbnailImageDataForBulletin(Library &library, const Call &call) {
    const auto thumbnail = bulletinThumbnail(library, call.get(keys::recordID));
    if (!thumbnail)
        return passOn(thumbnail);
    return Answer().set(keys::thumbnailImageData, thumbnail->get());
}

Result<Answer> clearAllBulletins(Library &library, const Call &call) {
    return whenDone(clearBulletins(library, call.get(keys::lastClearedRecordID)));
}

Result<Answer> updateSharedAlbumsCachedServerConfigurationLimits(Library &library, const Call &) {
    return whenDone(library.writer().change(
        [](Database &database) { return state::set(database, state::maxSharedAssets, maxSharedAssets); }));
}

Result<Answer> purgeableSharedAssetsSpace(Library &library, const Call &call) {
    if (call.get(keys::smJobType) != 0)
        return fail(ProblemKind::invalid,
                    "smJobType is neither 0 (ask) nor 1 (purge, with smBytesRequested)");
    const auto bytes = purgeableBytes(library);
    if (!bytes)
        return passOn(bytes);
    return Answer().set(keys::smBytesReturned, static_cast<std::int64_t>(*bytes));
}

// The shape with the number of bytes; a type of 0 asks all the same.
Result<Answer> attemptToPurgeSharedAssetsSpace(Library &library, const Call &call) {
    if (call.get(keys::smJobType) != 1)
        return purgeableSharedAssetsSpace(library, call);
    const auto bytes = purge(library, call.get(keys::smBytesRequested));
    if (!bytes)
        return passOn(bytes);
    return Answer().set(keys::smBytesReturned, static_cast<std::int64_t>(*bytes));
}

Result<Answer> keyForEmailAddress(Library &library, const Call &call) {
    const auto address = textUnder(call, keys::email);
    if (!address)
        return passOn(address);
    if (!isEmailAddress(*address))
        return fail(ProblemKind::invalid, "email is not an e-mail address");
    const auto key =
        library.writer().change([&](Database &database) { return emailKey(database, *address); });
    if (!key)
        return passOn(key);
    return Answer().set(keys::emailKey, *key);
}

Result<Answer> emailAddressForKey(Library &library, const Call &call) {
    const auto address =
        library.read([&](Database &database) { return emailAddress(database, call.get(keys::emailKey)); });
    if (!address)
        return passOn(address);
    return *address ? Answer().set(keys::email, String::of(**address)) : Answer();
}

Result<Answer> personInfoDictionary(Library &library, const Call &call) {
    const auto info = library.read(
        [&](Database &database) { return personInfo(database, call.get(keys::personID)->utf8()); });
    if (!info)
        return passOn(info);
    if (!*info)
        return Answer();
    const auto dictionary = createPropertyListObject(**info);
    return Answer().set(keys::personInfoDictionary, as<Dictionary>(dictionary.get()));
}

Result<Answer> setPersonInfoDictionary(Library &library, const Call &call) {
    const auto person = textUnder(call, keys::personID);
    if (!person)
        return passOn(person);
    const MutableDictionary *info = call.get(keys::personInfoDictionary);
    // What is there but can't be read is not the same as nothing.
    if (call.value(keys::personInfoDictionary) != nullptr && info == nullptr)
        return fail(ProblemKind::invalid, "personInfoDictionary is not a job dictionary");
    const auto bytes = info != nullptr ? createPropertyListData(info) : nullptr;
    if (info != nullptr && !bytes)
        return fail(ProblemKind::invalid, "the dictionary holds what can't be kept");
    if (bytes && bytes->length() > maxInfoBytes)
        return fail(ProblemKind::invalid, "the dictionary is larger than 1 MiB");
    return whenDone(library.writer().change([&](Database &database) {
        return bytes ? setPersonInfo(database, *person, bytes->span()) : deletePersonInfo(database, *person);
    }));
}

constexpr Operation operations[] = {
    {&protocol::createSnapriverAlbum, enableStream},
    {&protocol::enableSnaprivers, enableStream},
    reading(protocol::getCurrentBulletins, getCurrentBulletins),
    reading(protocol::getCurrentApplicationBadgeCount, getCurrentApplicationBadgeCount),
    reading(protocol::getThumbnailImageDataForBulletin, getThumbnailImageDataForBulletin),
    {&protocol::clearAllBulletins, clearAllBulletins},
    {&protocol::updateSharedAlbumsCachedServerConfigurationLimits,
     updateSharedAlbumsCachedServerConfigurationLimits},
    {&protocol::attemptToPurgeSharedAssetsSpace, attemptToPurgeSharedAssetsSpace, Runs::beside},
    reading(protocol::purgeableSharedAssetsSpace, purgeableSharedAssetsSpace, Runs::beside),
    {&protocol::keyForEmailAddress, keyForEmailAddress},
    reading(protocol::emailAddressForKey, emailAddressForKey),
    reading(protocol::personInfoDictionary, personInfoDictionary),
    {&protocol::setPersonInfoDictionary, setPersonInfoDictionary},
};

} // namespace

std::span<const Operation> sharingOperations() {
    return operations;
}

} // namespace wickerlane::hoardd
