// What the code under test writes to the process console log.
#ifndef WICKERLANE_TESTS_SUPPORT_CONSOLE_H
#define WICKERLANE_TESTS_SUPPORT_CONSOLE_H

#include <functional>
#include <string>

namespace wickerlane::test {

/// Runs `work` and returns all that it wrote to standard error meanwhile.
std::string consoleOf(const std::function<void()> &work);

} // namespace wickerlane::test

#endif
