#include "wickerlane/protocol/QueryCoding.h"

#include <array>
#include <limits>

#include "wickerlane/platform/object/Array.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/String.h"
#include "wickerlane/protocol/PackedRows.h"
#include "wickerlane/protocol/PlainValueInternal.h"

namespace wickerlane::protocol {

namespace {

template <class Given, class Record>
concept MaybeConst = std::same_as<std::remove_const_t<Given>, Record>;

// Each value as the property-list object of its type, and back; false for an object of another type.

// A text that is not UTF-8 travels as bytes, which hoardd refuses. Left out, it would make the query wider.
Ref<Object> objectOf(const std::string &text) {
    if (const auto string = String::create(text))
        return string;
    return Data::create(text.data(), text.size());
}
template <class Value>
requires(std::is_arithmetic_v<Value>) Ref<Object> objectOf(Value value) {
    return Number::create(value);
}
template <class Value>
requires(std::is_enum_v<Value>) Ref<Object> objectOf(Value value) {
    return Number::create(static_cast<std::uint64_t>(value));
}
Ref<Object> objectOf(const std::vector<std::string> &texts) {
    const auto list = MutableArray::create();
    for (const std::string &each : texts)
        list->append(objectOf(each).get());
    return list;
}
template <class Value>
Ref<Object> objectOf(const std::optional<Value> &value) {
    return value ? objectOf(*value) : nullptr;
}

using protocol::take;

/// The last value of an enumeration; the first is 0.
constexpr std::uint64_t lastOf(AssetKind) {
    return static_cast<std::uint64_t>(AssetKind::video);
}
constexpr std::uint64_t lastOf(AssetOrder) {
    return static_cast<std::uint64_t>(AssetOrder::name);
}
constexpr std::uint64_t lastOf(AssetFields) {
    return static_cast<std::uint64_t>(AssetFields::all);
}
template <class Value>
requires(std::is_enum_v<Value>) bool take(const Object *object, Value &value) {
    std::uint64_t number = 0;
    if (!take(object, number) || number > lastOf(Value{}))
        return false;
    value = static_cast<Value>(number);
    return true;
}
template <class Value>
bool take(const Object *object, std::optional<Value> &value) {
    return take(object, value.emplace());
}

template <class Query>
struct QueryKey {
    const char *name;
    Ref<Object> (*write)(const Query &);
    bool (*read)(Query &, const Object *);
};

template <auto member>
constexpr QueryKey<AssetQuery> ofFilter(const char *name) {
    return {name, [](const AssetQuery &query) { return objectOf(query.filter.*member); },
            [](AssetQuery &query, const Object *object) { return take(object, query.filter.*member); }};
}
template <class Query, auto member>
constexpr QueryKey<Query> keyOf(const char *name) {
    return {name, [](const Query &query) { return objectOf(query.*member); },
            [](Query &query, const Object *object) { return take(object, query.*member); }};
}

constexpr QueryKey<AssetQuery> assetQueryKeys[] = {
    ofFilter<&AssetFilter::identity>("identity"),
    ofFilter<&AssetFilter::uuids>("uuids"),
    ofFilter<&AssetFilter::kind>("kind"),
    ofFilter<&AssetFilter::from>("from"),
    ofFilter<&AssetFilter::until>("until"),
    ofFilter<&AssetFilter::south>("south"),
    ofFilter<&AssetFilter::west>("west"),
    ofFilter<&AssetFilter::north>("north"),
    ofFilter<&AssetFilter::east>("east"),
    ofFilter<&AssetFilter::nearLatitude>("nearLatitude"),
    ofFilter<&AssetFilter::nearLongitude>("nearLongitude"),
    ofFilter<&AssetFilter::radius>("radius"),
    ofFilter<&AssetFilter::album>("album"),
    ofFilter<&AssetFilter::moment>("moment"),
    ofFilter<&AssetFilter::name>("name"),
    ofFilter<&AssetFilter::text>("text"),
    ofFilter<&AssetFilter::format>("format"),
    ofFilter<&AssetFilter::camera>("camera"),
    ofFilter<&AssetFilter::isFavourite>("isFavourite"),
    ofFilter<&AssetFilter::isHidden>("isHidden"),
    ofFilter<&AssetFilter::minRating>("minRating"),
    ofFilter<&AssetFilter::isEdited>("isEdited"),
    ofFilter<&AssetFilter::hasProblem>("hasProblem"),
    ofFilter<&AssetFilter::minBytes>("minBytes"),
    ofFilter<&AssetFilter::maxBytes>("maxBytes"),
    keyOf<AssetQuery, &AssetQuery::order>("order"),
    keyOf<AssetQuery, &AssetQuery::isDescending>("isDescending"),
    keyOf<AssetQuery, &AssetQuery::limit>("limit"),
    keyOf<AssetQuery, &AssetQuery::cursor>("cursor"),
    keyOf<AssetQuery, &AssetQuery::fields>("fields"),
};

constexpr QueryKey<MomentQuery> momentQueryKeys[] = {
    keyOf<MomentQuery, &MomentQuery::from>("from"),
    keyOf<MomentQuery, &MomentQuery::until>("until"),
    keyOf<MomentQuery, &MomentQuery::isDescending>("isDescending"),
    keyOf<MomentQuery, &MomentQuery::limit>("limit"),
    keyOf<MomentQuery, &MomentQuery::cursor>("cursor"),
    keyOf<MomentQuery, &MomentQuery::withAssets>("withAssets"),
};

constexpr QueryKey<DuplicatesQuery> duplicatesQueryKeys[] = {
    keyOf<DuplicatesQuery, &DuplicatesQuery::isSame>("isSame"),
    keyOf<DuplicatesQuery, &DuplicatesQuery::limit>("limit"),
    keyOf<DuplicatesQuery, &DuplicatesQuery::cursor>("cursor"),
};

constexpr QueryKey<TrashQuery> trashQueryKeys[] = {
    keyOf<TrashQuery, &TrashQuery::limit>("limit"),
    keyOf<TrashQuery, &TrashQuery::cursor>("cursor"),
    keyOf<TrashQuery, &TrashQuery::uuids>("uuids"),
};

template <class Query, std::size_t count>
Ref<Dictionary> encodedBy(const QueryKey<Query> (&keys)[count], const Query &query) {
    const auto coded = MutableDictionary::create();
    const Query empty;
    for (const auto &each : keys)
        if (const Ref<Object> value = each.write(query)) {
            const Ref<Object> usual = each.write(empty);
            if (!usual || !usual->isEqual(value.get()))
                coded->set(String::create(each.name).get(), value.get());
        }
    return coded;
}

template <class Query, std::size_t count>
Result<> decodeBy(const QueryKey<Query> (&keys)[count], const Dictionary *coded, Query &query) {
    std::size_t known = 0;
    for (const auto &each : keys) {
        const Object *value = coded != nullptr ? coded->get(each.name) : nullptr;
        if (value == nullptr)
            continue;
        ++known;
        if (!each.read(query, value))
            return fail(ProblemKind::invalid,
                        std::string("the query's \"") + each.name + "\" has a value that it can't have");
    }
    if (coded != nullptr && known != coded->count())
        return fail(ProblemKind::invalid, "the query asks for something that this hoardd does not know");
    return {};
}

// Calls `use` with each member of a record, in the order in which they travel.

template <class Use>
void forEachMember(MaybeConst<AlbumRecord> auto &album, const Use &use) {
    use(album.primaryKey);
    use(album.uuid);
    use(album.name);
    use(album.streamID);
    use(album.dateCreated);
    use(album.assetCount);
}
template <class Use>
void forEachMember(MaybeConst<MomentRecord> auto &moment, const Use &use) {
    use(moment.primaryKey);
    use(moment.list);
    use(moment.startDate);
    use(moment.endDate);
    use(moment.assetCount);
    use(moment.photoCount);
    use(moment.videoCount);
    use(moment.latitude);
    use(moment.longitude);
    use(moment.keyAsset);
    use(moment.isAnalyzed);
}
template <class Use>
void forEachMember(MaybeConst<DuplicatesRecord> auto &group, const Use &use) {
    use(group.isSame);
    use(group.uuids);
}
template <class Use>
void forEachMember(MaybeConst<AssetSection> auto &section, const Use &use) {
    use(section.start);
    use(section.shapes);
}

template <class Use>
void forEachMember(MaybeConst<AssetChange> auto &change, const Use &use) {
    use(change.number);
    use(change.date);
    use(change.what);
    use(change.uuid);
}

template <class Use>
void forEachMember(MaybeConst<MomentListRecord> auto &list, const Use &use) {
    use(list.primaryKey);
    use(list.startDate);
    use(list.endDate);
    use(list.momentCount);
    use(list.assetCount);
    use(list.keyAsset);
    use(list.isAnalyzed);
}
template <class Use>
void forEachMember(MaybeConst<FeedEntryRecord> auto &entry, const Use &use) {
    use(entry.albumUUID);
    use(entry.startDate);
    use(entry.endDate);
    use(entry.uuids);
}
template <class Use>
void forEachMember(MaybeConst<CompanionRecord> auto &companion, const Use &use) {
    use(companion.assetUUID);
    use(companion.path);
    use(companion.originalFilename);
    use(companion.format);
    use(companion.byteSize);
}
template <class Use>
void forEachMember(MaybeConst<TrashedRecord> auto &trashed, const Use &use) {
    use(trashed.asset.primaryKey);
    std::apply(
        [&]<auto... members>(const AssetMember<members> &...) { (use(trashed.asset.*members), ...); },
        assetMembers);
    use(trashed.dateTrashed);
}

template <class Record>
Ref<Data> packedRows(std::span<const Record> records) {
    RowWriter writer;
    for (const Record &record : records)
        forEachMember(record, [&](const auto &value) { writer.write(value); });
    return writer.data();
}

/// `read` takes a reader and a record.
template <class Record, class Read>
std::optional<std::vector<Record>> unpackedRows(const Data *data, const Read &read) {
    std::vector<Record> records;
    RowReader reader(data != nullptr ? data->span() : Bytes());
    while (!reader.isAtEnd()) {
        read(reader, records.emplace_back());
        if (reader.hasFailed())
            return std::nullopt;
    }
    return records;
}
template <class Record>
std::optional<std::vector<Record>> unpackedRows(const Data *data) {
    return unpackedRows<Record>(data, [](RowReader &reader, Record &record) {
        forEachMember(record, [&](auto &value) { reader.read(value); });
    });
}

/// Calls `use` with each member of a record that is in the set, in their order.
template <class Record, class Use>
void forEachField(Record &record, AssetFields fields, const Use &use) {
    std::apply(
        [&]<auto... members>(const AssetMember<members> &...) {
            std::size_t number = 0;
            (static_cast<void>(hasField(fields, number++) ? use(record.*members) : void()), ...);
        },
        assetMembers);
}

AssetFields withIdentity(AssetFields fields) {
    return fields | AssetFields::identity;
}

} // namespace

Ref<Dictionary> encoded(const AssetQuery &query) {
    return encodedBy(assetQueryKeys, query);
}
Ref<Dictionary> encoded(const MomentQuery &query) {
    return encodedBy(momentQueryKeys, query);
}
Ref<Dictionary> encoded(const DuplicatesQuery &query) {
    return encodedBy(duplicatesQueryKeys, query);
}

Ref<Dictionary> encoded(const TrashQuery &query) {
    return encodedBy(trashQueryKeys, query);
}

Result<> decode(const Dictionary *coded, AssetQuery &query) {
    return decodeBy(assetQueryKeys, coded, query);
}
Result<> decode(const Dictionary *coded, MomentQuery &query) {
    return decodeBy(momentQueryKeys, coded, query);
}
Result<> decode(const Dictionary *coded, DuplicatesQuery &query) {
    return decodeBy(duplicatesQueryKeys, coded, query);
}

Result<> decode(const Dictionary *coded, TrashQuery &query) {
    return decodeBy(trashQueryKeys, coded, query);
}

Ref<Data> packed(std::span<const AssetRecord> records, AssetFields fields) {
    RowWriter writer;
    for (const AssetRecord &record : records) {
        writer.write(record.primaryKey);
        forEachField(record, withIdentity(fields), [&](const auto &value) { writer.write(value); });
    }
    return writer.data();
}
Ref<Data> packed(std::span<const AssetSection> sections) {
    return packedRows(sections);
}
Ref<Data> packed(std::span<const AlbumRecord> albums) {
    return packedRows(albums);
}
Ref<Data> packed(std::span<const MomentRecord> moments, bool withAssets) {
    RowWriter writer;
    for (const MomentRecord &moment : moments) {
        forEachMember(moment, [&](const auto &value) { writer.write(value); });
        if (withAssets)
            writer.write(moment.uuids);
    }
    return writer.data();
}
Ref<Data> packed(std::span<const DuplicatesRecord> groups) {
    return packedRows(groups);
}
Ref<Data> packed(std::span<const AssetChange> changes) {
    return packedRows(changes);
}
Ref<Data> packed(std::span<const MomentListRecord> lists) {
    return packedRows(lists);
}
Ref<Data> packed(std::span<const FeedEntryRecord> entries) {
    return packedRows(entries);
}
Ref<Data> packed(std::span<const CompanionRecord> companions) {
    return packedRows(companions);
}
Ref<Data> packed(std::span<const TrashedRecord> trash) {
    return packedRows(trash);
}

std::optional<std::vector<AssetRecord>> unpackedAssets(const Data *data, AssetFields fields) {
    return unpackedRows<AssetRecord>(data, [&](RowReader &reader, AssetRecord &record) {
        reader.read(record.primaryKey);
        forEachField(record, withIdentity(fields), [&](auto &value) { reader.read(value); });
    });
}
std::optional<std::vector<AssetSection>> unpackedSections(const Data *data) {
    return unpackedRows<AssetSection>(data);
}
std::optional<std::vector<AlbumRecord>> unpackedAlbums(const Data *data) {
    return unpackedRows<AlbumRecord>(data);
}
std::optional<std::vector<MomentRecord>> unpackedMoments(const Data *data, bool withAssets) {
    return unpackedRows<MomentRecord>(data, [&](RowReader &reader, MomentRecord &moment) {
        forEachMember(moment, [&](auto &value) { reader.read(value); });
        if (withAssets)
            reader.read(moment.uuids);
    });
}
std::optional<std::vector<DuplicatesRecord>> unpackedGroups(const Data *data) {
    return unpackedRows<DuplicatesRecord>(data);
}
std::optional<std::vector<AssetChange>> unpackedChanges(const Data *data) {
    return unpackedRows<AssetChange>(data);
}
std::optional<std::vector<MomentListRecord>> unpackedMomentLists(const Data *data) {
    return unpackedRows<MomentListRecord>(data);
}
std::optional<std::vector<FeedEntryRecord>> unpackedFeed(const Data *data) {
    return unpackedRows<FeedEntryRecord>(data);
}
std::optional<std::vector<CompanionRecord>> unpackedCompanions(const Data *data) {
    return unpackedRows<CompanionRecord>(data);
}
std::optional<std::vector<TrashedRecord>> unpackedTrash(const Data *data) {
    return unpackedRows<TrashedRecord>(data);
}

} // namespace wickerlane::protocol
