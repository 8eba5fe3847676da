#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "display/ByteSink.h"
#include "display/FrameCredits.h"
#include "display/FrameStatistics.h"
#include "display/StartGate.h"
#include "platform/Files.h"
#include "platform/NetworkConnection.h"
#include "platform/Queues.h"
#include "platform/ScreenCapture.h"
#include "platform/VideoEncoder.h"
#include "platform/base/Group.h"
#include "platform/base/Synchronized.h"
#include "tessel/Error.h"
#include "tessel/TSLSessionStatistics.h"
#include "tessel/Types.h"
#include "tessel/URLSession.h"
#include "tessel/XMLParserDelegate.h"

namespace tessel {

class TSLSession;

/// The display channel of one session: launches the hub's receiver, opens the channel, agrees on an
/// H.264 context, then captures, encodes and sends the screen.
///
/// Threads. Any thread may call the properties, the start and the stop. What runs where:
///
///     URL session's callback queue  the launch's answer, its parsing, the whole blocking start
///     socketDispatchQueue           states and receives of the connection, the start's completion
///     sampleBufferDispatchQueue     captured frames, their way into the encoder
///     encoder's callback thread     conversion to Annex B, sending
///     main queue                    the call of the session's disconnect
///
/// Ownership. The session holds its display connection, which holds the session weakly. A start
/// under way holds the connection; every other callback handed to the platform holds it weakly.
/// The last reference may go on any of the threads above. One object serves one start at a time.
class TSLDisplayConnection : public XMLParserDelegate,
                             public platform::CaptureOutputDelegate,
                             public ByteSink,
                             public std::enable_shared_from_this<TSLDisplayConnection> {
 public:
  using CompletionHandler = std::function<void(std::optional<Error>)>;

  static std::shared_ptr<TSLDisplayConnection> initWithHub(const std::shared_ptr<TSLSession>& hub);
  /// Stops.
  ~TSLDisplayConnection() override;

  TSLDisplayConnection(const TSLDisplayConnection&) = delete;
  TSLDisplayConnection& operator=(const TSLDisplayConnection&) = delete;

  /// Launches the receiver, opens the channel and starts casting. `handler` is called once: on the
  /// URL session's callback queue when the launch fails, else on socketDispatchQueue.
  void startWithCompletionHandler(CompletionHandler handler);

  /// Ends capture, encoder and connection. `handler` is called before this returns, always with
  /// code 5. Never from the encoder's callback.
  void stopWithCompletionHandler(const CompletionHandler& handler);

  /// Opens the channel and starts casting; blocks for at least 2 seconds. The result tells whether
  /// it is casting, `error` why not.
  bool startDisplaySocketReturningError(std::optional<Error>& error);

  /// Queues a copy of the bytes on the connection. Always true: what goes wrong shows in the
  /// connection's state and in the receive loop.
  bool sendBuffer(const void* bytes, std::size_t length) override;

  /// One pass of the receive loop: a header, then the body that it announces.
  void doReceive(const std::shared_ptr<platform::NetworkConnection>& connection);

  /// Asks the session to disconnect, on the main queue. Only the first call does.
  void disconnectSessionDueToConnectionError();

  /// A stopped pipeline that captures the first screen at `size`, 30 frames a second, or null.
  std::shared_ptr<platform::CaptureSession> screenCaptureSessionWithSize(
      Size size, std::optional<Error>& error);

  /// A prepared encoder for pictures of `size`, or null.
  std::shared_ptr<platform::CompressionSession> compressionSessionWithSize(
      Size size, std::optional<Error>& error);

  /// @name On sampleBufferDispatchQueue
  /// @{
  void didOutputSampleBuffer(const platform::SampleBuffer& sampleBuffer) override;
  void didDropSampleBuffer(const platform::SampleBuffer& sampleBuffer) override;
  /// @}

  /// @name On the encoder's callback thread
  /// @{
  void compressionOutputCompletedWithStatus(platform::Status status, std::uint32_t infoFlags,
                                            const platform::EncodedSampleBuffer* sampleBuffer);
  /// The frame as Annex B, null when it cannot be converted. Lives until the next call.
  const Bytes* elementaryStreamFromSampleBuffer(const platform::EncodedSampleBuffer& sampleBuffer);
  /// Sends one frame in pieces.
  void sendSampleBuffer(const void* bytes, std::size_t length);
  /// @}

  /// @name On the thread that parses the launch's answer
  /// @{
  void didStartElement(const std::string& elementName) override;
  void foundCharacters(const std::string& text) override;
  /// @}

  /// @name Properties
  /// @{
  /// The session is being ended by an accident: a link error, or a hub that has fallen silent.
  bool terminateAccidentally() const { return terminateAccidentally_; }
  void setTerminateAccidentally(bool accidentally) { terminateAccidentally_ = accidentally; }
  /// From the connection's ready state until it fails, is cancelled or stopped.
  bool connected() const { return connected_; }
  void setConnected(bool connected) { connected_ = connected; }
  /// The URL that stops the receiver; none before the launch has been answered.
  std::optional<std::string> stopURL() const { return stopURL_.get(); }
  void setStopURL(const std::optional<std::string>& stopURL) { stopURL_.set(stopURL); }
  std::shared_ptr<TSLSession> hub() const { return hub_.lock(); }
  std::shared_ptr<platform::NetworkConnection> HubConnection() const {
    return HubConnection_.get();
  }
  std::shared_ptr<platform::SerialQueue> socketDispatchQueue() const {
    return socketDispatchQueue_;
  }
  /// Entered before the context request, left by the hub's response to it.
  std::shared_ptr<platform::Group> socketDispatchGroup() const {
    return socketDispatchGroup_.get();
  }
  std::shared_ptr<platform::CaptureSession> captureSession() const { return captureSession_.get(); }
  std::shared_ptr<platform::SerialQueue> sampleBufferDispatchQueue() const {
    return sampleBufferDispatchQueue_;
  }
  std::shared_ptr<platform::CompressionSession> compressionSession() const {
    return compressionSession_.get();
  }
  /// Frames that may still be encoded before the hub answers.
  std::int64_t ackedSamples() const { return credits_.count(); }
  /// Opened where the user default "DebugMovieOutputPath" says; nothing is written to it.
  std::shared_ptr<platform::OutputStream> debugMovieOutputStream() const {
    return debugMovieOutputStream_.get();
  }
  /// The token in the launch's answer.
  std::optional<std::string> sessionToken() const { return sessionToken_.get(); }
  /// Name of the element that the parser saw last.
  std::optional<std::string> xmlelementname() const { return xmlelementname_.get(); }
  /// @}

  /// @name Part of the connection's shape, without a function in it
  /// Every read asks the transport for an exact number of bytes and nothing is ever retried.
  /// @{
  std::shared_ptr<platform::Timer> socketDispatchSource() const { return nullptr; }
  std::int64_t connectionRetries() const { return 0; }
  const Bytes& readBuffer() const { return readBuffer_; }
  std::uint64_t readBufferOffset() const { return 0; }
  std::uint64_t readBufferLength() const { return 0; }
  /// @}

  /// What the channel has done so far.
  TSLSessionStatistics statistics() const;

 protected:
  explicit TSLDisplayConnection(const std::shared_ptr<TSLSession>& hub);

 private:
  void didLaunch(const Bytes& body, const URLResponse& response, const CompletionHandler& handler);
  void openDebugMovieOutputStream();
  std::shared_ptr<StartGate> makeGate();
  std::shared_ptr<platform::NetworkConnection> openConnection(
      const std::string& hostName, bool tls, const std::shared_ptr<StartGate>& gate);
  bool negotiate(std::optional<Error>& error);
  bool sendStartCommand(bool newProtocol);
  bool requestContext(Size size);
  void didReceiveHeader(const std::shared_ptr<platform::NetworkConnection>& connection,
                        const platform::Received& received);
  // `name` is what the log calls the body, `header` how the read of its header ended.
  void didSkipBody(const std::shared_ptr<platform::NetworkConnection>& connection, const char* name,
                   const platform::Received& header, const platform::Received& body);
  bool mayEncode();

  const std::weak_ptr<TSLSession> hub_;
  const std::shared_ptr<platform::SerialQueue> socketDispatchQueue_;
  const std::shared_ptr<platform::SerialQueue> sampleBufferDispatchQueue_;
  const Bytes readBuffer_ = Bytes(20000);

  std::atomic<bool> terminateAccidentally_{false};
  std::atomic<bool> connected_{false};
  std::atomic<bool> stopped_{false};    // the channel was stopped while connected
  std::atomic<bool> abandoned_{false};  // a stop came after the start
  FrameCredits credits_;
  FrameStatistics statistics_;

  // The start waits at the gate, the state handler and the stop let it go.
  platform::Synchronized<std::shared_ptr<StartGate>> gate_;

  // Written by the start, read from anywhere.
  platform::Synchronized<std::optional<std::string>> stopURL_;
  platform::Synchronized<std::optional<std::string>> sessionToken_;
  platform::Synchronized<std::optional<std::string>> xmlelementname_;
  platform::Synchronized<std::shared_ptr<platform::NetworkConnection>> HubConnection_;
  platform::Synchronized<std::shared_ptr<platform::Group>> socketDispatchGroup_;
  platform::Synchronized<std::shared_ptr<platform::CaptureSession>> captureSession_;
  platform::Synchronized<std::shared_ptr<platform::CompressionSession>> compressionSession_;
  platform::Synchronized<std::shared_ptr<platform::OutputStream>> debugMovieOutputStream_;

  Bytes elementaryStream_;  // encoder's callback thread; reused, so that a frame allocates nothing
};

}  // namespace tessel
