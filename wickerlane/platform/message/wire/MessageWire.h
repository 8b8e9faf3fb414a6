// The bytes that travel between the two ends of a connection.
//
// A connection is a local stream socket. Each way it carries frames, one after the other; a frame is a header
// of 16 bytes and a body. All numbers are little-endian and unaligned; reals are IEEE 754 doubles. Text is
// UTF-8 and is followed by a NUL that its length does not count, so that a receiver reads it in place.
//
//   frame      u32 length of the body; u16 mark; u8 kind; u8 number of descriptors; u64 id
//     hello       the listener's first frame: u32 version of these rules. The id has the PeerVersion.
//                 A client sends nothing before it has come, so that nothing is lost to a service that dies,
//                 or ends, while a client stands in its queue. Then its own first frame is a hello, too,
//                 unless the id was 0: a listener of 0.9 has none, and takes none. More may follow the
//                 version one day.
//     refusal     the listener's first and only frame: no connection for this client, and why: an error.
//     message     either way: a dictionary's contents. Wants no reply; id 0. With the id of a request that
//                 the client has sent: that is cancelled. The dictionary is then empty.
//     request     a message of the client that wants a reply; the id is the client's choice.
//     reply       a dictionary's contents, with the id of the request.
//     errorReply  an error, with the id of the request.
//   error      i64 kind; the text, without a NUL, to the end of the frame
//   dictionary u32 count; then, for each entry: u32 of the value's kind (low 8 bits) and the key's length
//   (high
//              24 bits); the key and a NUL; the value. No key comes twice.
//   array      u32 count; then, for each element: u8 kind; the value
//   value      by kind (their numbers are those of MessageKind):
//     string                   u32 length; text; NUL
//     error                    u32 length; text; NUL; i64 kind
//     int64, uint64            u64
//     real, date               f64; a date is seconds since 2001-01-01 00:00:00 UTC
//     boolean                  u8, 0 or 1
//     uuid                     16 bytes
//     data                     u32 length; bytes. In a dictionary's own entries of a reply also: u32
//     0xFFFFFFFF;
//                              u32 length; u8: which of the frame's descriptors has them, in a regular file
//     sharedMemory,
//     fileDescriptor           u8: which of the frame's descriptors; they come in the order of their numbers
//     dictionary, array        u32 length of what follows; the container
//
// Descriptors travel as ancillary data beside the first byte of their frame. Shared memory is a memory file
// whose size and contents are sealed.
#ifndef WICKERLANE_PLATFORM_MESSAGE_WIRE_MESSAGEWIRE_H
#define WICKERLANE_PLATFORM_MESSAGE_WIRE_MESSAGEWIRE_H

#include <bit>
#include <cstdint>
#include <cstring>

namespace wickerlane {

static_assert(std::endian::native == std::endian::little, "numbers are written as they lie in memory");

enum class FrameKind : std::uint8_t { hello = 1, refusal, message, request, reply, errorReply };

struct FrameHeader {
    std::uint32_t length;
    std::uint16_t mark;
    FrameKind kind;
    std::uint8_t descriptors;
    std::uint64_t id;

    static constexpr std::uint16_t expectedMark = 0x4C57;
    static constexpr std::uint32_t version = 3;
    static constexpr std::uint32_t lengthOfLentFile = 0xFFFFFFFF; // longer than any message
};
static_assert(sizeof(FrameHeader) == 16);

template <class T>
[[nodiscard]] T loadUnaligned(const void *from) noexcept {
    T value;
    std::memcpy(&value, from, sizeof value);
    return value;
}

} // namespace wickerlane

#endif
