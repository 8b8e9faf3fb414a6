// Quick runs only show that a benchmark works and that its results are right: `scripts/bench --quick` sets
// BENCH_QUICK.
#ifndef WICKERLANE_BENCH_QUICK_H
#define WICKERLANE_BENCH_QUICK_H

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace bench {

inline bool isQuick() {
    static const bool quick = std::getenv("BENCH_QUICK") != nullptr;
    return quick;
}

/// The number of rounds of a measurement: one in a quick run.
inline int rounds(int usual) {
    return isQuick() ? 1 : usual;
}

/// How often a round does its work: a few times in a quick run.
inline int batch(int usual) {
    return isQuick() ? std::min(usual, 10) : usual;
}

/// Ends the benchmark because a result is wrong.
[[noreturn]] inline void fail(const char *problem) {
    std::fprintf(stderr, "%s\n", problem);
    std::fflush(nullptr);
    _exit(1);
}

} // namespace bench

#endif
