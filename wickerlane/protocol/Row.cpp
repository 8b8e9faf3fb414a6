#include "wickerlane/protocol/Row.h"

#include <algorithm>

#include "wickerlane/platform/object/Format.h"

namespace wickerlane::protocol {

std::string problemWith(const MessageDictionary *message, const Row &row) {
    for (const Field &field : row.requestKeys.all()) {
        const auto kind = message->kindOf(field.key);
        if (!kind && !field.optional)
            return formatUTF8("%s (operation %lld) needs a value under \"%s\"", row.name,
                              static_cast<long long>(row.code), field.key);
        if (kind && std::ranges::find(field.kinds, *kind) == field.kinds.end())
            return formatUTF8("%s (operation %lld) has a value of the wrong kind under \"%s\"", row.name,
                              static_cast<long long>(row.code), field.key);
    }
    return {};
}

} // namespace wickerlane::protocol
