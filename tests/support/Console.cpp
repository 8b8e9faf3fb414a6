#include "tests/support/Console.h"

#include <gtest/gtest.h>

namespace wickerlane::test {

std::string consoleOf(const std::function<void()> &work) {
    ::testing::internal::CaptureStderr();
    work();
    return ::testing::internal::GetCapturedStderr();
}

} // namespace wickerlane::test
