#include "wickerlane/platform/locale/NumberFormatter.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <thread>
#include <vector>

using namespace wickerlane;

namespace {

constexpr std::uint64_t largest = std::numeric_limits<std::uint64_t>::max();

TEST(NumberFormatter, WritesNumbersAsTheLocaleDoes) {
    struct Row {
        const char *locale;
        NumberStyle style;
        std::uint64_t number;
        const char *text;
    };
    const Row rows[] = {
        {"en", NumberStyle::decimal, 1234, "1,234"},
        {"en", NumberStyle::decimal, 0, "0"},
        {"en", NumberStyle::decimal, largest, "18,446,744,073,709,551,615"},
        {"en", NumberStyle::plain, largest, "18446744073709551615"},
        {"de-AT", NumberStyle::decimal, 1234567, "1\u00A0234\u00A0567"},
        {"de", NumberStyle::decimal, 1234567, "1.234.567"},
        {"de_CH", NumberStyle::decimal, 1234567, "1\u2019234\u2019567"},
        {"hi-IN", NumberStyle::decimal, 1234567, "12,34,567"},
        {"ar-EG", NumberStyle::decimal, 1234, "\u0661\u066C\u0662\u0663\u0664"},
        {"ja", NumberStyle::plain, 1234, "1234"},
        {"", NumberStyle::decimal, 1234, "1,234"},
        {"?", NumberStyle::decimal, 1234, "1,234"},
    };
    for (const Row &row : rows)
        EXPECT_EQ(NumberFormatter::create(row.locale, row.style)->stringFromInteger(row.number)->utf8(),
                  row.text)
            << row.locale;
    const std::string endless(1000, 'x');
    EXPECT_EQ(NumberFormatter::create(endless, NumberStyle::decimal)->stringFromInteger(1234)->utf8(),
              "1,234");

    const auto german = NumberFormatter::create("de", NumberStyle::decimal);
    EXPECT_EQ(german->stringFromNumber(Number::of(-1234.5))->utf8(), "-1.234,5");
    EXPECT_EQ(german->stringFromNumber(Number::of(std::numeric_limits<std::int64_t>::min()))->utf8(),
              "-9.223.372.036.854.775.808");
    EXPECT_EQ(german->stringFromNumber(Number::of(largest))->utf8(), "18.446.744.073.709.551.615");
    EXPECT_EQ(german->stringFromNumber(Number::of(true))->utf8(), "1");
    EXPECT_EQ(german->stringFromNumber(nullptr), nullptr);
}

TEST(NumberFormatter, ReadsWhatItWrites) {
    const auto exact = NumberFormatter::create("de", NumberStyle::decimal, true);
    const auto real = NumberFormatter::create("de", NumberStyle::decimal);
    const auto isRead = [](const Ref<NumberFormatter> &by, const char *text, Number *expected) {
        const Number *read = by->numberFromString(String::of(text));
        return areEqual(read, expected) && (read == nullptr || read->kind() == expected->kind());
    };
    EXPECT_TRUE(isRead(exact, "1.234", Number::of(1234)));
    EXPECT_TRUE(isRead(real, "1.234", Number::of(1234.0)));
    EXPECT_TRUE(isRead(exact, "-9.007.199.254.740.993", Number::of(-9007199254740993)));
    EXPECT_TRUE(isRead(exact, "18.446.744.073.709.551.615", Number::of(largest)));
    EXPECT_TRUE(isRead(exact, "18.446.744.073.709.551.616", Number::of(18446744073709551616.0)));
    EXPECT_TRUE(isRead(exact, "10.000.000.000.000.000.000", Number::of(10000000000000000000U)));
    EXPECT_TRUE(isRead(exact, "-12.345.678.901.234.567.890,5", Number::of(-12345678901234567890.5)));
    EXPECT_TRUE(isRead(exact, "0,5", Number::of(0.5)));
    for (const char *wrong : {"", " ", "x", "12 Fotos", "--1", "1e", "NaN"})
        EXPECT_EQ(exact->numberFromString(String::of(wrong)), nullptr) << wrong;
    EXPECT_EQ(exact->numberFromString(nullptr), nullptr);
}

TEST(NumberFormatter, ServesThreadsThatShareIt) {
    const auto shared = NumberFormatter::create("en", NumberStyle::decimal, true);
    std::vector<std::thread> threads;
    for (std::uint64_t thread = 0; thread < 4; ++thread)
        threads.emplace_back([&, thread] {
            for (std::uint64_t i = 0; i < 500; ++i) {
                const ReleaseScope scope;
                const std::uint64_t number = thread * 1'000'000 + i;
                String *text = shared->stringFromInteger(number);
                ASSERT_TRUE(areEqual(shared->numberFromString(text), Number::of(number))) << text->utf8();
            }
        });
    for (auto &thread : threads)
        thread.join();
}

} // namespace
