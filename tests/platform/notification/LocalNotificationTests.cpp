#include "wickerlane/platform/notification/LocalNotification.h"

#include <gtest/gtest.h>

#include <thread>

#include "wickerlane/platform/object/String.h"

using namespace wickerlane;

TEST(LocalNotifications, ReachTheObserversOfTheirNameAndSender) {
    const auto one = String::create("one"), other = String::create("other");
    std::string told;
    const auto note = [&told](const char *who) {
        return [&told, who](const LocalNotification &) { told += who; };
    };
    const auto any = observeLocalNotification("name", nullptr, note("a"));
    const auto ofOne = observeLocalNotification("name", one.get(), note("1"));
    const auto unrelated = observeLocalNotification("other name", nullptr, note("x"));
    postLocalNotification("name", one.get());
    postLocalNotification("name", other.get());
    postLocalNotification("name");
    EXPECT_EQ(told, "a1aa");
    for (const auto token : {any, ofOne, unrelated, 0, 12345})
        removeLocalObserver(token);
    postLocalNotification("name", one.get());
    EXPECT_EQ(told, "a1aa");
    EXPECT_EQ(observeLocalNotification("name", nullptr, nullptr), 0);
}

TEST(LocalNotifications, LetHandlersObservePostAndRemove) {
    int later = 0, added = 0;
    LocalObserverToken second = 0, third = 0;
    const auto first = observeLocalNotification("outer", nullptr, [&](const LocalNotification &outer) {
        EXPECT_EQ(outer.name, "outer");
        removeLocalObserver(second);
        third = observeLocalNotification("inner", nullptr, [&](const LocalNotification &) { ++added; });
        postLocalNotification("inner");
    });
    second = observeLocalNotification("outer", nullptr, [&](const LocalNotification &) { ++later; });
    postLocalNotification("outer");
    EXPECT_EQ(later, 0) << "it was removed before its turn";
    EXPECT_EQ(added, 1);
    removeLocalObserver(first);
    removeLocalObserver(third);
}

TEST(LocalNotifications, ComeFromManyThreads) {
    std::atomic<int> told = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] {
            for (int j = 0; j < 200; ++j) {
                const auto token =
                    observeLocalNotification("busy", nullptr, [&](const LocalNotification &) { ++told; });
                postLocalNotification("busy");
                removeLocalObserver(token);
            }
        });
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_GE(told, 800);
}
