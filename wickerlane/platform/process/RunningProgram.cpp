#include "wickerlane/platform/process/RunningProgram.h"

#include <sys/stat.h>

#include "wickerlane/platform/process/ProcessFacts.h"

namespace wickerlane {
namespace {

bool isFile(const std::string &path, const RunningProgram &program) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && status.st_dev == program.device &&
           status.st_ino == program.file;
}

// False also where the kernel does not tell of them.
bool areApart(const std::string &oneNamespace, const std::string &other) {
    struct stat one {};
    struct stat two {};
    return stat(oneNamespace.c_str(), &one) == 0 && stat(other.c_str(), &two) == 0 &&
           (one.st_dev != two.st_dev || one.st_ino != two.st_ino);
}

// A service manager may have given this process mounts of its own. Its clients then have those of the first
// process, which no user can change either.
bool isForeign(const std::string &process) {
    const std::string mounts = process + "/ns/mnt";
    struct stat first {};
    if (areApart("/proc/self/ns/user", process + "/ns/user"))
        return true;
    return areApart("/proc/self/ns/mnt", mounts) &&
           (stat("/proc/1/ns/mnt", &first) != 0 || areApart("/proc/1/ns/mnt", mounts));
}

} // namespace

RunningProgram programOf(pid_t process) {
    const std::string folder = "/proc/" + std::to_string(process);
    RunningProgram program;
    struct stat status {};
    if (isForeign(folder))
        program.standing = ProgramStanding::foreign;
    program.path = executableOf(process);
    if (program.path.empty() || stat((folder + "/exe").c_str(), &status) != 0) {
        program.path.clear();
        return program;
    }
    program.device = status.st_dev;
    program.file = status.st_ino;
    if (program.standing == ProgramStanding::foreign)
        return program;
    program.standing = isFile(program.path, program) ? ProgramStanding::named : ProgramStanding::gone;
    if (program.standing == ProgramStanding::gone)
        program.path = withoutDeletedMark(program.path);
    return program;
}

bool RunningProgram::mayBe(const std::string &program) const {
    return standing == ProgramStanding::hidden || path == program || isFile(program, *this);
}

} // namespace wickerlane
