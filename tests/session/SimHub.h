#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>

#include "tests/support/SimWorld.h"

namespace tessel::test {

/// A hub, played on the simulated world. It answers HTTP by itself from the moment it is made; the
/// channels are brought up by the steps below, which a test may also leave out.
class SimHub {
 public:
  explicit SimHub(SimWorld& world);
  ~SimHub();
  SimHub(const SimHub&) = delete;
  SimHub& operator=(const SimHub&) = delete;

  // What it answers.
  std::string details = "<device><specVersion>1.5</specVersion></device>";
  std::map<std::string, std::string> detailsHeaders = {
      {"Application-URL", "http://10.0.0.7:8008/apps/"}};
  std::map<std::string, std::string> launchHeaders;
  std::string status = "<service><state>running</state></service>";
  bool answersDetails = true;
  bool answersLaunch = true;
  bool answersPolls = true;

  // One step each; each expects that the session has come to it.
  void takeDisplay();
  void takeMouse();
  void takeKeyBoard();
  /// All three.
  void takeChannels();

  std::shared_ptr<SimConnection> display;
  std::shared_ptr<SimConnection> mouse;
  std::shared_ptr<SimConnection> keyBoard;

  /// Requests of the heartbeat so far.
  std::vector<std::shared_ptr<SimExchange>> polls() const;

 private:
  void answer(SimExchange& exchange);

  SimWorld& world_;
};

}  // namespace tessel::test
