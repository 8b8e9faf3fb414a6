#include "wickerlane/platform/message/wire/SendQueue.h"

#include <sys/socket.h>

#include <cerrno>

#include "wickerlane/platform/message/wire/MessageLimits.h"

namespace wickerlane {
namespace {

int descriptorOf(const MessageValue *value) {
    return value->kind() == MessageKind::fileDescriptor
               ? static_cast<const MessageFileDescriptor *>(value)->peek()
               : static_cast<const MessageSharedMemory *>(value)->memory()->descriptor();
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
            waiting.descriptors.insert(waiting.descriptors.end(), frame.descriptors().begin(),
                                       frame.descriptors().end());
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
    constexpr std::size_t mostParts = 64;
    iovec parts[mostParts];
    std::size_t count = 0;
    for (std::size_t i = nextPiece; i < pieces.size() && count < mostParts; ++i) {
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
    ssize_t sent = 0;
    do
        sent = sendmsg(socket, &message, flags | MSG_NOSIGNAL);
    while (sent < 0 && errno == EINTR);
    if (sent <= 0)
        return sent;
    for (auto left = static_cast<std::size_t>(sent); left != 0;) {
        const std::size_t ofPiece = pieces[nextPiece].length - sentOfPiece;
        if (left < ofPiece) {
            sentOfPiece += left;
            break;
        }
        left -= ofPiece;
        sentOfPiece = 0;
        ++nextPiece;
    }
    return sent;
}

void SendQueue::Batch::clear() {
    // What a burst needed is not kept.
    constexpr std::size_t keptBytes = 256 * 1024;
    if (gathered.capacity() > keptBytes)
        gathered = {};
    gathered.clear();
    pieces.clear();
    descriptors.clear();
    nextPiece = 0;
    sentOfPiece = 0;
}

SendQueue::Outcome SendQueue::flush(std::unique_lock<std::mutex> &lock, int socket, int flags,
                                    std::uint64_t upTo) {
    sending = true;
    Outcome outcome = Outcome::sent;
    while (sentBytes < upTo) {
        if (inHand.isEmpty()) {
            inHand.clear();
            std::swap(inHand, waiting);
            inHandBytes = inHand.gathered.size();
        }
        lock.unlock();
        const ssize_t count = inHand.send(socket, flags);
        const int error = errno;
        // What was lent goes back to its owner outside the lock.
        const bool finished = inHand.isEmpty();
        if (finished)
            inHand.clear();
        lock.lock();
        if (finished)
            inHandBytes = 0;
        if (count < 0) {
            outcome = error == EAGAIN || error == EWOULDBLOCK ? Outcome::blocked : Outcome::failed;
            break;
        }
        sentBytes += static_cast<std::uint64_t>(count);
    }
    sending = false;
    return outcome;
}

} // namespace wickerlane
