#pragma once

#include <memory>
#include <optional>
#include <string>

#include "platform/Queues.h"
#include "platform/base/Synchronized.h"
#include "tessel/Types.h"

namespace tessel {

class TSLSession;

/// The heartbeat of one session: polls the hub's application every 5 seconds, and ends the session
/// when the hub has not reported it as running for too long.
///
/// Owned by its session. Ticks come on the main queue, answers on a URL session's callback queue;
/// the accessors are for any thread.
class Heartbeat {
 public:
  /// Makes the timer, suspended: its first tick comes at once when it is resumed, each later one 5
  /// seconds after the one before. The time of the hub's silence counts from here.
  void attachTo(const std::shared_ptr<TSLSession>& session);

  /// One tick for `session`: ends it if the hub has been silent for too long, else polls. On the
  /// main queue.
  void tick(TSLSession& session);

  /// Cancels the timer for good. A poll under way still completes. Any thread.
  void cancel();

  /// The parser's events while it reads an answer; on the thread that parses.
  void didStartElement(const std::string& elementName);
  void foundCharacters(const std::string& text);

  std::shared_ptr<platform::Timer> timer() const { return timer_.get(); }
  void setTimer(const std::shared_ptr<platform::Timer>& timer) { timer_.set(timer); }
  /// Last element name that the parser saw; none before the first.
  std::optional<std::string> elementName() const { return elementName_.get(); }
  void setElementName(const std::optional<std::string>& name) { elementName_.set(name); }
  /// When the hub last reported its application as running.
  std::optional<Date> lastActive() const { return lastActive_.get(); }
  void setLastActive(const std::optional<Date>& moment) { lastActive_.set(moment); }

 private:
  bool isSilentFor(Seconds timeout) const;
  void poll(TSLSession& session);

  platform::Synchronized<std::shared_ptr<platform::Timer>> timer_;
  platform::Synchronized<std::optional<std::string>> elementName_;
  platform::Synchronized<std::optional<Date>> lastActive_;
};

}  // namespace tessel
