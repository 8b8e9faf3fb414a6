// A file that is there whole or not at all.
#ifndef CLI_NEWFILE_H
#define CLI_NEWFILE_H

#include <string>

#include "cli/Command.h"
#include "wickerlane/platform/file/UniqueFd.h"

namespace wickerlane::cli {

/// Is written beside its place under another name, and takes its place when it is finished. Goes away unless
/// it is.
class NewFile {
public:
    explicit NewFile(std::string path);
    ~NewFile();
    NewFile(const NewFile &) = delete;
    NewFile &operator=(const NewFile &) = delete;

    /// Open for writing; -1, with errno set, when it could not be made.
    [[nodiscard]] int descriptor() const noexcept { return fd.get(); }
    /// Puts the file in its place. False, with errno set, on failure; EEXIST when there is a file already
    /// that is not to be replaced.
    [[nodiscard]] bool finish(bool replace);

private:
    std::string place;
    std::string temporary;
    UniqueFd fd;
};

/// Says on standard error, by errno, why a file could not be written.
ExitCode failToWrite(const std::string &path);

} // namespace wickerlane::cli

#endif
