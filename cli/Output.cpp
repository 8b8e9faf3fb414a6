#include "cli/Output.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <cstdio>
#include <string>

#include "wickerlane/platform/console/Console.h"

namespace wickerlane::cli {

ExitCode report(const Problem &problem) {
    note("wickerlane: " + problem.text);
    return exitCodeOf(problem);
}

void note(std::string_view line) {
    noteText(escapingControls(line) + "\n");
}

void noteText(const std::string &text) {
    // Work goes on when standard error can't be written: there is no other place to say so.
    static_cast<void>(std::fputs(text.c_str(), stderr));
}

void print(std::string_view line) {
    fmt::print("{}\n", escapingControls(line));
}

void printField(std::string_view label, std::string_view value) {
    print(fmt::format("{:<12}{}", label, value));
}

namespace {

std::string textOf(const JSON &value) {
    return value.dump(2, ' ', false, JSON::error_handler_t::replace);
}

} // namespace

void printJSON(const JSON &value) {
    fmt::print("{}\n", textOf(value));
}

void JSONList::add(const JSON &value) {
    std::string indented = isEmpty ? "[\n  " : ",\n  ";
    isEmpty = false;
    const std::string text = textOf(value);
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = text.find('\n', begin); // in texts they are escaped
        indented.append(text, begin, end - begin);
        if (end == std::string::npos)
            break;
        indented += "\n  ";
        begin = end + 1;
    }
    static_cast<void>(std::fwrite(indented.data(), 1, indented.size(), stdout));
}

void JSONList::end() const {
    fmt::print("{}\n", isEmpty ? "[]" : "\n]");
}

} // namespace wickerlane::cli
