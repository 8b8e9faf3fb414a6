// Lists of UUIDs in the store's statements.
#ifndef WICKERLANE_STORE_UUIDLIST_H
#define WICKERLANE_STORE_UUIDLIST_H

#include <string>
#include <string_view>

#include "wickerlane/platform/object/Number.h"

namespace wickerlane::store {

/// What a column of UUIDs is narrowed by; its parameter is the list.
inline constexpr std::string_view isInUUIDList = " IN (SELECT value FROM json_each(?))";

/// The list of UUIDs, in either case of letters. What is no UUID is left out.
template <class Texts>
[[nodiscard]] std::string uuidList(const Texts &texts) {
    std::string list = "[";
    for (const auto &each : texts)
        if (const auto uuid = UUID::createWithText(each))
            list.append(list.size() > 1 ? ",\"" : "\"").append(uuid->uuidString()->utf8()).append("\"");
    return list + "]";
}

} // namespace wickerlane::store

#endif
