// Opening files that callers name.
#ifndef HOARDD_LIBRARY_CALLERSFILE_H
#define HOARDD_LIBRARY_CALLERSFILE_H

#include <sys/stat.h>

#include <map>
#include <memory>
#include <string>

#include "wickerlane/model/Result.h"
#include "wickerlane/platform/file/UniqueFd.h"
#include "wickerlane/platform/message/value/MessageValue.h"

namespace wickerlane::hoardd {

struct RegularFile {
    UniqueFd file;
    struct stat status;
};

/// A file that has just been opened, if that succeeded and it is a regular one.
[[nodiscard]] Result<RegularFile> requireRegular(UniqueFd opened, const std::string &path);

/// Opens a file of the caller's for reading, without waiting for a pipe. It is read with this process's
/// rights, so that the caller must have them itself: `mayRead` says whether it does.
[[nodiscard]] Result<RegularFile> openCallersFile(const std::string &path, bool mayRead);

/// The files that a caller may name: those that it has opened itself and sent along, each under the path by
/// which it names it, and any file if it has this process's rights. Copies share the open files. Thread-safe.
class CallersFiles {
public:
    CallersFiles(bool mayRead) noexcept : mayReadAll(mayRead) {}
    /// `sent` holds descriptors under paths; what is none is left out. Null for none.
    CallersFiles(bool mayRead, const MessageDictionary *sent);

    [[nodiscard]] Result<RegularFile> open(const std::string &path) const;
    /// Whether it may name any file.
    [[nodiscard]] bool areAll() const noexcept { return mayReadAll; }

private:
    [[nodiscard]] const UniqueFd *fileSentAs(const std::string &path) const;

    bool mayReadAll;
    std::shared_ptr<const std::map<std::string, UniqueFd, std::less<>>> opened{};
};

} // namespace wickerlane::hoardd

#endif
