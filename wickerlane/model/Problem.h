// Why something could not be done.
#ifndef WICKERLANE_MODEL_PROBLEM_H
#define WICKERLANE_MODEL_PROBLEM_H

#include <cstdint>
#include <string>
#include <string_view>

#include "wickerlane/platform/object/Export.h"

namespace wickerlane {

/// What programs can tell apart. The numbers travel in error replies: none is ever used for another meaning.
enum class ProblemKind : std::int64_t {
    failed = 0,        ///< None of the others.
    invalid = 1,       ///< The request makes no sense, or a file is not what it should be.
    notFound = 2,      ///< What was named is not there.
    refused = 3,       ///< Who asks has no right to it.
    busy = 4,          ///< Another program or request works on the same: try again later.
    ending = 5,        ///< hoardd is ending: ask again.
    exists = 6,        ///< Something of that name or identity is there already.
    damagedStore = 7,  ///< The library's database can't be read or written as it should.
    noSpace = 8,       ///< The disk, or the user's share of it, is full.
    notWritable = 9,   ///< The file system or its permissions forbid writing.
    newerVersion = 10, ///< The library was made by a newer hoardd.
    unreachable = 11,  ///< hoardd can't be started, or stopped answering. Never in a reply.
    empty = 12,        ///< The request holds nothing to work on.
    queueFull = 13,    ///< Too much work is waiting: try again later.
    timedOut = 14,     ///< No answer came in the time that was allowed. Never in a reply.
    cancelled = 15     ///< Its caller has cancelled the request.
};

struct Problem {
    ProblemKind kind = ProblemKind::failed;
    std::string text; ///< A line for people, never empty.
    std::string file; ///< The file or folder it is about; empty when there is none.
};

/// "can't open /a/b: Permission denied", of the error number of a system call that failed. The action is a
/// verb.
[[nodiscard]] WL_EXPORT Problem systemProblem(std::string_view action, std::string file, int errorNumber);

} // namespace wickerlane

#endif
