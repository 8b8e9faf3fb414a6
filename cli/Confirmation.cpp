#include "cli/Confirmation.h"

#include <unistd.h>

#include <iostream>
#include <string>

#include "cli/Output.h"

namespace wickerlane::cli {

bool isConfirmed(std::string_view what) {
    if (isatty(STDIN_FILENO) == 0)
        return false;
    note(std::string(what) + " Continue? [y/N]");
    std::string line;
    return std::getline(std::cin, line) && (line == "y" || line == "yes");
}

} // namespace wickerlane::cli
