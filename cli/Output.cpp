#include "cli/Output.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <system_error>

#include "cli/Texts.h"
#include "wickerlane/platform/console/Console.h"

namespace wickerlane::cli {

namespace {

Manner &manner() {
    static Manner present;
    return present;
}

/// Whether there is a line that was painted.
constinit bool isPainted = false;

bool showsColour(FILE *stream) {
    const char *unwanted = std::getenv("NO_COLOR"), *terminal = std::getenv("TERM");
    return !manner().isPlain && (unwanted == nullptr || *unwanted == '\0') && isatty(fileno(stream)) != 0 &&
           (terminal == nullptr || std::string_view(terminal) != "dumb");
}

/// As a filter ends that writes into such a pipe. No stream can be flushed any more.
[[noreturn]] void endAtClosedPipe() {
    std::_Exit(128 + SIGPIPE);
}

} // namespace

void setManner(const Manner &wanted) {
    manner() = wanted;
}

bool isQuiet() {
    return manner().isQuiet;
}

ExitCode report(const Problem &problem) {
    // Further lines are the command's own. A foreign text can't forge one: it would be indented.
    std::string_view left = problem.text;
    std::string lines = showsColour(stderr) ? "\x1b[31mwickerlane:\x1b[0m " : "wickerlane: ";
    for (;;) {
        const std::size_t length = std::min(left.find('\n'), left.size());
        lines += escapingControls(left.substr(0, length)) + "\n";
        if (length == left.size())
            break;
        left.remove_prefix(length + 1);
        lines += "  ";
    }
    noteText(lines);
    return exitCodeOf(problem);
}

void note(std::string_view line) {
    noteText(escapingControls(line) + "\n");
}

void advise(std::string_view line) {
    if (!isQuiet())
        note(line);
}

void paintLine(const std::string &line) {
    if (line.empty() && !isPainted)
        return;
    const std::string text = "\r\x1b[K" + line;
    static_cast<void>(std::fputs(text.c_str(), stderr));
    isPainted = !line.empty();
}

void noteText(const std::string &text) {
    paintLine("");
    // Work goes on when standard error can't be written: there is no other place to say so.
    static_cast<void>(std::fputs(text.c_str(), stderr));
}

void print(std::string_view line) {
    printText(escapingControls(line) + "\n");
}

void summarize(std::string_view line) {
    if (!isQuiet())
        print(line);
}

void printText(std::string_view text) {
    paintLine("");
    if (std::fwrite(text.data(), 1, text.size(), stdout) == text.size())
        return;
    if (errno == EPIPE)
        endAtClosedPipe();
    throw std::system_error(errno, std::generic_category(), localized("the output could not be written"));
}

Result<> flushOutput() {
    if (std::fflush(stdout) == 0)
        return {};
    if (errno == EPIPE)
        endAtClosedPipe();
    return fail(ProblemKind::failed, localized("the output could not be written"));
}

std::string bold(std::string_view text) {
    return showsColour(stdout) ? fmt::format("\x1b[1m{}\x1b[0m", text) : std::string(text);
}

namespace {

std::string textOf(const JSON &value) {
    return value.dump(2, ' ', false, JSON::error_handler_t::replace);
}

} // namespace

void printJSON(const JSON &value) {
    printText(textOf(value) + "\n");
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
    printText(indented);
}

void JSONList::end() const {
    printText(isEmpty ? "[]\n" : "\n]\n");
}

} // namespace wickerlane::cli
