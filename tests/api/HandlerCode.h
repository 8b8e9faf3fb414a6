// What a handler is called with.
#ifndef WICKERLANE_TESTS_API_HANDLERCODE_H
#define WICKERLANE_TESTS_API_HANDLERCODE_H

#include <gtest/gtest.h>

#include "wickerlane/api/Wickerlane.h"

namespace wickerlane::test {

inline constexpr std::int64_t success = -1;

/// Starts something by `start`, which takes a handler, and waits: the code of the error; `success` without
/// one. A result comes exactly when there is no error, and an error has a text.
template <class Result = bool, class Start>
std::int64_t codeFrom(const Start &start) {
    std::int64_t code = -2;
    const auto answered = Semaphore::create(0);
    start(Handler<void(Result, WLError *)>([&](Result result, WLError *error) {
        EXPECT_EQ(result != Result{}, error == nullptr);
        EXPECT_TRUE(error == nullptr || WLErrorDomain(error)->utf8() == "WickerlaneRequest");
        EXPECT_TRUE(error == nullptr || WLStringLength(WLErrorText(error)) > 10);
        code = error != nullptr ? WLErrorCode(error) : success;
        answered->signal();
    }));
    answered->wait();
    return code;
}

} // namespace wickerlane::test

#endif
