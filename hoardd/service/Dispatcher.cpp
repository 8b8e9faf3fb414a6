#include "hoardd/service/Dispatcher.h"

#include <algorithm>

#include "hoardd/service/Access.h"
#include "hoardd/service/Ending.h"
#include "hoardd/service/PeerLog.h"
#include "wickerlane/protocol/CoreRows.h"

namespace wickerlane::hoardd {

namespace {

/// What is wrong with a text of a request. Names, addresses and paths are far shorter than the limit.
Result<> checkTextSizes(const Call &call, const protocol::Row &row) {
    constexpr std::size_t maxTextBytes = 64 << 10;
    for (const protocol::Field &field : row.requestKeys.all())
        if (call.message()->getString(field.key).value_or("").size() > maxTextBytes)
            return fail(ProblemKind::invalid,
                        std::string("the text under \"") + field.key + "\" is longer than 64 KiB");
    return {};
}

std::optional<protocol::OperationCode> codeOf(const Call &call) {
    const auto *value = as<MessageScalar>(call.value(protocol::keys::operation));
    if (value == nullptr || value->kind() != MessageKind::int64)
        return std::nullopt;
    return value->int64Value();
}

bool takesLibrary(const Operation &operation) {
    return std::holds_alternative<LibraryHandler>(operation.handler) ||
           std::holds_alternative<WaitingHandler>(operation.handler) ||
           std::holds_alternative<JobsHandler>(operation.handler);
}

Result<> checkCaller(const Operation &operation, const PeerIdentity &peer) {
    const AccessStatus access =
        operation.callers == Callers::everybody ? AccessStatus::granted : accessOf(peer);
    if (access != AccessStatus::granted && peer.program.standing == ProgramStanding::foreign)
        return fail(ProblemKind::refused,
                    "this program runs in a user or mount namespace of its own, where its path "
                    "could be made up");
    if (access == AccessStatus::denied)
        return fail(ProblemKind::refused, "this program was denied access to the photo library");
    if (access != AccessStatus::granted)
        return fail(ProblemKind::refused, "this user has no access to the photo library");
    if (operation.entitlement != nullptr && !isEntitled(peer, *operation.entitlement))
        return fail(ProblemKind::refused, "this program lacks the entitlement");
    return {};
}

Result<> checkRequest(const Operation &operation, const Call &call) {
    return checkCaller(operation, call.peer()).and_then([&] { return checkTextSizes(call, *operation.row); });
}

ClientJobs jobsOf(const Call &call, JobQueue &queue) {
    return {queue, call.peer().process, call.wantsReply()};
}

} // namespace

Dispatcher::Dispatcher(Options chosen) : options(std::move(chosen)) {
    for (const std::span<const Operation> family : options.operations)
        for (const Operation &operation : family)
            for (const protocol::Field &field : operation.row->requestKeys.all())
                if (field.isList)
                    listKeys.insert(field.key);
}

std::size_t Dispatcher::weightOf(std::string_view key) const {
    // The shortest values of a list become objects some twenty times their size.
    constexpr std::size_t weightOfLists = 24;
    return listKeys.contains(key) ? weightOfLists : 0;
}

// Several rows may share a code: the request is served by the first whose shape it has.
Result<const Operation *> Dispatcher::find(const Call &call) const {
    const auto asked = codeOf(call);
    if (!asked)
        return fail(ProblemKind::invalid, "the request names no operation");
    const protocol::OperationCode code = *asked;
    std::string misfits;
    for (const std::span<const Operation> family : options.operations)
        for (const Operation &operation : family) {
            if (operation.row->code != code)
                continue;
            const std::string misfit = protocol::problemWith(call.message(), *operation.row);
            if (misfit.empty())
                return &operation;
            misfits += (misfits.empty() ? "" : "; ") + misfit;
        }
    if (!misfits.empty())
        return fail(ProblemKind::invalid, misfits);
    const auto dropped = std::ranges::find(options.dropped, code, &DroppedOperation::code);
    if (dropped == options.dropped.end())
        return fail(ProblemKind::invalid, "there is no operation " + std::to_string(code));
    return fail(ProblemKind::invalid, std::string("hoardd does not serve ") + dropped->name + " since " +
                                          dropped->release + ", and the library of this program is of " +
                                          call.version().text() + ": upgrade the program");
}

void Dispatcher::dispatch(const Call &asked) {
    memory.noteWork();
    const PeerLogScope logged(asked.peer().process);
    const auto operation = find(asked);
    const protocol::Row *row = operation ? (*operation)->row : nullptr;
    // Questions for what was noted are not: they would make each other longer.
    const bool isNoted = Traffic::isWatched() && row != &protocol::takeTraffic;
    const Call received = isNoted ? asked.noted(row, operation && checkRequest(**operation, asked)) : asked;
    if (!operation)
        return received.refuse(operation.error());
    const Call call = received.servedBy(**operation);
    const auto held = beginServing();
    if (!held)
        return call.refuse(stopped().value());
    const auto begun = withoutExceptions([&] { return begin(**operation, call, held); });
    if (!begun)
        call.refuse(begun.error());
}

bool Dispatcher::mayBeKnown(const Call &call) const {
    const auto code = codeOf(call);
    return code && std::ranges::any_of(options.operations, [&](std::span<const Operation> family) {
               return std::ranges::any_of(family, [&](const Operation &operation) {
                   return operation.known != nullptr && operation.row->code == *code;
               });
           });
}

bool Dispatcher::serveKnown(const Call &received) {
    if (!mayBeKnown(received) || Traffic::isWatched())
        return false; // and is looked at once, where it is served
    const auto operation = find(received);
    if (!operation || (*operation)->known == nullptr || (*operation)->entitlement != nullptr)
        return false;
    if ((*operation)->callers != Callers::everybody &&
        knownAccessOf(received.peer()) != AccessStatus::granted)
        return false;
    const auto answer = withoutExceptions([&]() -> Result<std::optional<Answer>> {
        return (*operation)->known(options.readyLibrary(), received);
    });
    if (!answer || !*answer)
        return false;
    memory.noteWork();
    received.answer(**answer);
    return true;
}

Result<> Dispatcher::begin(const Operation &operation, const Call &call, const std::shared_ptr<void> &held) {
    if (const auto checked = checkRequest(operation, call); !checked)
        return checked;
    // Opened here rather than in a queue, so that what a new library leaves to do comes before this.
    Library *library = nullptr;
    if (takesLibrary(operation)) {
        const auto opened = options.openLibrary();
        if (!opened)
            return passOn(opened);
        library = *opened;
    }
    const auto work = [this, &operation, library, call] { serve(operation, library, call); };
    switch (operation.runs) {
    case Runs::inOrder:
        work();
        return {};
    case Runs::beside:
        return jobsOf(call, *options.beside).add({[this, &operation, library, call, held] {
            serveWhenRead(operation, library, call, held);
        }});
    case Runs::asJob:
        return jobsOf(call, *options.jobs).add({work});
    case Runs::longWork:
        return jobsOf(call, *options.longWork).add({work});
    }
    return {};
}

void Dispatcher::serveWhenRead(const Operation &operation, Library *library, const Call &call,
                               const std::shared_ptr<void> &held) {
    if (isEnding())
        return call.refuse(stopped().value());
    const auto again = [this, &operation, library, call, held] {
        jobsOf(call, *options.beside).addRest([this, &operation, library, call, held] {
            serveWhenRead(operation, library, call, held);
        });
    };
    if (!call.postponeUntilRead(again))
        serve(operation, library, call);
}

void Dispatcher::serve(const Operation &operation, Library *library, const Call &call) const {
    if (call.isCancelled())
        return call.refuse(cancelled().value());
    if (operation.onlyReads && !call.isAwaited())
        return;
    const PeerLogScope logged(call.peer().process);
    const CurrentCall current = call.workedFor();
    const auto result = withoutExceptions([&] { return handle(operation, library, call); });
    if (!result) {
        if (result.error().kind == ProblemKind::damagedStore && options.storeIsDamaged)
            options.storeIsDamaged(result.error());
        call.refuse(result.error());
    } else if (*result)
        call.answer(**result);
}

Result<std::optional<Answer>> Dispatcher::handle(const Operation &operation, Library *library,
                                                 const Call &call) const {
    if (const auto *plain = std::get_if<PlainHandler>(&operation.handler))
        return (*plain)(call);
    if (const auto *onFolder = std::get_if<FolderHandler>(&operation.handler))
        return (*onFolder)(*options.folder, call);
    if (const auto *onLibrary = std::get_if<LibraryHandler>(&operation.handler))
        return (*onLibrary)(*library, call);
    if (const auto *waiting = std::get_if<WaitingHandler>(&operation.handler))
        return (*waiting)(*library, call);
    const auto begun = std::get<JobsHandler>(operation.handler)(*library, jobsOf(call, *options.jobs), call);
    if (!begun)
        return passOn(begun);
    return std::nullopt;
}

std::shared_ptr<void> Dispatcher::beginServing() {
    const MutexLock lock(mutex);
    if (isStopping)
        return nullptr;
    ++serving;
    return {this, [](void *dispatcher) { static_cast<Dispatcher *>(dispatcher)->endServing(); }};
}

void Dispatcher::endServing() {
    const MutexLock lock(mutex);
    if (--serving == 0)
        served.notifyAll();
}

bool Dispatcher::isEnding() {
    const MutexLock lock(mutex);
    return isStopping;
}

void Dispatcher::end() {
    const MutexLock lock(mutex);
    isStopping = true;
}

void Dispatcher::stop() {
    const MutexLock lock(mutex);
    isStopping = true;
    while (serving != 0)
        served.wait(mutex);
}

} // namespace wickerlane::hoardd
