#include "wickerlane/platform/object/Format.h"

#include <cstdint>

#include "wickerlane/platform/object/FormatParser.h"
#include "wickerlane/platform/object/FormatWriter.h"

namespace wickerlane {

using formatting::ArgumentType;
using formatting::Conversion;
using formatting::Measure;

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
    if (format == nullptr || kinds.size() >= 64)
        return false;
    const formatting::ParsedFormat parsed(format);
    if (parsed.hasUnknownConversions())
        return false;
    std::uint64_t taken = 0; // one bit for each argument
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
        const bool isUnsignedLong = c.type >= ArgumentType::longInteger && c.type <= ArgumentType::difference;
        const char kind = kinds[place - 1];
        if (kind == '@' ? c.type != ArgumentType::object : kind != 'u' || !isUnsignedLong)
            return false;
        taken |= std::uint64_t{1} << (place - 1);
    }
    const bool leavesNoneOut = (taken & (taken + 1)) == 0;
    return leavesNoneOut && !(parsed.namesPositions() && sequential != 0);
}

} // namespace wickerlane
