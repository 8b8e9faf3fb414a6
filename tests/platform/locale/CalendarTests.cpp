// Dates: their text, and the calendar behind it.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <string>
#include <thread>
#include <vector>

#include "wickerlane/platform/locale/DateFormatter.h"
#include "wickerlane/platform/locale/GregorianCalendar.h"

using namespace wickerlane;

namespace {

Ref<GregorianCalendar> calendar() {
    return GregorianCalendar::create("en-US");
}

Date *at(std::int32_t year, std::int32_t month, std::int32_t day, std::int32_t hour = 15,
         std::int32_t minute = 30) {
    return calendar()->dateFromComponents({year, month, day, hour, minute, 0});
}

const std::array noInstants{std::numeric_limits<double>::quiet_NaN(), HUGE_VAL, -HUGE_VAL};

TEST(DateFormatter, WritesDatesAsTheLocaleDoes) {
    struct Row {
        const char *locale;
        DateStyle date, time;
        const char *text;
    };
    const Row rows[] = {
        {"en", DateStyle::medium, DateStyle::none, "May 3, 2001"},
        {"en", DateStyle::full, DateStyle::none, "Thursday, May 3, 2001"},
        {"de", DateStyle::medium, DateStyle::brief, "03.05.2001, 15:30"},
        {"de", DateStyle::none, DateStyle::medium, "15:30:00"},
        {"fr", DateStyle::extended, DateStyle::none, "3 mai 2001"},
        {"ja", DateStyle::brief, DateStyle::none, "2001/05/03"},
    };
    for (const Row &row : rows)
        for (const bool relative : {false, true})
            EXPECT_EQ(DateFormatter::create(row.locale, row.date, row.time, relative)
                          ->stringFromDate(at(2001, 5, 3))
                          ->utf8(),
                      row.text)
                << row.locale;
    const auto formatter = DateFormatter::create("en", DateStyle::medium, DateStyle::brief, true);
    EXPECT_EQ(formatter->stringFromDate(nullptr), nullptr);
    for (const double seconds : noInstants)
        EXPECT_EQ(formatter->stringFromDate(Date::createWithReferenceSeconds(seconds).get()), nullptr);
    for (const double seconds : {1e300, -1e300, 1e15})
        EXPECT_NE(formatter->stringFromDate(Date::createWithReferenceSeconds(seconds).get()), nullptr);
}

TEST(DateFormatter, CallsNearDaysByTheirNames) {
    struct Row {
        const char *locale;
        int day;
        const char *name;
    };
    const Row rows[] = {{"en", 0, "Today"},
                        {"en", -1, "Yesterday"},
                        {"en", 1, "Tomorrow"},
                        {"de", -2, "Vorgestern"},
                        {"fr", 0, "Aujourd\u2019hui"},
                        {"ja", -1, "昨日"},
                        {"pt-BR", -1, "Ontem"},
                        {"ar", 0, "اليوم"}};
    const auto days = calendar();
    for (const Row &row : rows) {
        std::string text;
        Ref<Date> now;
        do { // again when midnight comes in between
            now = Date::createNow();
            text = DateFormatter::create(row.locale, DateStyle::medium, DateStyle::brief, true)
                       ->stringFromDate(days->dateByAdding(row.day, CalendarUnit::day, now.get()))
                       ->utf8();
        } while (!days->isSameDay(now.get(), Date::createNow().get()));
        EXPECT_EQ(text.substr(0, std::string_view(row.name).size()), row.name) << text;
        EXPECT_GT(text.size(), std::string_view(row.name).size() + 4) << text;
    }
}

TEST(GregorianCalendar, KnowsDaysAndMonths) {
    const auto days = calendar();
    const DateComponents place{2024, 2, 29, 23, 59, 58};
    EXPECT_EQ(days->components(days->dateFromComponents(place)), place);
    EXPECT_EQ(days->weekday(at(2001, 1, 1)), 2);
    EXPECT_EQ(days->firstWeekday(), 1);
    EXPECT_EQ(GregorianCalendar::create("de")->firstWeekday(), 2);
    EXPECT_TRUE(areEqual(days->startOfDay(at(2024, 2, 29)), at(2024, 2, 29, 0, 0)));
    EXPECT_TRUE(days->isSameDay(at(2024, 2, 29, 0, 0), at(2024, 2, 29, 23, 59)));
    EXPECT_FALSE(days->isSameDay(at(2024, 2, 29, 23, 59), at(2024, 3, 1, 0, 0)));

    struct Row {
        Date *from;
        std::int32_t amount;
        CalendarUnit unit;
        Date *to;
    };
    const Row rows[] = {
        {at(2023, 1, 31), 1, CalendarUnit::month, at(2023, 2, 28)},
        {at(2024, 2, 29), 1, CalendarUnit::year, at(2025, 2, 28)},
        {at(2024, 1, 1), -1, CalendarUnit::day, at(2023, 12, 31)},
        {at(2024, 1, 1), 2, CalendarUnit::week, at(2024, 1, 15)},
        {at(2024, 1, 1), 25, CalendarUnit::hour, at(2024, 1, 2, 16)},
        {at(2024, 1, 1), 90, CalendarUnit::second, days->dateFromComponents({2024, 1, 1, 15, 31, 30})},
        {at(1582, 10, 4), 1, CalendarUnit::day, at(1582, 10, 15)}, // the first day of this calendar
        {at(1, 6, 1), -2, CalendarUnit::year, at(-1, 6, 1)},
    };
    for (const Row &row : rows)
        EXPECT_TRUE(areEqual(days->dateByAdding(row.amount, row.unit, row.from), row.to))
            << row.from->description()->utf8() << " + " << row.amount;
}

TEST(GregorianCalendar, RefusesWhatIsNoDay) {
    const auto days = calendar();
    for (const DateComponents &wrong :
         {DateComponents{2023, 2, 29}, DateComponents{2023, 13, 1}, DateComponents{2023, 0, 1},
          DateComponents{2023, 1, 0}, DateComponents{2023, 1, 1, 24}, DateComponents{2023, 1, 1, 0, 60},
          DateComponents{2023, 1, 1, 0, 0, -1}, DateComponents{INT32_MAX, 1, 1},
          DateComponents{INT32_MIN, 1, 1}, DateComponents{2023, INT32_MIN, 1},
          DateComponents{2023, 1, INT32_MAX}})
        EXPECT_EQ(days->dateFromComponents(wrong), nullptr)
            << wrong.year << '-' << wrong.month << '-' << wrong.day;

    std::vector<Ref<Date>> none{nullptr};
    for (const double seconds : noInstants)
        none.push_back(Date::createWithReferenceSeconds(seconds));
    none.push_back(Date::createWithReferenceSeconds(1e300));
    for (const Ref<Date> &date : none) {
        EXPECT_EQ(days->components(date.get()), std::nullopt);
        EXPECT_EQ(days->weekday(date.get()), std::nullopt);
        EXPECT_EQ(days->startOfDay(date.get()), nullptr);
        EXPECT_EQ(days->dateByAdding(1, CalendarUnit::day, date.get()), nullptr);
        EXPECT_FALSE(days->isSameDay(date.get(), date.get()));
    }
    for (const std::int32_t amount : {INT32_MIN, INT32_MAX}) {
        EXPECT_EQ(days->dateByAdding(amount, CalendarUnit::year, at(2024, 1, 1)), nullptr);
        EXPECT_EQ(days->dateByAdding(amount, CalendarUnit::month, at(2024, 1, 1)), nullptr);
        // These reach no further than the calendar does.
        Date *there = days->dateByAdding(amount, CalendarUnit::second, at(2024, 1, 1));
        ASSERT_NE(there, nullptr);
        EXPECT_EQ(there->unixSeconds(), at(2024, 1, 1)->unixSeconds() + amount);
    }
}

TEST(GregorianCalendar, ServesThreadsThatShareIt) {
    const auto days = calendar();
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread)
        threads.emplace_back([&, thread] {
            for (int i = 0; i < 200; ++i) {
                const ReleaseScope scope;
                const DateComponents place{2000 + thread, 1 + i % 12, 1 + i % 28, i % 24, i % 60, 0};
                const Date *date = days->dateFromComponents(place);
                const bool mayBeSkipped = i % 24 <= 3; // at which clocks may be changed
                ASSERT_TRUE(mayBeSkipped || days->components(date) == place);
            }
        });
    for (auto &thread : threads)
        thread.join();
}

} // namespace
