// Lines for people and JSON for machines.
#ifndef CLI_OUTPUT_H
#define CLI_OUTPUT_H

#include <nlohmann/json_fwd.hpp>

#include <string>
#include <string_view>

#include "cli/ExitCode.h"
#include "wickerlane/model/Result.h"

namespace wickerlane::cli {

/// Entries keep the order in which they were set.
using JSON = nlohmann::ordered_json;

/// How the command speaks, as its command line says. Before anything is written.
struct Manner {
    bool isQuiet = false; ///< Problems and what was asked for only.
    bool isPlain = false; ///< Without colour also on a terminal.
};
void setManner(const Manner &manner);
[[nodiscard]] bool isQuiet();

// All texts are shown with control characters escaped: file names come from strangers.

/// Writes "wickerlane: <problem>" to standard error. Returns the exit code for the problem.
ExitCode report(const Problem &problem);
/// Writes a line to standard error, if that can be written.
void note(std::string_view line);
/// The same for advice, which --quiet leaves out.
void advise(std::string_view line);
/// Writes a text of the command's own to standard error as it is, if that can be written.
void noteText(const std::string &text);
/// Shows a line on the terminal at standard error, in place of the last one; an empty one clears it. It
/// makes way for whatever is written.
void paintLine(const std::string &line);
/// Writes a line to standard output.
void print(std::string_view line);
/// The same for what was done, which --quiet leaves out.
void summarize(std::string_view line);
/// Writes a text to standard output as it is. Ends the command silently when that is a pipe that nothing
/// reads any more.
void printText(std::string_view text);
/// A text in bold print, where standard output shows that.
[[nodiscard]] std::string bold(std::string_view text);
/// Sends what was written on its way. Ends the command as printText() does. Fails when it can't be written.
[[nodiscard]] Result<> flushOutput();
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
