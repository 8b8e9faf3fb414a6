// Subcommands and their options, as the command line names them.
//
// The parser is all in headers, which take longer to compile than a subcommand does: only CommandLine.cpp,
// Help.cpp and Main.cpp include them.
#ifndef CLI_COMMANDLINE_H
#define CLI_COMMANDLINE_H

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "cli/ExitCode.h"
#include "wickerlane/model/Result.h"

namespace CLI {
class App;
class Option;
} // namespace CLI

namespace wickerlane::cli {

/// The work of a subcommand: how the command ends, or the problem that ended it. Problems that do not stop
/// the work are reported on the way.
using Action = std::function<Result<ExitCode>()>;

/// Something that may stand on the command line. Borrows from the parser; copies are the same option.
class Option {
public:
    explicit Option(CLI::Option *borrowed) : option(borrowed) {}

    Option required() const;
    /// What help calls its value: "FOLDER".
    Option typeName(const std::string &name) const;
    /// Help shows the default value.
    Option showDefault() const;
    Option excludes(Option other) const;
    Option oneOf(std::vector<std::string> values) const;
    Option notEmpty() const;
    Option notNegative() const;
    Option positive() const;
    Option between(double min, double max) const;
    /// `problem` says what is wrong with a value; its text is empty when nothing is.
    Option check(std::function<std::string(const std::string &value)> problem) const;
    /// How many values it takes.
    Option valueCount(int min, int max) const;
    /// It may be given several times, and takes one value each time. For a list of texts.
    Option repeatable() const;
    /// The value may have a unit: "50MB", where a kilobyte is 1000 bytes, or "2MiB".
    Option asSize() const;

private:
    CLI::Option *option;
};

/// A subcommand. Borrows from the parser; copies are the same subcommand.
class Command {
public:
    /// `chosen` gets the work of the subcommand that the command line names. It outlives the parser.
    Command(CLI::App *borrowed, Action &chosen) : app(borrowed), chosenAction(&chosen) {}

    /// What help shows below the options. The paragraph "Example:" or "Examples:" at its end is shown above
    /// them.
    void footer(const std::string &text) const;

    Command addSubcommand(const std::string &name, const std::string &help) const;
    /// One of its subcommands must be named.
    void requireSubcommand() const;

    Option addFlag(const std::string &name, bool &value, const std::string &help) const;
    /// A flag that may have a value: "--edited", which is "true", or "--edited=no".
    Option addAnswer(const std::string &name, std::string &value, const std::string &help) const;
    /// `Value` is a text, a list of texts or a number; see the end of CommandLine.cpp.
    template <class Value>
    Option addOption(const std::string &name, Value &value, const std::string &help) const;

    /// Says what the subcommand does.
    void runs(Action action) const;
    /// The same for work that takes options. They are made here, and live as long as the parser.
    template <class Options>
    Options &runs(Result<ExitCode> (*work)(const Options &)) const {
        const auto options = std::make_shared<Options>();
        runs([options, work] { return work(*options); });
        return *options;
    }

private:
    CLI::App *app;
    Action *chosenAction;
};

} // namespace wickerlane::cli

#endif
