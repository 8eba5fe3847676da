#pragma once

#include <chrono>
#include <cstdlib>
#include <dirent.h>
#include <fstream>
#include <map>
#include <string>
#include <sys/resource.h>
#include <time.h>

namespace tessel::bench {

using Milliseconds = std::chrono::duration<double, std::milli>;

inline Milliseconds clockTime(clockid_t clock) {
  timespec time{};
  clock_gettime(clock, &time);
  return Milliseconds{static_cast<double>(time.tv_sec) * 1e3 +
                      static_cast<double>(time.tv_nsec) / 1e6};
}

/// Processor time of the calling thread so far.
inline Milliseconds threadTime() { return clockTime(CLOCK_THREAD_CPUTIME_ID); }

/// Processor time of this process so far.
inline Milliseconds processTime() { return clockTime(CLOCK_PROCESS_CPUTIME_ID); }

/// Processor time of each living thread of this process so far, summed by the threads' names.
inline std::map<std::string, Milliseconds> timeByThread() {
  std::map<std::string, Milliseconds> times;
  DIR* const tasks = opendir("/proc/self/task");
  if (tasks == nullptr) return times;
  while (const dirent* const entry = readdir(tasks)) {
    const std::string folder = std::string{"/proc/self/task/"} + entry->d_name;
    std::string name;
    if (!std::getline(std::ifstream{folder + "/comm"}, name)) continue;
    // The first number is the time on a processor in nanoseconds.
    double nanoseconds = 0;
    std::ifstream{folder + "/schedstat"} >> nanoseconds;
    times[name] += Milliseconds{nanoseconds / 1e6};
  }
  closedir(tasks);
  return times;
}

}  // namespace tessel::bench
