// How long a thread's requests may wait for their replies.
#ifndef WICKERLANE_PLATFORM_MESSAGE_CONNECTION_REPLYTIMELIMIT_H
#define WICKERLANE_PLATFORM_MESSAGE_CONNECTION_REPLYTIMELIMIT_H

#include <chrono>
#include <optional>

#include "wickerlane/platform/object/Export.h"

namespace wickerlane {

/// While it lives, each request that this thread sends has that long to be answered, whatever the limit of
/// its connection; without limit for none or less. They nest, and the innermost counts. What becomes of a
/// late request: MessageConnection::setReplyTimeLimit().
///
///     const ReplyTimeLimit limit(std::chrono::seconds(2));
///     Data *picture = client->imageDataForAsset(objectID, format);
class WL_EXPORT ReplyTimeLimit {
public:
    explicit ReplyTimeLimit(std::chrono::nanoseconds limit) noexcept;
    ~ReplyTimeLimit();
    ReplyTimeLimit(const ReplyTimeLimit &) = delete;
    ReplyTimeLimit &operator=(const ReplyTimeLimit &) = delete;

    /// The limit of this thread; nothing when none lives. The second function replaces it.
    [[nodiscard]] static std::optional<std::chrono::nanoseconds> ofThread() noexcept;
    static void setOfThread(std::optional<std::chrono::nanoseconds> limit) noexcept;

private:
    const std::optional<std::chrono::nanoseconds> outer;
};

} // namespace wickerlane

#endif
