#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "apps/tessel-hub/report/FrameReport.h"

namespace tessel::hub {

/// Reports on standard output what the hub does, for a person or for a program.
///
/// Any thread.
class HubReporter {
 public:
  struct Listening {
    std::string address;
    std::vector<std::string> senderAddresses;  ///< those that other machines can cast to
    std::string name;
    std::string version;
    int detailsPort = 0;
    int displayPort = 0;
    int inputPort = 0;
    int tlsPort = 0;  ///< 0 without TLS
  };

  struct Stats {
    double seconds = 0;
    std::uint64_t framesReceived = 0;
    std::uint64_t framesShown = 0;
    std::uint64_t bytesReceived = 0;
    /// Pictures shown per second since the last report; over the whole session at its end.
    double fps = 0;
  };

  virtual ~HubReporter() = default;

  virtual void listening(const Listening& listening) = 0;
  virtual void launched(const std::string& sender, const std::string& application) = 0;
  virtual void connected(const std::string& sender, int width, int height) = 0;
  /// Both input channels are open: the hub's mouse and keyboard reach the sender.
  virtual void inputReady() = 0;
  virtual void frame(const FrameReport& report) = 0;
  virtual void stats(const Stats& stats) = 0;
  virtual void cursor(int x, int y) = 0;
  virtual void snapshot(const std::string& path) = 0;
  virtual void script(bool finished) = 0;
  /// `problem` is empty when the sender ended the cast.
  virtual void ended(const Stats& stats, const std::string& problem) = 0;
  /// Something that the user should know: a plain sentence.
  virtual void notice(const std::string& sentence) = 0;

  static std::unique_ptr<HubReporter> forPerson();
  static std::unique_ptr<HubReporter> json();
};

}  // namespace tessel::hub
