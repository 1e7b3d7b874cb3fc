// Small helpers that the benchmark programs share: clocks, the process's peak memory, and number formats
// for their tables.
#pragma once

#include <sys/resource.h>

#include <chrono>
#include <cstdint>
#include <string>

namespace cvimp::bench {

using Clock = std::chrono::steady_clock;

inline double Seconds(Clock::duration d) { return std::chrono::duration<double>(d).count(); }

// The process's peak resident set size so far, in bytes (ru_maxrss counts KiB on Linux).
inline std::int64_t PeakRssBytes() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return static_cast<std::int64_t>(usage.ru_maxrss) * 1024;
}

inline double Mebibytes(double bytes) { return bytes / (1024.0 * 1024.0); }

// Items per second, or 0 when no time passed.
inline double Rate(std::int64_t items, double seconds) {
  return seconds > 0 ? static_cast<double>(items) / seconds : 0.0;
}

}  // namespace cvimp::bench
