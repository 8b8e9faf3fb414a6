#include "hoardd/service/Dispatcher.h"

#include "hoardd/service/Access.h"
#include "wickerlane/platform/queue/WorkQueue.h"

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

bool takesLibrary(const Operation &operation) {
    return std::holds_alternative<LibraryHandler>(operation.handler) ||
           std::holds_alternative<JobsHandler>(operation.handler);
}

const char *textWhenFull(Runs runs) {
    return runs == Runs::longWork ? "too much long work is waiting; try again later"
                                  : "too many jobs are waiting; try again later";
}

} // namespace

// Several rows may share a code: the request is served by the first whose shape it has.
Result<const Operation *> Dispatcher::find(const Call &call) const {
    const auto *value = as<MessageScalar>(call.value(protocol::keys::operation));
    if (value == nullptr || value->kind() != MessageKind::int64)
        return fail(ProblemKind::invalid, "the request names no operation");
    const protocol::OperationCode code = value->int64Value();
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
    return fail(ProblemKind::invalid,
                misfits.empty() ? "there is no operation " + std::to_string(code) : misfits);
}

void Dispatcher::dispatch(const Call &received) {
    const auto held = beginServing();
    if (!held)
        return received.refuse({ProblemKind::ending, "hoardd is ending; ask again", {}});
    const auto found = find(received);
    if (!found)
        return received.refuse(found.error());
    const Operation &operation = **found;
    const Call call = received.servedBy(operation);
    const bool hasEntitlement =
        operation.entitlement == nullptr || isEntitled(call.peer(), *operation.entitlement);
    if (operation.callers != Callers::everybody && accessOf(call.peer()) != AccessStatus::granted)
        return call.refuse({ProblemKind::refused, "this user has no access to the photo library", {}},
                           hasEntitlement);
    if (!hasEntitlement)
        return call.refuse({ProblemKind::refused, "this program lacks the entitlement", {}}, false);
    if (const auto checked = checkTextSizes(call, *operation.row); !checked)
        return call.refuse(checked.error());

    // Opened here rather than in a queue, so that what a new library leaves to do comes before this.
    Library *library = nullptr;
    if (takesLibrary(operation)) {
        const auto opened = options.openLibrary();
        if (!opened)
            return call.refuse(opened.error());
        library = *opened;
    }
    const auto work = [this, &operation, library, call] { serve(operation, library, call); };
    switch (operation.runs) {
    case Runs::inOrder:
        return work();
    case Runs::beside:
        return WorkQueue::global()->async([work, held] { work(); });
    case Runs::asJob:
    case Runs::longWork:
        if (!(operation.runs == Runs::asJob ? options.jobs : options.longWork)->add({work}))
            call.refuse({ProblemKind::busy, textWhenFull(operation.runs), {}});
    }
}

void Dispatcher::serve(const Operation &operation, Library *library, const Call &call) const {
    const auto result = withoutExceptions([&] { return handle(operation, library, call); });
    if (!result)
        call.refuse(result.error());
    else if (*result)
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
    const auto begun = std::get<JobsHandler>(operation.handler)(*library, *options.jobs, call);
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

void Dispatcher::stop() {
    const MutexLock lock(mutex);
    isStopping = true;
    while (serving != 0)
        served.wait(mutex);
}

} // namespace wickerlane::hoardd
