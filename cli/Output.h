// What people and machines get to read: lines, tables, JSON, progress.
#ifndef CLI_OUTPUT_H
#define CLI_OUTPUT_H

#include <nlohmann/json_fwd.hpp>

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "cli/Command.h"

namespace wickerlane::cli {

/// Entries keep the order in which they were set.
using JSON = nlohmann::ordered_json;

// Control characters in all texts are shown escaped: file names are foreign text.

/// Writes "wickerlane: <message>" to standard error and gives the code back.
ExitCode fail(ExitCode code, std::string_view message);
/// Writes a line to standard error.
void note(std::string_view line);
/// Writes a line to standard output.
void print(std::string_view line);
/// Writes a value to standard output, indented; bytes that are not UTF-8 are replaced.
void printJSON(const JSON &value);

/// "834 bytes", "3.4 MB".
std::string sizeText(std::uint64_t bytes);
/// An instant, in seconds since 2001-01-01 UTC, in the local time zone: "2026-11-24 23:40".
std::string dateText(double referenceSeconds);
/// The same for machines: "2026-11-24T23:40:24Z".
std::string isoDateText(double referenceSeconds);
/// "1 photo", "2 photos".
std::string countText(std::uint64_t count, std::string_view one, std::string_view many);

/// Columns of text under headings, as wide as what is in them.
class Table {
public:
    enum class Align { left, right };
    struct Column {
        std::string heading;
        Align align = Align::left;
    };

    explicit Table(std::vector<Column> described) : columns(std::move(described)) {}
    /// As many cells as there are columns.
    void add(std::vector<std::string> cells);
    void print() const;

private:
    std::vector<Column> columns;
    std::vector<std::vector<std::string>> rows;
};

/// Shows on standard error how far long work has come: a bar with rate and time left on a terminal, else a
/// line now and then. One thread at a time.
class Progress {
public:
    Progress(std::string verb, std::size_t total, bool quiet);
    ~Progress();
    Progress(const Progress &) = delete;
    Progress &operator=(const Progress &) = delete;

    void advance(std::size_t count);

private:
    using Clock = std::chrono::steady_clock;
    void drawBar(double seconds) const;

    std::string verb;
    std::size_t total;
    std::size_t done = 0;
    bool quiet;
    bool isTerminal;
    Clock::time_point started = Clock::now();
    Clock::time_point lastLine = started;
};

} // namespace wickerlane::cli

#endif
