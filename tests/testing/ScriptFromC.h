// What C code sees of the scripted daemon.
#ifndef WICKERLANE_TESTS_TESTING_SCRIPTFROMC_H
#define WICKERLANE_TESTS_TESTING_SCRIPTFROMC_H

#ifdef __cplusplus
extern "C" {
#endif

/// Uses each function. The condition that does not hold; null when all do.
const char *faultOfScriptFromC(void);

#ifdef __cplusplus
}
#endif

#endif
