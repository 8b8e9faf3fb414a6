// Sending recorded requests again.
#ifndef CLI_REPLAY_H
#define CLI_REPLAY_H

#include <cstddef>
#include <string>
#include <vector>

#include "wickerlane/model/Result.h"
#include "wickerlane/platform/message/value/MessageValue.h"

namespace wickerlane::cli {

/// A recorded request, and how it ended then.
struct RecordedRequest {
    std::uint64_t number = 0;
    std::string name;               ///< Of the operation.
    Ref<MessageDictionary> message; ///< Null when not all that it held was recorded: bytes, open files.
    bool wantsReply = false;
    std::string outcome{}; ///< As outcomeOf() says it; empty when no answer was recorded.
};

/// The requests of a recording, in their order.
Result<std::vector<RecordedRequest>> readRecording(const std::string &path);

/// What an answer says at first sight: the keys that it has, or the kind of its error.
std::string outcomeOf(const MessageValue *reply);

struct ReplayReport {
    std::size_t sent = 0;
    std::size_t notRecorded = 0; ///< Not sent, since not all that they held is there.
    std::vector<std::string> differences;
};
/// Sends them to the daemon one after the other, until Ctrl-C.
ReplayReport replay(const std::vector<RecordedRequest> &requests);

} // namespace wickerlane::cli

#endif
