// What PeerTurns keeps of a process and of a peer.
#ifndef WICKERLANE_PLATFORM_MESSAGE_LISTENER_PROCESSTURNS_H
#define WICKERLANE_PLATFORM_MESSAGE_LISTENER_PROCESSTURNS_H

#include <deque>

#include "wickerlane/platform/object/Object.h"

namespace wickerlane {

class ListenerPeer;
class ReceivedMessage;

struct ProcessTurns {
    std::deque<Ref<ListenerPeer>> ready; ///< Peers with messages that may be handled.
    std::size_t running = 0;             ///< Peers whose messages are being handled.
    bool isInLine = false;
};

struct PeerTurn {
    std::deque<Ref<ReceivedMessage>> messages; ///< That wait to be handled.
    bool isUnderWay = false;                   ///< The peer is ready, or its messages are being handled.
    bool isGone = false;                       ///< It has disconnected.
};

} // namespace wickerlane

#endif
