// Messages between applications and hoardd as property lists, for who watches them.
#ifndef HOARDD_SERVICE_TRAFFICEVENTS_H
#define HOARDD_SERVICE_TRAFFICEVENTS_H

#include <chrono>

#include "wickerlane/platform/message/listener/MessageListener.h"
#include "wickerlane/platform/object/Dictionary.h"
#include "wickerlane/protocol/Row.h"

namespace wickerlane::hoardd {

/// An event with the keys of TrafficKeys.h.
struct TrafficEvent {
    Ref<Dictionary> described;
    std::size_t bytes = 0; ///< Of memory, more or less.
};

/// A request that comes. The row is null when it is of none. Of one that is not `isAllowed`, to its sender or
/// by its form, the keys are left out. What texts, lists and mappings say is left out without `withTexts`,
/// and what data says always; beyond the first few, keys and what they say are left out too.
[[nodiscard]] TrafficEvent requestEvent(std::uint64_t number, const ReceivedMessage &message,
                                        const protocol::Row *row, bool isAllowed, bool withTexts);

/// The answer to the request with that number. `time` is how long it took.
[[nodiscard]] TrafficEvent answerEvent(std::uint64_t number, const MessageDictionary *answer,
                                       const protocol::Row *row, std::chrono::nanoseconds time,
                                       bool withTexts);
/// The same for one that is refused by an error.
[[nodiscard]] TrafficEvent errorEvent(std::uint64_t number, std::string_view text, std::int64_t kind,
                                      std::chrono::nanoseconds time, bool withTexts);

} // namespace wickerlane::hoardd

#endif
