#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/NetworkConnection.h"
#include "platform/Queues.h"
#include "tests/support/Eventually.h"

namespace tessel::test {

/// A connection under test and everything that it has reported. Handlers run on its queue; the
/// test's thread waits for what they brought.
class ConnectionProbe {
 public:
  using State = platform::ConnectionState;
  struct Change {
    State state;
    std::optional<Error> error;
    bool onQueue;
  };
  struct Outcome {
    platform::Received received;
    bool onQueue;
  };

  ConnectionProbe(platform::Network& network, const std::shared_ptr<platform::SerialQueue>& queue,
                  const platform::Endpoint& endpoint, bool tls = false)
      : queue_{queue}, connection{network.makeConnection(endpoint, tls, queue)} {
    connection->setStateChangedHandler(
        [log = log_, queue](State state, const std::optional<Error>& error) {
          log->update([&](Log& entries) {
            entries.changes.push_back({state, error, queue->isCurrent()});
          });
        });
  }

  void receive(std::size_t length) {
    connection->receive(length, [log = log_, queue = queue_](const platform::Received& received) {
      log->update([&](Log& entries) {
        entries.outcomes.push_back({received, queue->isCurrent()});
      });
    });
  }

  /// Whether the state was reached within the bound.
  bool reaches(State state) const {
    return log_->becomes([&](const Log& entries) {
      return !entries.changes.empty() && entries.changes.back().state == state;
    });
  }

  std::vector<State> states() const {
    std::vector<State> states;
    for (const Change& change : log_->get().changes) states.push_back(change.state);
    return states;
  }

  std::vector<Change> changes() const { return log_->get().changes; }

  /// The outcomes once there are `count` of them.
  std::vector<Outcome> outcomes(std::size_t count) const {
    log_->becomes([&](const Log& entries) { return entries.outcomes.size() >= count; });
    auto outcomes = log_->get().outcomes;
    outcomes.resize(std::max(count, outcomes.size()));
    return outcomes;
  }

  platform::Received outcome(std::size_t index) const {
    return outcomes(index + 1)[index].received;
  }

  std::string text(std::size_t index) const {
    const auto content = outcome(index).content.value_or(Bytes{});
    return {content.begin(), content.end()};
  }

 private:
  struct Log {
    std::vector<Change> changes;
    std::vector<Outcome> outcomes;
  };
  const std::shared_ptr<Eventually<Log>> log_ = std::make_shared<Eventually<Log>>();
  const std::shared_ptr<platform::SerialQueue> queue_;

 public:
  std::shared_ptr<platform::NetworkConnection> connection;
};

}  // namespace tessel::test
