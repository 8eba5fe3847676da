#pragma once

namespace tessel::platform {

/// While any of these lives, libav says nothing: the devices that it opens have no log level of
/// their own, only the process has one. That is put back when the last one goes, unless the host
/// has set another meanwhile. Any thread.
class LibavSilence {
 public:
  LibavSilence();
  ~LibavSilence();
  LibavSilence(const LibavSilence&) = delete;
  LibavSilence& operator=(const LibavSilence&) = delete;
};

}  // namespace tessel::platform
