#include "wickerlane/api/WLError.h"

#include <algorithm>
#include <cmath>

#include "wickerlane/client/JXGatekeeperClient.h"

using namespace wickerlane;

namespace {

constexpr bool isSame(std::int64_t code, ProblemKind kind) {
    return code == static_cast<std::int64_t>(kind);
}

static_assert(isSame(WLErrorFailed, ProblemKind::failed));
static_assert(isSame(WLErrorInvalid, ProblemKind::invalid));
static_assert(isSame(WLErrorNotFound, ProblemKind::notFound));
static_assert(isSame(WLErrorRefused, ProblemKind::refused));
static_assert(isSame(WLErrorBusy, ProblemKind::busy));
static_assert(isSame(WLErrorEnding, ProblemKind::ending));
static_assert(isSame(WLErrorExists, ProblemKind::exists));
static_assert(isSame(WLErrorDamagedStore, ProblemKind::damagedStore));
static_assert(isSame(WLErrorNoSpace, ProblemKind::noSpace));
static_assert(isSame(WLErrorNotWritable, ProblemKind::notWritable));
static_assert(isSame(WLErrorNewerVersion, ProblemKind::newerVersion));
static_assert(isSame(WLErrorUnreachable, ProblemKind::unreachable));
static_assert(isSame(WLErrorEmpty, ProblemKind::empty));
static_assert(isSame(WLErrorQueueFull, ProblemKind::queueFull));
static_assert(isSame(WLErrorTimedOut, ProblemKind::timedOut));
static_assert(isSame(WLErrorCancelled, ProblemKind::cancelled));

// The end of time for what lies beyond it; none for what is no number.
std::chrono::nanoseconds timeOf(double seconds) {
    constexpr double most = 9e9; // seconds that a count of nanoseconds can hold
    return std::chrono::nanoseconds(seconds > 0 ? std::llround(std::min(seconds, most) * 1e9) : 0);
}

} // namespace

WLError *WLLastError() {
    return JXGatekeeperClient::lastError();
}

void WLSetTimeLimit(double seconds) {
    JXGatekeeperClient::sharedInstance()->setReplyTimeLimit(timeOf(seconds));
}

void WLSetTimeLimitOfThread(double seconds) {
    ReplyTimeLimit::setOfThread(seconds < 0 ? std::nullopt : std::optional(timeOf(seconds)));
}

WLString *WLErrorDomain(const WLError *error) {
    return error != nullptr ? error->domain() : nullptr;
}

int64_t WLErrorCode(const WLError *error) {
    return error != nullptr ? error->code() : 0;
}

WLString *WLErrorText(const WLError *error) {
    return error != nullptr ? error->localizedDescription() : nullptr;
}
