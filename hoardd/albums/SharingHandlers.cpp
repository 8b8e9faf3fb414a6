// There is no cloud: what a server would keep is kept in the library.
#include "hoardd/albums/SharingHandlers.h"

#include "hoardd/albums/Albums.h"
#include "hoardd/albums/BulletinBoard.h"
#include "hoardd/library/Clock.h"
#include "hoardd/library/Interim.h"
#include "hoardd/library/State.h"
#include "hoardd/pictures/SharedSpace.h"
#include "hoardd/service/Call.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/propertylist/PropertyList.h"
#include "wickerlane/protocol/SharingRows.h"

namespace wickerlane::hoardd {

namespace keys = protocol::keys;

namespace {

constexpr std::size_t maxInfoBytes = 1 << 20;  // of one person
constexpr std::int64_t maxSharedAssets = 5000; // of a shared album, for want of a server that says

Result<std::string> textUnder(const Call &call, const protocol::Key<protocol::coding::Text> &key) {
    const String *text = call.get(key);
    if (text == nullptr || text->utf8().empty())
        return fail(ProblemKind::invalid, std::string(key.text) + " is empty");
    return std::string(text->utf8());
}

/// Answers with what `put` makes of the row that a query finds by a key; with nothing when there is none.
template <class Value, class Put>
Result<Answer> answerWithRow(Library &library, const char *query, const Value &key, const Put &put) {
    std::string problem;
    auto database = openReader(library, problem);
    if (!database)
        return fail(ProblemKind::failed, problem);
    auto row = database->prepare(query);
    Answer answer;
    if (row.bind(key).next())
        put(answer, row);
    if (row.failed())
        return fail(database->problem());
    return answer;
}

Result<> enableStream(Library &library, const std::string &stream) {
    return library.writer().change([&](sqlite::Database &database) {
        return database.prepare("INSERT OR IGNORE INTO zstream VALUES (?, ?)")
            .bind(stream, secondsNow())
            .run();
    });
}

Result<Answer> enableSnaprivers(Library &library, const Call &call) {
    const auto stream = textUnder(call, keys::streamID);
    if (!stream)
        return passOn(stream);
    return whenDone(enableStream(library, *stream));
}

// A stream that has an album is enabled. The album has the stream's name, or one like it when that is taken.
Result<Answer> createSnapriverAlbum(Library &library, const Call &call) {
    const auto stream = textUnder(call, keys::streamID);
    if (!stream)
        return passOn(stream);
    Albums albums(library);
    Albums::Made made = albums.make(*stream, *stream);
    for (int number = 2; made.nameTaken; ++number)
        made = albums.make(*stream + ' ' + std::to_string(number), *stream);
    if (!made.problem.empty())
        return fail(ProblemKind::failed, "can't make the album: " + made.problem);
    return whenDone(enableStream(library, *stream));
}

Result<Answer> getCurrentBulletins(Library &library, const Call &) {
    std::string problem;
    Array *bulletins = BulletinBoard(library).current(problem);
    if (bulletins == nullptr)
        return fail(ProblemKind::failed, problem);
    return Answer().set(keys::bulletins, bulletins);
}

Result<Answer> getCurrentApplicationBadgeCount(Library &library, const Call &) {
    const auto count = BulletinBoard(library).badgeCount();
    if (!count)
        return fail(ProblemKind::damagedStore, "the library's store can't be read");
    return Answer().set(keys::badgeCount, *count);
}

Result<Answer> getThumbnailImageDataForBulletin(Library &library, const Call &call) {
    const auto thumbnail = BulletinBoard(library).thumbnail(call.get(keys::recordID));
    if (!thumbnail)
        return fail(ProblemKind::notFound, "there is no such bulletin, or it has no picture");
    return Answer().set(keys::thumbnailImageData, thumbnail.get());
}

Result<Answer> clearAllBulletins(Library &library, const Call &call) {
    return whenDone(asResult(BulletinBoard(library).clear(call.get(keys::lastClearedRecordID))));
}

Result<Answer> updateSharedAlbumsCachedServerConfigurationLimits(Library &library, const Call &) {
    return whenDone(library.writer().change([](sqlite::Database &database) {
        return state::set(database, state::mostSharedAssets, maxSharedAssets);
    }));
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

// An address gets its key when it is first asked for.
Result<Answer> keyForEmailAddress(Library &library, const Call &call) {
    const auto address = textUnder(call, keys::email);
    if (!address)
        return passOn(address);
    std::int64_t key = -1;
    const auto done = library.writer().change([&](sqlite::Database &database) {
        if (!database.prepare("INSERT OR IGNORE INTO zemail (address) VALUES (?)").bind(*address).run())
            return false;
        auto row = database.prepare("SELECT key FROM zemail WHERE address = ?");
        if (row.bind(*address).next())
            key = row.integer(0);
        return !row.failed();
    });
    if (!done)
        return passOn(done);
    return Answer().set(keys::emailKey, key);
}

Result<Answer> emailAddressForKey(Library &library, const Call &call) {
    return answerWithRow(library, "SELECT address FROM zemail WHERE key = ?", call.get(keys::emailKey),
                         [](Answer &answer, const sqlite::Statement &row) {
                             answer.set(keys::email, String::of(row.text(0)));
                         });
}

Result<Answer> personInfoDictionary(Library &library, const Call &call) {
    return answerWithRow(library, "SELECT info FROM zperson WHERE personid = ?",
                         call.get(keys::personID)->utf8(), [](Answer &answer, const sqlite::Statement &row) {
                             const auto info = createPropertyListObject(row.blob(0));
                             answer.set(keys::personInfoDictionary, as<Dictionary>(info.get()));
                         });
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
    return whenDone(library.writer().change([&](sqlite::Database &database) {
        if (!bytes)
            return database.prepare("DELETE FROM zperson WHERE personid = ?").bind(*person).run();
        return database.prepare("INSERT OR REPLACE INTO zperson VALUES (?, ?)")
            .bind(*person, bytes->span())
            .run();
    }));
}

constexpr Operation operations[] = {
    {&protocol::createSnapriverAlbum, createSnapriverAlbum},
    {&protocol::enableSnaprivers, enableSnaprivers},
    {&protocol::getCurrentBulletins, getCurrentBulletins},
    {&protocol::getCurrentApplicationBadgeCount, getCurrentApplicationBadgeCount},
    {&protocol::getThumbnailImageDataForBulletin, getThumbnailImageDataForBulletin},
    {&protocol::clearAllBulletins, clearAllBulletins},
    {&protocol::updateSharedAlbumsCachedServerConfigurationLimits,
     updateSharedAlbumsCachedServerConfigurationLimits},
    {&protocol::attemptToPurgeSharedAssetsSpace, attemptToPurgeSharedAssetsSpace, Runs::beside},
    {&protocol::purgeableSharedAssetsSpace, purgeableSharedAssetsSpace, Runs::beside},
    {&protocol::keyForEmailAddress, keyForEmailAddress},
    {&protocol::emailAddressForKey, emailAddressForKey},
    {&protocol::personInfoDictionary, personInfoDictionary},
    {&protocol::setPersonInfoDictionary, setPersonInfoDictionary},
};

} // namespace

std::span<const Operation> sharingOperations() {
    return operations;
}

} // namespace wickerlane::hoardd
