#include "wickerlane/store/QueryPlan.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "wickerlane/model/AssetDetails.h"
#include "wickerlane/model/AssetURL.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/store/PageCursor.h"
#include "wickerlane/store/UUIDList.h"

namespace wickerlane::store {

namespace {

constexpr double metersPerDegree = 111'194.9; // of a great circle of a sphere of 6,371 km

/// How an order stands in SQL. Each has an index, in which the primary key comes after it.
struct OrderColumn {
    const char *inTable;
    const char *inAlbum; ///< Null: as in the table.
};

OrderColumn columnOf(AssetOrder order) {
    switch (order) {
    case AssetOrder::added:
        return {"dateadded", nullptr};
    case AssetOrder::size:
        return {"bytesize", nullptr};
    case AssetOrder::name:
        return {"originalfilename COLLATE NOCASE", nullptr};
    case AssetOrder::date:
        break;
    }
    return {"coalesce(clockdate, datecreated)", "albumdate"};
}

/// Conditions and their values, joined as they are added.
class Conditions {
public:
    template <class... Values>
    void add(std::string_view condition, Values... added) {
        text.append(text.empty() ? "WHERE " : " AND ").append(condition);
        (values.emplace_back(std::move(added)), ...);
    }
    /// Those that few assets meet: they are found first, and put in order then.
    template <class... Values>
    void addNarrow(std::string_view condition, Values... added) {
        isNarrow = true;
        add(condition, std::move(added)...);
    }

