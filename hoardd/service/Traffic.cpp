#include "hoardd/service/Traffic.h"

#include <algorithm>
#include <exception>

#include "wickerlane/platform/object/NeverDestroyed.h"
#include "wickerlane/platform/object/ReleaseScope.h"

namespace wickerlane::hoardd {

namespace {

constexpr std::size_t maxWatchers = 4;
/// Of memory, for each watcher: thousands of common events.
constexpr std::size_t maxBytes = 8 << 20;
constexpr std::chrono::seconds patience{10};

} // namespace

/// A request that notes what becomes of it.
class NotedMessage final : public ReceivedMessage {
public:
    NotedMessage(ReceivedMessage *noted, const protocol::Row *fitting, std::uint64_t itsNumber)
        : received(noted), row(fitting), number(itsNumber) {}
    ~NotedMessage() override {
        if (isFirstAnswer())
            add([this, time = elapsed()](bool withTexts) {
                return errorEvent(number, "It was not answered.", 0, time, withTexts);
            });
    }

    [[nodiscard]] MessageDictionary *message() const noexcept override { return received->message(); }
    [[nodiscard]] MessagePeer *peer() const noexcept override { return received->peer(); }
    [[nodiscard]] bool wantsReply() const noexcept override { return received->wantsReply(); }
    [[nodiscard]] bool isCancelled() override { return received->isCancelled(); }
    [[nodiscard]] bool whenUnwanted(Handler<void()> work) override {
        return received->whenUnwanted(std::move(work));
    }
    void reply(MessageDictionary *answer) override {
        const auto time = elapsed();
        received->reply(answer);
        if (isFirstAnswer())
            add([&](bool withTexts) { return answerEvent(number, answer, row, time, withTexts); });
    }
    void replyError(std::string_view description, std::int64_t kind) override {
        const auto time = elapsed();
        received->replyError(description, kind);
        if (isFirstAnswer())
            add([&](bool withTexts) { return errorEvent(number, description, kind, time, withTexts); });
    }

private:
    [[nodiscard]] bool isFirstAnswer() { return received->wantsReply() && !isAnswered.exchange(true); }
    [[nodiscard]] std::chrono::nanoseconds elapsed() const { return Traffic::Clock::now() - begun; }
    void add(const Handler<TrafficEvent(bool)> &make) const {
        Traffic::ofProcess().add(received->peer()->identity().process, make);
    }

    const Ref<ReceivedMessage> received;
    const protocol::Row *const row;
    const std::uint64_t number;
    const Traffic::Clock::time_point begun = Traffic::Clock::now();
    std::atomic<bool> isAnswered = false;
};

Traffic &Traffic::ofProcess() {
    static NeverDestroyed<Traffic> traffic;
    return *traffic;
}

Result<Traffic::Noted> Traffic::take(const PeerIdentity &program, bool withTexts) {
    const MutexLock lock(mutex);
    forgetIdle();
    auto watcher = std::ranges::find_if(watchers, [&](const Watcher &each) {
        return each.process == program.process && each.startTime == program.startTime;
    });
    const bool isBegun = watcher == watchers.end();
    if (isBegun) {
        if (watchers.size() == maxWatchers)
            return fail(ProblemKind::busy, "too many programs watch the traffic; end one of them");
        watcher = watchers.insert(watcher, {.process = program.process, .startTime = program.startTime});
        watched = true;
    }
    watcher->withTexts = withTexts;
    watcher->lastAsked = Clock::now();
    watcher->bytes = 0;
    return Noted{std::exchange(watcher->events, MutableArray::create()), std::exchange(watcher->lost, 0),
                 isBegun};
}

Ref<ReceivedMessage> Traffic::note(ReceivedMessage *message, const protocol::Row *row, bool isAllowed) {
    const std::uint64_t number = ++requests;
    add(message->peer()->identity().process,
        [&](bool withTexts) { return requestEvent(number, *message, row, isAllowed, withTexts); });
    return makeRef<NotedMessage>(message, row, number);
}

void Traffic::forgetIdle() {
    const auto now = Clock::now();
    std::erase_if(watchers, [&](const Watcher &each) { return now - each.lastAsked > patience; });
    watched = !watchers.empty();
}

void Traffic::add(pid_t process, const Handler<TrafficEvent(bool withTexts)> &make) {
    const ReleaseScope scope;
    bool isWanted[2] = {false, false}; // without texts, and with them
    {
        const MutexLock lock(mutex);
        forgetIdle();
        for (const Watcher &each : watchers)
            if (each.process != process)
                isWanted[each.withTexts ? 1 : 0] = true;
    }
    TrafficEvent made[2];
    for (const bool withTexts : {false, true})
        if (isWanted[withTexts ? 1 : 0]) {
            try {
                made[withTexts ? 1 : 0] = make(withTexts);
            } catch (const std::exception &) {
                // For want of memory: it is lost, like what does not fit.
            }
        }
    const MutexLock lock(mutex);
    for (Watcher &each : watchers) {
        const TrafficEvent &event = made[each.withTexts ? 1 : 0];
        if (each.process == process)
            continue;
        if (event.described && each.bytes + event.bytes <= maxBytes) {
            each.events->append(event.described.get());
            each.bytes += event.bytes;
        } else
            ++each.lost;
    }
}

} // namespace wickerlane::hoardd
