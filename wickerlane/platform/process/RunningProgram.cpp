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

// False also where the kernel does not tell.
bool hasOtherNamespace(const std::string &process, const char *kind) {
    struct stat own {};
    struct stat theirs {};
    return stat((std::string("/proc/self/ns/") + kind).c_str(), &own) == 0 &&
           stat((process + "/ns/" + kind).c_str(), &theirs) == 0 &&
           (own.st_dev != theirs.st_dev || own.st_ino != theirs.st_ino);
}

} // namespace

RunningProgram programOf(pid_t process) {
    const std::string folder = "/proc/" + std::to_string(process);
    RunningProgram program;
    struct stat status {};
    if (hasOtherNamespace(folder, "user") || hasOtherNamespace(folder, "mnt"))
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
