// wickerlane adjust-date
#include <charconv>
#include <optional>

#include "cli/Selection.h"
#include "cli/Subcommands.h"
#include "cli/Texts.h"
#include "wickerlane/protocol/AssetRows.h"

namespace wickerlane::cli {
namespace {

struct Options {
    Selection selection;
    std::string by;
};

/// Takes a whole number of at most nine digits from the start of a text.
std::optional<std::int64_t> takeNumber(std::string_view &text) {
    constexpr std::size_t maxDigits = 9;
    std::int64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const auto length = static_cast<std::size_t>(end - text.data());
    if (error != std::errc() || text[0] == '-' || length > maxDigits)
        return std::nullopt;
    text.remove_prefix(length);
    return number;
}

/// "2d3h", "1h30m", "45s".
std::optional<std::int64_t> secondsInUnits(std::string_view text) {
    std::int64_t seconds = 0;
    while (!text.empty()) {
        const auto number = takeNumber(text);
        if (!number || text.empty())
            return std::nullopt;
        switch (text[0]) {
        case 'd':
            seconds += *number * 86'400;
            break;
        case 'h':
            seconds += *number * 3'600;
            break;
        case 'm':
            seconds += *number * 60;
            break;
        case 's':
            seconds += *number;
            break;
        default:
            return std::nullopt;
        }
        text.remove_prefix(1);
    }
    return seconds;
}

/// "1:30" or "1:30:15".
std::optional<std::int64_t> secondsOnClock(std::string_view text) {
    std::int64_t seconds = 0;
    int parts = 0;
    for (; parts < 3; ++parts) {
        const auto number = takeNumber(text);
        if (!number || (parts > 0 && *number > 59))
            return std::nullopt;
        seconds = seconds * 60 + *number;
        if (text.empty())
            break;
        if (text[0] != ':')
            return std::nullopt;
        text.remove_prefix(1);
    }
    return parts == 1 ? std::optional(seconds * 60) : parts == 2 ? std::optional(seconds) : std::nullopt;
}

std::optional<std::int64_t> secondsIn(std::string_view text) {
    const bool isBack = text.starts_with('-');
    if (isBack || text.starts_with('+'))
        text.remove_prefix(1);
    if (text.empty())
        return std::nullopt;
    const auto seconds =
        text.find(':') == std::string_view::npos ? secondsInUnits(text) : secondsOnClock(text);
    return seconds && isBack ? std::optional(-*seconds) : seconds;
}

Result<ExitCode> adjustDates(const Options &options) {
    return changeSelected(
        options.selection,
        {.doing = localized("changing dates"),
         .wouldBeDone =
             [](std::size_t count) {
                 return localizedCount(count, "{} asset would be given another date",
                                       "{} assets would be given another date");
             },
         .done =
             [](std::size_t count) { return localizedCount(count, "{} date changed", "{} dates changed"); }},
        protocol::adjustDates, [seconds = *secondsIn(options.by)](client::Request &request) {
            request.set(protocol::keys::seconds, seconds);
        });
}

} // namespace

void setUpAdjustDate(Command command) {
    command.footer(
        "A time is written as 1h30m, 2d, 45s, or as 1:30 or 1:30:15, with + (default) or - in front.\n"
        "The originals keep the dates that are written in them.\n\n"
        "Examples:\n"
        "  wickerlane adjust-date --by -1h 7F3D0A52\n"
        "  wickerlane adjust-date --by 6h --where 'camera=\"MAKER Model 7\" from=2019-08'");
    Options &options = command.runs(adjustDates);
    addSelection(command, options.selection);
    addDryRun(command, options.selection);
    command.addOption("--by", options.by, "By how much the clock was slow; negative if it was fast")
        .required()
        .typeName("TIME")
        .check([](const std::string &text) {
            return secondsIn(text) ? std::string()
                                   : localized("'{}' is no time such as 1h30m or -0:45", text);
        });
}

} // namespace wickerlane::cli
