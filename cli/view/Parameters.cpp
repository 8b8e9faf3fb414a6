#include "cli/view/Parameters.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <nlohmann/json.hpp>

#include "cli/FilterOptions.h"
#include "wickerlane/model/AssetDetails.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/platform/object/String.h"

namespace wickerlane::cli::view {
namespace {

/// The most bytes of a text to look for.
constexpr std::size_t maxTextBytes = 1'024;

Failure failInvalid(std::string_view name, std::string_view what) {
    return fail(ProblemKind::invalid, fmt::format("'{}' must be {}", name, what));
}

/// The number that a text is, as a whole.
template <class Number>
std::optional<Number> numberIn(std::string_view text) {
    Number number{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size() ? std::optional(number) : std::nullopt;
}

/// "47.4,8.5,300": degrees and meters.
bool setCircle(std::string_view text, AssetFilter &filter) {
    std::array<double, 3> numbers{};
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        const std::size_t length = i + 1 < numbers.size() ? text.find(',') : text.size();
        const auto number = numberIn<double>(text.substr(0, length));
        if (length == text.npos || !number || !std::isfinite(*number))
            return false;
        numbers.at(i) = *number;
        text.remove_prefix(std::min(length + 1, text.size()));
    }
    if (std::abs(numbers[0]) > 90 || std::abs(numbers[1]) > 180 || numbers[2] < 0)
        return false;
    filter.nearLatitude = numbers[0];
    filter.nearLongitude = numbers[1];
    filter.radius = numbers[2];
    return true;
}

/// Marks: 1 asks for assets that have one, 0 for those that don't.
Result<> setMarks(const httplib::Request &request, AssetFilter &filter) {
    const std::string hidden = request.get_param_value("hidden");
    if (hidden.empty() || hidden == "0")
        filter.isHidden = false;
    else if (hidden == "only")
        filter.isHidden = true;
    else if (hidden != "1")
        return failInvalid("hidden", "0, 1 or only");
    struct Mark {
        const char *name;
        std::optional<bool> AssetFilter::*member;
    };
    constexpr std::array marks = {Mark{"favourite", &AssetFilter::isFavourite},
                                  Mark{"edited", &AssetFilter::isEdited},
                                  Mark{"problem", &AssetFilter::hasProblem}};
    for (const auto &[name, member] : marks) {
        const std::string value = request.get_param_value(name);
        if (value == "0" || value == "1")
            filter.*member = value == "1";
        else if (!value.empty())
            return failInvalid(name, "0 or 1");
    }
    return {};
}

/// Texts as they are.
Result<> setTexts(const httplib::Request &request, AssetFilter &filter) {
    struct Text {
        const char *name;
        std::optional<std::string> AssetFilter::*member;
    };
    constexpr std::array texts = {Text{"name", &AssetFilter::name}, Text{"text", &AssetFilter::text},
                                  Text{"format", &AssetFilter::format}, Text{"camera", &AssetFilter::camera}};
    for (const auto &[name, member] : texts) {
        std::string value = request.get_param_value(name);
        if (value.size() > maxTextBytes || !String::create(value))
            return failInvalid(name, "a short text");
        if (!value.empty())
            filter.*member = std::move(value);
    }
    return {};
}

} // namespace

std::string uuidIn(std::string_view text) {
    constexpr std::size_t length = 36;
    if (text.size() != length)
        return {};
    const ReleaseScope scope;
    const auto uuid = UUID::createWithText(text);
    return uuid ? std::string(uuid->uuidString()->utf8()) : std::string();
}

Result<std::uint64_t> numberIn(const httplib::Request &request, const char *name, std::uint64_t otherwise) {
    if (!request.has_param(name))
        return otherwise;
    const auto number = numberIn<std::uint64_t>(request.get_param_value(name));
    if (!number)
        return failInvalid(name, "a number");
    return *number;
}

Result<std::optional<double>> dayIn(const httplib::Request &request, const char *name) {
    const std::string text = request.get_param_value(name);
    if (text.empty())
        return std::nullopt;
    const auto period = periodIn(text);
    if (!period)
        return failInvalid(name, "a day such as 2019-08-31");
    return period->begin;
}

Result<AssetFilter> filterIn(const httplib::Request &request) {
    AssetFilter filter;
    const std::string kind = request.get_param_value("kind");
    if (kind == "photo" || kind == "video")
        filter.kind = kind == "photo" ? AssetKind::photo : AssetKind::video;
    else if (!kind.empty())
        return failInvalid("kind", "photo or video");
    const auto from = dayIn(request, "from"), until = dayIn(request, "until");
    if (!from || !until)
        return passOn(from ? until : from);
    filter.from = *from;
    filter.until = *until;
    if (const std::string near = request.get_param_value("near"); !near.empty() && !setCircle(near, filter))
        return failInvalid("near", "LATITUDE,LONGITUDE,METERS");
    if (const std::string album = request.get_param_value("album"); !album.empty()) {
        filter.album = uuidIn(album);
        if (filter.album->empty())
            return failInvalid("album", "a UUID");
    }
    if (const std::string moment = request.get_param_value("moment"); !moment.empty()) {
        filter.moment = numberIn<std::int64_t>(moment);
        if (!filter.moment)
            return failInvalid("moment", "the key of a moment");
    }
    if (const std::string rating = request.get_param_value("rating"); !rating.empty()) {
        filter.minRating = numberIn<std::int64_t>(rating);
        if (!filter.minRating || *filter.minRating < 1 || *filter.minRating > maxRating)
            return failInvalid("rating", "a number from 1 to 5");
    }
    const auto set = setTexts(request, filter).and_then([&] { return setMarks(request, filter); });
    if (!set)
        return passOn(set);
    return filter;
}

Result<JSON> objectIn(const std::string &body) {
    constexpr int maxDepth = 8;
    const auto isShallow = [](int depth, JSON::parse_event_t, JSON &) { return depth <= maxDepth; };
    JSON value = JSON::parse(body, isShallow, false);
    if (!value.is_object())
        return fail(ProblemKind::invalid, "the body must be a JSON object");
    return value;
}

Result<std::string> uuidIn(const JSON &body, const char *name) {
    const auto text = textIn(body, name);
    std::string uuid = text ? uuidIn(*text) : std::string();
    if (uuid.empty())
        return failInvalid(name, "a UUID");
    return uuid;
}

Result<std::vector<std::string>> uuidsIn(const JSON &body, const char *name) {
    const auto found = body.find(name);
    if (found == body.end() || !found->is_array() || found->empty() || found->size() > maxNamedAssets)
        return failInvalid(name, "a list of 1 to 10000 UUIDs");
    std::vector<std::string> uuids;
    uuids.reserve(found->size());
    for (const JSON &each : *found) {
        uuids.push_back(each.is_string() ? uuidIn(each.get_ref<const std::string &>()) : std::string());
        if (uuids.back().empty())
            return failInvalid(name, "a list of 1 to 10000 UUIDs");
    }
    return uuids;
}

Result<std::string> textIn(const JSON &body, const char *name) {
    const auto found = body.find(name);
    if (found == body.end() || !found->is_string())
        return failInvalid(name, "a text");
    return found->get<std::string>();
}

Result<std::int64_t> integerIn(const JSON &body, const char *name) {
    const auto found = body.find(name);
    if (found == body.end() || !found->is_number_integer())
        return failInvalid(name, "a whole number");
    return found->get<std::int64_t>();
}

} // namespace wickerlane::cli::view
