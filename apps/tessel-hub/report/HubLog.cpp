#include "apps/tessel-hub/report/HubLog.h"

#include <array>
#include <chrono>
#include <ctime>

namespace tessel::hub {

void HubLog::Closer::operator()(std::FILE* file) const {
  if (file != stderr) std::fclose(file);
}

bool HubLog::open(const std::string& path) {
  const platform::MutexLock lock{mutex_};
  file_.reset(path == "-" ? stderr : std::fopen(path.c_str(), "ae"));
  return file_ != nullptr;
}

void HubLog::line(std::string_view text) {
  const platform::MutexLock lock{mutex_};
  if (!file_) return;
  const auto now = std::chrono::system_clock::now();
  const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
  const auto milliseconds =
      std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() % 1000;
  std::tm local{};
  localtime_r(&seconds, &local);
  std::array<char, 16> time{};
  std::snprintf(time.data(), time.size(), "%02d:%02d:%02d.%03d ", local.tm_hour, local.tm_min,
                local.tm_sec, static_cast<int>(milliseconds));
  const std::string whole = time.data() + std::string{text};
  const auto admitted =
      file_.get() == stderr ? std::optional<std::string_view>{whole} : budget_.admit(whole);
  if (!admitted) return;
  std::fprintf(file_.get(), "%.*s\n", static_cast<int>(admitted->size()), admitted->data());
  std::fflush(file_.get());
}

}  // namespace tessel::hub
