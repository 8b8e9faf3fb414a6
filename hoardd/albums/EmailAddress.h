// What may be an e-mail address.
#ifndef HOARDD_ALBUMS_EMAILADDRESS_H
#define HOARDD_ALBUMS_EMAILADDRESS_H

#include <string_view>

namespace wickerlane::hoardd {

/// Whether mail could be sent to a text: a name and a domain around an "@", without spaces and control
/// characters, no longer than mail servers take. Letters of any script may be in both.
[[nodiscard]] bool isEmailAddress(std::string_view text);

} // namespace wickerlane::hoardd

#endif
