#include "wickerlane/api/WLChanges.h"

#include "wickerlane/api/CallInternal.h"
#include "wickerlane/api/ReasonInternal.h"

using namespace wickerlane;

static_assert(WLChangeAdded == static_cast<int>(AssetChange::What::added));
static_assert(WLChangeChanged == static_cast<int>(AssetChange::What::changed));
static_assert(WLChangeRemoved == static_cast<int>(AssetChange::What::removed));

namespace {

const AssetChange *changeAt(const WLChanges *changes, std::size_t index) {
    return index < WLChangesCount(changes) ? &changes->record().changes[index] : nullptr;
}

constexpr const char *notUTF8 = "the token is not UTF-8";

bool isToken(const char *token) {
    return token == nullptr || String::create(token) != nullptr;
}

std::string textOf(const char *token) {
    return token != nullptr ? token : "";
}

template <class Ask>
WLChanges *create(const char *token, WLError **error, const Ask &ask) {
    if (!isToken(token))
        return failing<WLChanges *>(nullptr, ProblemKind::invalid, notUTF8, error);
    std::optional<ChangesPage> page = ask(textOf(token));
    return withLastError(page ? makeRef<ChangesObject>(*std::move(page)).leak() : nullptr, error);
}

} // namespace

WLChanges *WLChangesCreate(const char *token, size_t limit, WLError **error) {
    return create(token, error,
                  [&](const std::string &since) { return sharedClient()->changesSinceToken(since, limit); });
}

WLChanges *WLChangesCreateWhenAny(const char *token, size_t limit, int64_t seconds, WLError **error) {
    return create(token, error, [&](const std::string &since) {
        return sharedClient()->awaitChangesSinceToken(since, limit, std::chrono::seconds(seconds));
    });
}

void WLChangesAwait(const char *token, size_t limit, int64_t seconds,
                    void (*handler)(void *, WLChanges *, WLError *), void *context,
                    WLReleaseContext release) {
    auto called = handlerOf(handler, context, release);
    if (!called)
        return;
    if (!isToken(token)) {
        failLater(std::move(called), notUTF8);
        return;
    }
    sharedClient()->awaitChangesSinceToken(
        textOf(token), limit, std::chrono::seconds(seconds),
        [called = std::move(called)](const ChangesPage *page, Error *error) {
            called(page != nullptr ? makeRef<ChangesObject>(*page).get() : nullptr, error);
        });
}

size_t WLChangesCount(const WLChanges *changes) {
    return changes != nullptr ? changes->record().changes.size() : 0;
}

const char *WLChangesToken(const WLChanges *changes) {
    return changes != nullptr ? changes->record().token.c_str() : nullptr;
}

bool WLChangesIsLast(const WLChanges *changes) {
    return changes == nullptr || changes->record().isLast;
}

bool WLChangesIsTooOld(const WLChanges *changes) {
    return changes != nullptr && changes->record().isTooOld;
}

int WLChangesKind(const WLChanges *changes, size_t index) {
    const AssetChange *change = changeAt(changes, index);
    return change != nullptr ? static_cast<int>(change->what) : 0;
}

const char *WLChangesUUID(const WLChanges *changes, size_t index) {
    const AssetChange *change = changeAt(changes, index);
    return change != nullptr ? change->uuid.c_str() : nullptr;
}

double WLChangesDate(const WLChanges *changes, size_t index) {
    const AssetChange *change = changeAt(changes, index);
    return change != nullptr ? change->date : 0;
}

int64_t WLChangesNumber(const WLChanges *changes, size_t index) {
    const AssetChange *change = changeAt(changes, index);
    return change != nullptr ? change->number : 0;
}
