#include "wickerlane/testing/ScriptedDaemon.h"

#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <stdexcept>

#include "wickerlane/platform/file/UniqueFd.h"
#include "wickerlane/platform/message/listener/MessageListener.h"
#include "wickerlane/platform/object/Mutex.h"
#include "wickerlane/platform/queue/DescriptorSource.h"
#include "wickerlane/platform/queue/Semaphore.h"
#include "wickerlane/protocol/AllRows.h"
#include "wickerlane/protocol/CoreRows.h"
#include "wickerlane/protocol/ServiceName.h"
#include "wickerlane/testing/DaemonScript.h"
#include "wickerlane/testing/PlainValues.h"
#include "wickerlane/testing/PrivateRoot.h"
#include "wickerlane/testing/ScriptedReplies.h"

namespace wickerlane {

namespace {

using protocol::Row;

const Row &neededRow(std::string_view name) {
    if (const Row *row = protocol::rowNamed(name))
        return *row;
    std::string text = "there is no operation \"" + std::string(name) + "\"", similar;
    for (const Row *row : protocol::allRows())
        if (!name.empty() && std::string_view(row->name).find(name) != std::string_view::npos)
            similar += std::string(similar.empty() ? "; did you mean \"" : "\" or \"") + row->name;
    throw std::invalid_argument(similar.empty() ? text : text + similar + "\"?");
}

// A connection of this process may not have seen yet that its service has gone, and its next request would
// meet that. The reader thread sees what happens to its descriptors in order; it may be at work for a
// connection once, and comes to it again before the second descriptor.
void waitForReaderThread() {
    for (int i = 0; i < 2; ++i) {
        const UniqueFd event(eventfd(1, EFD_CLOEXEC));
        const auto seen = Semaphore::create(0);
        const auto source =
            event ? DescriptorSource::create(event.get(), [seen](std::uint32_t) { seen->signal(); })
                  : nullptr;
        if (source == nullptr)
            return;
        source->arm(EPOLLIN);
        seen->wait();
        source->cancel();
    }
}

/// What is done about an operation without a script.
ScriptedReaction usualReaction(const Row &row) {
    const std::string_view name = row.name;
    if (name == protocol::requestAccess.name || name == protocol::launchHoardd.name)
        return ScriptedReaction::answer();
    return ScriptedReaction::failure(ProblemKind::failed,
                                     "the scripted daemon has no answer to \"" + std::string(name) + "\"");
}

} // namespace

class ScriptedDaemon::Core : public std::enable_shared_from_this<Core> {
public:
    void start();
    void stop() WL_EXCLUDES(mutex);
    void release() WL_EXCLUDES(mutex);
    void setScript(const std::function<void(DaemonScript &)> &change) WL_EXCLUDES(mutex) {
        const MutexLock lock(mutex);
        change(script);
    }
    void refuseAccess(bool isRefused) WL_EXCLUDES(mutex) {
        const MutexLock lock(mutex);
        isRefusing = isRefused;
    }
    [[nodiscard]] std::vector<ScriptedRequest> requests() WL_EXCLUDES(mutex) {
        const MutexLock lock(mutex);
        return received;
    }
    void forgetRequests() WL_EXCLUDES(mutex) {
        const MutexLock lock(mutex);
        received.clear();
    }
    [[nodiscard]] bool waitForRequests(std::size_t count, std::chrono::nanoseconds limit) WL_EXCLUDES(mutex);

    /// Throws when the reaction is nothing that can be done about a request.
    static void check(const Row &row, const ScriptedReaction &reaction) {
        if (const auto *answer = std::get_if<reaction::Answer>(&reaction.body->what))
            static_cast<void>(makeReply(row, *answer, nullptr));
    }
    static bool holdsValues(const ScriptedReaction &reaction) {
        const auto *answer = std::get_if<reaction::Answer>(&reaction.body->what);
        return answer != nullptr && (answer->values->count() != 0 || answer->rows.index() != 0 ||
                                     (answer->plain != nullptr && answer->plain->count() != 0));
    }

private:
    /// A request that is not answered yet.
    struct Waiting {
        Ref<ReceivedMessage> message;
        const Row *row;
        ScriptedReaction reaction;
    };
    using Clients = std::vector<Ref<MessagePeer>>;

