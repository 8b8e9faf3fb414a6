// What can go wrong with files. Each failure says why a system call has just failed.
#ifndef CLI_FILEFAILURES_H
#define CLI_FILEFAILURES_H

#include <string>

#include "wickerlane/model/Result.h"

namespace wickerlane::cli {

/// What a system call's error says, in the language of the user if it is a common one.
[[nodiscard]] std::string textOfError(int number);

[[nodiscard]] Failure failToRead(const std::string &path);
[[nodiscard]] Failure failToWrite(const std::string &path);
[[nodiscard]] Failure failToMake(const std::string &path);
[[nodiscard]] Failure failToLock(const std::string &path);
[[nodiscard]] Failure failToMove(const std::string &path);
[[nodiscard]] Failure failToRemove(const std::string &path);

} // namespace wickerlane::cli

#endif
