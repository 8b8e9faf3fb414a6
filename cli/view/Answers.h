// The server's answers.
#ifndef CLI_VIEW_ANSWERS_H
#define CLI_VIEW_ANSWERS_H

#include <httplib.h>

#include <cstddef>
#include <string>
#include <string_view>

#include "cli/Output.h"
#include "wickerlane/model/Result.h"

namespace wickerlane::cli::view {

/// What all answers say to a browser.
httplib::Headers commonHeaders();

/// Replaces a header that is there.
void setHeader(httplib::Response &response, const char *name, const std::string &value);
void answerText(httplib::Response &response, std::string json);
void answerJSON(httplib::Response &response, const JSON &value);
void answerError(httplib::Response &response, int status, std::string_view code, std::string_view text);
void answerProblem(httplib::Response &response, const Problem &problem);
/// The body is `count` bytes, which `give` sends when it is called. `type` is a media type. The caller sets
/// the status.
void answerBytes(httplib::Response &response, std::size_t count, const std::string &type,
                 httplib::ContentProvider give);

} // namespace wickerlane::cli::view

#endif
