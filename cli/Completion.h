// What may stand next on a command line, for the shells' completion.
#ifndef CLI_COMPLETION_H
#define CLI_COMPLETION_H

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace wickerlane::cli {

/// Writes what the last of some words of a command line may become, one a line, with a tab and a description
/// where there is one. A line ":files" stands for the names of files. What the library has is read from its
/// store, so that no daemon is started. Writes nothing when it can't be read.
void printCompletions(const CLI::App &app, const std::vector<std::string> &words);

} // namespace wickerlane::cli

#endif
