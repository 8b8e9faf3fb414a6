#include "wickerlane/testing/ScriptedReplies.h"

#include <algorithm>
#include <charconv>
#include <stdexcept>

#include "wickerlane/platform/object/Array.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/protocol/Keys.h"
#include "wickerlane/protocol/QueryCoding.h"
#include "wickerlane/protocol/QueryRows.h"
#include "wickerlane/testing/MadeUpRecords.h"
#include "wickerlane/testing/PlainValues.h"

namespace wickerlane {

namespace {

using protocol::Field;
using protocol::Row;
namespace keys = protocol::keys;

const Field *replyField(const Row &row, std::string_view key) {
    const auto fields = row.replyKeys.all();
    const auto found = std::ranges::find_if(fields, [&](const Field &each) { return key == each.key; });
    return found != fields.end() ? &*found : nullptr;
}

template <class Coding>
bool hasKey(const Row &row, const protocol::Key<Coding> &key) {
    return replyField(row, key.text) != nullptr;
}

template <class Coding>
void set(MessageDictionary *reply, const protocol::Key<Coding> &key, typename Coding::Write value) {
    Coding::write(reply, key.text, value);
}

[[noreturn]] void refuseKey(const Row &row, const std::string &key) {
    std::string known;
    for (const Field &field : row.replyKeys.all())
        known += std::string(known.empty() ? "" : ", ") + '"' + field.key + '"';
    throw std::invalid_argument(std::string("the reply of ") + row.name + " has no \"" + key + "\"" +
                                (known.empty() ? "; it has nothing" : "; it has " + known));
}

const Field &neededField(const Row &row, const std::string &key) {
    const Field *field = replyField(row, key);
    if (field == nullptr)
        refuseKey(row, key);
    return *field;
}

/// The query of a request; an empty one when there is none.
template <class Query>
Query queryIn(MessageDictionary *request) {
    Query query;
    if (request == nullptr)
        return query;
    const auto *coded = as<Dictionary>(JXDictionaryFromMsgDictionary(request, keys::query.text));
    if (const auto decoded = protocol::decode(coded, query); !decoded)
        throw std::invalid_argument(decoded.error().text);
    return query;
}

/// The records of the page that a query asks for. Its cursor is the number of those before it.
template <class Record, class Query>
std::span<const Record> pageOf(const std::vector<Record> &records, const Query &query,
                               MessageDictionary *reply) {
    std::size_t start = 0;
    const char *end = query.cursor.data() + query.cursor.size();
    if (!query.cursor.empty() &&
        (std::from_chars(query.cursor.data(), end, start).ptr != end || start > records.size()))
        throw std::invalid_argument("\"" + query.cursor + "\" is no cursor of this daemon's");
    const std::size_t count = std::min(query.limit, records.size() - start);
    if (start + count < records.size())
        set(reply, keys::cursor, String::create(std::to_string(start + count)).get());
    return std::span(records).subspan(start, count);
}

/// Nothing is left to be found out.
void setComplete(MessageDictionary *reply, const Row &row) {
    if (hasKey(row, keys::isComplete) && !reply->contains(keys::isComplete.text))
        set(reply, keys::isComplete, true);
}

/// Nothing more has changed.
void setChangesEnd(MessageDictionary *reply, const Row &row) {
    if (!hasKey(row, keys::changes))
        return;
    if (!reply->contains(keys::isLast.text))
        set(reply, keys::isLast, true);
    if (!reply->contains(keys::token.text))
        set(reply, keys::token, String::create(madeUpToken).get());
}

/// Assets that went into the trash when they were added.
void setTrash(MessageDictionary *reply, const std::vector<AssetRecord> &records, MessageDictionary *request) {
    std::vector<TrashedRecord> trash;
    for (const AssetRecord &each : pageOf(records, queryIn<TrashQuery>(request), reply))
        trash.push_back({each, each.dateAdded});
    set(reply, keys::assets, protocol::packed(std::span<const TrashedRecord>(trash)).get());
}

void setRows(MessageDictionary *, const Row &, std::monostate, MessageDictionary *) {
}
void setRows(MessageDictionary *reply, const Row &row, const std::vector<AssetRecord> &records,
             MessageDictionary *request) {
    static_cast<void>(neededField(row, keys::assets.text));
    if (row.code == protocol::trashMatchingQuery.code)
        return setTrash(reply, records, request);
    const auto query = queryIn<AssetQuery>(request);
    set(reply, keys::assets, protocol::packed(pageOf(records, query, reply), query.fields).get());
}
void setRows(MessageDictionary *reply, const Row &row, const std::vector<MomentRecord> &records,
             MessageDictionary *request) {
    static_cast<void>(neededField(row, keys::moments.text));
    const auto query = queryIn<MomentQuery>(request);
    set(reply, keys::moments, protocol::packed(pageOf(records, query, reply), query.withAssets).get());
    setComplete(reply, row);
}
void setRows(MessageDictionary *reply, const Row &row, const std::vector<DuplicatesRecord> &records,
             MessageDictionary *request) {
    static_cast<void>(neededField(row, keys::groups.text));
    const auto query = queryIn<DuplicatesQuery>(request);
    set(reply, keys::groups, protocol::packed(pageOf(records, query, reply)).get());
    setComplete(reply, row);
}

/// Lists that have no pages, by their keys.
struct WholeList {
    const char *key;
    Ref<Data> (*packedFacts)(const Object *facts);
};

template <auto recordsOfFacts>
constexpr WholeList wholeList(const protocol::Key<protocol::coding::ByteData> &key) {
    return {key.text, [](const Object *facts) {
                const auto records = recordsOfFacts(facts);
                return protocol::packed(std::span(records));
            }};
}

constexpr WholeList wholeLists[] = {
    wholeList<albumsOfFacts>(keys::albums),     wholeList<changesOfFacts>(keys::changes),
    wholeList<sectionsOfFacts>(keys::sections), wholeList<momentListsOfFacts>(keys::lists),
    wholeList<feedOfFacts>(keys::entries),      wholeList<companionsOfFacts>(keys::companions),
};

/// Records in their plain form. False when they have none under that key.
bool setPlainRecords(MessageDictionary *reply, const Row &row, std::string_view key, const Object *value,
                     MessageDictionary *request) {
    if (key == keys::assets.text) {
        setRows(reply, row, assetsOfFacts(value), request);
    } else if (key == keys::moments.text) {
        setRows(reply, row, momentsOfFacts(value), request);
    } else if (key == keys::groups.text) {
        setRows(reply, row, duplicatesOfFacts(value), request);
    } else {
        const auto found = std::ranges::find(wholeLists, key, &WholeList::key);
        if (found == std::end(wholeLists))
            return false;
        protocol::coding::ByteData::write(reply, found->key, found->packedFacts(value).get());
    }
    return true;
}

void setPlainValues(MessageDictionary *reply, const Row &row, const Dictionary &values,
                    MessageDictionary *request) {
    for (const Dictionary::Entry &entry : values) {
        const auto *name = as<String>(entry.key);
        if (name == nullptr)
            throw std::invalid_argument("the keys of an answer are texts");
        const std::string key(name->utf8());
        const Field &field = neededField(row, key);
        if (!setPlainRecords(reply, row, key, entry.value, request))
            setPlainValue(reply, field, entry.value);
    }
}

} // namespace

Ref<MessageDictionary> makeReply(const Row &row, const reaction::Answer &answer, MessageDictionary *request) {
    const ReleaseScope scope;
    for (const Field &field : answer.fields)
        if (const Field &known = neededField(row, field.key);
            !std::ranges::equal(known.kinds, field.kinds) || known.isList != field.isList)
            throw std::invalid_argument(std::string("the \"") + field.key + "\" of " + row.name +
                                        " has another type");
    auto reply = MessageDictionary::create();
    answer.values->forEach([&](const char *key, MessageValue *value) {
        reply->set(key, value);
        return true;
    });
    std::visit([&](const auto &rows) { setRows(reply.get(), row, rows, request); }, answer.rows);
    if (answer.plain != nullptr)
        setPlainValues(reply.get(), row, *answer.plain, request);
    setChangesEnd(reply.get(), row);
    if (hasKey(row, keys::storeUUID) && !reply->contains(keys::storeUUID.text))
        set(reply.get(), keys::storeUUID, String::create(madeUpStoreUUID).get());
    return reply;
}

void replyFailure(ReceivedMessage &received, const Row &row, const reaction::Failure &failure) {
    const bool isEmpty = failure.kind == ProblemKind::empty, isFull = failure.kind == ProblemKind::queueFull;
    const auto reply = MessageDictionary::create();
    if (hasKey(row, keys::success)) {
        set(reply.get(), keys::success, false);
        set(reply.get(), keys::problemKind, static_cast<std::int64_t>(failure.kind));
        set(reply.get(), keys::problemText, String::create(failure.text).get());
        if (hasKey(row, keys::hasEntitlement))
            set(reply.get(), keys::hasEntitlement, failure.kind != ProblemKind::refused);
    } else if (hasKey(row, keys::authorized)) {
        set(reply.get(), keys::authorized, 1); // denied
    } else if (hasKey(row, keys::noData) && (isEmpty || isFull)) {
        set(reply.get(), keys::noData, isEmpty);
        set(reply.get(), keys::jobQueueFull, isFull);
    } else {
        return received.replyError(failure.text, static_cast<std::int64_t>(failure.kind));
    }
    received.reply(reply.get());
}

} // namespace wickerlane
