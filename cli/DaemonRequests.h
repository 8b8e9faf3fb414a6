// Requests to the daemon, and what to say when it does not answer.
#ifndef CLI_DAEMONREQUESTS_H
#define CLI_DAEMONREQUESTS_H

#include <span>
#include <string>

#include "cli/Progress.h"
#include "wickerlane/client/Request.h"
#include "wickerlane/model/Result.h"
#include "wickerlane/platform/message/value/MessageError.h"
#include "wickerlane/platform/object/Array.h"
#include "wickerlane/platform/object/Error.h"
#include "wickerlane/platform/object/Handler.h"

namespace wickerlane::cli {

/// The file with what the daemon says.
std::string daemonLogPath();

/// The problem of a daemon that can't be started, or does not answer.
Failure failUnreachable();

/// What an answer that is an error says, for the user.
[[nodiscard]] Problem problemIn(const MessageError &error);

/// Makes sure that the daemon serves this program. Starts it if it is not running. The problem is the
/// daemon's own word, if it refuses.
Result<> requireDaemon();

/// For a request without a reply of its own: blocks until the daemon has received it. What one client asks
/// is handled in order, so an answer to a later request tells.
Result<> waitUntilReceived();

/// The problem of a request that gave no value: why the daemon does not serve this program, else this one.
Failure failRequest(Problem problem);

/// What the client gives to a request that either succeeds or fails.
using SuccessHandler = Handler<void(bool success, Error *error)>;

/// Sends such a request and blocks until it is answered. The problem's text is `undone`, which says what was
/// not done unless it is empty, and the reason.
Result<> waitForSuccess(const std::string &undone, const Handler<void(const SuccessHandler &)> &send);

/// Texts as a request has them.
Ref<Array> textsOf(std::span<const std::string> texts);

/// Sends a request, and blocks until its answer is there, or until Ctrl-C, which cancels it: that is the only
/// problem. The progress, if there is one, shows that time passes.
Result<client::Reply> answerUnlessInterrupted(const client::Request &request, Progress *progress = nullptr);

/// The same for work that is answered when it is done; the problem is also that of an answer that is an
/// error.
Result<> waitForWork(const client::Request &request, Progress *progress = nullptr);

/// The same for work whose problems show in what the command looks at afterwards: only Ctrl-C is one.
Result<> waitForEndOfWork(const client::Request &request, Progress *progress = nullptr);

} // namespace wickerlane::cli

#endif
