// A root of a test's own.
#ifndef WICKERLANE_TESTING_PRIVATEROOT_H
#define WICKERLANE_TESTING_PRIVATEROOT_H

#include <sys/types.h>

#include <optional>
#include <string>

#include "wickerlane/testing/SoleDaemon.h"

namespace wickerlane {

/// A new folder that is the root of this process, and of those that it starts, as long as this lives. No
/// service can be started from it.
class PrivateRoot {
public:
    /// Throws std::system_error when the folder can't be made, and as SoleDaemon does.
    PrivateRoot();
    PrivateRoot(const PrivateRoot &) = delete;
    PrivateRoot &operator=(const PrivateRoot &) = delete;
    /// Removes the folder, unless this is a child that fork() made.
    ~PrivateRoot();

    [[nodiscard]] const std::string &path() const noexcept { return folder; }

private:
    /// Changes a variable of the environment, for a time.
    class Variable {
    public:
        Variable(const char *name, const std::string &value);
        Variable(const Variable &) = delete;
        Variable &operator=(const Variable &) = delete;
        ~Variable();

    private:
        const char *const name;
        std::optional<std::string> before;
    };

    const SoleDaemon sole; // before anything is changed
    const std::string folder;
    const pid_t maker;
    const Variable root, services;
};

} // namespace wickerlane

#endif
