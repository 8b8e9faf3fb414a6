#include "wickerlane/platform/message/wire/SendQueue.h"

#include <sys/socket.h>

#include <algorithm>
#include <cerrno>

#include "wickerlane/platform/file/Retry.h"
#include "wickerlane/platform/message/value/MessageDescriptors.h"
#include "wickerlane/platform/message/wire/MessageLimits.h"

namespace wickerlane {
namespace {

int descriptorOf(const MessageValue *value) {
    if (value->kind() == MessageKind::fileDescriptor)
        return static_cast<const MessageFileDescriptor *>(value)->peek();
    if (value->kind() == MessageKind::data)
        return static_cast<const MessageData *>(value)->fileDescriptor();
    return static_cast<const MessageSharedMemory *>(value)->memory()->descriptor();
}

/// A descriptor counts until its batch has been sent; shared memory is memory of the sender's.
std::size_t costOf(const MessageValue *value) {
    const std::size_t bytes = value->kind() == MessageKind::sharedMemory
                                  ? static_cast<const MessageSharedMemory *>(value)->memory()->length()
                                  : 0;
    return std::max(bytes, MessageCost::descriptor);
}

} // namespace

void SendQueue::Batch::addGathered(std::string_view bytes, bool begins) {
    if (bytes.empty())
        return;
    const std::size_t start = gathered.size();
    gathered.insert(gathered.end(), bytes.begin(), bytes.end());
    if (!begins && !isEmpty() && pieces.back().lent == nullptr) {
        pieces.back().length += bytes.size();
        return;
    }
    pieces.push_back({nullptr, start, bytes.size(), 0, 0});
}

void SendQueue::append(const MessageEncoder &frame) {
    const std::string_view bytes = frame.gathered();
    std::size_t done = 0;
    std::size_t total = bytes.size();
    // A frame with descriptors begins a piece of its own, so that they travel with its first byte.
    bool begins = !frame.descriptors().empty();
    const auto add = [&](std::size_t end) {
        waiting.addGathered(bytes.substr(done, end - done), begins);
        if (std::exchange(begins, false)) {
            waiting.pieces.back().firstDescriptor = waiting.descriptors.size();
            waiting.pieces.back().descriptorCount = frame.descriptors().size();
            for (const Ref<MessageValue> &value : frame.descriptors()) {
                waiting.descriptors.push_back(value);
                waiting.descriptorCost += costOf(value.get());
            }
        }
        done = end;
    };
    for (const auto &lent : frame.lent()) {
        add(lent.position);
        waiting.pieces.push_back({lent.data, 0, lent.data->length(), 0, 0});
        total += lent.data->length();
    }
    add(bytes.size());
    appendedBytes += total;
}

ssize_t SendQueue::Batch::send(int socket, int flags) {
    constexpr std::size_t maxParts = 64;
    iovec parts[maxParts];
    std::size_t count = 0;
    for (std::size_t i = nextPiece; i < pieces.size() && count < maxParts; ++i) {
        const Piece &piece = pieces[i];
        if (count != 0 && piece.descriptorCount != 0)
            break;
        const char *start = piece.lent != nullptr ? static_cast<const char *>(piece.lent->bytes())
                                                  : gathered.data() + piece.start;
        const std::size_t skipped = count == 0 ? sentOfPiece : 0;
        parts[count].iov_base = const_cast<char *>(start + skipped);
        parts[count++].iov_len = piece.length - skipped;
    }
    msghdr message{};
    message.msg_iov = parts;
    message.msg_iovlen = count;
    alignas(cmsghdr) char control[CMSG_SPACE(MessageLimits::descriptors * sizeof(int))];
    const Piece &first = pieces[nextPiece];
    if (first.descriptorCount != 0 && sentOfPiece == 0) {
        message.msg_control = control;
        message.msg_controllen = CMSG_SPACE(first.descriptorCount * sizeof(int));
        cmsghdr *header = CMSG_FIRSTHDR(&message);
        header->cmsg_level = SOL_SOCKET;
        header->cmsg_type = SCM_RIGHTS;
        header->cmsg_len = CMSG_LEN(first.descriptorCount * sizeof(int));
        for (std::size_t i = 0; i < first.descriptorCount; ++i) {
            const int fd = descriptorOf(descriptors[first.firstDescriptor + i].get());
            std::memcpy(CMSG_DATA(header) + i * sizeof fd, &fd, sizeof fd);
        }
    }
    const ssize_t sent = retryInterrupted([&] { return sendmsg(socket, &message, flags | MSG_NOSIGNAL); });
    if (sent > 0)
        advance(static_cast<std::size_t>(sent));
    return sent;
}

void SendQueue::Batch::advance(std::size_t sent) {
    while (sent != 0) {
        const std::size_t ofPiece = pieces[nextPiece].length - sentOfPiece;
        if (sent < ofPiece) {
            sentOfPiece += sent;
            return;
        }
        sent -= ofPiece;
        sentOfPiece = 0;
        ++nextPiece;
    }
}

void SendQueue::Batch::clear() {
    // What a burst needed is not kept.
    constexpr std::size_t keptBytes = 256 * 1024;
    if (gathered.capacity() > keptBytes)
        gathered = {};
    gathered.clear();
    pieces.clear();
    descriptors.clear();
    descriptorCost = 0;
    nextPiece = 0;
    sentOfPiece = 0;
}

SendQueue::Outcome SendQueue::flush(Mutex &mutex, int socket, int flags, std::uint64_t upTo) {
    isFlushing = true;
    Outcome outcome = Outcome::sent;
    while (sentBytes < upTo) {
        if (current.isEmpty()) {
            current.clear();
            std::swap(current, waiting);
            currentBytes = current.gathered.size();
            currentDescriptorCost = current.descriptorCost;
        }
        ssize_t count = 0;
        int error = 0;
        bool isFinished = false;
        {
            const MutexUnlock unlocked(mutex);
            count = current.send(socket, flags);
            error = errno;
            isFinished = current.isEmpty();
            if (isFinished)
                current.clear(); // what was lent goes back to its owner without the mutex
        }
        if (isFinished) {
            sentDescriptors += currentDescriptorCost;
            currentBytes = currentDescriptorCost = 0;
        }
        if (count < 0) {
            outcome = error == EAGAIN || error == EWOULDBLOCK ? Outcome::blocked : Outcome::failed;
            break;
        }
        sentBytes += static_cast<std::uint64_t>(count);
    }
    isFlushing = false;
    return outcome;
}

} // namespace wickerlane
