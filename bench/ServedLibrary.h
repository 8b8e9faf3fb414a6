// A real hoardd in a process of a benchmark's own.
#ifndef WICKERLANE_BENCH_SERVEDLIBRARY_H
#define WICKERLANE_BENCH_SERVEDLIBRARY_H

#include <unistd.h>

#include <cstdio>

#include "bench/OtherProcess.h"
#include "hoardd/Daemon.h"

namespace bench {

/// For the other process: serves the library of the root, analyzes and reads nothing by itself, and writes a
/// byte when it has begun. Never returns.
[[noreturn]] inline void serveLibrary(int fd) {
    using wickerlane::hoardd::Daemon;
    static Daemon &daemon = *new Daemon({.idleTime = std::chrono::milliseconds(0),
                                         .quietTime = std::chrono::milliseconds(0),
                                         .scrubTime = {}});
    if (const auto started = daemon.start([] {}); !started) {
        std::fprintf(stderr, "%s\n", started.error().text.c_str());
        _exit(1);
    }
    writeAll(fd, "r", 1);
    for (;;)
        pause();
}

} // namespace bench

#endif
