#include "platform/Log.h"

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "platform/Services.h"
#include "platform/base/CLocale.h"
#include "platform/base/Mutex.h"
#include "tessel/Log.h"

namespace tessel {
namespace {

// The host's sink. Any thread.
class HostSink {
 public:
  // Whether there is a sink. All that a line without a receiver costs.
  bool listens() const { return listens_.load(std::memory_order_acquire); }

  // Once this returns the old sink is not called any more, unless the caller is the old sink.
  void replace(LogSink sink) {
    auto replacement = sink ? std::make_shared<const LogSink>(std::move(sink)) : nullptr;
    if (delivering_) {
      mutex_.assertHeld();  // by deliver(), further up on this thread
      swapWith(replacement);
    } else {
      const platform::MutexLock lock{mutex_};
      swapWith(replacement);
    }
  }

  // Whether a sink took the line. What a sink itself logs goes nowhere, or it would never end.
  bool deliver(std::string_view line) {
    if (delivering_) return true;
    const platform::MutexLock lock{mutex_};
    const auto sink = sink_;
    if (!sink) return false;
    const Delivery delivery;
    (*sink)(line);
    return true;
  }

 private:
  // Ends also where the sink throws, against its contract, so that the thread's next line arrives.
  struct Delivery {
    Delivery() { delivering_ = true; }
    ~Delivery() { delivering_ = false; }
    Delivery(const Delivery&) = delete;
    Delivery& operator=(const Delivery&) = delete;
  };

  void swapWith(std::shared_ptr<const LogSink>& replacement) TESSEL_REQUIRES(mutex_) {
    listens_.store(replacement != nullptr, std::memory_order_release);
    sink_.swap(replacement);
  }

  static thread_local bool delivering_;
  std::atomic<bool> listens_ = false;
  platform::Mutex mutex_;  // held while the sink is called: one line at a time
  std::shared_ptr<const LogSink> sink_ TESSEL_GUARDED_BY(mutex_);
};

thread_local bool HostSink::delivering_ = false;

// Never destroyed: queue threads may still log while the process exits.
HostSink& hostSink() {
  static HostSink& sink = *new HostSink;
  return sink;
}

platform::SystemLog* listeningSystemLog() {
  platform::SystemLog* log = platform::services().systemLog.get();
  return log != nullptr && log->available() ? log : nullptr;
}

[[gnu::format(printf, 1, 0)]] std::string formatted(const char* format, std::va_list arguments) {
  const platform::CLocale pointInNumbers;
  std::va_list again;
  va_copy(again, arguments);
  std::string line(160, '\0');  // room for nearly every line
  const int length = std::vsnprintf(line.data(), line.size() + 1, format, arguments);
  const std::size_t needed = length > 0 ? static_cast<std::size_t>(length) : 0;
  const bool whole = needed <= line.size();
  line.resize(needed);
  if (!whole) std::vsnprintf(line.data(), line.size() + 1, format, again);
  va_end(again);
  return line;
}

}  // namespace

void setLogSink(LogSink sink) { hostSink().replace(std::move(sink)); }

namespace platform {

void log(const char* format, ...) {
  SystemLog* systemLog = hostSink().listens() ? nullptr : listeningSystemLog();
  if (!hostSink().listens() && systemLog == nullptr) return;
  std::va_list arguments;
  va_start(arguments, format);
  const std::string line = formatted(format, arguments);
  va_end(arguments);
  if (hostSink().deliver(line)) return;
  // The sink may have gone since it was looked at.
  if (systemLog == nullptr) systemLog = listeningSystemLog();
  if (systemLog != nullptr) systemLog->write(line);
}

void logPrivate(const char* format, ...) {
  if (!hostSink().listens()) return;
  std::va_list arguments;
  va_start(arguments, format);
  const std::string line = formatted(format, arguments);
  va_end(arguments);
  hostSink().deliver(line);
}

}  // namespace platform
}  // namespace tessel
