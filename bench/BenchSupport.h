// The clocks and memory readings every benchmark prints. The machine is
// shared, so processor time is printed beside wall time: it is the figure
// that stays put when other work runs.
#pragma once

#include <chrono>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <string>
#include <sys/resource.h>

namespace corva::bench {

using Clock = std::chrono::steady_clock;

inline double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

// User and system time of this process so far, in seconds.
inline double cpuSeconds() {
    timespec ts{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &ts);
    return static_cast<double>(ts.tv_sec) + static_cast<double>(ts.tv_nsec) / 1e9;
}

// Resident memory now, in kB.
inline long residentKb() {
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line))
        if (line.rfind("VmRSS:", 0) == 0) return std::atol(line.c_str() + 6);
    return 0;
}

// The most resident memory so far, in kB.
inline long peakKb() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

} // namespace corva::bench
