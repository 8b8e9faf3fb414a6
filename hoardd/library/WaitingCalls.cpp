#include "hoardd/library/WaitingCalls.h"

#include <algorithm>
#include <map>
#include <vector>

#include "hoardd/library/ChangeNotice.h"
#include "hoardd/service/Ending.h"
#include "wickerlane/platform/object/Mutex.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/platform/queue/WorkQueue.h"

namespace wickerlane::hoardd {

using Clock = std::chrono::steady_clock;

namespace {

struct Waiting {
    Call call;
    WaitingCalls::Look look;
    Answer late;
    Clock::time_point due;
    Clock::time_point begun;
};

/// So that calls that come and go leave few timers behind.
Clock::time_point wholeSeconds(Clock::time_point time) {
    return std::chrono::ceil<std::chrono::seconds>(time);
}

} // namespace

// Calls are answered, refused and destroyed without the lock. One may be looked at on two threads at a time:
// the first answer counts.
struct WaitingCalls::State : std::enable_shared_from_this<State> {
    using Number = std::uint64_t;
    using Kept = std::shared_ptr<const Waiting>;

    Mutex mutex;
    bool isEnding WL_GUARDED_BY(mutex) = false;
    Number changes WL_GUARDED_BY(mutex) = 0;
    Number last WL_GUARDED_BY(mutex) = 0;
    std::map<Number, Kept> waiting WL_GUARDED_BY(mutex);
    /// When a timer will fire; later ones are not started before that.
    Clock::time_point timer WL_GUARDED_BY(mutex) = Clock::time_point::max();
    std::unique_ptr<ChangeNotice> notice; // null only while the object is made

    Kept remove(Number number) WL_EXCLUDES(mutex) {
        const MutexLock lock(mutex);
        const auto found = waiting.find(number);
        if (found == waiting.end())
            return nullptr;
        Kept removed = std::move(found->second);
        waiting.erase(found);
        return removed;
    }

    /// Whether there is room for a call. It may take the place of the oldest one of its process: often
    /// nothing waits for that any more, as when its client has stopped waiting but is still connected. Not of
    /// one that has just come: clients that ask again at once would end each other's calls without a rest.
    Result<Kept> makeRoom(const PeerIdentity &caller, Clock::time_point now) WL_REQUIRES(mutex) {
        auto oldest = waiting.end();
        std::size_t ofProcess = 0, ofUser = 0;
        for (auto each = waiting.begin(); each != waiting.end(); ++each) {
            const PeerIdentity &other = each->second->call.peer();
            if (other.user == caller.user)
                ++ofUser;
            if (other.process == caller.process && ofProcess++ == 0)
                oldest = each;
        }
        if (ofProcess >= maxOfProcess && now - oldest->second->begun >= shortest) {
            Kept ended = std::move(oldest->second);
            waiting.erase(oldest);
            return ended;
        }
        if (ofProcess >= maxOfProcess || ofUser >= maxOfUser || waiting.size() >= maxOfAll)
            return fail(ProblemKind::busy, "too many requests wait for changes; try again later");
        return nullptr;
    }

    void lookAtAll() WL_EXCLUDES(mutex) {
        std::map<Number, Kept> now;
        {
            const MutexLock lock(mutex);
            now = waiting;
        }
        for (const auto &[number, each] : now) {
            const ReleaseScope scope;
            const auto result = withoutExceptions(each->look);
            if (result && !*result)
                continue;
            if (remove(number) != nullptr)
                each->call.finish(
                    result.transform([](const std::optional<Answer> &answer) { return *answer; }));
        }
    }

    void startTimer(Clock::time_point due) WL_REQUIRES(mutex) {
        if (due >= timer)
            return;
        timer = due;
        WorkQueue::global()->after(due - Clock::now(), [weak = weak_from_this(), due] {
            if (const auto kept = weak.lock())
                kept->timerFired(due);
        });
    }

    void timerFired(Clock::time_point due) WL_EXCLUDES(mutex) {
        std::vector<Kept> late;
        {
            const MutexLock lock(mutex);
            if (timer == due)
                timer = Clock::time_point::max();
            auto next = Clock::time_point::max();
            for (auto each = waiting.begin(); each != waiting.end();) {
                if (each->second->due <= due) {
                    late.push_back(std::move(each->second));
                    each = waiting.erase(each);
                } else {
                    next = std::min(next, each->second->due);
                    ++each;
                }
            }
            startTimer(next);
        }
        for (const Kept &each : late)
            each->call.answer(each->late);
    }
};

WaitingCalls::WaitingCalls() : state(std::make_shared<State>()) {
    state->notice = std::make_unique<ChangeNotice>([weak = std::weak_ptr(state)] {
        WorkQueue::global()->async([weak] {
            if (const auto kept = weak.lock())
                kept->lookAtAll();
        });
    });
}

Result<std::optional<Answer>> WaitingCalls::answerOrKeep(const Call &call, std::chrono::seconds time,
                                                         Look look, const Answer &late) {
    const auto begun = Clock::now();
    const auto due = wholeSeconds(begun + time);
    for (;;) {
        State::Number seen = 0;
        {
            const MutexLock lock(state->mutex);
            if (state->isEnding)
                return stopped();
            seen = state->changes;
        }
        auto answer = look();
        if (!answer || *answer)
            return answer;
        if (time.count() <= 0)
            return std::optional(late);
        State::Number number = 0;
        State::Kept ended;
        {
            const MutexLock lock(state->mutex);
            if (state->isEnding || state->changes != seen)
                continue; // what has changed since it looked is noticed by no one else
            auto room = state->makeRoom(call.peer(), Clock::now());
            if (!room)
                return passOn(room);
            ended = *std::move(room);
            number = ++state->last;
            state->waiting.emplace(
                number, std::make_shared<const Waiting>(Waiting{call, std::move(look), late, due, begun}));
            state->startTimer(due);
        }
        if (ended != nullptr)
            ended->call.answer(ended->late);
        const auto forget = [weak = std::weak_ptr(state), number] {
            if (const auto kept = weak.lock())
                kept->remove(number);
        };
        if (!call.whenUnwanted(forget))
            forget();
        return std::optional<Answer>();
    }
}

void WaitingCalls::noteChange() {
    {
        const MutexLock lock(state->mutex);
        ++state->changes;
        if (state->waiting.empty())
            return;
    }
    state->notice->noteChange();
}

std::size_t WaitingCalls::count() const {
    const MutexLock lock(state->mutex);
    return state->waiting.size();
}

void WaitingCalls::end() {
    std::map<State::Number, State::Kept> refused;
    {
        const MutexLock lock(state->mutex);
        state->isEnding = true;
        refused.swap(state->waiting);
    }
    for (const auto &[number, each] : refused)
        each->call.refuse(stopped().value());
}

} // namespace wickerlane::hoardd
