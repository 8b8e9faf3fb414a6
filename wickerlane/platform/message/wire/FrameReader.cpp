#include "wickerlane/platform/message/wire/FrameReader.h"

#include <sys/socket.h>

#include <algorithm>
#include <cerrno>

#include "wickerlane/platform/file/Retry.h"

namespace wickerlane {
namespace {

// As many as the kernel passes in one message; with room for all none is dropped unseen.
constexpr std::size_t maxDescriptors = 253;

bool isHeader(const FrameHeader &header) {
    return header.mark == FrameHeader::expectedMark && header.kind >= FrameKind::hello &&
           header.kind <= FrameKind::errorReply && header.length <= MessageLimits::messageBytes &&
           header.descriptors <= MessageLimits::descriptors;
}

} // namespace

bool FrameReader::makeRoom() {
    const std::size_t kept = last - first;
    if (buffer != nullptr && kept == 0 && buffer->isUnique() && buffer->capacity() == sharedBytes)
        first = last = 0;
    if (frameLength > sharedBytes) {
        // A buffer of its own for a long frame, which begins at the buffer's start.
        if (buffer != nullptr && first == 0 && buffer->capacity() > sharedBytes)
            return last < buffer->capacity() || buffer->grow(std::min(frameLength, buffer->capacity() * 2));
        Ref<MessageBuffer> own = MessageBuffer::create(std::min(frameLength, firstBytesOfLongFrame));
        if (own == nullptr)
            return false;
        std::memcpy(own->bytes(), buffer->bytes() + first, kept);
        replaceBuffer(std::move(own));
        first = 0;
        last = kept;
        return true;
    }
    const std::size_t wanted = frameLength != 0 ? frameLength : sizeof(FrameHeader);
    if (buffer != nullptr && buffer->capacity() - first >= wanted && last < buffer->capacity())
        return true;
    if (buffer != nullptr && buffer->isUnique() && buffer->capacity() == sharedBytes) {
        std::memmove(buffer->bytes(), buffer->bytes() + first, kept);
    } else {
        Ref<MessageBuffer> fresh = MessageBuffer::create(sharedBytes);
        if (fresh == nullptr)
            return false;
        if (kept != 0)
            std::memcpy(fresh->bytes(), buffer->bytes() + first, kept);
        replaceBuffer(std::move(fresh));
    }
    first = 0;
    last = kept;
    return true;
}

void FrameReader::replaceBuffer(Ref<MessageBuffer> fresh) {
    if (charge && buffer != nullptr && buffer->capacity() == sharedBytes && !buffer->isUnique())
        buffer->keep(charge(sharedBytes));
    buffer = std::move(fresh);
}

FrameReader::Outcome FrameReader::receive(int socket, int flags, std::size_t smallBytes) {
    if (!makeRoom())
        return Outcome::malformed;
    // A long frame's buffer takes that frame alone.
    const std::size_t end = frameLength > sharedBytes ? std::min(frameLength, buffer->capacity())
                                                      : std::min(buffer->capacity(), last + smallBytes);
    iovec part{buffer->bytes() + last, end - last};
    alignas(cmsghdr) char control[CMSG_SPACE(maxDescriptors * sizeof(int))];
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof control;
    const ssize_t count =
        retryInterrupted([&] { return recvmsg(socket, &message, flags | MSG_CMSG_CLOEXEC); });
    if (count < 0)
        return errno == EAGAIN || errno == EWOULDBLOCK ? Outcome::nothing : Outcome::ended;

    // Every descriptor gets an owner before anything is looked at.
    for (cmsghdr *c = CMSG_FIRSTHDR(&message); c != nullptr; c = CMSG_NXTHDR(&message, c)) {
        if (c->cmsg_level != SOL_SOCKET || c->cmsg_type != SCM_RIGHTS)
            continue;
        const std::size_t passed = (c->cmsg_len - CMSG_LEN(0)) / sizeof(int);
        for (std::size_t i = 0; i < passed; ++i)
            descriptors.emplace_back(loadUnaligned<int>(CMSG_DATA(c) + i * sizeof(int)));
    }
    if ((message.msg_flags & MSG_CTRUNC) != 0)
        return Outcome::malformed;
    if (count == 0)
        return Outcome::ended;
    filled = static_cast<std::size_t>(count) == part.iov_len;
    last += static_cast<std::size_t>(count);
    return Outcome::bytes;
}

// There is no room for them, and the kernel says that it would have dropped some.
bool FrameReader::nextBringsDescriptors(int socket) {
    std::byte byte{};
    iovec part{&byte, sizeof byte};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    const ssize_t count = retryInterrupted(
        [&] { return recvmsg(socket, &message, MSG_PEEK | MSG_DONTWAIT | MSG_CMSG_CLOEXEC); });
    return count > 0 && (message.msg_flags & MSG_CTRUNC) != 0;
}

FrameReader::Next FrameReader::next(Frame &frame) {
    const std::size_t available = last - first;
    if (available < sizeof(FrameHeader))
        // Descriptors come with the first byte of their frame and are no more than its header says.
        return descriptors.size() > (available == 0 ? 0 : MessageLimits::descriptors) ? Next::malformed
                                                                                      : Next::incomplete;
    frame.header = loadUnaligned<FrameHeader>(buffer->bytes() + first);
    if (!isHeader(frame.header))
        return Next::malformed;
    frameLength = sizeof(FrameHeader) + frame.header.length;
    if (available < frameLength)
        return descriptors.size() > frame.header.descriptors ? Next::malformed : Next::incomplete;
    if (descriptors.size() < frame.header.descriptors)
        return Next::malformed;
    frame.buffer = buffer;
    frame.contents = {buffer->bytes() + first + sizeof(FrameHeader), frame.header.length};
    const auto end = descriptors.begin() + frame.header.descriptors;
    frame.descriptors.assign(std::make_move_iterator(descriptors.begin()), std::make_move_iterator(end));
    descriptors.erase(descriptors.begin(), end);
    first += frameLength;
    frameLength = 0;
    if (first == last && buffer->capacity() != sharedBytes) {
        buffer = nullptr;
        first = last = 0;
    }
    return Next::frame;
}

} // namespace wickerlane
