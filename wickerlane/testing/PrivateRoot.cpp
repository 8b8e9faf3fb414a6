#include "wickerlane/testing/PrivateRoot.h"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace wickerlane {

namespace {

std::string makeFolder() {
    std::string made = (std::filesystem::temp_directory_path() / "wickerlane-scripted-XXXXXX").string();
    if (mkdtemp(made.data()) == nullptr)
        throw std::system_error(errno, std::generic_category(), "can't make the folder " + made);
    return made;
}

} // namespace

PrivateRoot::Variable::Variable(const char *named, const std::string &value) : name(named) {
    if (const char *old = getenv(name))
        before = old;
    setenv(name, value.c_str(), 1);
}

PrivateRoot::Variable::~Variable() {
    if (before)
        setenv(name, before->c_str(), 1);
    else
        unsetenv(name);
}

PrivateRoot::PrivateRoot()
    : folder(makeFolder()), maker(getpid()), root("WICKERLANE_ROOT", folder),
      services("WICKERLANE_SERVICES", folder + "/no-services") {
}

PrivateRoot::~PrivateRoot() {
    std::error_code ignored;
    if (getpid() == maker)
        std::filesystem::remove_all(folder, ignored);
}

} // namespace wickerlane
