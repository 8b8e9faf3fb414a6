// What --help shows, and what is said of a command line that makes no sense.
#ifndef CLI_HELP_H
#define CLI_HELP_H

#include <memory>
#include <string>
#include <vector>

#include "wickerlane/model/Result.h"

namespace CLI {
class App;
class Error;
class FormatterBase;
} // namespace CLI

namespace wickerlane::cli {

/// Shows the examples of a command first.
std::shared_ptr<CLI::FormatterBase> helpFormatter();

/// The help of the subcommand that words name: "album", "add". Fails when there is none.
Result<std::string> helpOf(CLI::App &app, const std::vector<std::string> &words);

/// What is wrong with a command line that the parser has refused.
Problem problemOf(CLI::App &app, const CLI::Error &error);

} // namespace wickerlane::cli

#endif
