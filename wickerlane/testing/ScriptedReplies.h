// The replies that reactions come to.
#ifndef WICKERLANE_TESTING_SCRIPTEDREPLIES_H
#define WICKERLANE_TESTING_SCRIPTEDREPLIES_H

#include "wickerlane/platform/message/listener/MessageListener.h"
#include "wickerlane/testing/ReactionBody.h"

namespace wickerlane {

/// The answer to a request; to an empty one, to see whether there can be one, when it is null. Throws
/// std::invalid_argument, with the reason, for what an operation can't answer.
[[nodiscard]] Ref<MessageDictionary> makeReply(const protocol::Row &row, const reaction::Answer &answer,
                                               MessageDictionary *request);

/// Says no as hoardd does: by the operation's own keys for that, or with an error.
void replyFailure(ReceivedMessage &received, const protocol::Row &row, const reaction::Failure &failure);

} // namespace wickerlane

#endif
