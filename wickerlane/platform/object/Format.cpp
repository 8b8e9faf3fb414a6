#include "wickerlane/platform/object/Format.h"

#include <cstdint>
#include <string_view>
#include <vector>

#include "wickerlane/platform/object/FormatParser.h"
#include "wickerlane/platform/object/FormatWriter.h"

namespace wickerlane {

using formatting::ArgumentType;
using formatting::Conversion;
using formatting::Measure;

namespace {

bool showsNumber(const Conversion &conversion) {
    constexpr std::string_view letters = "diuoxX";
    return letters.find(conversion.letter) != std::string_view::npos;
}

} // namespace

std::string formatUTF8Escaping(const char *format, va_list arguments,
                               std::string (*escape)(std::string_view)) {
    if (format == nullptr)
        return {};
    return formatting::FormatWriter(arguments, escape).write(formatting::ParsedFormat(format));
}

std::string formatUTF8Arguments(const char *format, va_list arguments) {
    return formatUTF8Escaping(format, arguments, nullptr);
}

std::string formatUTF8(const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    std::string text = formatUTF8Arguments(format, arguments);
    va_end(arguments);
    return text;
}

bool formatTakes(const char *format, std::string_view kinds) {
    if (format == nullptr)
        return false;
    const formatting::ParsedFormat parsed(format);
    if (parsed.hasUnknownConversions())
        return false;
    unsigned sequential = 0;
    for (const formatting::Piece &piece : parsed.pieces()) {
        const Conversion &c = piece.conversion;
        if (c.width.kind == Measure::argument || c.precision.kind == Measure::argument)
            return false;
        if (c.type == ArgumentType::none && c.position != 0)
            return false;
        if (c.type == ArgumentType::none)
            continue;
        const unsigned place = c.position != 0 ? c.position : ++sequential;
        if (place > kinds.size())
            return false;
        const char kind = kinds[place - 1];
        if (kind == '@' ? c.type != ArgumentType::object : kind != 'u' || !showsNumber(c))
            return false;
    }
    return !(parsed.namesPositions() && sequential != 0);
}

std::optional<std::string> formatUTF8Checked(const char *format, std::span<const CheckedArgument> arguments) {
    std::string kinds;
    std::vector<formatting::Value> values;
    for (const CheckedArgument &argument : arguments) {
        kinds += argument.kind;
        formatting::Value value;
        value.integer = static_cast<std::intmax_t>(argument.number);
        value.pointer = argument.object;
        values.push_back(value);
    }
    if (!formatTakes(format, kinds))
        return std::nullopt;
    return formatting::FormatWriter(std::move(values)).write(formatting::ParsedFormat(format));
}

} // namespace wickerlane
