// Problems that the daemon or the library reports, in English.
#ifndef CLI_FOREIGNPROBLEMS_H
#define CLI_FOREIGNPROBLEMS_H

#include <string>

#include "wickerlane/model/Problem.h"

namespace wickerlane::cli {

/// The text in the language of the user, or as it is where there is no translation.
[[nodiscard]] std::string translated(std::string text);

/// The same for the user: where texts are not in English, and this one is not translated, what kind of
/// problem it is comes first. To be called once for each problem, where it arrives.
[[nodiscard]] Problem withKindInWords(Problem told);

} // namespace wickerlane::cli

#endif
