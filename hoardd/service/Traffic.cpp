#include "hoardd/service/Traffic.h"

#include <algorithm>

#include "wickerlane/platform/object/NeverDestroyed.h"
#include "wickerlane/platform/object/ReleaseScope.h"

namespace wickerlane::hoardd {

namespace {

constexpr std::size_t maxWatchers = 4;
/// Of each watcher: a thousand requests a second for the time between two questions, many times over.
constexpr std::size_t maxEvents = 4'096;
constexpr std::chrono::seconds patience{10};

} // namespace

/// A request that notes what becomes of it.
class NotedMessage final : public ReceivedMessage {
public:
    NotedMessage(ReceivedMessage *noted, const protocol::Row *fitting, std::uint64_t itsNumber)
        : received(noted), row(fitting), number(itsNumber) {}
    ~NotedMessage() override {
        if (received->wantsReply() && !isAnswered.exchange(true))
            add([this](bool withTexts) {
                return errorEvent(number, "It was not answered.", 0, elapsed(), withTexts);
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
        if (received->wantsReply() && !isAnswered.exchange(true))
            add([&](bool withTexts) { return answerEvent(number, answer, row, elapsed(), withTexts); });
        received->reply(answer);
    }
    void replyError(std::string_view description, std::int64_t kind) override {
        if (received->wantsReply() && !isAnswered.exchange(true))
            add([&](bool withTexts) { return errorEvent(number, description, kind, elapsed(), withTexts); });
        received->replyError(description, kind);
    }

private:
    [[nodiscard]] std::chrono::nanoseconds elapsed() const { return Traffic::Clock::now() - begun; }
    void add(const Handler<Ref<Dictionary>(bool)> &make) const {
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
    const auto now = Clock::now();
    std::erase_if(watchers, [&](const Watcher &each) { return now - each.lastAsked > patience; });
    auto watcher = std::ranges::find_if(watchers, [&](const Watcher &each) {
        return each.process == program.process && each.startTime == program.startTime;
    });
    if (watcher == watchers.end()) {
        if (watchers.size() == maxWatchers)
            return fail(ProblemKind::busy, "too many programs watch the traffic; end one of them");
        watcher = watchers.insert(watcher, {.process = program.process, .startTime = program.startTime});
        watched = true;
    }
    watcher->withTexts = withTexts;
    watcher->lastAsked = now;
    return Noted{std::exchange(watcher->events, MutableArray::create()), std::exchange(watcher->lost, 0)};
}

Ref<ReceivedMessage> Traffic::note(ReceivedMessage *message, const protocol::Row *row) {
    const std::uint64_t number = ++requests;
    add(message->peer()->identity().process,
        [&](bool withTexts) { return requestEvent(number, *message, row, withTexts); });
    return makeRef<NotedMessage>(message, row, number);
}

void Traffic::add(pid_t process, const Handler<Ref<Dictionary>(bool withTexts)> &make) {
    const ReleaseScope scope;
    const MutexLock lock(mutex);
    const auto now = Clock::now();
    std::erase_if(watchers, [&](const Watcher &each) { return now - each.lastAsked > patience; });
    watched = !watchers.empty();
    for (Watcher &watcher : watchers) {
        if (watcher.process == process)
            continue;
        if (watcher.events->count() < maxEvents)
            watcher.events->append(make(watcher.withTexts).get());
        else
            ++watcher.lost;
    }
}

} // namespace wickerlane::hoardd
