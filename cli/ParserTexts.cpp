#include "cli/ParserTexts.h"

#include <CLI/Error.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <optional>
#include <string_view>

#include "cli/Texts.h"

namespace wickerlane::cli {
namespace {

using Parts = std::vector<std::string>;

/// What stands in a text at the places "{}" of a form; nothing for a text of another form. The first place
/// takes as little as it can.
std::optional<Parts> partsIn(std::string_view text, std::string_view form) {
    constexpr std::string_view place = "{}";
    Parts parts;
    const std::size_t begin = form.find(place);
    if (!text.starts_with(form.substr(0, begin)))
        return std::nullopt;
    text.remove_prefix(std::min(begin, form.size()));
    form.remove_prefix(std::min(begin, form.size()));
    while (!form.empty()) {
        form.remove_prefix(place.size());
        const std::string_view literal = form.substr(0, form.find(place));
        const std::size_t end = literal.empty() ? text.size() : text.find(literal);
        if (end == std::string_view::npos)
            return std::nullopt;
        parts.emplace_back(text.substr(0, end));
        text.remove_prefix(end + literal.size());
        form.remove_prefix(literal.size());
    }
    return text.empty() ? std::optional(parts) : std::nullopt;
}

/// `count` is how many it needs.
std::string needsValues(const std::string &option, const std::string &count, const std::string &type) {
    return count == "1" ? localized("{} needs a value: {}", option, type.substr(0, type.find_first_of(":{")))
                        : localized("{} needs at least {} values", option, count);
}

std::string takesAtMost(const std::string &option, const std::string &count) {
    return count == "1" ? localized("{} can be given only once", option)
                        : localized("{} takes at most {} values", option, count);
}

std::string textOfMismatch(const std::string &said) {
    if (const auto parts = partsIn(said, "{}: {} required {} missing"))
        return needsValues(parts->at(0), parts->at(1), parts->at(2));
    if (const auto parts = partsIn(said, "{}: At least {} required but received {}"))
        return needsValues(parts->at(0), parts->at(1), "");
    if (const auto parts = partsIn(said, "{}: At Most {} required but received {}"))
        return takesAtMost(parts->at(0), parts->at(1));
    return said;
}

} // namespace

std::string textOfParser(const CLI::Error &error, const std::vector<std::string> &unexpected) {
    const std::string said = error.what();
    std::optional<Parts> parts;
    switch (static_cast<CLI::ExitCodes>(error.get_exit_code())) {
    case CLI::ExitCodes::ExtrasError:
        return localized("not expected: {}", fmt::to_string(fmt::join(unexpected, " ")));
    case CLI::ExitCodes::ArgumentMismatch:
        return textOfMismatch(said);
    case CLI::ExitCodes::RequiredError:
        parts = partsIn(said, "{} is required");
        if (parts && parts->front() == "A subcommand")
            return localized("A subcommand is required");
        return parts ? localized("{} is required", parts->at(0)) : said;
    case CLI::ExitCodes::ConversionError:
        parts = partsIn(said, "Could not convert: {} = {}");
        return parts ? localized("{} can't be '{}'", parts->at(0), parts->at(1)) : said;
    case CLI::ExitCodes::ExcludesError:
        parts = partsIn(said, "{} excludes {}");
        return parts ? localized("{} and {} can't be used together", parts->at(0), parts->at(1)) : said;
    default:
        return said;
    }
}

} // namespace wickerlane::cli
