#pragma once

#include <string>
#include <vector>

#include "tessel/TSLSession.h"
#include "tests/support/Eventually.h"

namespace tessel::test {

/// Writes down what sessions tell, from any thread: "state 1", "failed 5".
class ThreadSafeDelegate final : public TSLSessionDelegate {
 public:
  using Calls = std::vector<std::string>;

  Eventually<Calls> calls;

  void didChangeState(const std::shared_ptr<TSLSession>&, std::int64_t state) override {
    calls.update([&](Calls& all) { all.push_back("state " + std::to_string(state)); });
  }

  void connectionFailedWithError(const std::shared_ptr<TSLSession>&, const Error& error) override {
    calls.update([&](Calls& all) { all.push_back("failed " + std::to_string(error.code)); });
  }
};

}  // namespace tessel::test
