#include "wickerlane/testing/MadeUpRecords.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

#include "wickerlane/model/RecordFaults.h"
#include "wickerlane/platform/object/Data.h"
#include "wickerlane/platform/object/Dictionary.h"
#include "wickerlane/platform/object/Format.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/String.h"
#include "wickerlane/protocol/PlainValueInternal.h"

namespace wickerlane {

namespace {

/// The same for each record of a number, and different ones for different kinds.
std::string madeUpUUID(unsigned kind, std::int64_t number) {
    return formatUTF8("00000000-0000-4000-%04X-%012llX", 0x8000 + kind, static_cast<long long>(number));
}

constexpr unsigned assetKind = 1, albumKind = 2;

template <class Record>
void numberRecord(Record &record, std::size_t index) {
    if (record.primaryKey == 0)
        record.primaryKey = static_cast<std::int64_t>(index + 1);
}

template <class Record>
void checkRecord(const Record &record, const char *what) {
    if (const std::string fault = faultOf(record); !fault.empty())
        throw std::invalid_argument(std::string(what) + " " + record.uuid + " can't be one: " + fault);
}

using protocol::take;

bool take(const Object *object, AssetKind &value) {
    std::string name;
    if (!take(object, name) || (name != "photo" && name != "video"))
        return false;
    value = name == "video" ? AssetKind::video : AssetKind::photo;
    return true;
}
bool take(const Object *object, AssetChange::What &value) {
    constexpr std::string_view names[] = {"added", "changed", "removed"}; // in the order of their numbers
    std::string name;
    const auto found = take(object, name) ? std::ranges::find(names, name) : std::end(names);
    value = static_cast<AssetChange::What>(found - std::begin(names));
    return found != std::end(names);
}
bool take(const Object *object, std::vector<std::uint16_t> &numbers) {
    const auto *list = as<Array>(object);
    return list != nullptr && list->holdsObjects() &&
           std::all_of(list->begin(), list->end(),
                       [&](const Object *each) { return take(each, numbers.emplace_back()); });
}
bool take(const Object *object, Sha256 &value) {
    const auto *data = as<Data>(object);
    if (data == nullptr || data->length() != value.size())
        return false;
    std::memcpy(value.data(), data->bytes(), value.size());
    return true;
}
template <class Value>
bool take(const Object *object, std::optional<Value> &value) {
    return take(object, value.emplace());
}
bool takeKeywords(AssetRecord &record, const Object *object) {
    std::vector<std::string> keywords;
    if (!take(object, keywords))
        return false;
    for (const std::string &each : keywords)
        record.keywords.append(record.keywords.empty() ? "" : "\n").append(each);
    return true;
}

template <class Record>
struct Fact {
    std::string_view key;
    bool (*set)(Record &, const Object *);
};

template <class Record, auto member>
constexpr Fact<Record> fact(std::string_view key) {
    return {key, [](Record &record, const Object *value) { return take(value, record.*member); }};
}
/// Of a date, which may be given as one or as a number.
template <class Record, auto member>
constexpr Fact<Record> date(std::string_view key) {
    return {key, [](Record &record, const Object *value) {
                const auto *given = as<Date>(value);
                if (given != nullptr)
                    record.*member = given->referenceSeconds();
                return given != nullptr || take(value, record.*member);
            }};
}
template <auto member>
constexpr Fact<AssetRecord> ofAsset(std::string_view key) {
    return fact<AssetRecord, member>(key);
}
template <auto member>
constexpr Fact<MomentRecord> ofMoment(std::string_view key) {
    return fact<MomentRecord, member>(key);
}

constexpr Fact<AssetRecord> assetFacts[] = {
    ofAsset<&AssetRecord::uuid>("uuid"),
    ofAsset<&AssetRecord::kind>("kind"),
    ofAsset<&AssetRecord::directory>("directory"),
    ofAsset<&AssetRecord::filename>("filename"),
    ofAsset<&AssetRecord::originalFilename>("originalFilename"),
    ofAsset<&AssetRecord::format>("format"),
    ofAsset<&AssetRecord::width>("width"),
    ofAsset<&AssetRecord::height>("height"),
    ofAsset<&AssetRecord::orientation>("orientation"),
    date<AssetRecord, &AssetRecord::clockDate>("date"),
    date<AssetRecord, &AssetRecord::dateCreated>("dateCreated"),
    date<AssetRecord, &AssetRecord::dateAdded>("dateAdded"),
    ofAsset<&AssetRecord::zoneMinutes>("zoneMinutes"),
    ofAsset<&AssetRecord::latitude>("latitude"),
    ofAsset<&AssetRecord::longitude>("longitude"),
    ofAsset<&AssetRecord::byteSize>("byteSize"),
    ofAsset<&AssetRecord::sha256>("sha256"),
    ofAsset<&AssetRecord::thumbnailIndex>("thumbnailIndex"),
    ofAsset<&AssetRecord::duration>("duration"),
    ofAsset<&AssetRecord::problem>("problem"),
    ofAsset<&AssetRecord::externalUsageIntent>("externalUsageIntent"),
    ofAsset<&AssetRecord::camera>("camera"),
    ofAsset<&AssetRecord::lens>("lens"),
    ofAsset<&AssetRecord::exposureSeconds>("exposureSeconds"),
    ofAsset<&AssetRecord::aperture>("aperture"),
    ofAsset<&AssetRecord::isoSpeed>("isoSpeed"),
    ofAsset<&AssetRecord::focalLength>("focalLength"),
    ofAsset<&AssetRecord::favourite>("favourite"),
    ofAsset<&AssetRecord::hidden>("hidden"),
    ofAsset<&AssetRecord::rating>("rating"),
    ofAsset<&AssetRecord::caption>("caption"),
    {"keywords", takeKeywords},
};

constexpr Fact<AlbumRecord> albumFacts[] = {
    fact<AlbumRecord, &AlbumRecord::uuid>("uuid"),
    fact<AlbumRecord, &AlbumRecord::name>("name"),
    fact<AlbumRecord, &AlbumRecord::streamID>("streamID"),
    date<AlbumRecord, &AlbumRecord::dateCreated>("dateCreated"),
    fact<AlbumRecord, &AlbumRecord::assetCount>("assetCount"),
};

constexpr Fact<MomentRecord> momentFacts[] = {
    ofMoment<&MomentRecord::primaryKey>("number"),
    ofMoment<&MomentRecord::list>("listNumber"),
    date<MomentRecord, &MomentRecord::startDate>("startDate"),
    date<MomentRecord, &MomentRecord::endDate>("endDate"),
    ofMoment<&MomentRecord::assetCount>("assetCount"),
    ofMoment<&MomentRecord::photoCount>("photoCount"),
    ofMoment<&MomentRecord::videoCount>("videoCount"),
    ofMoment<&MomentRecord::latitude>("latitude"),
    ofMoment<&MomentRecord::longitude>("longitude"),
    ofMoment<&MomentRecord::keyAsset>("keyAsset"),
    ofMoment<&MomentRecord::isAnalyzed>("isAnalyzed"),
    ofMoment<&MomentRecord::uuids>("uuids"),
};

constexpr Fact<DuplicatesRecord> duplicatesFacts[] = {
    fact<DuplicatesRecord, &DuplicatesRecord::isSame>("isSame"),
    fact<DuplicatesRecord, &DuplicatesRecord::uuids>("uuids"),
};

constexpr Fact<AssetChange> changeFacts[] = {
    fact<AssetChange, &AssetChange::what>("kind"),
    fact<AssetChange, &AssetChange::uuid>("uuid"),
    date<AssetChange, &AssetChange::date>("date"),
    fact<AssetChange, &AssetChange::number>("number"),
};

constexpr Fact<AssetSection> sectionFacts[] = {
    date<AssetSection, &AssetSection::start>("start"),
    fact<AssetSection, &AssetSection::shapes>("shapes"),
};

constexpr Fact<MomentListRecord> momentListFacts[] = {
    fact<MomentListRecord, &MomentListRecord::primaryKey>("number"),
    date<MomentListRecord, &MomentListRecord::startDate>("startDate"),
    date<MomentListRecord, &MomentListRecord::endDate>("endDate"),
    fact<MomentListRecord, &MomentListRecord::momentCount>("momentCount"),
    fact<MomentListRecord, &MomentListRecord::assetCount>("assetCount"),
    fact<MomentListRecord, &MomentListRecord::keyAsset>("keyAsset"),
    fact<MomentListRecord, &MomentListRecord::isAnalyzed>("isAnalyzed"),
};

constexpr Fact<FeedEntryRecord> feedFacts[] = {
    fact<FeedEntryRecord, &FeedEntryRecord::albumUUID>("albumUUID"),
    date<FeedEntryRecord, &FeedEntryRecord::startDate>("startDate"),
    date<FeedEntryRecord, &FeedEntryRecord::endDate>("endDate"),
    fact<FeedEntryRecord, &FeedEntryRecord::uuids>("uuids"),
};

constexpr Fact<CompanionRecord> companionFacts[] = {
    fact<CompanionRecord, &CompanionRecord::assetUUID>("assetUUID"),
    fact<CompanionRecord, &CompanionRecord::path>("path"),
    fact<CompanionRecord, &CompanionRecord::originalFilename>("originalFilename"),
    fact<CompanionRecord, &CompanionRecord::format>("format"),
    fact<CompanionRecord, &CompanionRecord::byteSize>("byteSize"),
};

template <class Record, std::size_t count>
std::vector<Record> recordsOf(const Object *given, const Fact<Record> (&known)[count],
                              std::string_view what) {
    const auto *array = as<Array>(given);
    if (array == nullptr || !array->holdsObjects())
        throw std::invalid_argument("each " + std::string(what) + " is a dictionary in an array");
    std::vector<Record> records;
    for (const Object *each : *array) {
        const auto *facts = as<Dictionary>(each);
        if (facts == nullptr)
            throw std::invalid_argument("each " + std::string(what) + " is a dictionary in an array");
        Record &record = records.emplace_back();
        for (const Dictionary::Entry &entry : *facts) {
            const auto *key = as<String>(entry.key);
            const std::string name(key != nullptr ? key->utf8() : "");
            const auto found = std::ranges::find(known, name, &Fact<Record>::key);
            if (found == std::end(known))
                throw std::invalid_argument("no " + std::string(what) + " has a \"" + name + "\"");
            if (!found->set(record, entry.value))
                throw std::invalid_argument("the \"" + name + "\" of the " + std::string(what) +
                                            " can't have that value");
        }
    }
    return records;
}

} // namespace

void completeRecords(std::vector<AssetRecord> &records) {
    for (std::size_t i = 0; i < records.size(); ++i) {
        AssetRecord &each = records[i];
        const bool isVideo = each.kind == AssetKind::video;
        numberRecord(each, i);
        if (each.uuid.empty())
            each.uuid = madeUpUUID(assetKind, each.primaryKey);
        if (each.directory.empty())
            each.directory = "DCIM/100MADEUP";
        if (each.filename.empty())
            each.filename =
                formatUTF8("IMG_%04lld.%s", static_cast<long long>(each.primaryKey), isVideo ? "MOV" : "JPG");
        if (each.format.empty())
            each.format = isVideo ? "video/quicktime" : "image/jpeg";
        checkRecord(each, "the asset");
    }
}

void completeRecords(std::vector<AlbumRecord> &records) {
    for (std::size_t i = 0; i < records.size(); ++i) {
        AlbumRecord &each = records[i];
        numberRecord(each, i);
        if (each.uuid.empty())
            each.uuid = madeUpUUID(albumKind, each.primaryKey);
        if (each.name.empty())
            each.name = formatUTF8("Album %lld", static_cast<long long>(each.primaryKey));
        checkRecord(each, "the album");
    }
}

void completeRecords(std::vector<MomentRecord> &records) {
    for (std::size_t i = 0; i < records.size(); ++i)
        numberRecord(records[i], i);
}

std::vector<AssetRecord> assetsOfFacts(const Object *facts) {
    auto records = recordsOf(facts, assetFacts, "asset");
    completeRecords(records);
    return records;
}
std::vector<AlbumRecord> albumsOfFacts(const Object *facts) {
    auto records = recordsOf(facts, albumFacts, "album");
    completeRecords(records);
    return records;
}
std::vector<MomentRecord> momentsOfFacts(const Object *facts) {
    auto records = recordsOf(facts, momentFacts, "moment");
    completeRecords(records);
    return records;
}
std::vector<DuplicatesRecord> duplicatesOfFacts(const Object *facts) {
    return recordsOf(facts, duplicatesFacts, "group");
}
std::vector<AssetChange> changesOfFacts(const Object *facts) {
    auto records = recordsOf(facts, changeFacts, "change");
    std::int64_t number = 0;
    for (AssetChange &each : records) {
        ++number;
        if (each.number == 0)
            each.number = number;
        if (each.uuid.empty())
            each.uuid = madeUpUUID(assetKind, number);
    }
    return records;
}
std::vector<AssetSection> sectionsOfFacts(const Object *facts) {
    return recordsOf(facts, sectionFacts, "section");
}
std::vector<MomentListRecord> momentListsOfFacts(const Object *facts) {
    auto records = recordsOf(facts, momentListFacts, "list of moments");
    for (std::size_t i = 0; i < records.size(); ++i)
        numberRecord(records[i], i);
    return records;
}
std::vector<FeedEntryRecord> feedOfFacts(const Object *facts) {
    auto records = recordsOf(facts, feedFacts, "entry of the feed");
    for (FeedEntryRecord &each : records)
        if (each.albumUUID.empty())
            each.albumUUID = madeUpUUID(albumKind, 1);
    return records;
}
std::vector<CompanionRecord> companionsOfFacts(const Object *facts) {
    auto records = recordsOf(facts, companionFacts, "companion");
    std::int64_t number = 0;
    for (CompanionRecord &each : records) {
        ++number;
        if (each.assetUUID.empty())
            each.assetUUID = madeUpUUID(assetKind, number);
        if (each.path.empty())
            each.path = formatUTF8("/DCIM/100MADEUP/IMG_%04lld.MOV", static_cast<long long>(number));
    }
    return records;
}

} // namespace wickerlane
