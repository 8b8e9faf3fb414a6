#include "hoardd/library/ChangeNotice.h"

#include <gtest/gtest.h>

#include "wickerlane/platform/queue/Semaphore.h"

using namespace wickerlane;
using namespace wickerlane::hoardd;
using namespace std::chrono_literals;

namespace {

TEST(ChangeNotice, PostsAtOnceAndThenTogether) {
    int posts = 0;
    ChangeNotice notice([&] { ++posts; }, 1h);
    notice.flush();
    EXPECT_EQ(posts, 0);
    notice.noteChange();
    EXPECT_EQ(posts, 1);
    for (int i = 0; i < 1000; ++i)
        notice.noteChange();
    EXPECT_EQ(posts, 1);
    notice.flush();
    notice.flush();
    EXPECT_EQ(posts, 2);
}

TEST(ChangeNotice, PostsWhatCameWhileItRested) {
    const auto posted = Semaphore::create(0);
    ChangeNotice notice([posted] { posted->signal(); }, 1ms);
    for (int i = 0; i < 20; ++i) {
        notice.noteChange(); // rests now
        posted->wait();
        notice.noteChange(); // rests still, or again
        posted->wait();
    }
}

} // namespace
