// Descriptors that outlive a test.
#ifndef WICKERLANE_TESTS_SUPPORT_LASTINGDESCRIPTORS_H
#define WICKERLANE_TESTS_SUPPORT_LASTINGDESCRIPTORS_H

#include <cstddef>

namespace wickerlane::test {

/// Says that the running test opens up to `count` descriptors that the process keeps.
void allowLastingDescriptors(std::size_t count);

} // namespace wickerlane::test

#endif
