// Moments and duplicates of libraries of 10,000 and 100,000 synthetic assets: time and memory, how they grow,
// and what a single new asset costs.
//   bench_analyses [COUNT]...      10000 100000 when none is named
//
// Some 20 assets a day in three bursts, at places that change each month; one in 20 has a copy, one in ten is
// one of a burst of three that look alike.
#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <random>
#include <string>

#include "bench/Quick.h"
#include "hoardd/analysis/DuplicateStore.h"
#include "hoardd/analysis/MomentStore.h"
#include "wickerlane/store/AssetColumns.h"
#include "wickerlane/store/Schema.h"

using namespace wickerlane::hoardd;
using wickerlane::sqlite::Database;
using wickerlane::sqlite::Transaction;

namespace {

const int rounds = bench::rounds(5);

/// What was done must have succeeded.
void sure(const wickerlane::Result<> &done, const char *what) {
    if (!done)
        bench::fail((std::string(what) + ": " + done.error().text).c_str());
}
template <class Value>
Value sure(wickerlane::Result<Value> value, const char *what) {
    if (!value)
        bench::fail((std::string(what) + ": " + value.error().text).c_str());
    return *std::move(value);
}

wickerlane::AssetRecord recordNumbered(std::size_t number, std::mt19937_64 &random) {
    wickerlane::AssetRecord record;
    record.uuid = std::to_string(number);
    record.thumbnailIndex = 1;
    record.width = 4000;
    record.height = 3000;
    const std::size_t day = number / 20, burst = number % 20 / 7;
    record.dateCreated = static_cast<double>(day) * 86400 + static_cast<double>(burst) * 14400 +
                         static_cast<double>(random() % 2400);
    if (random() % 10 != 0) {
        const std::size_t month = day / 30;
        record.latitude = 40 + static_cast<double>(month % 20);
        record.longitude = 9 + static_cast<double>(random() % 100) * 1e-5;
    }
    for (std::byte &byte : record.sha256)
        byte = static_cast<std::byte>(random());
    return record;
}

/// About four of 64 bits.
std::uint64_t fewBits(std::mt19937_64 &random) {
    std::uint64_t bits = random();
    for (int halving = 0; halving < 3; ++halving)
        bits &= random();
    return bits;
}

Fingerprint fingerprintNumbered(std::size_t number, std::mt19937_64 &random, const Fingerprint &previous) {
    if (number % 20 == 1)
        return previous;
    if (number % 10 < 2)
        return {previous.difference ^ fewBits(random), previous.frequency};
    return {random(), random()};
}

void fill(Database &database, std::size_t count) {
    std::mt19937_64 random(count);
    Transaction transaction(database);
    auto statement = database.prepare(wickerlane::store::insertAsset);
    Fingerprint fingerprint;
    for (std::size_t i = 0; i < count; ++i) {
        const auto record = recordNumbered(i, random);
        wickerlane::store::bindRecord(statement, record);
        fingerprint = fingerprintNumbered(i, random, fingerprint);
        sure(statement.run(), "insert");
        const NewAsset asset{database.lastRowID(), record.uuid, 1};
        const std::optional<Fingerprint> written(fingerprint);
        sure(writeFingerprints(database, {&asset, 1}, {&written, 1}), "fingerprint");
    }
    sure(transaction.commit(), "commit");
}

double seconds(const std::function<void()> &work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// The best of several rounds, since others use the machine as well.
double bestSeconds(const std::function<void()> &work) {
    double best = 1e9;
    for (int round = 0; round < rounds; ++round)
        best = std::min(best, seconds(work));
    return best;
}

/// The peak of memory during the work, less what was in use before, as the kernel counts it.
double peakMegabytes(const std::function<void()> &work) {
    const auto kilobytes = [](const char *key) {
        char line[256];
        long value = 0;
        std::FILE *status = std::fopen("/proc/self/status", "r");
        while (status != nullptr && std::fgets(line, sizeof line, status) != nullptr)
            if (std::string_view(line).starts_with(key))
                value = std::strtol(line + std::string_view(key).size(), nullptr, 10);
        if (status != nullptr)
            std::fclose(status);
        return static_cast<double>(value);
    };
    malloc_trim(0);
    std::FILE *reset = std::fopen("/proc/self/clear_refs", "w");
    if (reset != nullptr) {
        std::fputs("5", reset); // the peak is what is held now
        std::fclose(reset);
    }
    const double before = kilobytes("VmRSS:");
    work();
    return (kilobytes("VmHWM:") - before) / 1024;
}

struct Measure {
    const char *what;
    double milliseconds;
    double megabytes;
};

void apply(Database &database, const auto &plan) {
    Transaction transaction(database);
    sure(applyPlan(database, plan), "apply");
    sure(transaction.commit(), "commit");
}

std::vector<Measure> measure(const std::string &folder, std::size_t count) {
    Database database = sure(
        Database::open(folder + '/' + std::to_string(count) + ".sqlite", Database::Access::write), "open");
    sure(wickerlane::store::layOut(database), "lay out");
    fill(database, count);
    std::vector<Measure> measures;
    const auto add = [&](const char *what, const std::function<void()> &work) {
        const double megabytes = peakMegabytes(work);
        measures.push_back({what, bestSeconds(work) * 1e3, megabytes});
    };

    MomentPlan moments;
    add("moments: plan the whole library", [&] { moments = sure(planMoments(database, false), "plan"); });
    const double first = seconds([&] { apply(database, moments); });
    measures.push_back({"moments: write all, once", first * 1e3, 0});
    add("moments: plan it again, nothing new", [&] { moments = sure(planMoments(database, false), "plan"); });
    std::mt19937_64 random(7);
    std::size_t next = count;
    add("moments: one new asset, around it", [&] {
        auto record = recordNumbered(random() % count, random);
        record.uuid = std::to_string(next++);
        auto statement = database.prepare(wickerlane::store::insertAsset);
        wickerlane::store::bindRecord(statement, record);
        sure(statement.run(), "insert");
        apply(database, sure(planMoments(database, true), "plan"));
    });

    DuplicatePlan duplicates;
    add("duplicates: group the whole library", [&] { duplicates = sure(planDuplicates(database), "plan"); });
    if (database.integer("SELECT count(*) FROM zmoment").value_or(0) == 0 ||
        duplicates.groups.size() < count / 20)
        bench::fail("moments or duplicates are missing");
    const double writing = seconds([&] { apply(database, duplicates); });
    measures.push_back({"duplicates: write all, once", writing * 1e3, 0});
    wickerlane::hoardd::FingerprintMemory::Known known;
    add("duplicates: read all hashes", [&] { known = sure(readFingerprints(database), "read"); });
    constexpr int scans = 100;
    std::size_t found = 0;
    add("duplicates: 100 scans for one new asset", [&] {
        for (int scan = 0; scan < scans; ++scan)
            found += mayBeLike({random(), random()}, known.fingerprints).size();
    });
    std::printf(
        "%zu assets: %lld moments in %lld lists, %zu groups of duplicates; %zu of the new were alike\n",
        count, static_cast<long long>(database.integer("SELECT count(*) FROM zmoment").value_or(-1)),
        static_cast<long long>(database.integer("SELECT count(*) FROM zmomentlist").value_or(-1)),
        duplicates.groups.size(), found);
    return measures;
}

} // namespace

int main(int argc, char **argv) {
    wickerlane::sqlite::leaveMemoryUncounted(); // as hoardd does
    std::vector<std::size_t> counts{10'000, 100'000};
    if (bench::isQuick())
        counts = {500, 1'000};
    if (argc > 1)
        counts.clear();
    for (int i = 1; i < argc; ++i)
        counts.push_back(std::strtoul(argv[i], nullptr, 10));
    std::string folder = (std::filesystem::temp_directory_path() / "wickerlane-bench-XXXXXX").string();
    if (mkdtemp(folder.data()) == nullptr)
        return 1;
    std::vector<std::vector<Measure>> all;
    all.reserve(counts.size());
    for (const std::size_t count : counts)
        all.push_back(measure(folder, count));
    std::filesystem::remove_all(folder);
    for (std::size_t i = 0; i < all.front().size(); ++i) {
        std::printf("%-42s", all.front()[i].what);
        for (const std::vector<Measure> &measures : all)
            std::printf(" %9.2f ms %6.1f MB", measures[i].milliseconds, measures[i].megabytes);
        std::printf("   ratio %.1f\n", all.back()[i].milliseconds / all.front()[i].milliseconds);
    }
}