    std::string text;
    std::vector<Selection::Value> values;
    bool isNarrow = false;
};

std::string escapedForLike(std::string_view text) {
    std::string escaped;
    for (const char each : text) {
        if (each == '%' || each == '_' || each == '\\')
            escaped += '\\';
        escaped += each;
    }
    return escaped;
}

std::string likeOfPattern(std::string_view pattern) {
    std::string like = escapedForLike(pattern);
    std::ranges::replace(like, '*', '%');
    std::ranges::replace(like, '?', '_');
    return like;
}

void addIdentity(Conditions &conditions, const std::string &name, std::string_view storeUUID) {
    constexpr std::size_t shortestBeginning = 4;
    if (const auto uuid = UUID::createWithText(name))
        return conditions.addNarrow("uuid = ?", std::string(uuid->uuidString()->utf8()));
    if (std::string uuid = uuidOfAssetURL(URL::create(name).get()); !uuid.empty())
        return conditions.addNarrow("uuid = ?", std::move(uuid));
    if (const std::int64_t key = primaryKeyInURI(name, storeUUID); key != 0)
        return conditions.addNarrow("pk = ?", key);
    std::string beginning = name;
    std::ranges::transform(beginning, beginning.begin(), [](char each) {
        return each >= 'a' && each <= 'f' ? static_cast<char>(each - 'a' + 'A') : each;
    });
    if (name.size() < shortestBeginning ||
        beginning.find_first_not_of("0123456789ABCDEF-") != std::string::npos)
        return conditions.addNarrow("0");
    conditions.addNarrow("uuid >= ? AND uuid < ?", beginning, beginning + "~");
}

struct Box {
    double south, west, north, east;
};

/// A box that holds the circle.
Box boxAround(double latitude, double longitude, double radius) {
    const double height = radius / metersPerDegree;
    const double widest = std::min(90.0, std::abs(latitude) + height) * std::numbers::pi / 180;
    const double width = height / std::max(1e-9, std::cos(widest));
    if (width >= 180)
        return {latitude - height, -180, latitude + height, 180};
    const auto turned = [](double degrees) {
        return degrees > 180 ? degrees - 360 : degrees < -180 ? degrees + 360 : degrees;
    };
    return {latitude - height, turned(longitude - width), latitude + height, turned(longitude + width)};
}

void addBox(Conditions &conditions, const Box &box) {
    conditions.addNarrow("latitude BETWEEN ? AND ?", box.south, box.north);
    if (box.west <= box.east)
        conditions.add("longitude BETWEEN ? AND ?", box.west, box.east);
    else
        conditions.add("(longitude >= ? OR longitude <= ?)", box.west, box.east);
}

template <class... Values>
bool areSetTogether(const Values &...values) {
    return (values.has_value() && ...) || (!values.has_value() && ...);
}

template <class... Values>
bool areNumbers(const Values &...values) {
    return (std::isfinite(values.value_or(0)) && ...);
}

template <class... Values>
bool areWithin(double limit, const Values &...values) {
    return ((std::abs(values.value_or(0)) <= limit) && ...);
}

Result<> checkSize(std::size_t limit, const std::optional<std::vector<std::string>> &uuids) {
    constexpr std::size_t largestPage = 10'000;
    if (limit == 0 || limit > largestPage)
        return fail(ProblemKind::invalid, "a page may have 1 to 10000 assets");
    if (uuids && uuids->size() > largestPage)
        return fail(ProblemKind::invalid, "a filter may name up to 10000 assets");
    return {};
}

Result<> check(const AssetQuery &query) {
    const AssetFilter &filter = query.filter;
    if (auto sized = checkSize(query.limit, filter.uuids); !sized)
        return sized;
    if (!areSetTogether(filter.south, filter.west, filter.north, filter.east))
        return fail(ProblemKind::invalid, "an area needs south, west, north and east");
    if (!areSetTogether(filter.nearLatitude, filter.nearLongitude, filter.radius))
        return fail(ProblemKind::invalid, "a place needs a latitude, a longitude and a radius");
    if (!areNumbers(filter.from, filter.until, filter.south, filter.west, filter.north, filter.east,
                    filter.nearLatitude, filter.nearLongitude, filter.radius))
        return fail(ProblemKind::invalid, "a date, place or distance is no number");
    constexpr double pole = 90, dateLine = 180;
    if (!areWithin(pole, filter.south, filter.north, filter.nearLatitude) ||
        !areWithin(dateLine, filter.west, filter.east, filter.nearLongitude) || filter.radius.value_or(0) < 0)
        return fail(ProblemKind::invalid,
                    "a latitude is from -90 to 90 degrees, a longitude from -180 to 180, and "
                    "a radius not negative");
    if (filter.minRating && (*filter.minRating < 1 || *filter.minRating > maxRating))
        return fail(ProblemKind::invalid, "a rating is from 1 to 5");
    return {};
}

void addWords(Conditions &conditions, std::string_view text) {
    while (!text.empty()) {
        const std::size_t begin = std::min(text.find_first_not_of(" \t\n"), text.size());
        text.remove_prefix(begin);
        const std::string_view word = text.substr(0, text.find_first_of(" \t\n"));
        text.remove_prefix(word.size());
        if (word.empty())
            continue;
        const std::string like = "%" + escapedForLike(word) + "%";
        conditions.addNarrow("(originalfilename LIKE ? ESCAPE '\\' OR caption LIKE ? ESCAPE '\\' OR "
                             "keywords LIKE ? ESCAPE '\\' OR camera LIKE ? ESCAPE '\\' OR "
                             "pk IN (SELECT asset FROM zalbumasset JOIN zalbum ON zalbum.pk = album WHERE "
                             "name LIKE ? ESCAPE '\\'))",
                             like, like, like, like, like);
    }
}

Conditions conditionsOf(const AssetFilter &filter, std::string_view date, std::string_view storeUUID) {
    Conditions all;
    if (filter.identity)
        addIdentity(all, *filter.identity, storeUUID);
    if (filter.uuids)
        all.addNarrow(std::string("uuid").append(isInUUIDList), uuidList(*filter.uuids));
    if (filter.kind)
        all.add("kind = ?", static_cast<std::int64_t>(*filter.kind));
    if (filter.from)
        all.add(std::string(date) + " >= ?", *filter.from);
    if (filter.until)
        all.add(std::string(date) + " < ?", *filter.until);
    if (filter.south)
        addBox(all, {*filter.south, *filter.west, *filter.north, *filter.east});
    if (filter.nearLatitude)
        addBox(all, boxAround(*filter.nearLatitude, *filter.nearLongitude, *filter.radius));
    if (filter.moment)
        all.addNarrow("pk IN (SELECT asset FROM zmomentasset WHERE moment = ?)", *filter.moment);
    if (filter.name)
        all.addNarrow("originalfilename LIKE ? ESCAPE '\\'", likeOfPattern(*filter.name));
    if (filter.text)
        addWords(all, *filter.text);
    if (filter.format)
        all.add("format = ?", *filter.format);
    if (filter.camera)
        all.add("camera = ? AND camera <> ''", *filter.camera);
    if (filter.isFavourite)
        all.add(*filter.isFavourite ? "favourite = 1" : "favourite = 0");
    if (filter.isHidden)
        all.add(*filter.isHidden ? "hidden = 1" : "hidden = 0");
    if (filter.minRating)
        all.add("rating > 0 AND rating >= ?", *filter.minRating);
    if (filter.isEdited)
        all.add(*filter.isEdited ? "edited = 1" : "edited = 0");
    if (filter.hasProblem)
        all.add(*filter.hasProblem ? "problem <> ''" : "problem = ''");
    const auto integer = [](std::uint64_t bytes) {
        return static_cast<std::int64_t>(std::min<std::uint64_t>(bytes, INT64_MAX));
    };
    if (filter.minBytes)
        all.add("bytesize >= ?", integer(*filter.minBytes));
    if (filter.maxBytes)
        all.add("bytesize <= ?", integer(*filter.maxBytes));
    return all;
}

using AnyCursor = PageCursor<Selection::Value>;

template <class Value>
std::optional<AnyCursor> anyCursorIn(std::string_view text) {
    const auto cursor = cursorIn<Value>(text);
    return cursor ? std::optional(AnyCursor{cursor->number, cursor->value}) : std::nullopt;
}

std::optional<AnyCursor> cursorOfOrder(std::string_view text, AssetOrder order) {
    switch (order) {
    case AssetOrder::name:
        return anyCursorIn<std::string>(text);
    case AssetOrder::size:
        return anyCursorIn<std::int64_t>(text);
    case AssetOrder::date:
    case AssetOrder::added:
        break;
    }
    return anyCursorIn<double>(text);
}

} // namespace

void Selection::bindTo(sqlite::Statement &statement) const {
    for (const Value &value : values)
        std::visit([&](const auto &each) { statement.bind(each); }, value);
}

// What follows a cursor takes two statements, each of which is a range of an index: the rest of the assets
// that are equal in the order, and those behind them.
Result<std::vector<Selection>> selectionsFor(const AssetQuery &query, std::string_view storeUUID) {
    if (const auto checked = check(query); !checked)
        return passOn(checked);
    const bool isOfAlbum = query.filter.album.has_value();
    const OrderColumn order = columnOf(query.order);
    const std::string column = isOfAlbum && order.inAlbum != nullptr ? order.inAlbum : order.inTable;
    const char *date = isOfAlbum ? "albumdate" : columnOf(AssetOrder::date).inTable;
    const Conditions conditions = conditionsOf(query.filter, date, storeUUID);

    std::string source;
    std::vector<Selection::Value> values;
    if (isOfAlbum) {
        source = "JOIN (SELECT asset AS member, shown AS albumdate FROM zalbumasset WHERE album = "
                 "(SELECT pk FROM zalbum WHERE uuid = ?)) ON pk = member ";
        const auto uuid = UUID::createWithText(*query.filter.album);
        values.emplace_back(uuid ? std::string(uuid->uuidString()->utf8()) : std::string());
    }
    values.insert(values.end(), conditions.values.begin(), conditions.values.end());

    const std::string key = isOfAlbum ? "member" : "pk";
    const std::string direction = query.isDescending ? " DESC" : "";
    // A sign keeps SQLite from walking the whole index of the order instead of what few assets meet.
    const std::string ordering = " ORDER BY " + std::string(conditions.isNarrow ? "+" : "") + column +
                                 direction + ", " + key + direction;
    if (query.cursor.empty())
        return std::vector{Selection{source + conditions.text + ordering, values}};

    const auto cursor = cursorOfOrder(query.cursor, query.order);
    if (!cursor)
        return fail(ProblemKind::invalid, "the cursor is none of this order: begin without one");
    const std::string behind = query.isDescending ? " < ?" : " > ?";
    const std::string sign = conditions.isNarrow ? "+" : "";
    Conditions equals = conditions, others = conditions;
    equals.add(sign + column + " = ? AND " + key + behind);
    others.add(sign + column + behind);
    Selection equal{source + equals.text + " ORDER BY " + key + direction, values};
    equal.values.push_back(cursor->value);
    equal.values.emplace_back(cursor->number);
    Selection other{source + others.text + ordering, values};
    other.values.push_back(cursor->value);
    return std::vector{std::move(equal), std::move(other)};
}

Result<Selection> selectionFor(const TrashQuery &query) {
    if (const auto checked = checkSize(query.limit, query.uuids); !checked)
        return passOn(checked);
    Conditions conditions;
    if (query.uuids)
        conditions.addNarrow(std::string("uuid").append(isInUUIDList), uuidList(*query.uuids));
    const std::string date = conditions.isNarrow ? "+datetrashed" : "datetrashed";
    if (!query.cursor.empty()) {
        const auto cursor = cursorIn<double>(query.cursor);
        if (!cursor)
            return fail(ProblemKind::invalid, "the cursor is none of these pages: begin without one");
        conditions.add("(" + date + ", pk) < (?, ?)", cursor->value, cursor->number);
    }
    return Selection{conditions.text + " ORDER BY " + date + " DESC, pk DESC", std::move(conditions.values)};
}

bool isWanted(const AssetRecord &asset, const AssetFilter &filter) {
    if (!filter.nearLatitude)
        return true;
    if (!asset.latitude || !asset.longitude)
        return false;
    constexpr double radians = std::numbers::pi / 180;
    const double latitude = *filter.nearLatitude * radians, other = *asset.latitude * radians;
    const double vertical = std::sin((other - latitude) / 2);
    const double horizontal = std::sin((*asset.longitude - *filter.nearLongitude) * radians / 2);
    const double chord = vertical * vertical + std::cos(latitude) * std::cos(other) * horizontal * horizontal;
    const double meters = 2 * std::asin(std::min(1.0, std::sqrt(chord))) / radians * metersPerDegree;
    return meters <= *filter.radius;
}

std::string cursorAfter(const AssetRecord &asset, AssetOrder order) {
    switch (order) {
    case AssetOrder::name:
        return cursorText(asset.primaryKey, asset.originalFilename);
    case AssetOrder::size:
        return cursorText(asset.primaryKey, static_cast<std::int64_t>(asset.byteSize));
    case AssetOrder::added:
        return cursorText(asset.primaryKey, asset.dateAdded);
    case AssetOrder::date:
        break;
    }
    return cursorText(asset.primaryKey, asset.shownDate());
}

} // namespace wickerlane::store
