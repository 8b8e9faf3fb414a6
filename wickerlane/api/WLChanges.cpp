#include "wickerlane/api/WLChanges.h"

#include "wickerlane/api/CallInternal.h"

using namespace wickerlane;

static_assert(WLChangeAdded == static_cast<int>(AssetChange::What::added));
static_assert(WLChangeChanged == static_cast<int>(AssetChange::What::changed));
static_assert(WLChangeRemoved == static_cast<int>(AssetChange::What::removed));

namespace {

const AssetChange *changeAt(const WLChanges *changes, std::size_t index) {
    return index < WLChangesCount(changes) ? &changes->record().changes[index] : nullptr;
}

} // namespace

WLChanges *WLChangesCreate(const char *token, size_t limit, WLError **error) {
    if (token != nullptr && !String::create(token))
        return failing<WLChanges *>(nullptr, ProblemKind::invalid, "the token is not UTF-8", error);
    auto page = sharedClient()->changesSinceToken(token != nullptr ? token : "", limit);
    return withLastError(page ? makeRef<ChangesObject>(*std::move(page)).leak() : nullptr, error);
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
