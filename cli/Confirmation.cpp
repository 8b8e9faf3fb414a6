#include "cli/Confirmation.h"

#include <unistd.h>

#include <algorithm>
#include <iostream>
#include <string>

#include "cli/Output.h"
#include "wickerlane/platform/console/Console.h"

namespace wickerlane::cli {

bool isConfirmed(std::string_view what) {
    if (isatty(STDIN_FILENO) == 0)
        return false;
    noteText(escapingControls(what) + " Continue? [y/N] ");
    std::string line;
    std::getline(std::cin, line);
    std::ranges::transform(line, line.begin(),
                           [](char c) { return c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c; });
    return line == "y" || line == "yes";
}

} // namespace wickerlane::cli
