// Bytes in messages.
#ifndef WICKERLANE_PLATFORM_MESSAGE_VALUE_MESSAGEDATA_H
#define WICKERLANE_PLATFORM_MESSAGE_VALUE_MESSAGEDATA_H

#include "wickerlane/platform/message/value/MessageKind.h"
#include "wickerlane/platform/object/Data.h"
#include "wickerlane/platform/object/Handler.h"

namespace wickerlane {

class UniqueFd;
class WorkQueue;

/// Bytes.
class WL_EXPORT MessageData : public MessageValue {
    WL_OBJECT
public:
    [[nodiscard]] static Ref<MessageData> create(const void *copied, std::size_t length);
    /// Lends the bytes of a region, which are not copied, here or on the way to the socket: they stay valid
    /// and unchanged until `destructor` has run, asynchronously on `queue`, after the last holder let go of
    /// the value.
    [[nodiscard]] static Ref<MessageData> createWithRegion(const void *bytes, std::size_t length,
                                                           WorkQueue *queue, Handler<void()> destructor);

    /// Lends the first bytes of a regular file, which a client that gets them in a reply reads by itself
    /// from the same open file. It must stay as it is, and is open while the value lives.
    [[nodiscard]] static Ref<MessageData> createWithFile(UniqueFd file, std::size_t length);

    [[nodiscard]] const void *bytes() const noexcept; ///< Lives as long as the value; may be null when empty.
    [[nodiscard]] std::size_t length() const noexcept;
    /// The file whose bytes are lent; -1 when they are memory.
    [[nodiscard]] int fileDescriptor() const noexcept;
    /// Copies out bytes from `offset` on, no more than there are, and returns how many it copied.
    std::size_t getBytes(void *destination, std::size_t offset, std::size_t count) const noexcept;

private:
    friend class DataStorage;
    MessageData() noexcept : MessageValue(MessageKind::data) {}
};

} // namespace wickerlane

#endif
