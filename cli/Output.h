// Lines for people and JSON for machines.
#ifndef CLI_OUTPUT_H
#define CLI_OUTPUT_H

#include <nlohmann/json_fwd.hpp>

#include <string>
#include <string_view>

#include "cli/ExitCode.h"

namespace wickerlane::cli {

/// Entries keep the order in which they were set.
using JSON = nlohmann::ordered_json;

// All texts are shown with control characters escaped: file names come from strangers.

/// Writes "wickerlane: <problem>" to standard error. Returns the exit code for the problem.
ExitCode report(const Problem &problem);
/// Writes a line to standard error, if that can be written.
void note(std::string_view line);
/// Writes a text of the command's own to standard error as it is, if that can be written.
void noteText(const std::string &text);
/// Writes a line to standard output.
void print(std::string_view line);
/// Writes a label, and a value in a column of its own, to standard output.
void printField(std::string_view label, std::string_view value);
/// Writes a value to standard output, indented. Bytes that are not UTF-8 are replaced.
void printJSON(const JSON &value);

/// Writes a list to standard output value by value, as printJSON() writes the whole of it.
class JSONList {
public:
    void add(const JSON &value);
    /// Writes its end.
    void end() const;

private:
    bool isEmpty = true;
};

} // namespace wickerlane::cli

#endif
