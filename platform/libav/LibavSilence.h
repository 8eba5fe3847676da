#pragma once

namespace tessel::platform {

/// While one of these lives, libav logs nothing: the devices that it opens have no log level of
/// their own, only the process has one. The last one restores the level, unless the host has set
/// another meanwhile. Any thread.
class LibavSilence {
 public:
  LibavSilence();
  ~LibavSilence();
  LibavSilence(const LibavSilence&) = delete;
  LibavSilence& operator=(const LibavSilence&) = delete;
};

}  // namespace tessel::platform
