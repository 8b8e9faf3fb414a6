#include "cli/Confirmation.h"

#include <unistd.h>

#include <algorithm>
#include <iostream>
#include <iterator>
#include <sstream>
#include <string>

#include "cli/Formatting.h"
#include "cli/Output.h"
#include "cli/Texts.h"
#include "wickerlane/platform/console/Console.h"

namespace wickerlane::cli {
namespace {

/// Whether an answer is among words with blanks between them.
bool isOneOf(const std::string &answer, const std::string &words) {
    std::istringstream list(words);
    return std::find(std::istream_iterator<std::string>(list), {}, answer) !=
           std::istream_iterator<std::string>();
}

} // namespace

Result<> confirm(const std::string &what, const std::string &withoutTerminal) {
    if (isatty(STDIN_FILENO) == 0)
        return fail(ProblemKind::failed, withoutTerminal);
    noteText(escapingControls(what + " " + localized("Continue? [y/N]")) + " ");
    std::string line;
    std::getline(std::cin, line);
    line = lowerCase(line);
    if (isOneOf(line, "y yes") || isOneOf(line, localized("y yes")))
        return {};
    return fail(ProblemKind::failed, localized("nothing was changed"));
}

} // namespace wickerlane::cli
