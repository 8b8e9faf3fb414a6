// Problems that the daemon or the library reports, in English.
#ifndef CLI_FOREIGNPROBLEMS_H
#define CLI_FOREIGNPROBLEMS_H

#include <string>

#include "wickerlane/model/Problem.h"

namespace wickerlane::cli {

/// What is often said of a single file, in the language of the user. Another text stays as it is.
[[nodiscard]] std::string translated(std::string text);

/// The same for the user: where texts are not in English, and this one is not translated, what kind of
/// problem it is comes first. To be called once for each problem, where it arrives.
[[nodiscard]] Problem withKindInWords(Problem told);

} // namespace wickerlane::cli

#endif
