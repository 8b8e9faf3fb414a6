#include "cli/FilterOptions.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <set>
#include <utility>

#include "cli/Queries.h"
#include "cli/Suggestion.h"
#include "cli/Texts.h"
#include "wickerlane/model/MediaType.h"

namespace wickerlane::cli {
namespace {

/// Takes a number from the start of a text.
template <class Number>
std::optional<Number> takeNumber(std::string_view &text) {
    Number number{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc())
        return std::nullopt;
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return number;
}

bool take(std::string_view &text, char expected) {
    if (!text.starts_with(expected))
        return false;
    text.remove_prefix(1);
    return true;
}

struct Circle {
    double latitude = 0;
    double longitude = 0;
    double meters = 1'000;
};

/// "47.4,8.5", "47.4,8.5,10km", "47.4,8.5,300m".
std::optional<Circle> circleIn(std::string_view text) {
    Circle circle;
    const auto latitude = takeNumber<double>(text);
    if (!latitude || !take(text, ','))
        return std::nullopt;
    const auto longitude = takeNumber<double>(text);
    if (!longitude || !(std::abs(*latitude) <= 90) || !(std::abs(*longitude) <= 180))
        return std::nullopt;
    circle.latitude = *latitude;
    circle.longitude = *longitude;
    if (text.empty())
        return circle;
    if (!take(text, ','))
        return std::nullopt;
    const auto distance = takeNumber<double>(text);
    if (!distance || !(*distance >= 0) || !std::isfinite(*distance) || (text != "km" && text != "m"))
        return std::nullopt;
    circle.meters = text == "km" ? *distance * 1'000 : *distance;
    return circle;
}

/// "south,west,north,east", in degrees.
bool takeBox(std::string_view text, AssetFilter &filter) {
    std::array<double, 4> edges{};
    for (std::size_t i = 0; i < edges.size(); ++i) {
        const auto edge = i == 0 || take(text, ',') ? takeNumber<double>(text) : std::nullopt;
        if (!edge || !(std::abs(*edge) <= (i % 2 == 0 ? 90 : 180)))
            return false;
        edges.at(i) = *edge;
    }
    if (!text.empty() || edges[0] > edges[2])
        return false;
    filter.south = edges[0];
    filter.west = edges[1];
    filter.north = edges[2];
    filter.east = edges[3];
    return true;
}

/// "834", "3.5MB", "2MiB": bytes.
std::optional<std::uint64_t> sizeIn(std::string_view text) {
    const auto number = takeNumber<double>(text);
    if (!number || !(*number >= 0) || !(*number < 1e15))
        return std::nullopt;
    std::string unit(text);
    std::ranges::transform(unit, unit.begin(),
                           [](char c) { return c >= 'a' && c <= 'z' ? c - 'a' + 'A' : c; });
    constexpr std::array<std::pair<std::string_view, double>, 11> units{{{"", 1},
                                                                         {"B", 1},
                                                                         {"KB", 1e3},
                                                                         {"MB", 1e6},
                                                                         {"GB", 1e9},
                                                                         {"KIB", 1 << 10},
                                                                         {"MIB", 1 << 20},
                                                                         {"GIB", 1 << 30},
                                                                         {"K", 1e3},
                                                                         {"M", 1e6},
                                                                         {"G", 1e9}}};
    const auto *found = std::ranges::find(units, unit, [](const auto &each) { return each.first; });
    if (found == units.end() || !(*number * found->second < 1e18))
        return std::nullopt;
    return static_cast<std::uint64_t>(*number * found->second);
}

std::optional<bool> answerIn(std::string_view text) {
    if (text == "yes" || text == "true")
        return true;
    if (text == "no" || text == "false")
        return false;
    return std::nullopt;
}

Failure refuse(std::string text) {
    return fail(ProblemKind::invalid, std::move(text));
}

using Value = const std::string &;

Result<> setKind(AssetFilter &filter, Value value) {
    if (value != "photo" && value != "video")
        return refuse(localized("{} is no kind; write photo or video", value));
    filter.kind = value == "photo" ? AssetKind::photo : AssetKind::video;
    return {};
}

/// The member gets the beginning or the end of a period.
template <auto member, auto edge>
Result<> setDate(AssetFilter &filter, Value value) {
    const auto period = periodIn(value);
    if (!period)
        return refuse(localized("{} is no date; write 2019, 2019-08 or 2019-08-31", value));
    filter.*member = *period.*edge;
    return {};
}

Result<> setNear(AssetFilter &filter, Value value) {
    const auto circle = circleIn(value);
    if (!circle)
        return refuse(localized("{} is no place; write LATITUDE,LONGITUDE,10km", value));
    filter.nearLatitude = circle->latitude;
    filter.nearLongitude = circle->longitude;
    filter.radius = circle->meters;
    return {};
}

Result<> setBox(AssetFilter &filter, Value value) {
    if (!takeBox(value, filter))
        return refuse(localized("{} is no area; write its edges as SOUTH,WEST,NORTH,EAST in degrees", value));
    return {};
}

template <auto member>
Result<> setText(AssetFilter &filter, Value value) {
    filter.*member = value;
    return {};
}

Result<> setType(AssetFilter &filter, Value value) {
    if (value.find('/') != std::string::npos) {
        filter.format = value;
        return {};
    }
    const MediaType *type = mediaTypeOfExtension(value);
    if (type == nullptr)
        return refuse(localized(
            "{} is no format; write an extension, such as heic, or a media type: image/heic", value));
    filter.format = type->name;
    return {};
}

Result<> setRating(AssetFilter &filter, Value value) {
    if (value.size() != 1 || value[0] < '1' || value[0] > '5')
        return refuse(localized("{} is no number of stars; write 1 to 5", value));
    filter.minRating = value[0] - '0';
    return {};
}

template <auto member>
Result<> setAnswer(AssetFilter &filter, Value value) {
    const auto answer = answerIn(value);
    if (!answer)
        return refuse(localized("{} is no answer; write yes or no", value));
    filter.*member = *answer;
    return {};
}

template <auto member>
Result<> setSize(AssetFilter &filter, Value value) {
    const auto bytes = sizeIn(value);
    if (!bytes)
        return refuse(localized("{} is no size; write 500kB or 2MB", value));
    filter.*member = *bytes;
    return {};
}

Result<> setAlbum(AssetFilter &filter, Value value) {
    return askForAlbum(value).map(
        [&](const Ref<ManagedAlbum> &album) { filter.album = album->record().uuid; });
}

Result<> setMoment(AssetFilter &filter, Value value) {
    return askForMomentKey(value).map([&](std::int64_t key) { filter.moment = key; });
}

/// A condition, which is an option of `list` and a word of a query.
struct Condition {
    const char *name;
    const char *valueName; ///< Null for one that is answered with yes or no, and may stand alone.
    const char *help;
    Result<> (*set)(AssetFilter &filter, Value value);
};

constexpr Condition conditions[] = {
    {"kind", "KIND", "Only assets of this kind: photo, video", setKind},
    {"from", "DATE", "Only those from this year, month or day on: 2019, 2019-08-31",
     setDate<&AssetFilter::from, &Period::begin>},
    {"to", "DATE", "Only those up to the end of this year, month or day",
     setDate<&AssetFilter::until, &Period::end>},
    {"near", "LATITUDE,LONGITUDE[,DISTANCE]", "Only those taken near a place, within 1km or as given",
     setNear},
    {"within", "SOUTH,WEST,NORTH,EAST", "Only those taken in an area, by its edges in degrees", setBox},
    {"album", "ALBUM", "Only those in this album: name or UUID", setAlbum},
    {"moment", "ID", "Only those of this moment", setMoment},
    {"name", "PATTERN", "Only those with such an original name: 'IMG_*.jpg'", setText<&AssetFilter::name>},
    {"words", "WORDS", "Only those with these words in name, caption, keywords, camera or albums",
     setText<&AssetFilter::text>},
    {"type", "TYPE", "Only those of this format: jpeg, heic, image/heic", setType},
    {"camera", "CAMERA", "Only those taken with this camera, by its whole name; words finds parts",
     setText<&AssetFilter::camera>},
    {"rating", "STARS", "Only those with at least this number of stars", setRating},
    {"min-size", "SIZE", "Only those whose original has at least this size: 2MB",
     setSize<&AssetFilter::minBytes>},
    {"max-size", "SIZE", "Only those whose original has at most this size", setSize<&AssetFilter::maxBytes>},
    {"favourite", nullptr, "Only favourites; with =no the others", setAnswer<&AssetFilter::isFavourite>},
    {"hidden", nullptr, "Only hidden ones; with =no the others", setAnswer<&AssetFilter::isHidden>},
    {"edited", nullptr, "Only those with an edited version; with =no the others",
     setAnswer<&AssetFilter::isEdited>},
    {"problem", nullptr, "Only those that could not be decoded; with =no the others",
     setAnswer<&AssetFilter::hasProblem>},
};

/// Splits a query at its blanks. What is between quotation marks belongs together.
Result<std::vector<std::string>> wordsOf(const std::string &query) {
    std::vector<std::string> words;
    std::string word;
    bool isWord = false;
    char quote = 0;
    for (const char each : query) {
        if (quote != 0 ? each == quote : each == '"' || each == '\'') {
            quote = quote == 0 ? each : '\0';
            isWord = true;
        } else if (quote == 0 && std::string_view(" \t\n").find(each) != std::string_view::npos) {
            if (isWord)
                words.push_back(std::exchange(word, {}));
            isWord = false;
        } else {
            word += each;
            isWord = true;
        }
    }
    if (quote != 0)
        return refuse(localized("the query has no second {}", quote));
    if (isWord)
        words.push_back(word);
    return words;
}

using Names = std::set<std::string>;

/// `given` are the conditions that the filter has already: of two of a kind, one would be lost.
Result<> addQuery(AssetFilter &filter, const std::string &query, Names given) {
    const auto words = wordsOf(query);
    if (!words)
        return passOn(words);
    if (words->empty())
        return refuse(localized("the query is empty; to ask for all assets: --where {}", allAssets));
    for (const std::string &word : *words) {
        if (word == allAssets)
            continue;
        const std::string name = word.substr(0, word.find('='));
        const auto *condition =
            std::ranges::find(conditions, name, [](const Condition &each) { return each.name; });
        if (condition == std::end(conditions))
            return refuse(localized("a query has no condition '{}'{} It has the same as wickerlane list has "
                                    "options; words to be found stand in words=\"...\"",
                                    name, didYouMean(name, conditionNames())));
        const bool mayStandAlone = condition->valueName == nullptr;
        const std::string value = name.size() < word.size() ? word.substr(name.size() + 1)
                                  : mayStandAlone           ? "yes"
                                                            : "";
        if (value.empty())
            return refuse(localized("{0} has no value in the query; write {0}={1}", name,
                                    mayStandAlone ? "no" : condition->valueName));
        if (!given.insert(name).second)
            return refuse(localized("{} is given twice", name));
        const auto set = condition->set(filter, value);
        if (!set)
            return set;
    }
    return {};
}

} // namespace

std::optional<Period> periodIn(const std::string &text) {
    using namespace std::chrono;
    std::string_view rest = text;
    if (rest.empty() || rest[0] < '0' || rest[0] > '9')
        return std::nullopt;
    std::array<int, 3> parts{0, 1, 1};
    std::size_t count = 0;
    do {
        if (rest.empty() || rest[0] == '-')
            return std::nullopt;
        const auto part = takeNumber<int>(rest);
        if (!part)
            return std::nullopt;
        parts.at(count++) = *part;
    } while (count < parts.size() && take(rest, '-'));
    constexpr int lastYear = 9'999;
    const year_month_day first(year(parts[0]), month(static_cast<unsigned>(parts[1])),
                               day(static_cast<unsigned>(parts[2])));
    if (!rest.empty() || parts[0] > lastYear || !first.ok())
        return std::nullopt;
    const sys_days begin(first);
    const sys_days end = count == 1   ? sys_days(first + years(1))
                         : count == 2 ? sys_days(first + months(1))
                                      : begin + days(1);
    constexpr sys_days reference = 2001y / January / 1;
    const auto secondsTo = [&](sys_days date) {
        return static_cast<double>(duration_cast<seconds>(date - reference).count());
    };
    return Period{secondsTo(begin), secondsTo(end)};
}

std::vector<std::string> conditionNames() {
    std::vector<std::string> names;
    for (const Condition &each : conditions)
        names.emplace_back(each.name);
    return names;
}

void addFilterOptions(const Command &command, FilterOptions &options) {
    options.values.resize(std::size(conditions));
    auto value = options.values.begin();
    for (const Condition &each : conditions) {
        const std::string name = std::string("--") + each.name;
        if (each.valueName == nullptr)
            command.addAnswer(name, *value, each.help).notEmpty();
        else
            command.addOption(name, *value, each.help).typeName(each.valueName).notEmpty();
        ++value;
    }
    addQueryOption(command, options.query);
}

Option addQueryOption(const Command &command, std::string &query) {
    return command
        .addOption(
            "--where", query,
            "The assets that a query finds: 'kind=video from=2019-08 album=\"At sea\"'. Its conditions "
            "are the options of wickerlane list")
        .typeName("QUERY")
        .notEmpty();
}

Result<AssetFilter> filterOf(const FilterOptions &options) {
    AssetFilter filter;
    Names given;
    for (std::size_t i = 0; i < options.values.size(); ++i) {
        const std::string &value = options.values[i];
        if (value.empty())
            continue;
        given.emplace(conditions[i].name);
        if (const auto set = conditions[i].set(filter, value); !set)
            return fail(set.error().kind, fmt::format("--{}: {}", conditions[i].name, set.error().text));
    }
    if (!options.query.empty())
        if (const auto added = addQuery(filter, options.query, std::move(given)); !added)
            return passOn(added);
    return filter;
}

Result<AssetFilter> filterOfQuery(const std::string &query) {
    AssetFilter filter;
    if (const auto added = addQuery(filter, query, {}); !added)
        return passOn(added);
    return filter;
}

} // namespace wickerlane::cli
