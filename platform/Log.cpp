#include "platform/Log.h"

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include "platform/Services.h"
#include "tessel/Log.h"

namespace tessel {
namespace {

std::atomic<bool> sinkSet = false;
std::mutex sinkMutex;  // guards sink; held while it is called, so that lines come one at a time
LogSink sink;          // NOLINT(bugprone-throwing-static-initialization): an empty function

std::string format(const char* text, std::va_list arguments) {
  std::va_list again;
  va_copy(again, arguments);
  const int length = std::vsnprintf(nullptr, 0, text, arguments);
  std::string line(length > 0 ? static_cast<std::size_t>(length) : 0, '\0');
  std::vsnprintf(line.data(), line.size() + 1, text, again);
  va_end(again);
  return line;
}

void toSink(const char* text, std::va_list arguments) {
  const std::string line = format(text, arguments);
  const std::lock_guard lock{sinkMutex};
  if (sink) sink(line);
}

}  // namespace

void setLogSink(LogSink newSink) {
  const std::lock_guard lock{sinkMutex};
  sink = std::move(newSink);
  sinkSet = static_cast<bool>(sink);
}

namespace platform {

void log(const char* text, ...) {
  const bool toHost = sinkSet.load(std::memory_order_relaxed);
  const auto& systemLog = services().systemLog;
  if (!toHost && !(systemLog && systemLog->available())) return;
  std::va_list arguments;
  va_start(arguments, text);
  if (toHost) {
    toSink(text, arguments);
  } else {
    systemLog->write(format(text, arguments));
  }
  va_end(arguments);
}

void logPrivate(const char* text, ...) {
  if (!sinkSet.load(std::memory_order_relaxed)) return;
  std::va_list arguments;
  va_start(arguments, text);
  toSink(text, arguments);
  va_end(arguments);
}

}  // namespace platform
}  // namespace tessel
