#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "tessel/TSLSession.h"

namespace tessel::test {

/// Writes down what a session tells: "state 1", "failed 5" (the code). Called by one thread at a
/// time.
class RecordingDelegate final : public TSLSessionDelegate {
 public:
  std::vector<std::string> calls;
  std::vector<Error> errors;
  std::shared_ptr<TSLSession> lastSession;  ///< the sender of the last call, while `keepsSession`
  bool keepsSession = false;
  std::function<void(std::int64_t)> onState;
  std::function<void(const Error&)> onFailure;

  void didChangeState(const std::shared_ptr<TSLSession>& session, std::int64_t state) override {
    calls.push_back("state " + std::to_string(state));
    if (keepsSession) lastSession = session;
    if (onState) onState(state);
  }

  void connectionFailedWithError(const std::shared_ptr<TSLSession>& session,
                                 const Error& error) override {
    calls.push_back("failed " + std::to_string(error.code));
    errors.push_back(error);
    if (keepsSession) lastSession = session;
    if (onFailure) onFailure(error);
  }
};

}  // namespace tessel::test
