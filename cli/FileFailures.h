// What can go wrong with files. Each says why a system call has just failed.
#ifndef CLI_FILEFAILURES_H
#define CLI_FILEFAILURES_H

#include <string>

#include "wickerlane/model/Result.h"

namespace wickerlane::cli {

[[nodiscard]] Failure failToRead(const std::string &path);
[[nodiscard]] Failure failToWrite(const std::string &path);
[[nodiscard]] Failure failToMake(const std::string &path);
[[nodiscard]] Failure failToLock(const std::string &path);
[[nodiscard]] Failure failToMove(const std::string &path);
[[nodiscard]] Failure failToRemove(const std::string &path);

} // namespace wickerlane::cli

#endif
