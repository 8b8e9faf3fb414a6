// For libraries that are loaded into a process beforehand, and take the place of the system's file operations
// there.
#ifndef CAMPAIGNS_PRELOAD_INTERPOSED_H
#define CAMPAIGNS_PRELOAD_INTERPOSED_H

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/types.h>
#include <unistd.h>

#include <climits>
#include <cstdarg>
#include <cstdio>
#include <string_view>

#define INTERPOSED __attribute__((visibility("default")))

/// The operation whose place is taken.
#define REAL(name) ::campaigns::real<decltype(&::name)>(#name)

namespace campaigns {

template <class Function>
Function real(const char *name) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

/// Writes the absolute path of what an operation is about; empty when there is none. Null is the path of
/// `folder` itself.
inline std::string_view pathOf(int folder, const char *path, char (&room)[2 * PATH_MAX]) {
    if (path != nullptr && path[0] == '/')
        return path;
    char link[64];
    std::snprintf(link, sizeof link, folder == AT_FDCWD ? "/proc/self/cwd" : "/proc/self/fd/%d", folder);
    const ssize_t length = readlink(link, room, PATH_MAX);
    if (length <= 0)
        return {};
    const int added =
        path == nullptr
            ? 0
            : std::snprintf(room + length, sizeof room - static_cast<std::size_t>(length), "/%s", path);
    return {room, static_cast<std::size_t>(length) + static_cast<std::size_t>(added)};
}

/// Whether an open with these flags can make a file.
inline bool makes(int flags) {
    return (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE;
}

/// The argument after the flags of an open.
inline mode_t modeIn(int flags, va_list arguments) {
    return makes(flags) ? va_arg(arguments, mode_t) : 0;
}

} // namespace campaigns

/// Open and openat under one of their names: they call `opened(folder, path, flags, mode, operation)`, which
/// gives a descriptor or -1, with the operation itself as a function.
#define INTERPOSED_OPEN(name)                                                                      \
    INTERPOSED int name(const char *path, int flags, ...) {                                        \
        va_list arguments;                                                                         \
        va_start(arguments, flags);                                                                \
        const mode_t mode = campaigns::modeIn(flags, arguments);                                   \
        va_end(arguments);                                                                         \
        return opened(AT_FDCWD, path, flags, mode, [&] { return REAL(name)(path, flags, mode); }); \
    }
#define INTERPOSED_OPENAT(name)                                                                          \
    INTERPOSED int name(int folder, const char *path, int flags, ...) {                                  \
        va_list arguments;                                                                               \
        va_start(arguments, flags);                                                                      \
        const mode_t mode = campaigns::modeIn(flags, arguments);                                         \
        va_end(arguments);                                                                               \
        return opened(folder, path, flags, mode, [&] { return REAL(name)(folder, path, flags, mode); }); \
    }

#endif
