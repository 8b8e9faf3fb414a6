#include "wickerlane/platform/object/FormatArguments.h"

#include <algorithm>
#include <cwchar>

namespace wickerlane::formatting {
namespace {

using Type = ArgumentType;

bool isPointer(Type type) noexcept {
    return type >= Type::pointer;
}

// The types of the arguments of a positional format.
class PositionedTypes {
public:
    /// Every position takes some characters of the format, so that it can't name more than `limit`.
    explicit PositionedTypes(std::size_t limit) noexcept : maxPosition(limit) {}

    // False when the argument is known with another type, or when there is no such position.
    bool add(unsigned position, Type type) {
        if (position == 0 || position > maxPosition)
            return false;
        if (types.size() < position)
            types.resize(position, Type::none);
        Type &known = types[position - 1];
        if (known == Type::none || (known == Type::pointer && isPointer(type)))
            known = type;
        return known == type || (type == Type::pointer && isPointer(known));
    }
    bool add(const Measure &measure) {
        return measure.kind != Measure::argument || add(measure.position, Type::integer);
    }
    bool add(const Conversion &conversion) {
        return add(conversion.width) && add(conversion.precision) &&
               (conversion.type == Type::none ? conversion.position == 0
                                              : add(conversion.position, conversion.type));
    }

    [[nodiscard]] bool leaveOneOut() const { return std::ranges::find(types, Type::none) != types.end(); }
    [[nodiscard]] const std::vector<Type> &all() const noexcept { return types; }

private:
    const std::size_t maxPosition;
    std::vector<Type> types;
};

} // namespace

bool Arguments::readByPosition(const ParsedFormat &format) {
    if (isKnown)
        return true;
    if (format.hasUnknownConversions())
        return false;
    PositionedTypes types(format.text().size());
    for (const Piece &piece : format.pieces())
        if (piece.literal.empty() && !types.add(piece.conversion))
            return false;
    if (types.leaveOneOut())
        return false;
    values.reserve(types.all().size());
    for (const Type type : types.all())
        values.push_back(read(type));
    return true;
}

Value Arguments::read(Type type) {
    Value value;
    switch (type) {
    case Type::none:
        break;
    case Type::integer:
        value.integer = va_arg(list, int);
        break;
    case Type::longInteger:
        value.integer = va_arg(list, long);
        break;
    case Type::longLong:
        value.integer = va_arg(list, long long);
        break;
    case Type::maximal:
        value.integer = va_arg(list, std::intmax_t);
        break;
    case Type::size:
        value.integer = static_cast<std::intmax_t>(va_arg(list, std::size_t));
        break;
    case Type::difference:
        value.integer = va_arg(list, std::ptrdiff_t);
        break;
    case Type::wideCharacter:
        value.integer = static_cast<std::intmax_t>(va_arg(list, std::wint_t));
        break;
    case Type::real:
        value.real = va_arg(list, double);
        break;
    case Type::longReal:
        value.longReal = va_arg(list, long double);
        break;
    case Type::pointer:
    case Type::object:
    case Type::text:
    case Type::wideText:
    case Type::utf16Text:
        value.pointer = va_arg(list, const void *);
        break;
    }
    return value;
}

} // namespace wickerlane::formatting
