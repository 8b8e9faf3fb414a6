#include "hoardd/service/CurrentCall.h"

namespace wickerlane::hoardd {
namespace {
thread_local constinit ReceivedMessage *messageOfThread = nullptr;
} // namespace

CurrentCall::CurrentCall(ReceivedMessage *message) noexcept : outer(messageOfThread) {
    messageOfThread = message;
}

CurrentCall::~CurrentCall() {
    messageOfThread = outer;
}

bool CurrentCall::isCancelled() {
    return messageOfThread != nullptr && messageOfThread->isCancelled();
}

} // namespace wickerlane::hoardd
