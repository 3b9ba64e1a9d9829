// Seconds, peak memory and medians, for the qv_<what>_measure programs.
#pragma once

#include <sys/resource.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <vector>

namespace qv {

// Neither clock nor body may be moved past the other, which a compiler may do with pure code.
template <class Now, class Body>
double Between(Now&& now, Body&& body) {
  const double start = now();
  std::atomic_signal_fence(std::memory_order_seq_cst);
  body();
  std::atomic_signal_fence(std::memory_order_seq_cst);
  return now() - start;
}

inline double ClockTime(clockid_t clock) {
  timespec time{};
  clock_gettime(clock, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

template <class Body>
double Seconds(Body&& body) {
  return Between([] { return ClockTime(CLOCK_MONOTONIC); }, body);
}

// Of the processor, spent on this process: what else runs on the machine does not count. For work
// that waits for nothing.
template <class Body>
double ProcessorSeconds(Body&& body) {
  return Between([] { return ClockTime(CLOCK_PROCESS_CPUTIME_ID); }, body);
}

inline double Median(std::vector<double> values) {
  std::ranges::sort(values);
  return values[values.size() / 2];
}

// Of the process, in KiB.
inline long PeakMemory() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

// What one step cost; the bytes are what the peak grew by.
struct Cost {
  double seconds = 0;
  double bytes = 0;
};

// A step is a part of what a child of this process does. What lies before it is preparation, and
// must not have needed much memory that it gave back: the step would find it.
template <class Body>
Cost CostOf(Body&& body) {
  const long before = PeakMemory();
  const double seconds = ProcessorSeconds(body);
  return {seconds, static_cast<double>(PeakMemory() - before) * 1024};
}

// Runs `body`, which returns what it found, in a process of its own: with a heap that nothing has
// used yet, and a peak that is all its own. The result must be plain data. Nothing that the body
// made is taken down at its end. The program ends when the body fails.
template <class Body>
auto InChild(Body&& body) {
  using Result = decltype(body());
  int ends[2];
  if (pipe(ends) != 0) std::abort();
  std::fflush(stdout);
  const pid_t child = fork();
  if (child == 0) {
    try {
      const Result result = body();
      _exit(write(ends[1], &result, sizeof result) == sizeof result ? 0 : 1);
    } catch (const std::exception& error) {
      std::fprintf(stderr, "%s\n", error.what());
    }
    _exit(1);
  }
  close(ends[1]);
  Result result{};
  const bool got = read(ends[0], &result, sizeof result) == sizeof result;
  close(ends[0]);
  int status = 0;
  waitpid(child, &status, 0);
  if (!got || status != 0) {
    std::fprintf(stderr, "a measurement failed\n");
    std::exit(1);
  }
  return result;
}

}  // namespace qv
