#pragma once

#include <algorithm>
#include <chrono>
#include <functional>
#include <signal.h>
#include <unistd.h>
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

// A process of our own for the benchmarks to reach across the process boundary: a child that
// runs `prepare` (laying out the memory to be read and written) and then only waits to be
// killed. Its pid once `prepare` succeeded, -1 otherwise.
inline pid_t StartTarget(const std::function<bool()>& prepare) {
    int ready[2];
    if (pipe(ready) != 0) {
        return -1;
    }
    const pid_t pid = fork();
    if (pid == 0) {
        const char ok = prepare() ? 1 : 0;
        if (write(ready[1], &ok, 1) != 1 || !ok) {
            _exit(1);
        }
        for (;;) {
            pause();
        }
    }
    char ok = 0;
    const bool started = read(ready[0], &ok, 1) == 1 && ok;
    close(ready[0]);
    close(ready[1]);
    return started ? pid : -1;
}

} // namespace tarvex::bench
