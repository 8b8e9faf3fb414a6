// Received bytes as data objects, without copying them.
#ifndef WICKERLANE_MESSAGE_JXMSGDATA_H
#define WICKERLANE_MESSAGE_JXMSGDATA_H

#include "wickerlane/platform/message/value/MessageValue.h"

/// The bytes of a message value, which it keeps alive. Immutable.
class WL_EXPORT JXMsgData final : public wickerlane::Data {
    WL_OBJECT
public:
    /// initWithMsgData: — null for null.
    [[nodiscard]] static wickerlane::Ref<JXMsgData> initWithMsgData(wickerlane::MessageData *data);

    [[nodiscard]] const void *bytes() const override;
    [[nodiscard]] std::size_t length() const override;
    void getBytes(void *destination, std::size_t count) const override;
    void getBytes(void *destination, wickerlane::Range range) const override;
    /// "<contents: address> length=n", with the contents in hexadecimal.
    [[nodiscard]] wickerlane::String *debugDescription() const override;

private:
    explicit JXMsgData(wickerlane::MessageData *data) noexcept : _data(data) {}
    wickerlane::Ref<wickerlane::MessageData> _data;
};

/// The bytes of a received shared-memory region, which is mapped into this process as long as the object
/// lives. Immutable.
class WL_EXPORT JXMsgShMemData final : public wickerlane::Data {
    WL_OBJECT
public:
    /// initWithMsgShmem: — null for null, and when the region can't be mapped.
    [[nodiscard]] static wickerlane::Ref<JXMsgShMemData>
    initWithMsgShmem(wickerlane::MessageSharedMemory *memory);
    /// initWithMsgShmem:length: — the same with a length of its own. It is not compared with the size of the
    /// region: the caller is responsible for it.
    [[nodiscard]] static wickerlane::Ref<JXMsgShMemData>
    initWithMsgShmem(wickerlane::MessageSharedMemory *memory, std::size_t length);

    [[nodiscard]] const void *bytes() const override { return _buffer; }
    [[nodiscard]] std::size_t length() const override { return _dataLength; }
    /// "<class: address> bufferLength=n dataLength=m".
    [[nodiscard]] wickerlane::String *description() const override;

    ~JXMsgShMemData() override;

private:
    JXMsgShMemData(void *buffer, std::size_t length) noexcept
        : _buffer(buffer), _bufferLength(length), _dataLength(length) {}
    void *_buffer;
    std::size_t _bufferLength;
    std::size_t _dataLength;
};

#endif
