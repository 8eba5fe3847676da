#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <span>
#include <string>

namespace tessel::hub {

/// Writes the senders' frames to a file, as they come: an Annex B elementary stream.
///
/// One thread at a time.
class StreamRecorder {
 public:
  /// False, and the reason in `problem`, if the file cannot be written.
  bool open(const std::string& path, std::string& problem);

  /// Appends a frame. False for the first one that cannot be written; later ones are dropped.
  bool write(std::span<const std::uint8_t> frame);

 private:
  struct Closer {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };

  std::unique_ptr<std::FILE, Closer> file_;
};

}  // namespace tessel::hub
