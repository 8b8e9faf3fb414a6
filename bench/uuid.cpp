// UUID strings: equality, ordering and text compared with 16 bytes, and parsing compared with libuuid.
#include <benchmark/benchmark.h>
#include <uuid/uuid.h>

#include <array>
#include <cstdio>
#include <cstring>

#include "bench/InTurn.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/util/uuid/JXUUIDString.h"

using namespace wickerlane;

namespace {

constexpr int rounds = 31;
constexpr int batch = 200'000;
// Fits into the first cache, and is too many for branch prediction.
constexpr std::size_t count = 256;

struct Sample {
    std::array<UUIDBytes, count> bytes;
    std::array<Ref<String>, count> strings;
    std::array<Ref<String>, count> plain;
    std::array<std::array<char, 37>, count> texts;
};

// Every fourth is equal to the one before.
Sample makeSample() {
    Sample sample;
    for (std::size_t i = 0; i < count; ++i) {
        if (i % 4 == 1)
            sample.bytes[i] = sample.bytes[i - 1];
        else
            uuid_generate(sample.bytes[i].bytes);
        sample.strings[i] = JXUUIDString::initWithBaseUUIDBytes(sample.bytes[i]);
        sample.plain[i] = String::create(sample.strings[i]->utf8());
        uuid_unparse_lower(sample.bytes[i].bytes, sample.texts[i].data());
    }
    return sample;
}

void measure(const char *title, const std::vector<bench::Way> &ways) {
    std::printf("%s\n", title);
    bench::measureInTurn(rounds, batch, ways, [](const bench::Measured &each) {
        std::printf("  %-34s %7.1f ns  ratio %5.2f\n", each.what, each.best, each.ratio);
    });
}

template <class Work>
std::function<void(int)> overPairs(Work work) {
    return [work](int times) {
        for (int i = 0; i < times; ++i)
            benchmark::DoNotOptimize(
                work(static_cast<std::size_t>(i) % count, static_cast<std::size_t>(i + 1) % count));
    };
}

} // namespace

int main() {
    const ReleaseScope scope;
    const Sample sample = makeSample();
    const auto &bytes = sample.bytes;
    const auto &strings = sample.strings;
    const auto &plain = sample.plain;
    for (std::size_t i = 1; i < count; ++i)
        if (strings[i]->isEqualToString(strings[i - 1].get()) != (i % 4 == 1))
            bench::fail("UUID strings are wrong");

    measure("equality",
            {
                {"16 bytes",
                 overPairs([&](auto a, auto b) { return std::memcmp(&bytes[a], &bytes[b], 16) == 0; })},
                {"uuid_compare", overPairs([&](auto a, auto b) {
                     return uuid_compare(bytes[a].bytes, bytes[b].bytes) == 0;
                 })},
                {"UUID strings",
                 overPairs([&](auto a, auto b) { return strings[a]->isEqualToString(strings[b].get()); })},
                {"plain strings of the same text",
                 overPairs([&](auto a, auto b) { return plain[a]->isEqualToString(plain[b].get()); })},
            });
    measure(
        "ordering",
        {
            {"16 bytes", overPairs([&](auto a, auto b) { return std::memcmp(&bytes[a], &bytes[b], 16); })},
            {"uuid_compare",
             overPairs([&](auto a, auto b) { return uuid_compare(bytes[a].bytes, bytes[b].bytes); })},
            {"UUID strings",
             overPairs([&](auto a, auto b) { return strings[a]->compare(strings[b].get()); })},
            {"plain strings of the same text",
             overPairs([&](auto a, auto b) { return plain[a]->compare(plain[b].get()); })},
        });
    measure("text", {
                        {"a stored pointer", overPairs([&](auto a, auto) { return sample.texts[a].data(); })},
                        {"UUID strings", overPairs([&](auto a, auto) { return strings[a]->UTF8String(); })},
                        {"uuid_unparse", overPairs([&](auto a, auto) {
                             char text[37];
                             uuid_unparse_upper(bytes[a].bytes, text);
                             return text[0];
                         })},
                    });
    measure("reading", {
                           {"uuid_parse", overPairs([&](auto a, auto) {
                                UUIDBytes read;
                                uuid_parse(sample.texts[a].data(), read.bytes);
                                return read;
                            })},
                           {"plain strings",
                            overPairs([&](auto a, auto) { return JXUUIDBytesFromString(plain[a].get()); })},
                           {"UUID strings",
                            overPairs([&](auto a, auto) { return JXUUIDBytesFromString(strings[a].get()); })},
                       });
    return 0;
}
