// The start and end of a process that loads the library and does nothing, and of `wickerlane --version`,
// beside one that loads what the library depends on.
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <string>

#include "bench/InTurn.h"

namespace {

void run(int times, const std::string &program, const char *argument) {
    while (times-- > 0) {
        char *const arguments[] = {const_cast<char *>(program.c_str()), const_cast<char *>(argument),
                                   nullptr};
        pid_t process = -1;
        int status = -1;
        if (posix_spawn(&process, program.c_str(), nullptr, nullptr, arguments, environ) != 0 ||
            waitpid(process, &status, 0) != process || status != 0)
            bench::fail("a program fails");
    }
}

bench::Way way(const char *what, const std::string &program, const char *argument = nullptr) {
    return {what, [=](int times) { run(times, program, argument); }};
}

} // namespace

int main() {
    const int shown = dup(STDOUT_FILENO);
    const int nowhere = open("/dev/null", O_WRONLY);
    if (shown < 0 || nowhere < 0 || dup2(nowhere, STDOUT_FILENO) < 0) // of what the command prints
        bench::fail("there is no /dev/null");
    const std::string build = std::filesystem::read_symlink("/proc/self/exe").parent_path().parent_path();
    double dependencies = 0;
    bench::measureInTurn(40, 10,
                         {way("what the library depends on", build + "/bench/bench_startup_dependencies"),
                          way("the library", build + "/bench/bench_startup_library"),
                          way("wickerlane --version", build + "/bin/wickerlane", "--version")},
                         [&](const bench::Measured &measured) {
                             if (dependencies == 0)
                                 dependencies = measured.best;
                             dprintf(shown, "%-28s %5.2f ms, %5.2f more   ratio %.2f\n", measured.what,
                                     measured.best / 1e6, (measured.best - dependencies) / 1e6,
                                     measured.ratio);
                         });
}
