#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "display/DisplayChannel.h"
#include "display/FramePipeline.h"
#include "platform/Files.h"
#include "platform/base/Synchronized.h"
#include "tessel/Error.h"
#include "tessel/TSLSessionStatistics.h"
#include "tessel/Types.h"
#include "tessel/URLSession.h"
#include "tessel/XMLParserDelegate.h"

namespace tessel {

class TSLSession;

/// The display channel of one session: launches the hub's receiver, opens the channel, agrees on an
/// H.264 context and casts the screen. The work is done by its two parts, a `DisplayChannel` and a
/// `FramePipeline`; the operations and properties of theirs that this class offers are forwards.
///
/// Threads. Any thread may call the properties, the start and the stop. What runs where:
///
///     URL session's callback queue  the launch's answer, its parsing, the whole blocking start
///     socketDispatchQueue           the channel's states and receives, the start's completion
///     sampleBufferDispatchQueue     captured frames, their way into the encoder
///     encoder's callback thread     conversion to Annex B, sending
///     main queue                    the call of the session's disconnect
///
/// Ownership. The session holds its display connection, which holds the session weakly and both
/// parts strongly. A start under way holds the connection. The last reference may go on any of the
/// threads above. One object serves one start at a time.
class TSLDisplayConnection : public XMLParserDelegate,
                             public std::enable_shared_from_this<TSLDisplayConnection> {
 public:
  using CompletionHandler = std::function<void(std::optional<Error>)>;

  static std::shared_ptr<TSLDisplayConnection> initWithHub(const std::shared_ptr<TSLSession>& hub);
  /// Stops.
  ~TSLDisplayConnection() override;

  TSLDisplayConnection(const TSLDisplayConnection&) = delete;
  TSLDisplayConnection& operator=(const TSLDisplayConnection&) = delete;

  /// Launches the receiver, opens the channel and starts casting. `handler` is called once: on the
  /// URL session's callback queue if the launch fails, else on socketDispatchQueue.
  void startWithCompletionHandler(CompletionHandler handler);

  /// Ends capture, encoder and connection. `handler` is called before this returns, always with
  /// code 5. Never from the encoder's callback.
  void stopWithCompletionHandler(const CompletionHandler& handler);

  /// Opens the channel and starts casting; blocks for at least 2 seconds. The result tells whether
  /// it is casting, `error` why not.
  bool startDisplaySocketReturningError(std::optional<Error>& error);

  /// What the channel has done so far.
  TSLSessionStatistics statistics() const;

  /// @name Of the channel
  /// @{
  bool sendBuffer(const void* bytes, std::size_t length) {
    return channel_->sendBuffer(bytes, length);
  }
  void doReceive(const std::shared_ptr<platform::NetworkConnection>& connection) {
    channel_->doReceive(connection);
  }
  void disconnectSessionDueToConnectionError() {
    channel_->disconnectSessionDueToConnectionError();
  }
  /// The session is being ended by an accident: a link error, or a hub that has fallen silent.
  bool terminateAccidentally() const { return channel_->terminateAccidentally(); }
  void setTerminateAccidentally(bool accidentally) {
    channel_->setTerminateAccidentally(accidentally);
  }
  /// From the connection's ready state until it fails, is cancelled or stopped.
  bool connected() const { return channel_->connected(); }
  void setConnected(bool connected) { channel_->setConnected(connected); }
  std::shared_ptr<platform::NetworkConnection> HubConnection() const {
    return channel_->connection();
  }
  std::shared_ptr<platform::SerialQueue> socketDispatchQueue() const { return channel_->queue(); }
  std::shared_ptr<platform::Group> socketDispatchGroup() const { return channel_->contextGroup(); }
  /// @}

  /// @name Of the frame pipeline
  /// @{
  std::shared_ptr<platform::CaptureSession> screenCaptureSessionWithSize(
      Size size, std::optional<Error>& error) {
    return pipeline_->makeCapture(size, error);
  }
  std::shared_ptr<platform::CompressionSession> compressionSessionWithSize(
      Size size, std::optional<Error>& error) {
    return pipeline_->makeEncoder(size, error);
  }
  void didOutputSampleBuffer(const platform::SampleBuffer& sampleBuffer) {
    pipeline_->didOutputSampleBuffer(sampleBuffer);
  }
  void didDropSampleBuffer(const platform::SampleBuffer& sampleBuffer) {
    pipeline_->didDropSampleBuffer(sampleBuffer);
  }
  void compressionOutputCompletedWithStatus(platform::Status status, std::uint32_t infoFlags,
                                            const platform::EncodedSampleBuffer* sampleBuffer) {
    pipeline_->compressionOutputCompletedWithStatus(status, infoFlags, sampleBuffer);
  }
  const Bytes* elementaryStreamFromSampleBuffer(const platform::EncodedSampleBuffer& sampleBuffer) {
    return pipeline_->elementaryStreamFromSampleBuffer(sampleBuffer);
  }
  void sendSampleBuffer(const void* bytes, std::size_t length) {
    pipeline_->sendSampleBuffer(bytes, length);
  }
  std::shared_ptr<platform::CaptureSession> captureSession() const { return pipeline_->capture(); }
  std::shared_ptr<platform::SerialQueue> sampleBufferDispatchQueue() const {
    return pipeline_->queue();
  }
  std::shared_ptr<platform::CompressionSession> compressionSession() const {
    return pipeline_->encoder();
  }
  /// Frames that may still be encoded before the hub answers.
  std::int64_t ackedSamples() const { return pipeline_->credits(); }
  /// @}

  /// @name Of the launch
  /// @{
  std::shared_ptr<TSLSession> hub() const { return hub_.lock(); }
  /// The URL that stops the receiver; none before the launch has been answered.
  std::optional<std::string> stopURL() const { return stopURL_.get(); }
  void setStopURL(const std::optional<std::string>& stopURL) { stopURL_.set(stopURL); }
  /// The token in the launch's answer.
  std::optional<std::string> sessionToken() const { return sessionToken_.get(); }
  /// Name of the element that the parser saw last.
  std::optional<std::string> xmlelementname() const { return xmlelementname_.get(); }
  /// Opened where the user default "DebugMovieOutputPath" says; nothing is written to it.
  std::shared_ptr<platform::OutputStream> debugMovieOutputStream() const {
    return debugMovieOutputStream_.get();
  }
  /// On the thread that parses the launch's answer.
  void didStartElement(const std::string& elementName) override;
  void foundCharacters(const std::string& text) override;
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

 protected:
  TSLDisplayConnection(const std::shared_ptr<TSLSession>& hub,
                       std::shared_ptr<DisplayChannel> channel);

 private:
  void didLaunch(const Bytes& body, const URLResponse& response, const CompletionHandler& handler);
  bool negotiate(std::optional<Error>& error);
  void openDebugMovieOutputStream();

  const std::weak_ptr<TSLSession> hub_;
  const std::shared_ptr<DisplayChannel> channel_;
  const std::shared_ptr<FramePipeline> pipeline_;
  const Bytes readBuffer_ = Bytes(20000);

  // Written by the start, read from anywhere.
  platform::Synchronized<std::optional<std::string>> stopURL_;
  platform::Synchronized<std::optional<std::string>> sessionToken_;
  platform::Synchronized<std::optional<std::string>> xmlelementname_;
  platform::Synchronized<std::shared_ptr<platform::OutputStream>> debugMovieOutputStream_;
};

}  // namespace tessel
