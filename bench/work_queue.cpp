// Items per second through the global queue and a serial queue, beside the thread pool and the strand of
// standalone Asio, one after the other in one run.
#include <asio/post.hpp>
#include <asio/strand.hpp>
#include <asio/thread_pool.hpp>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <thread>
#include <vector>

#include "bench/Quick.h"
#include "wickerlane/platform/queue/WorkQueue.h"

using namespace wickerlane;

namespace {

const int items = bench::isQuick() ? 4'096 : 400'000;
const int rounds = bench::rounds(7);
constexpr int batchSize = 64;

// Seconds from the first submission until the last item has run.
template <class Submit>
double secondsFor(int threads, const Submit &submit) {
    std::atomic<int> left = items;
    const auto done = Semaphore::create(0);
    const auto start = std::chrono::steady_clock::now();
    std::vector<std::thread> submitters;
    for (int t = 0; t < threads; ++t)
        submitters.emplace_back([&] {
            submit(items / threads, [&left, &done] {
                if (left.fetch_sub(1, std::memory_order_acq_rel) == 1)
                    done->signal();
            });
        });
    for (auto &thread : submitters)
        thread.join();
    done->wait();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

void oneByOne(WorkQueue *queue, int count, const auto &item) {
    for (int i = 0; i < count; ++i)
        queue->async(item);
}

void inBatches(WorkQueue *queue, int count, const auto &item) {
    std::vector<WorkQueue::Work> batch;
    for (int i = 0; i < count; i += batchSize) {
        batch.assign(static_cast<std::size_t>(std::min(batchSize, count - i)), {});
        for (auto &work : batch)
            work = item;
        queue->asyncBatch(batch);
    }
}

double median(std::vector<double> &values) {
    std::nth_element(values.begin(), values.begin() + rounds / 2, values.end());
    return values[rounds / 2];
}

// Hand-overs per second when the submitter waits for each item: every one of them has to wake a thread or
// find one still looking for work.
template <class Submit>
double roundTripsPerSecond(const Submit &submit) {
    const int trips = bench::batch(20'000);
    const auto done = Semaphore::create(0);
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < trips; ++i) {
        submit([&done] { done->signal(); });
        done->wait();
    }
    return trips / std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

} // namespace

int main() {
    WorkQueue *global = WorkQueue::global();
    const Ref<WorkQueue> serial = WorkQueue::create("bench");
    asio::thread_pool pool(std::max(2u, std::thread::hardware_concurrency()));
    const auto strand = asio::make_strand(pool);
    const auto post = [](auto &executor, int count, const auto &item) {
        for (int i = 0; i < count; ++i)
            asio::post(executor, item);
    };
    std::printf("%-10s %-12s %14s %14s %8s\n", "threads", "queue", "ours/s", "Asio/s", "ratio");
    for (int threads : {1, 4}) {
        std::vector<double> ours, batched, theirs, oursSerial, batchedSerial, theirsSerial;
        for (int round = 0; round < rounds; ++round) {
            const auto measure = [threads](std::vector<double> &times, const auto &submit) {
                times.push_back(secondsFor(threads, submit));
            };
            measure(ours, [&](int n, const auto &item) { oneByOne(global, n, item); });
            measure(theirs, [&](int n, const auto &item) { post(pool, n, item); });
            measure(batched, [&](int n, const auto &item) { inBatches(global, n, item); });
            measure(oursSerial, [&](int n, const auto &item) { oneByOne(serial.get(), n, item); });
            measure(theirsSerial, [&](int n, const auto &item) { post(strand, n, item); });
            measure(batchedSerial, [&](int n, const auto &item) { inBatches(serial.get(), n, item); });
        }
        const auto row = [&](const char *name, std::vector<double> &mine, std::vector<double> &other) {
            const double a = items / median(mine), b = items / median(other);
            std::printf("%-10d %-12s %14.0f %14.0f %8.2f\n", threads, name, a, b, a / b);
        };
        row("global", ours, theirs);
        row("batched", batched, theirs);
        row("serial", oursSerial, theirsSerial);
        row("batched", batchedSerial, theirsSerial);
    }
    std::vector<double> ours, theirs;
    for (int round = 0; round < rounds; ++round) {
        ours.push_back(roundTripsPerSecond([&](const auto &item) { global->async(item); }));
        theirs.push_back(roundTripsPerSecond([&](const auto &item) { asio::post(pool, item); }));
    }
    const double a = median(ours), b = median(theirs);
    std::printf("%-10d %-12s %14.0f %14.0f %8.2f\n", 1, "waited for", a, b, a / b);
    pool.join();
}
