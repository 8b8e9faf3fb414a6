#include "wickerlane/client/LastError.h"

#include <pthread.h>

#include <cstdlib>

#include "wickerlane/client/JXGatekeeperClient.h"
#include "wickerlane/client/Refusals.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/platform/process/ForkedChild.h"
#include "wickerlane/protocol/Keys.h"

namespace wickerlane::client {

namespace keys = protocol::keys;

namespace {

thread_local constinit Error *lastError = nullptr; // owned
thread_local constinit const MessageValue *handledReply = nullptr;

// A thread key rather than a thread-local object with a destructor: code that runs at exit may still ask.
pthread_key_t threadKey() {
    static const pthread_key_t key = [] {
        pthread_key_t made;
        const auto endThread = [](void *error) {
            lastError = nullptr;
            static_cast<Error *>(error)->release();
        };
        if (pthread_key_create(&made, endThread) != 0)
            std::abort();
        return made;
    }();
    return key;
}

Problem problemOf(const MessageError &error) {
    if (&error == MessageError::connectionInvalid() && isForkedChild())
        return {ProblemKind::unreachable, forkedChildText, {}};
    if (&error == MessageError::connectionInvalid())
        return {ProblemKind::unreachable,
                "The daemon hoardd can't be reached, and can't be started. See that it is installed; what it "
                "says is in its log.",
                {}};
    if (&error == MessageError::connectionInterrupted())
        return {ProblemKind::ending,
                "The daemon hoardd ended or was restarted before it answered. Ask again; what was asked may "
                "have been done.",
                {}};
    if (auto unknown = unknownToOlderDaemon(error))
        return *std::move(unknown);
    return withAdvice({static_cast<ProblemKind>(error.errorKind()), std::string(error.text()), {}});
}

// Of the reply of an operation that says so by a key of its own.
std::optional<Problem> problemIn(const MessageDictionary &reply) {
    if (!reply.contains(keys::problemKind.text))
        return std::nullopt;
    const auto text = reply.getString(keys::problemText.text);
    Problem told{static_cast<ProblemKind>(reply.getInt64(keys::problemKind.text)),
                 std::string(text.value_or("hoardd did not do it, and says why in its log")),
                 {}};
    if (told.kind == ProblemKind::notFound) // the asset or the album that the request named
        told.text += ". It may have been deleted meanwhile: ask for the list again.";
    return withAdvice(std::move(told));
}

Ref<Error> makeError(const Problem &problem) {
    return Error::createWithDescription(WickerlaneRequestErrorDomain, static_cast<std::int64_t>(problem.kind),
                                        String::of(problem.text));
}

void replaceLastError(Ref<Error> error) {
    const Ref<Error> replaced = Ref<Error>::adopt(std::exchange(lastError, error.leak()));
    pthread_setspecific(threadKey(), lastError);
}

} // namespace

void noteOutcome(const MessageValue *reply) {
    const auto *error = as<MessageError>(reply);
    if (error != nullptr)
        noteProblem(problemOf(*error));
    else if (lastError != nullptr)
        replaceLastError(nullptr);
}

void noteProblem(const Problem &problem) {
    replaceLastError(makeError(problem));
}

std::optional<Problem> problemIn(const MessageValue *reply) {
    if (const auto *error = as<MessageError>(reply))
        return problemOf(*error);
    const auto *dictionary = as<MessageDictionary>(reply);
    return dictionary != nullptr ? problemIn(*dictionary) : std::nullopt;
}

HandledReply::HandledReply(const MessageValue *reply) noexcept : outer(std::exchange(handledReply, reply)) {
}
HandledReply::~HandledReply() {
    handledReply = outer;
}

std::optional<Problem> HandledReply::problem() {
    return problemIn(handledReply);
}

Error *errorIn(const MessageValue *reply) {
    const auto *error = as<MessageError>(reply);
    return error != nullptr ? errorOf(problemOf(*error)) : nullptr;
}

Error *errorOf(const Problem &problem) {
    return autorelease(makeError(problem));
}

Error *lastErrorOfThread() {
    return lastError != nullptr ? autorelease(Ref(lastError)) : nullptr;
}

} // namespace wickerlane::client
