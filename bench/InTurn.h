// Measuring several ways to do the same work side by side.
#ifndef WICKERLANE_BENCH_INTURN_H
#define WICKERLANE_BENCH_INTURN_H

#include <algorithm>
#include <chrono>
#include <functional>
#include <vector>

#include "bench/Quick.h"

namespace bench {

struct Way {
    const char *what;
    std::function<void(int)> run; ///< Does it that number of times.
};

struct Measured {
    const char *what;
    double best;  ///< Nanoseconds each, in the best batch.
    double ratio; ///< To the first way: the median over the rounds.
};

/// Runs a batch of each way in turn, so that what else the machine does falls on all alike. The first round
/// is not counted. A quick run makes them few.
inline void measureInTurn(int usualRounds, int usualBatch, const std::vector<Way> &ways,
                          const std::function<void(const Measured &)> &report) {
    using Clock = std::chrono::steady_clock;
    const int rounds = bench::rounds(usualRounds), batch = bench::batch(usualBatch);
    std::vector<std::vector<double>> times(ways.size());
    for (int round = 0; round <= rounds; ++round)
        for (std::size_t i = 0; i < ways.size(); ++i) {
            const auto start = Clock::now();
            ways[i].run(batch);
            const std::chrono::duration<double, std::nano> took = Clock::now() - start;
            if (round != 0)
                times[i].push_back(took.count() / batch);
        }
    for (std::size_t i = 0; i < ways.size(); ++i) {
        std::vector<double> ratios;
        for (std::size_t round = 0; round < times[i].size(); ++round)
            ratios.push_back(times[i][round] / times[0][round]);
        const auto middle = ratios.begin() + static_cast<std::ptrdiff_t>(ratios.size() / 2);
        std::nth_element(ratios.begin(), middle, ratios.end());
        report({ways[i].what, *std::min_element(times[i].begin(), times[i].end()), *middle});
    }
}

} // namespace bench

#endif
