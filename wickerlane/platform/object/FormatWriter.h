// Writing what a format of formatUTF8() says.
#ifndef WICKERLANE_PLATFORM_OBJECT_FORMATWRITER_H
#define WICKERLANE_PLATFORM_OBJECT_FORMATWRITER_H

#include <cerrno>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "wickerlane/platform/object/FormatArguments.h"

namespace wickerlane::formatting {

/// Writes one format with its arguments. "%m" shows the errno of the time when the writer was made.
class FormatWriter {
public:
    /// `escaping` may be null.
    FormatWriter(va_list from, std::string (*escaping)(std::string_view)) noexcept
        : arguments(from), escape(escaping) {}
    /// For arguments that are known to suit the format.
    explicit FormatWriter(std::vector<Value> known) : arguments(std::move(known)), escape(nullptr) {}

    [[nodiscard]] std::string write(const ParsedFormat &format);

private:
    /// A conversion with the values of its width and precision.
    struct Field {
        const Conversion &conversion;
        bool isLeftAligned;
        std::size_t width;
        std::optional<std::size_t> precision;
    };

    void write(const Conversion &conversion);
    [[nodiscard]] std::optional<int> valueOf(const Measure &measure);
    [[nodiscard]] Field fieldOf(const Conversion &conversion);
    void writeInteger(const Field &field, std::intmax_t value);
    template <class Number>
    void writeNumber(const Field &field, const char *length, Number number);
    void writeCharacter(const Field &field, std::intmax_t value);
    void writePointedText(const Field &field, const void *pointer);
    void writeText(const Field &field, std::string_view text);
    void writeLiteral(std::string_view text);
    void append(std::string_view text);
    void appendSpaces(std::size_t count);

    Arguments arguments;
    std::string (*const escape)(std::string_view);
    const int errorNumber = errno;
    bool isFull = false;
    std::string result;
};

} // namespace wickerlane::formatting

#endif
