#include "wickerlane/client/LastError.h"

#include <pthread.h>

#include <cstdlib>

#include "wickerlane/client/JXGatekeeperClient.h"
#include "wickerlane/model/Problem.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/platform/process/ForkedChild.h"
#include "wickerlane/platform/process/ProcessFacts.h"

namespace wickerlane::client {
namespace {

thread_local constinit Error *lastError = nullptr; // owned

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

// With what can be done about it, unless that is said already.
Problem problemIn(const MessageError &error) {
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
    Problem problem{static_cast<ProblemKind>(error.errorKind()), std::string(error.text()), {}};
    const bool saysAgain = problem.text.find("again") != std::string::npos;
    switch (problem.kind) {
    case ProblemKind::refused:
        problem.text += ". The library's owner can allow it: wickerlane consent grant " + ownExecutable();
        break;
    case ProblemKind::busy:
    case ProblemKind::ending:
    case ProblemKind::queueFull:
        if (!saysAgain)
            problem.text += ". Try again later.";
        break;
    default:
        break;
    }
    return problem;
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
        noteProblem(problemIn(*error));
    else if (lastError != nullptr)
        replaceLastError(nullptr);
}

void noteProblem(const Problem &problem) {
    replaceLastError(makeError(problem));
}

Error *errorIn(const MessageValue *reply) {
    const auto *error = as<MessageError>(reply);
    return error != nullptr ? errorOf(problemIn(*error)) : nullptr;
}

Error *errorOf(const Problem &problem) {
    return autorelease(makeError(problem));
}

Error *lastErrorOfThread() {
    return lastError != nullptr ? autorelease(Ref(lastError)) : nullptr;
}

} // namespace wickerlane::client
