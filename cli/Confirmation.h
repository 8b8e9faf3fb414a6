// Asking the person at the terminal.
#ifndef CLI_CONFIRMATION_H
#define CLI_CONFIRMATION_H

#include <string_view>

namespace wickerlane::cli {

/// Says what is about to happen, and whether the person wants it. False when there is no terminal.
[[nodiscard]] bool isConfirmed(std::string_view what);

} // namespace wickerlane::cli

#endif
