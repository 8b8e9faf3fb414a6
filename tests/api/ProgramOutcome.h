// What becomes of a program that a test runs.
#ifndef WICKERLANE_TESTS_API_PROGRAMOUTCOME_H
#define WICKERLANE_TESTS_API_PROGRAMOUTCOME_H

#include <sys/wait.h>

#include <cstdio>
#include <string>
#include <utility>

namespace wickerlane::test {

/// What a command prints, on both of its outputs, and its status; -1 when it did not run to its end.
inline std::pair<std::string, int> outcomeOf(const std::string &command) {
    std::string output;
    FILE *program = popen((command + " 2>&1").c_str(), "re");
    if (program == nullptr)
        return {"", -1};
    for (int c = 0; (c = fgetc(program)) != EOF;)
        output += static_cast<char>(c);
    const int status = pclose(program);
    return {output, WIFEXITED(status) ? WEXITSTATUS(status) : -1};
}

} // namespace wickerlane::test

#endif
