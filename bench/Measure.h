#pragma once

#include <algorithm>
#include <chrono>
#include <functional>
#include <vector>

namespace tarvex::bench {

// Median time per call over seven rounds of `calls` calls, in microseconds: the median keeps
// one round disturbed by the rest of the machine out of the figure.
inline double Measure(int calls, const std::function<void()>& call) {
    std::vector<double> rounds;
    for (int round = 0; round < 7; ++round) {
        const auto start = std::chrono::steady_clock::now();
        for (int i = 0; i < calls; ++i) {
            call();
        }
        const std::chrono::duration<double, std::micro> spent =
            std::chrono::steady_clock::now() - start;
        rounds.push_back(spent.count() / calls);
    }
    std::sort(rounds.begin(), rounds.end());
    return rounds[rounds.size() / 2];
}

} // namespace tarvex::bench
