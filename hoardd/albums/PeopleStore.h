// What the store keeps of people: keys for their e-mail addresses, and what others say of them. The functions
// work in a transaction of the caller's.
#ifndef HOARDD_ALBUMS_PEOPLESTORE_H
#define HOARDD_ALBUMS_PEOPLESTORE_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "wickerlane/store/Sqlite.h"

namespace wickerlane::hoardd {

/// The key of an address, which gets one when it is first asked for. Case doesn't matter.
[[nodiscard]] Result<std::int64_t> emailKey(sqlite::Database &database, std::string_view address);
[[nodiscard]] Result<std::optional<std::string>> emailAddress(sqlite::Database &database, std::int64_t key);

/// A property list.
[[nodiscard]] Result<std::optional<std::vector<std::byte>>> personInfo(sqlite::Database &database,
                                                                       std::string_view person);
[[nodiscard]] Result<> setPersonInfo(sqlite::Database &database, std::string_view person, Bytes info);
[[nodiscard]] Result<> deletePersonInfo(sqlite::Database &database, std::string_view person);

/// Deletes the addresses and the information that came after a date.
[[nodiscard]] Result<> deletePeopleAddedAfter(sqlite::Database &database, double date);

} // namespace wickerlane::hoardd

#endif
