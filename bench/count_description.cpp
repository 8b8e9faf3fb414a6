// JXLocalizedCountDescription compared with the bare library calls for the same phrase: three numbers
// formatted with a cached formatter, and the phrase in lower case. The function also looks up four texts,
// formats them, and allocates strings.
#include <unicode/bytestream.h>
#include <unicode/casemap.h>
#include <unicode/numfmt.h>

#include <cstdio>
#include <memory>
#include <string>

#include "bench/InTurn.h"
#include "wickerlane/platform/locale/Locale.h"
#include "wickerlane/util/texts/JXCountDescription.h"
#include "wickerlane/util/texts/JXLocalization.h"

using namespace wickerlane;

namespace {

constexpr int rounds = 15;
constexpr int batch = 20'000;

// Keeps the compiler from optimizing the calls away.
std::size_t bytesSeen = 0;

struct Bare {
    std::unique_ptr<icu::NumberFormat> numbers;
    std::string phrase;
    UErrorCode status = U_ZERO_ERROR;

    Bare() {
        numbers.reset(icu::NumberFormat::createInstance(icu::Locale::getEnglish(), UNUM_DECIMAL, status));
    }
    void formatNumbers() {
        for (const std::int64_t count : {123456, 7890, 42}) {
            icu::UnicodeString text;
            numbers->format(count, text);
            bytesSeen += static_cast<std::size_t>(text.length());
        }
    }
    void lower() {
        std::string lowered;
        icu::StringByteSink<std::string> sink(&lowered);
        icu::CaseMap::utf8ToLower("", 0, phrase, sink, nullptr, status);
        bytesSeen += lowered.size();
    }
};

void describe(int times, bool keepCase) {
    for (int i = 0; i < times; ++i) {
        const ReleaseScope scope;
        bytesSeen += JXLocalizedCountDescription(123456, 7890, 42, keepCase, true)->utf8().size();
    }
}

} // namespace

int main() {
    const ReleaseScope scope;
    setProcessLanguages({"en"});
    if (JXPixholdFrameworkBundle()->localizations().empty()) {
        std::fputs("the bundles are not found\n", stderr);
        return 1;
    }
    Bare bare;
    bare.phrase = JXLocalizedCountDescription(123456, 7890, 42, true, true)->utf8();
    if (bare.phrase.find("123,456") == std::string::npos)
        bench::fail("the phrase lacks its numbers");
    std::printf("\"%s\"\n", bare.phrase.c_str());
    const auto report = [](const bench::Measured &measured) {
        std::printf("%-52s %8.0f ns   ratio %.2f\n", measured.what, measured.best, measured.ratio);
    };
    bench::measureInTurn(
        rounds, batch,
        {{"three numbers and lower case, bare calls",
          [&](int times) {
              for (int i = 0; i < times; ++i) {
                  bare.formatNumbers();
                  bare.lower();
              }
          }},
         {"JXLocalizedCountDescription, in lower case", [](int times) { describe(times, false); }}},
        report);
    bench::measureInTurn(
        rounds, batch,
        {{"three numbers, bare calls",
          [&](int times) {
              for (int i = 0; i < times; ++i)
                  bare.formatNumbers();
          }},
         {"JXLocalizedCountDescription, case kept", [](int times) { describe(times, true); }}},
        report);
    return bytesSeen == 0 ? 1 : 0;
}
