// Asking the person at the terminal.
#ifndef CLI_CONFIRMATION_H
#define CLI_CONFIRMATION_H

#include <string>

namespace wickerlane::cli {

/// Says what is about to happen, and whether the person wants it. "y" and "yes" are understood in every
/// language, besides its own words. False when there is no terminal.
[[nodiscard]] bool isConfirmed(const std::string &what);

} // namespace wickerlane::cli

#endif
