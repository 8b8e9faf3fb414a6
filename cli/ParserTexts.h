// What the parser of command lines says, in the language of the user.
#ifndef CLI_PARSERTEXTS_H
#define CLI_PARSERTEXTS_H

#include <string>
#include <vector>

namespace CLI {
class Error;
} // namespace CLI

namespace wickerlane::cli {

/// `unexpected` are the words of which the parser can make nothing. The parser's own text if it has another
/// form than those that are known.
[[nodiscard]] std::string textOfParser(const CLI::Error &error, const std::vector<std::string> &unexpected);

} // namespace wickerlane::cli

#endif
