#include "apps/tessel-hub/video/StreamRecorder.h"

#include <cerrno>
#include <cstring>

namespace tessel::hub {

bool StreamRecorder::open(const std::string& path, std::string& problem) {
  file_.reset(std::fopen(path.c_str(), "wbe"));
  if (file_) return true;
  problem = std::strerror(errno);
  return false;
}

bool StreamRecorder::write(std::span<const std::uint8_t> frame) {
  if (!file_) return true;
  const bool written = std::fwrite(frame.data(), 1, frame.size(), file_.get()) == frame.size() &&
                       std::fflush(file_.get()) == 0;
  if (!written) file_.reset();
  return written;
}

}  // namespace tessel::hub
