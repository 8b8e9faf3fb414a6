// A real hoardd in a process of a benchmark's own.
#ifndef WICKERLANE_BENCH_SERVEDLIBRARY_H
#define WICKERLANE_BENCH_SERVEDLIBRARY_H

#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <vector>

#include "bench/OtherProcess.h"
#include "hoardd/Daemon.h"
#include "hoardd/library/Store.h"
#include "wickerlane/platform/object/Number.h"

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

/// Makes the library of the root, unless there is one, of `count` assets without files. `describe` says of
/// each, by its number, what its record is.
template <class Describe>
void fillLibrary(std::size_t count, const Describe &describe) {
    namespace hoardd = wickerlane::hoardd;
    const wickerlane::store::LibraryPaths paths;
    if (std::filesystem::exists(paths.database()))
        return;
    std::filesystem::create_directories(paths.folder() + "/PhotoData");
    const auto store = hoardd::Store::open(paths);
    std::vector<hoardd::Store::Addition> additions(count);
    for (std::size_t i = 0; i < count; ++i) {
        additions[i].record.uuid = wickerlane::UUID::createRandom()->uuidString()->utf8();
        describe(i, additions[i].record);
    }
    const auto expectNoThumbnails = [](wickerlane::sqlite::Database &database) {
        return database.execute("DELETE FROM zduethumbnail");
    };
    if (!store || !(*store)->add(additions) || !(*store)->change(expectNoThumbnails) ||
        !(*store)->checkpoint())
        fail("the library can't be filled");
}

} // namespace bench

#endif
