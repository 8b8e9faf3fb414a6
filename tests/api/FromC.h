// What C code sees of the library.
#ifndef WICKERLANE_TESTS_API_FROMC_H
#define WICKERLANE_TESTS_API_FROMC_H

#ifdef __cplusplus
extern "C" {
#endif

/// Uses every accessor, with a daemon that can't be reached. The condition that does not hold; null when all
/// do.
const char *faultOfAccessors(void);

/// Asks for all assets, from a source file in C++11. How many there are; -1 when they don't come.
long countFromOldCpp(void);

#ifdef __cplusplus
}
#endif

#endif
