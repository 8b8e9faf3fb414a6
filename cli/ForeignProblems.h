// Problems that the daemon or the library reports, in English.
#ifndef CLI_FOREIGNPROBLEMS_H
#define CLI_FOREIGNPROBLEMS_H

#include "wickerlane/model/Problem.h"

namespace wickerlane::cli {

/// The same for the user: where texts are not in English, what kind of problem it is comes first. To be
/// called once for each problem, where it arrives.
[[nodiscard]] Problem withKindInWords(Problem told);

} // namespace wickerlane::cli

#endif