    void clientCame(MessagePeer *client) WL_EXCLUDES(mutex);
    void requestCame(ReceivedMessage *message) WL_EXCLUDES(mutex);
    [[nodiscard]] ScriptedReaction reactionTo(const ScriptedRequest &request, const Row &row)
        WL_EXCLUDES(mutex);
    void performDelayed(std::uint64_t number) WL_EXCLUDES(mutex);
    void perform(const Waiting &waiting) WL_EXCLUDES(mutex);
    void die() WL_EXCLUDES(mutex);

    Mutex mutex;
    Condition came;
    Ref<MessageListener> listener WL_GUARDED_BY(mutex);
    DaemonScript script WL_GUARDED_BY(mutex);
    bool isRefusing WL_GUARDED_BY(mutex) = false;
    bool hasOwnClient WL_GUARDED_BY(mutex) = false; // of this process
    std::vector<ScriptedRequest> received WL_GUARDED_BY(mutex);
    Clients clients WL_GUARDED_BY(mutex);
    std::vector<Waiting> held WL_GUARDED_BY(mutex);
    std::map<std::uint64_t, Waiting> delayed WL_GUARDED_BY(mutex);
    std::uint64_t lastDelayed WL_GUARDED_BY(mutex) = 0;
};

void ScriptedDaemon::Core::start() {
    const MutexLock lock(mutex);
    if (listener != nullptr)
        return;
    std::string error;
    // Without a queue: what handlers do here never blocks.
    auto made = MessageListener::create(
        WickerlaneGatekeeperName, nullptr, [this](ReceivedMessage *message) { requestCame(message); }, {},
        &error);
    if (made == nullptr)
        throw std::runtime_error("the scripted daemon can't listen: " + error);
    made->setPeerHandler([this](MessagePeer *client) {
        clientCame(client);
        return true;
    });
    if (!made->resume())
        throw std::runtime_error("the scripted daemon can't listen: the system has no thread left");
    listener = std::move(made);
}

void ScriptedDaemon::Core::stop() {
    Ref<MessageListener> ended;
    bool mustWait = false;
    {
        const MutexLock lock(mutex);
        std::swap(ended, listener);
        std::swap(mustWait, hasOwnClient);
    }
    if (ended == nullptr)
        return;
    ended->cancel();
    die();
    if (mustWait)
        waitForReaderThread();
}

void ScriptedDaemon::Core::release() {
    std::vector<Waiting> all;
    {
        const MutexLock lock(mutex);
        std::swap(all, held);
    }
    for (const Waiting &each : all)
        perform(each);
}

bool ScriptedDaemon::Core::waitForRequests(std::size_t count, std::chrono::nanoseconds limit) {
    const auto end = std::chrono::steady_clock::now() + limit;
    const MutexLock lock(mutex);
    while (received.size() < count)
        if (!came.waitUntil(mutex, end) && received.size() < count)
            return false;
    return true;
}

void ScriptedDaemon::Core::clientCame(MessagePeer *client) {
    const MutexLock lock(mutex);
    hasOwnClient = hasOwnClient || client->identity().process == getpid();
    std::erase_if(clients, [](const Ref<MessagePeer> &each) { return !each->isConnected(); });
    clients.emplace_back(client);
}

void ScriptedDaemon::Core::requestCame(ReceivedMessage *message) {
    const Row *row = protocol::rowOf(message->message());
    const ScriptedRequest request{row != nullptr ? row->name : "", plainValues(message->message(), row),
                                  message->wantsReply(), message->peer()->identity().process};
    Waiting waiting{Ref(message), row,
                    row != nullptr ? reactionTo(request, *row)
                                   : ScriptedReaction::failure(ProblemKind::invalid,
                                                               "the request is none of hoardd's operations")};
    const ReactionBody &what = *waiting.reaction.body;
    {
        // When the request is seen to have come, it is also among those that wait.
        const MutexLock lock(mutex);
        received.push_back(request);
        came.notifyAll();
        if (what.isHeld)
            return held.push_back(std::move(waiting));
        if (what.delay > std::chrono::nanoseconds(0)) {
            const auto delay = what.delay;
            delayed.emplace(++lastDelayed, std::move(waiting));
            return WorkQueue::global()->after(delay, [core = weak_from_this(), number = lastDelayed] {
                if (const auto living = core.lock())
                    living->performDelayed(number);
            });
        }
    }
    perform(waiting);
}

ScriptedReaction ScriptedDaemon::Core::reactionTo(const ScriptedRequest &request, const Row &row) {
    std::optional<ScriptedReaction> scripted;
    {
        const MutexLock lock(mutex);
        scripted = script.next(request.operation);
        if (isRefusing && request.operation != protocol::launchHoardd.name)
            scripted = ScriptedReaction::failure(ProblemKind::refused,
                                                 "this program was denied access to the photo library");
    }
    ScriptedReaction reaction = scripted ? std::move(*scripted) : usualReaction(row);
    try {
        while (const auto *function = std::get_if<reaction::Function>(&reaction.body->what)) {
            const Ref<const ReactionBody> kept(reaction.body.get());
            ScriptedReaction chosen = (*function)(request);
            chosen.after(kept->delay + chosen.body->delay);
            chosen.changed().isHeld = kept->isHeld || chosen.body->isHeld;
            reaction = std::move(chosen);
        }
    } catch (const std::exception &error) {
        return ScriptedReaction::failure(ProblemKind::failed, error.what());
    }
    return reaction;
}

void ScriptedDaemon::Core::performDelayed(std::uint64_t number) {
    std::optional<Waiting> due;
    {
        const MutexLock lock(mutex);
        if (auto found = delayed.extract(number))
            due = std::move(found.mapped());
    }
    if (due)
        perform(*due);
}

void ScriptedDaemon::Core::perform(const Waiting &waiting) {
    const ReactionBody &what = *waiting.reaction.body;
    if (std::holds_alternative<reaction::Death>(what.what))
        return die();
    reaction::Failure failure{ProblemKind::failed, {}};
    if (const auto *given = std::get_if<reaction::Failure>(&what.what)) {
        failure = *given;
    } else {
        try {
            const auto &answer = std::get<reaction::Answer>(what.what);
            return waiting.message->reply(makeReply(*waiting.row, answer, waiting.message->message()).get());
        } catch (const std::exception &error) {
            failure.text = error.what();
        }
    }
    if (waiting.row != nullptr)
        replyFailure(*waiting.message, *waiting.row, failure);
    else
        waiting.message->replyError(failure.text, static_cast<std::int64_t>(failure.kind));
}

void ScriptedDaemon::Core::die() {
    Clients ended;
    std::vector<Waiting> lost;
    std::map<std::uint64_t, Waiting> lostLater;
    {
        const MutexLock lock(mutex);
        std::swap(ended, clients);
        std::swap(lost, held);
        std::swap(lostLater, delayed);
    }
    // First, so that no one gets the error that stands for a request that is not answered.
    for (const auto &each : ended)
        each->cancel();
}

ScriptedDaemon::ScriptedDaemon()
    : privateRoot(std::make_unique<PrivateRoot>()), core(std::make_shared<Core>()) {
    core->start();
}

ScriptedDaemon::~ScriptedDaemon() {
    core->stop();
}

const std::string &ScriptedDaemon::root() const noexcept {
    return privateRoot->path();
}

void ScriptedDaemon::on(std::string_view operation, ScriptedReaction reaction) {
    const Row &row = neededRow(operation);
    Core::check(row, reaction);
    core->setScript([&](DaemonScript &script) { script.set(row.name, std::move(reaction)); });
}

void ScriptedDaemon::onNth(std::size_t number, std::string_view operation, ScriptedReaction reaction) {
    const Row &row = neededRow(operation);
    if (number == 0)
        throw std::invalid_argument("requests are counted from 1");
    Core::check(row, reaction);
    core->setScript([&](DaemonScript &script) { script.setNth(number, row.name, std::move(reaction)); });
}

void ScriptedDaemon::onAllElse(ScriptedReaction reaction) {
    if (Core::holdsValues(reaction))
        throw std::invalid_argument("an answer to all operations can't have values");
    core->setScript([&](DaemonScript &script) { script.setElse(std::move(reaction)); });
}

void ScriptedDaemon::refuseAccess(bool isRefused) {
    core->refuseAccess(isRefused);
}

void ScriptedDaemon::release() {
    core->release();
}

void ScriptedDaemon::stop() {
    core->stop();
}

void ScriptedDaemon::start() {
    core->start();
}

std::vector<ScriptedRequest> ScriptedDaemon::requests() const {
    return core->requests();
}

bool ScriptedDaemon::waitForRequests(std::size_t count, std::chrono::nanoseconds limit) const {
    return core->waitForRequests(count, limit);
}

void ScriptedDaemon::forgetRequests() {
    core->forgetRequests();
}

} // namespace wickerlane
