#pragma once

#include <csignal>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>

namespace tessel::test {

/// Whether this process's thread of that name keeps the host's signals off itself, but not its own
/// faults; none when there is no such thread.
inline std::optional<bool> keepsHostSignalsOff(const std::string& threadName) {
  for (const auto& task : std::filesystem::directory_iterator{"/proc/self/task"}) {
    std::string name;
    std::getline(std::ifstream{task.path() / "comm"}, name);
    if (name != threadName) continue;
    std::ifstream status{task.path() / "status"};
    for (std::string key; status >> key;) {
      if (key != "SigBlk:") continue;
      std::uint64_t mask = 0;
      status >> std::hex >> mask;
      const auto blocks = [mask](int signal) { return (mask >> (signal - 1) & 1) != 0; };
      return blocks(SIGINT) && blocks(SIGTERM) && blocks(SIGCHLD) && !blocks(SIGSEGV) &&
             !blocks(SIGABRT);
    }
  }
  return std::nullopt;
}

}  // namespace tessel::test
