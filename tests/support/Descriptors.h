// The count of open descriptors around each test.
#ifndef WICKERLANE_TESTS_SUPPORT_DESCRIPTORS_H
#define WICKERLANE_TESTS_SUPPORT_DESCRIPTORS_H

#include <cstddef>

namespace wickerlane::test {

/// Says that the running test opens `count` descriptors that the process keeps.
void allowLastingDescriptors(std::size_t count);

} // namespace wickerlane::test

#endif
