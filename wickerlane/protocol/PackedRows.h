// How rows travel in the data of a reply: their values one after another, without names, in the byte order of
// the machine. Integers and reals have eight bytes, texts a length of four and their bytes, lists a count of
// four and their values, numbers in them as small as they are.
#ifndef WICKERLANE_PROTOCOL_PACKEDROWS_H
#define WICKERLANE_PROTOCOL_PACKEDROWS_H

#include <concepts>
#include <cstdint>
#include <cstring>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "wickerlane/model/AssetChange.h"
#include "wickerlane/model/AssetRecord.h"
#include "wickerlane/platform/message/value/MessageText.h"
#include "wickerlane/platform/object/Data.h"

namespace wickerlane::protocol {

/// Appends values.
class RowWriter {
public:
    template <std::integral Integer>
    void write(Integer value) {
        append(static_cast<std::int64_t>(value));
    }
    void write(AssetKind value) { write(static_cast<int>(value)); }
    void write(AssetChange::What value) { write(static_cast<int>(value)); }
    void write(double value) { append(value); }
    void write(const std::optional<double> &value) {
        append(value.value_or(std::numeric_limits<double>::quiet_NaN()));
    }
    void write(const std::optional<std::int64_t> &value) { append(value.value_or(missingInteger)); }
    void write(std::string_view value) {
        append(static_cast<std::uint32_t>(value.size()));
        appendBytes(value.data(), value.size());
    }
    template <class Element>
    void write(const std::vector<Element> &values) {
        append(static_cast<std::uint32_t>(values.size()));
        if constexpr (std::is_arithmetic_v<Element>)
            appendBytes(values.data(), values.size() * sizeof(Element));
        else
            for (const Element &each : values)
                write(each);
    }
    void write(const Sha256 &value) { appendBytes(value.data(), value.size()); }

    [[nodiscard]] Ref<Data> data() { return Data::createAdopting(std::move(written)); }

    static constexpr std::int64_t missingInteger = std::numeric_limits<std::int64_t>::min();

private:
    template <class Value>
    void append(Value value) {
        appendBytes(&value, sizeof value);
    }
    void appendBytes(const void *bytes, std::size_t count) {
        const auto *first = static_cast<const std::byte *>(bytes);
        written.insert(written.end(), first, first + count);
    }

    std::vector<std::byte> written;
};

/// Takes values in the order in which they were appended. What is not there reads as zero or empty, and makes
/// the reader fail; so does a number that does not fit, and a text that is no UTF-8.
class RowReader {
public:
    explicit RowReader(Bytes bytes) : rest(bytes) {}

    template <std::integral Integer>
    void read(Integer &value) {
        const auto number = take<std::int64_t>();
        if (!std::in_range<Integer>(number))
            failed = true;
        value = static_cast<Integer>(number);
    }
    void read(bool &value) {
        const auto number = take<std::int64_t>();
        failed = failed || number < 0 || number > 1;
        value = number == 1;
    }
    // Sizes are stored as signed numbers and read as what they were.
    void read(std::uint64_t &value) { value = static_cast<std::uint64_t>(take<std::int64_t>()); }
    void read(AssetKind &value) {
        const auto number = take<std::int64_t>();
        failed = failed || number < 0 || number > 1;
        value = number == 1 ? AssetKind::video : AssetKind::photo;
    }
    void read(AssetChange::What &value) {
        const auto number = take<std::int64_t>();
        failed = failed || number < 0 || number > static_cast<int>(AssetChange::What::removed);
        value = failed ? AssetChange::What::changed : static_cast<AssetChange::What>(number);
    }
    void read(double &value) { value = take<double>(); }
    void read(std::optional<double> &value) {
        const auto number = take<double>();
        value = number == number ? std::optional(number) : std::nullopt; // NaN is not equal to itself
    }
    void read(std::optional<std::int64_t> &value) {
        const auto number = take<std::int64_t>();
        value = number != RowWriter::missingInteger ? std::optional(number) : std::nullopt;
    }
    void read(std::string &value) {
        const auto size = take<std::uint32_t>();
        const Bytes bytes = takeBytes(size);
        value.assign(reinterpret_cast<const char *>(bytes.data()), bytes.size());
        failed = failed || !isUTF8(value);
    }
    template <class Element>
    void read(std::vector<Element> &values) {
        const std::size_t count = take<std::uint32_t>();
        if constexpr (std::is_arithmetic_v<Element>) {
            const Bytes bytes = takeBytes(count * sizeof(Element));
            values.resize(bytes.size() / sizeof(Element));
            if (!values.empty())
                std::memcpy(values.data(), bytes.data(), bytes.size());
        } else {
            while (values.size() < count && !failed)
                read(values.emplace_back());
        }
    }
    void read(Sha256 &value) {
        const Bytes bytes = takeBytes(value.size());
        if (!bytes.empty())
            std::memcpy(value.data(), bytes.data(), value.size());
    }

    [[nodiscard]] bool isAtEnd() const noexcept { return rest.empty(); }
    [[nodiscard]] bool hasFailed() const noexcept { return failed; }

private:
    Bytes takeBytes(std::size_t count) {
        if (count > rest.size()) {
            failed = true;
            rest = {};
            return {};
        }
        const Bytes taken = rest.first(count);
        rest = rest.subspan(count);
        return taken;
    }
    template <class Value>
    Value take() {
        Value value{};
        if (const Bytes bytes = takeBytes(sizeof value); !bytes.empty())
            std::memcpy(&value, bytes.data(), sizeof value);
        return value;
    }

    Bytes rest;
    bool failed = false;
};

} // namespace wickerlane::protocol

#endif
