#pragma once

#include <gmock/gmock.h>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "display/TSLDisplayConnection.h"
#include "tessel/TSLSession.h"
#include "tests/support/SimWorld.h"

namespace tessel::test {

/// One display connection in a simulated world, with the steps of its start.
class DisplayTest : public testing::Test {
 protected:
  DisplayTest();

  /// Starts; each call of the completion is kept in `outcomes`.
  void start();
  /// The hub's web server answers the launch.
  void answerLaunch(const std::string& body = "",
                    const std::map<std::string, std::string>& headers = {});
  /// Goes on to where the start waits for the channel.
  void startUntilConnecting();
  /// Goes on to where the start waits for the hub's context.
  void startUntilNegotiating();
  /// Goes on to where frames are cast.
  void startUntilCasting();

  /// The hub sends a message.
  void hubSends(const Bytes& bytes);
  /// One frame is captured, encoded and sent.
  void castFrame();

  std::shared_ptr<SimConnection> connection() const { return world.network.last(); }
  std::shared_ptr<FakeCaptureSession> capture() const { return world.capture.last(); }
  std::shared_ptr<FakeCompressionSession> encoder() const { return world.encoding.last(); }

  // A start that still waits at the end of a test completes when the world goes.
  std::vector<std::optional<Error>> outcomes;
  bool outcomeOnSocketQueue = false;
  SimWorld world;
  std::shared_ptr<TSLSession> session;
  std::shared_ptr<TSLDisplayConnection> display;
};

inline const Bytes kContextResponse = {4, 0, 0x81, 0};
inline const Bytes kAcknowledgement = {4, 0, 0x87, 0};

/// The line of a connection whose cancellation is done.
inline const std::string kCancelled =
    "-[TSLDisplayConnection startDisplaySocketReturningError:]_block_invoke: "
    "nw_connection_state_cancelled";

/// An error of the session's own domain.
inline Error sessionError(long code) { return {TSLErrorDomain, code, ""}; }

/// Takes sends one by one, and refuses the one with number `failing`, counted from 0.
class RecordingSink final : public ByteSink {
 public:
  std::vector<Bytes> sends;
  std::optional<std::size_t> failing;

  bool sendBuffer(const void* bytes, std::size_t length) override;
};

}  // namespace tessel::test
