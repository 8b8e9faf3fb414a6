// Asking the person at the terminal.
#ifndef CLI_CONFIRMATION_H
#define CLI_CONFIRMATION_H

#include <string>

#include "wickerlane/model/Result.h"

namespace wickerlane::cli {

/// Says what is about to happen, and fails unless the person wants it. "y" and "yes" are understood in every
/// language, besides its own words. `withoutTerminal` says what to do where nothing can be asked.
Result<> confirm(const std::string &what, const std::string &withoutTerminal);

} // namespace wickerlane::cli

#endif
