// The server's answers.
#ifndef CLI_VIEW_ANSWERS_H
#define CLI_VIEW_ANSWERS_H

#include <httplib.h>

#include <chrono>
#include <string>
#include <string_view>
#include <thread>

#include "cli/Output.h"
#include "wickerlane/model/Result.h"
#include "wickerlane/platform/object/Data.h"

namespace wickerlane::cli::view {

/// What all answers say to a browser.
httplib::Headers commonHeaders();

/// Replaces a header that is there.
void setHeader(httplib::Response &response, const char *name, const std::string &value);
void answerText(httplib::Response &response, std::string json);
void answerJSON(httplib::Response &response, const JSON &value);
void answerError(httplib::Response &response, int status, std::string_view code, std::string_view text);
void answerProblem(httplib::Response &response, const Problem &problem);
/// Writes the bytes from where they are. `type` is a media type.
void answerData(httplib::Response &response, const Data *data, const std::string &type);

/// Why the client's last operation on this thread has failed. `absence` is said when the daemon has answered,
/// but gave nothing.
Failure failAsked(std::string absence = "there is no such thing in the library");
/// Whether it has failed because the daemon ended, so that it may be asked again.
bool hasEnded();

/// Asks the daemon a question, which changes nothing: again, if the daemon ended before it answered. Gives
/// what `ask` gives: something that is false when there is no answer.
template <class Ask>
auto askAgain(const Ask &ask) {
    auto given = ask();
    for (int times = 0; !given && hasEnded() && times < 5; ++times) {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        given = ask();
    }
    return given;
}

} // namespace wickerlane::cli::view

#endif
