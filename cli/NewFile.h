// A file that is there whole or not at all.
#ifndef CLI_NEWFILE_H
#define CLI_NEWFILE_H

#include <memory>
#include <string>

#include "cli/Interrupt.h"
#include "wickerlane/model/Result.h"
#include "wickerlane/platform/file/UniqueFd.h"
#include "wickerlane/platform/object/Data.h"

namespace wickerlane::cli {

/// Is written beside its place under another name, and takes its place when it is finished. Removed when it
/// never is.
class NewFile {
public:
    static Result<NewFile> create(std::string path);
    NewFile(NewFile &&other) = default;
    ~NewFile();

    Result<> write(Bytes bytes);
    /// Writes all that another file holds.
    Result<> copyFrom(int descriptor);
    /// Gives the file a time of last change, in seconds since 1970.
    Result<> setModified(double seconds);
    /// Puts the file in its place. `replace` says whether it may replace a file that is there.
    Result<> finish(bool replace);

private:
    NewFile(std::string path, std::string temporaryPath, UniqueFd opened)
        : place(std::move(path)), temporary(std::move(temporaryPath)), fd(std::move(opened)) {}

    // Or the file under the other name would stay.
    std::unique_ptr<InterruptScope> interrupts = std::make_unique<InterruptScope>();
    std::string place;
    std::string temporary;
    UniqueFd fd;
};

} // namespace wickerlane::cli

#endif
