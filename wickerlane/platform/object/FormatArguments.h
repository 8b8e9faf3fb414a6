// The arguments of a format of formatUTF8().
#ifndef WICKERLANE_PLATFORM_OBJECT_FORMATARGUMENTS_H
#define WICKERLANE_PLATFORM_OBJECT_FORMATARGUMENTS_H

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "wickerlane/platform/object/FormatParser.h"

namespace wickerlane::formatting {

/// An argument: the member that its type says.
struct Value {
    std::intmax_t integer = 0;
    double real = 0;
    long double longReal = 0;
    const void *pointer = nullptr;
};

/// Arguments are taken one after the other, or by position once readByPosition() has read them.
class Arguments {
public:
    explicit Arguments(va_list from) { va_copy(list, from); }
    /// Arguments that are known to suit the format.
    explicit Arguments(std::vector<Value> known) : isKnown(true), values(std::move(known)) {}
    ~Arguments() {
        if (!isKnown)
            va_end(list);
    }
    Arguments(const Arguments &) = delete;
    Arguments &operator=(const Arguments &) = delete;

    /// Reads all arguments of a format that names positions. False, with nothing read, when the format mixes
    /// positional with other conversions, leaves out a position, asks for one argument as two types or has an
    /// unknown conversion.
    [[nodiscard]] bool readByPosition(const ParsedFormat &format);

    /// The argument at a position, from 1 on; the next one for 0.
    [[nodiscard]] Value take(unsigned position, ArgumentType type) {
        if (position != 0)
            return values[position - 1];
        return isKnown ? values[taken++] : read(type);
    }

private:
    Value read(ArgumentType type);

    va_list list; // unless isKnown
    bool isKnown = false;
    std::size_t taken = 0;     // of known ones
    std::vector<Value> values; // by position
};

} // namespace wickerlane::formatting

#endif
