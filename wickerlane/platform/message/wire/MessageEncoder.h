// From messages to bytes.
#ifndef WICKERLANE_PLATFORM_MESSAGE_WIRE_MESSAGEENCODER_H
#define WICKERLANE_PLATFORM_MESSAGE_WIRE_MESSAGEENCODER_H

#include <vector>

#include "wickerlane/platform/message/value/DictionaryStorage.h"
#include "wickerlane/platform/message/wire/MessageWire.h"
#include "wickerlane/platform/message/wire/PeerVersion.h"

namespace wickerlane {

class ArrayStorage;

/// Encodes one frame. Small parts are gathered in one run of bytes; large data is referred to where it lies.
class WL_EXPORT MessageEncoder {
public:
    /// Data of this many bytes or more is not copied.
    static constexpr std::size_t minLentBytes = 4096;

    struct Lent {
        std::size_t position; ///< In the gathered bytes: the data comes before the byte at this position.
        Ref<MessageData> data;
    };

    MessageEncoder() noexcept {} // leaves the first bytes as they are
    ~MessageEncoder();
    MessageEncoder(const MessageEncoder &) = delete;
    MessageEncoder &operator=(const MessageEncoder &) = delete;

    /// Null, or why the message can't be sent.
    [[nodiscard]] const char *encode(FrameKind kind, std::uint64_t id, const MessageDictionary *message);
    /// A text that is too long is cut, and one that is not valid UTF-8 is left out.
    void encodeError(std::uint64_t id, std::string_view text, std::int64_t kind = 0);
    void encodeHello(const PeerVersion &version = PeerVersion::own());
    void encodeRefusal(std::string_view text, std::int64_t kind);

    /// Changes the id of the frame that was encoded.
    void setID(std::uint64_t id) noexcept { std::memcpy(bytes + offsetof(FrameHeader, id), &id, sizeof id); }

    [[nodiscard]] std::string_view gathered() const noexcept { return {bytes, used}; }
    [[nodiscard]] const std::vector<Lent> &lent() const noexcept { return lentParts; }
    /// The values whose descriptors go with the frame, in order.
    [[nodiscard]] const std::vector<Ref<MessageValue>> &descriptors() const noexcept {
        return descriptorValues;
    }

private:
    [[nodiscard]] char *extend(std::size_t count) {
        if (count > capacity - used)
            grow(count);
        char *result = bytes + used;
        used += count;
        return result;
    }
    void grow(std::size_t count);
    template <class T>
    void append(T value) {
        std::memcpy(extend(sizeof value), &value, sizeof value);
    }
    void appendText(const char *text, std::size_t length);
    void appendErrorContents(std::string_view text, std::int64_t kind);
    void begin(FrameKind kind, std::uint64_t id);
    void finish(std::size_t descriptorCount);
    [[nodiscard]] bool appendDictionary(const DictionaryStorage &dictionary, unsigned depth);
    [[nodiscard]] bool appendArray(const ArrayStorage &array, unsigned depth);
    [[nodiscard]] bool appendValue(MessageSlot &slot, const MessageOrigin &origin, unsigned depth);
    [[nodiscard]] bool appendContainer(MessageValue *container, unsigned depth);
    [[nodiscard]] bool appendLent(MessageData *data);
    [[nodiscard]] bool appendFile(MessageData *data);
    [[nodiscard]] bool appendDescriptor(MessageValue *value);
    [[nodiscard]] bool countValues(std::size_t count);
    bool fail(const char *reason) {
        failure = reason;
        return false;
    }

    char *bytes = first;
    std::size_t used = 0;
    std::size_t capacity = sizeof first;
    std::size_t lentBytes = 0;
    std::size_t values = 1;
    bool lendsFiles = false; // only clients take them, since they may trust the daemon's files to be quick
    const char *failure = nullptr;
    std::vector<Lent> lentParts;
    std::vector<Ref<MessageValue>> descriptorValues;
    char first[1024];
};

} // namespace wickerlane

#endif
