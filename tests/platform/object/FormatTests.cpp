#include "wickerlane/platform/object/Format.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <clocale>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <cwchar>

#include "wickerlane/platform/object/Array.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/String.h"

using namespace wickerlane;

namespace {

// What the C library makes of the same format and arguments.
std::string cFormat(const char *format, ...) {
    char text[8192];
    va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    return {text, static_cast<std::size_t>(length)};
}

template <class... Arguments>
void expectLikeC(std::initializer_list<const char *> formats, Arguments... arguments) {
    for (const char *format : formats)
        EXPECT_EQ(formatUTF8(format, arguments...), cFormat(format, arguments...)) << format;
}

TEST(Formats, NumbersAreShownAsCShowsThem) {
    for (const int n : {0, 1, -1, 300, -300, INT_MAX, INT_MIN})
        expectLikeC({"%d",   "%i",  "%u",   "%o",    "%x",   "%X",          "%#x",      "%#o",
                     "%+d",  "% d", "%05d", "%-8d|", "%.3d", "%8.3d",       "%-+8.3d|", "%hd",
                     "%hhd", "%hu", "%hhx", "%hhu",  "%.0d", "[%1$d %1$x]", "%+.20d",   "%020d"},
                    n);
    for (const long n : {0L, 1L, -1L, LONG_MAX, LONG_MIN})
        expectLikeC(
            {"%ld", "%lu", "%lx", "%zd", "%zu", "%td", "%jd", "%ju", "%lld", "%llx", "%30ld", "%.30lld"}, n);
    for (const double d : {0.0, -0.0, 1.5, -2.25e-300, 1e300, 1.0 / 3, HUGE_VAL, -HUGE_VAL})
        expectLikeC({"%f", "%F", "%e", "%E", "%g", "%G", "%a", "%A", "%.0f", "%#.0f", "%+.3e", "%010.2f",
                     "%-12.1f|", "%.400f", "%lf", "%.1a", "% g"},
                    d);
    for (const long double d : {0.0L, 1.5L, -1e4000L})
        expectLikeC({"%Lf", "%Le", "%LG", "%La", "%.2Lf", "%Lg %%"}, d);
    expectLikeC({"%*d|%-*d", "%1$*2$d %3$.*4$d"}, 5, 7, -3, 2);
    expectLikeC({"%*.*f|", "%1$*2$d"}, -9, 2, 3.14159);
    expectLikeC({"%.*f"}, -1, 2.5);
    expectLikeC({"%p", "%20p", "%-20p|"}, static_cast<void *>(&errno));
}

TEST(Formats, NumbersLookTheSameInEveryLocale) {
    for (const char *name : {"de_DE.UTF-8", "fr_FR.UTF-8", "C.UTF-8"})
        if (setlocale(LC_ALL, name) != nullptr) {
            EXPECT_EQ(formatUTF8("%.1f %'d", 2.5, 1234567), "2.5 1234567") << name;
        }
    setlocale(LC_ALL, "C");
    EXPECT_EQ(formatUTF8("%.1f %'d", 2.5, 1234567), "2.5 1234567");
}

TEST(Formats, TextsAndObjectsAreShownWholeCharacterByCharacter) {
    const Object *object = String::of("h\u00E9\U0001F600");
    EXPECT_EQ(formatUTF8("%@|%12@|%-12@|", object, object, object),
              "h\u00E9\U0001F600|     h\u00E9\U0001F600|h\u00E9\U0001F600     |");
    for (int precision = 0; precision <= 8; ++precision) {
        // h, two bytes, four bytes
        const std::string cut = precision < 1   ? ""
                                : precision < 3 ? "h"
                                : precision < 7 ? "h\u00E9"
                                                : "h\u00E9\U0001F600";
        EXPECT_EQ(formatUTF8("%.*@", precision, object), cut);
        EXPECT_EQ(formatUTF8("%.*s", precision, "h\u00E9\U0001F600"), cut);
        EXPECT_EQ(formatUTF8("%.*S", precision, u"h\u00E9\U0001F600"), cut);
        EXPECT_EQ(formatUTF8("%.*ls", precision, L"h\u00E9\U0001F600"), cut);
    }
    EXPECT_EQ(formatUTF8("%s %@ %S %ls", nullptr, nullptr, nullptr, nullptr), "(null) (null) (null) (null)");
    EXPECT_EQ(formatUTF8("%s|%.2s|%4s|%-4s|", "a\xFF\xE2\x82z", "\xC3(", "b", "c"),
              "a\uFFFD\uFFFDz|\uFFFD(|   b|c   |");
    EXPECT_EQ(formatUTF8("%c%c%C%C%lc%lc", 'a', 0xE9, 0xE9, 0xD800, wint_t{0x1F600}, wint_t{0x110000}),
              "a\uFFFD\u00E9\uFFFD\U0001F600\uFFFD");
    EXPECT_EQ(formatUTF8("a%cb", 0), std::string("a\0b", 3));
    EXPECT_EQ(formatUTF8("%S", u"\xD83Dx"), "\uFFFDx");
    errno = ENOENT;
    int untouched = 7;
    EXPECT_EQ(formatUTF8("%n%d %m", &untouched, 5), std::string("5 ") + std::strerror(ENOENT));
    EXPECT_EQ(untouched, 7);
    EXPECT_EQ(formatUTF8("%@ %@", Number::of(true), Number::of(2.5)), "1 2.5");
    EXPECT_EQ(String::format("%s", "\xFF")->length(), 1U);
}

// Text that ends where readable memory does, and is not terminated.
TEST(Formats, NothingIsReadPastAPrecision) {
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    auto *memory = static_cast<char *>(
        mmap(nullptr, 2 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    ASSERT_NE(memory, MAP_FAILED);
    ASSERT_EQ(mprotect(memory + page, page, PROT_NONE), 0);
    char *text = static_cast<char *>(std::memcpy(memory + page - 4, "abc\xC3", 4));
    EXPECT_EQ(formatUTF8("%.4s", text), "abc");
    EXPECT_EQ(formatUTF8("%.*s|%2$.3s", 3, text), "%.*s|%2$.3s");
    EXPECT_EQ(formatUTF8("%2$.*1$s", 3, text), "abc");
    munmap(memory, 2 * page);
}

TEST(Formats, TakeArgumentsByPosition) {
    const Object *one = String::of("one");
    EXPECT_EQ(formatUTF8("%2$s %1$@ %2$s %%", one, "two"), "two one two %");
    EXPECT_EQ(formatUTF8("%3$.1f %1$d %2$lld", 1, 2LL, 3.0), "3.0 1 2");
    EXPECT_EQ(formatUTF8("%1$@ %1$p", one), "one " + cFormat("%p", static_cast<const void *>(one)));
    EXPECT_EQ(formatUTF8("%2$*1$d|%2$-*1$d|", 4, 7), "   7|7   |");
    // Shown as they stand, and no argument is read: what is passed would crash if one were.
    for (const char *format :
         {"%1$d %s",      "%s %1$d",       "%1$d %1$s", "%1$@ %1$s", "%1$d %1$ld", "%2$@",     "%1$@ %3$@",
          "%1$*@",        "%*1$@",         "%1$.*s",    "%1$y",      "%1$@ %y",    "%1$@ %",   "%99999999$@",
          "%1$@ %1000$@", "%4294967297$@", "%1$%",      "%1$@ %1$f", "%1$*1$s",    "%0$@ %1$@"})
        EXPECT_EQ(formatUTF8(format, 1, 2, 3, 4), format);
}

TEST(Formats, UnknownConversionsAreShownAsTheyAre) {
    for (const char *format : {"%", "100%", "%y", "%5.3y", "%-", "%l", "%ll", "%hhs", "%Lc", "%l@", "%zf",
                               "% ", "%.", "%1$", "%$d", "%\u00E9", "%lm", "%k%k"})
        EXPECT_EQ(formatUTF8(format, nullptr, nullptr, nullptr), format);
    EXPECT_EQ(formatUTF8("%y %d", 5), "%y 5");
    EXPECT_EQ(formatUTF8("%y%%%5%"), "%y%%");
    EXPECT_EQ(formatUTF8("\xFF %d \xE2\x82", 5), "\uFFFD 5 \uFFFD");
    EXPECT_EQ(formatUTF8(nullptr), "");
}

TEST(Formats, SizesAreCut) {
    constexpr std::size_t million = 1 << 20;
    EXPECT_EQ(formatUTF8("%99999999999999999999d", 1).size(), million);
    EXPECT_EQ(formatUTF8("%*s", INT_MIN, "x").size(), million);
    EXPECT_EQ(formatUTF8("%.*f", INT_MAX, 0.5).size(), million + 2);
    EXPECT_EQ(formatUTF8("%.99999999d", 1).size(), million);
    std::string many;
    for (int i = 0; i < 70; ++i)
        many += "%1$*2$d";
    EXPECT_EQ(formatUTF8(many.c_str(), 1, INT_MAX).size(), 64 * million);
}

TEST(Formats, OnlyWhatIsPutInIsEscaped) {
    const auto escaped = [](const char *format, ...) {
        va_list arguments;
        va_start(arguments, format);
        std::string text = formatUTF8Escaping(format, arguments, [](std::string_view given) {
            std::string shown;
            for (const char c : given)
                shown += c == '\n' ? std::string("\\n") : std::string(1, c);
            return shown;
        });
        va_end(arguments);
        return text;
    };
    EXPECT_EQ(escaped("a\n%s%@%c%C%S\n%4s|%d", "b\n", String::of("\nc"), '\n', '\n', u"\n", "\n", 5),
              "a\nb\\n\\nc\\n\\n\\n\n  \\n|5");
}

TEST(Formats, ThoseFromOutsideAreCheckedAgainstTheArguments) {
    struct Row {
        const char *format, *kinds;
        bool takes;
    };
    const Row rows[] = {
        {"plain, 100 %%", "", true},
        {"%@ and %@", "@@", true},
        {"only %@", "@@", true},
        {"%2$@, %1$@", "@@", true},
        {"%1$@ %1$@ %%", "@@", true},
        {"%lu photos", "u", true},
        {"%1$05lu: %2$@", "u@", true},
        {"%@", "", false},
        {"%@ %@ %@", "@@", false},
        {"%3$@ %1$@ %2$@", "@@", false},
        {"%2$@", "@@", true},
        {"%d photos", "u", true},
        {"%u photos", "u", true},
        {"%1$hhx", "u", true},
        {"%1$@ %@", "@@", false},
        {"%s", "@", false},
        {"%lu", "@", false},
        {"%@", "u", false},
        {"%*lu", "uu", false},
        {"%1$*2$lu", "uu", false},
        {"%n", "u", false},
        {"100 %", "", false},
        {"%2147483647$@", "@", false},
        {"%f", "u", false},
        {"%c", "u", false},
        {"%.*@", "u@", false},
        {nullptr, "", false},
    };
    for (const Row &row : rows)
        EXPECT_EQ(formatTakes(row.format, row.kinds), row.takes) << (row.format ? row.format : "null");
}

TEST(Formats, thoseFromOutsideAreFilledByWhatTheyName) {
    const auto album = String::of("Sea");
    const CheckedArgument arguments[] = {3UL, album, static_cast<const Object *>(nullptr)};
    const struct {
        const char *format;
        std::optional<std::string> text;
    } rows[] = {
        {"%lu in %@", "3 in Sea"},     {"%d in %@", "3 in Sea"},     {"%u in %@, %@", "3 in Sea, (null)"},
        {"one in %2$@", "one in Sea"}, {"%2$@: %1$03i", "Sea: 003"}, {"%2$@ %2$@", "Sea Sea"},
        {"%@", std::nullopt},          {"%s in %@", std::nullopt},   {"%lu %@ %@ %@", std::nullopt},
    };
    for (const auto &[format, text] : rows)
        EXPECT_EQ(formatUTF8Checked(format, arguments), text) << format;
}

} // namespace
