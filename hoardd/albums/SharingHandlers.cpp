// Streams, bulletins and the badge, storage budget, people. There is no cloud: what a server would keep is
// kept in the library.
#include "hoardd/Daemon.h"
#include "hoardd/albums/Albums.h"
#include "hoardd/albums/BulletinBoard.h"
#include "hoardd/library/Clock.h"
#include "hoardd/library/State.h"
#include "hoardd/pictures/SharedSpace.h"
#include "hoardd/service/Handlers.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/propertylist/PropertyList.h"
#include "wickerlane/protocol/SharingRows.h"

namespace wickerlane::hoardd {

using namespace protocol;

namespace {

constexpr std::size_t mostInfoBytes = 1 << 20;  // of one person
constexpr std::int64_t mostSharedAssets = 5000; // of a shared album, for want of a server that says

/// The text under a key; nothing, and the call refused, when it is missing or empty.
std::optional<std::string> textOrRefuse(const Call &call, const Key<coding::Text> &key) {
    const String *text = call.get(key);
    if (text != nullptr && !text->utf8().empty())
        return std::string(text->utf8());
    call.refuse(std::string(key.text) + " is empty");
    return std::nullopt;
}

/// Answers with what `put` makes of the row that a query finds by a key; with nothing when there is none.
template <class Value, class Put>
void answerWithRow(Daemon &daemon, const Call &call, const char *query, const Value &key, const Put &put) {
    Library *library = daemon.library(call);
    if (library == nullptr)
        return;
    std::string problem;
    auto database = library->openReader(problem);
    if (!database)
        return call.refuse(problem);
    auto row = database->prepare(query);
    Answer answer;
    if (row.bind(key).next())
        put(answer, row);
    if (row.failed())
        return call.refuse(database->problem());
    call.answer(answer);
}

} // namespace

void enableSnaprivers(Daemon &daemon, const Call &call) {
    Library *library = daemon.library(call);
    const auto stream = library != nullptr ? textOrRefuse(call, keys::streamID) : std::nullopt;
    if (!stream)
        return;
    call.finish(library->writer().change([&](sqlite::Database &database) {
        return database.prepare("INSERT OR IGNORE INTO zstream VALUES (?, ?)")
            .bind(*stream, secondsNow())
            .run();
    }));
}

// A stream that has an album is enabled; the album bears its name, or one like it when that is taken.
void createSnapriverAlbum(Daemon &daemon, const Call &call) {
    Library *library = daemon.library(call);
    const auto stream = library != nullptr ? textOrRefuse(call, keys::streamID) : std::nullopt;
    if (!stream)
        return;
    Albums albums(*library);
    Albums::Made made = albums.make(*stream, *stream);
    for (int number = 2; made.nameTaken; ++number)
        made = albums.make(*stream + ' ' + std::to_string(number), *stream);
    if (!made.problem.empty())
        return call.refuse("can't make the album: " + made.problem);
    enableSnaprivers(daemon, call);
}

void getCurrentBulletins(Daemon &daemon, const Call &call) {
    Library *library = daemon.library(call);
    if (library == nullptr)
        return;
    std::string problem;
    if (Array *bulletins = BulletinBoard(*library).current(problem))
        call.answer(Answer().set(keys::bulletins, bulletins));
    else
        call.refuse(problem);
}

void getCurrentApplicationBadgeCount(Daemon &daemon, const Call &call) {
    Library *library = daemon.library(call);
    if (library == nullptr)
        return;
    if (const auto count = BulletinBoard(*library).badgeCount())
        call.answer(Answer().set(keys::badgeCount, *count));
    else
        call.refuse("the library's store can't be read");
}

void getThumbnailImageDataForBulletin(Daemon &daemon, const Call &call) {
    Library *library = daemon.library(call);
    if (library == nullptr)
        return;
    if (const auto thumbnail = BulletinBoard(*library).thumbnail(call.get(keys::recordID)))
        call.answer(Answer().set(keys::thumbnailImageData, thumbnail.get()));
    else
        call.refuse("there is no such bulletin, or it has no picture");
}

void clearAllBulletins(Daemon &daemon, const Call &call) {
    if (Library *library = daemon.library(call))
        call.finish(BulletinBoard(*library).clear(call.get(keys::lastClearedRecordID)));
}

void updateSharedAlbumsCachedServerConfigurationLimits(Daemon &daemon, const Call &call) {
    Library *library = daemon.library(call);
    if (library == nullptr)
        return;
    call.finish(library->writer().change([](sqlite::Database &database) {
        return state::set(database, state::mostSharedAssets, mostSharedAssets);
    }));
}

void purgeableSharedAssetsSpace(Daemon &daemon, const Call &call) {
    Library *library = daemon.library(call);
    if (library == nullptr)
        return;
    if (call.get(keys::smJobType) != 0)
        return call.refuse("smJobType is neither 0 (ask) nor 1 (purge, with smBytesRequested)");
    std::string problem;
    if (const auto bytes = purgeableBytes(*library, problem))
        call.answer(Answer().set(keys::smBytesReturned, static_cast<std::int64_t>(*bytes)));
    else
        call.refuse(problem);
}

// The shape with the number of bytes; a type of 0 asks all the same.
void attemptToPurgeSharedAssetsSpace(Daemon &daemon, const Call &call) {
    if (call.get(keys::smJobType) != 1)
        return purgeableSharedAssetsSpace(daemon, call);
    Library *library = daemon.library(call);
    if (library == nullptr)
        return;
    std::string problem;
    if (const auto bytes = purge(
            *library, call.get(keys::smBytesRequested), [&daemon] { return daemon.longWork().isClosed(); },
            problem))
        call.answer(Answer().set(keys::smBytesReturned, static_cast<std::int64_t>(*bytes)));
    else
        call.refuse(problem);
}

// An address gets its key when it is first asked for.
void keyForEmailAddress(Daemon &daemon, const Call &call) {
    Library *library = daemon.library(call);
    const auto address = library != nullptr ? textOrRefuse(call, keys::email) : std::nullopt;
    if (!address)
        return;
    std::int64_t key = -1;
    const std::string problem = library->writer().change([&](sqlite::Database &database) {
        if (!database.prepare("INSERT OR IGNORE INTO zemail (address) VALUES (?)").bind(*address).run())
            return false;
        auto row = database.prepare("SELECT key FROM zemail WHERE address = ?");
        if (row.bind(*address).next())
            key = row.integer(0);
        return !row.failed();
    });
    call.finish(problem, Answer().set(keys::emailKey, key));
}

void emailAddressForKey(Daemon &daemon, const Call &call) {
    answerWithRow(daemon, call, "SELECT address FROM zemail WHERE key = ?", call.get(keys::emailKey),
                  [](Answer &answer, const sqlite::Statement &row) {
                      answer.set(keys::email, String::of(row.text(0)));
                  });
}

void personInfoDictionary(Daemon &daemon, const Call &call) {
    answerWithRow(daemon, call, "SELECT info FROM zperson WHERE personid = ?",
                  call.get(keys::personID)->utf8(), [](Answer &answer, const sqlite::Statement &row) {
                      const auto info = createPropertyListObject(row.blob(0));
                      answer.set(keys::personInfoDictionary, as<Dictionary>(info.get()));
                  });
}

void setPersonInfoDictionary(Daemon &daemon, const Call &call) {
    Library *library = daemon.library(call);
    const auto person = library != nullptr ? textOrRefuse(call, keys::personID) : std::nullopt;
    if (!person)
        return;
    const MutableDictionary *info = call.get(keys::personInfoDictionary);
    // What is there but can't be read is not the same as nothing.
    if (call.value(keys::personInfoDictionary) != nullptr && info == nullptr)
        return call.refuse("personInfoDictionary is not a job dictionary");
    const auto bytes = info != nullptr ? createPropertyListData(info) : nullptr;
    if (info != nullptr && !bytes)
        return call.refuse("the dictionary holds what can't be kept");
    if (bytes && bytes->length() > mostInfoBytes)
        return call.refuse("the dictionary is larger than 1 MiB");
    call.finish(library->writer().change([&](sqlite::Database &database) {
        if (!bytes)
            return database.prepare("DELETE FROM zperson WHERE personid = ?").bind(*person).run();
        return database.prepare("INSERT OR REPLACE INTO zperson VALUES (?, ?)")
            .bind(*person, bytes->span())
            .run();
    }));
}

} // namespace wickerlane::hoardd
