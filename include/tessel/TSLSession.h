#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "tessel/Error.h"
#include "tessel/Export.h"
#include "tessel/OperationQueue.h"
#include "tessel/TSLSessionConfigration.h"
#include "tessel/TSLSessionStatistics.h"
#include "tessel/Types.h"
#include "tessel/XMLParserDelegate.h"

namespace tessel {

class TSLSession;
class TSLDisplayConnection;
class TSLMouseConnection;
class TSLKeyBoardConnection;

namespace platform {
class Timer;
}

/// States of a session.
inline constexpr std::int64_t TSLSessionStateDisconnected = 0;  ///< idle, failed, or ended
inline constexpr std::int64_t TSLSessionStateConnecting = 1;    ///< the connect sequence is running
inline constexpr std::int64_t TSLSessionStateConnected = 2;     ///< all channels are up

/// Receives a session's notifications: on the session's delegate queue, or, without one, on the
/// thread that changed the state or reported the failure. `session` is null only in calls that the
/// session's own destruction makes.
class TESSEL_EXPORT TSLSessionDelegate {
 public:
  virtual ~TSLSessionDelegate() = default;

  /// The state changed to `state`, a different value than before.
  virtual void didChangeState(const std::shared_ptr<TSLSession>& session, std::int64_t state);

  /// A connect step failed, a connect was cancelled, or a running session was lost. For an ended
  /// session this follows the change to state 0.
  virtual void connectionFailedWithError(const std::shared_ptr<TSLSession>& session,
                                         const Error& error);
};

/// One casting session to one hub: reads the hub's device details, launches the receiver, opens
/// the display, mouse and keyboard channels, and watches the hub with a heartbeat.
///
///     auto session = TSLSession::initWithHostName("192.168.1.100", 0);
///     session->setDelegate(delegate, OperationQueue::mainQueue());
///     session->connect();
///     runMainQueue();
///
/// One object serves one successful connection: a later `connect` runs without a heartbeat.
/// Dropping the last reference disconnects.
///
/// Threads: any thread may call. `connect` returns at once. `disconnect` never waits for the hub.
/// It blocks until the frame under way is captured and encoded and the keys and buttons that the
/// hub holds down are released: some milliseconds, or seconds where the X server does not answer.
/// So does the destruction of a session that is not disconnected. The session holds its
/// connections, they hold it weakly.
class TESSEL_EXPORT TSLSession : public XMLParserDelegate,
                                 public std::enable_shared_from_this<TSLSession> {
 public:
  /// A session with the hub at `hostName`, an IPv4 address or a host name. `displayMode` is stored
  /// and exposed only. Reads the configuration file and the main screen's size; the inactivity
  /// clock starts here.
  static std::shared_ptr<TSLSession> initWithHostName(const std::optional<std::string>& hostName,
                                                      std::int64_t displayMode);
  ~TSLSession() override;

  TSLSession(const TSLSession&) = delete;
  TSLSession& operator=(const TSLSession&) = delete;

  /// Sets the delegate (held weakly) and its queue (held strongly). Either may be null.
  void setDelegate(const std::shared_ptr<TSLSessionDelegate>& delegate,
                   const std::shared_ptr<OperationQueue>& queue);
  /// Starts the connect sequence. Does nothing unless the state is 0.
  void connect();
  /// Reports a connect in progress as cancelled (code 5). Nothing is stopped: the steps under way
  /// go on, and may still connect the session.
  void cancelConnect();
  /// Ends a connecting or connected session. An accidental end is reported with code 3.
  void disconnect();

  /// One of the three states above. Another thread may change it at any time.
  std::int64_t state() const;
  /// What the session was made with.
  std::optional<std::string> hostName() const;
  /// What the session was made with.
  std::int64_t displayMode() const;
  /// The delegate; null if unset or destroyed.
  std::shared_ptr<TSLSessionDelegate> delegate() const;
  /// The delegate's queue; without one the delegate is called on the thread that notifies.
  std::shared_ptr<OperationQueue> delegateQueue() const;
  /// What the display channel has done so far; all zero while there is none.
  TSLSessionStatistics statistics() const;

  /// @name Launch data, learned from the hub's device details
  /// They are only ever set, never reset, by a fetch.
  /// @{
  /// The hub asked for TLS.
  bool sslEnabled() const;
  void setSslEnabled(bool sslEnabled);
  /// The hub speaks the newer protocol (at least 1.4).
  bool newProtocol() const;
  void setNewProtocol(bool newProtocol);
  /// The hub speaks the multi-token variant (at least 1.6).
  bool multiTokenProtocol() const;
  void setMultiTokenProtocol(bool multiTokenProtocol);
  /// The hub declared itself busy.
  bool busyStatus() const;
  void setBusyStatus(bool busyStatus);
  /// Port of the hub's application service: 55555, or the one that the hub names for TLS.
  std::int32_t lauchport() const;
  void setLauchport(std::int32_t lauchport);
  /// The hub's application base URL; none before the first fetch.
  std::optional<std::string> applicationURL() const;
  void setApplicationURL(const std::optional<std::string>& applicationURL);
  /// Name of the application to launch and to poll.
  std::string applicationName() const;
  void setApplicationName(const std::string& applicationName);
  /// Text of the last device-details document; kept for inspection only.
  std::optional<std::string> deviceDetailsXML() const;
  void setDeviceDetailsXML(const std::optional<std::string>& deviceDetailsXML);
  /// Where the device details are.
  std::string deviceDetailsURL() const;
  /// @}

  /// The session's settings. One that has none, after a null, has a size of 0 by 0, and ends at the
  /// first heartbeat. Set them before `connect`.
  std::shared_ptr<TSLSessionConfigration> sessionConfig() const;
  void setSessionConfig(const std::shared_ptr<TSLSessionConfigration>& sessionConfig);

  /// @name The session's own objects
  /// The channels, null while there is none, and the heartbeat's timer, which `disconnect` cancels
  /// for good. The setters are for the session's own steps: they neither start nor stop what they
  /// are given.
  /// @{
  std::shared_ptr<TSLDisplayConnection> displayConnection() const;
  void setDisplayConnection(const std::shared_ptr<TSLDisplayConnection>& displayConnection);
  std::shared_ptr<TSLMouseConnection> mouseConnection() const;
  void setMouseConnection(const std::shared_ptr<TSLMouseConnection>& mouseConnection);
  std::shared_ptr<TSLKeyBoardConnection> keyBoardConnection() const;
  void setKeyBoardConnection(const std::shared_ptr<TSLKeyBoardConnection>& keyBoardConnection);
  std::shared_ptr<platform::Timer> heartbeattimer() const;
  void setHeartbeattimer(const std::shared_ptr<platform::Timer>& heartbeattimer);
  /// @}

  /// Last element name that the heartbeat's parser saw; none before the first.
  std::optional<std::string> xmlelementname() const;
  void setXmlelementname(const std::optional<std::string>& xmlelementname);
  /// Last moment at which the hub reported its application as running; before the first such
  /// report, the moment at which the session was made.
  std::optional<Date> lastactive() const;
  void setLastactive(const std::optional<Date>& lastactive);

  /// @name What the session's own parts and its channels call
  /// @{
  /// Stores the state and notifies the delegate of a different one.
  void setState(std::int64_t state);
  /// Reports `error` to the delegate.
  void notifyConnectionDidFailWithError(const Error& error);
  /// Fetches and evaluates the device details. The completion comes once, on a URL session's
  /// callback queue.
  void fetchDeviceDetailsWithCompletionHandler(
      std::function<void(std::optional<Error>)> completion);
  /// One tick of the heartbeat; on the main queue.
  void HeartBeatfunc();
  /// Cancels the heartbeat for good.
  void cancelHeartBeat();
  /// An empty hook, kept for hosts that call it.
  void ShutDownAccidentally();
  /// The parser's events while it reads the hub's answer to a heartbeat.
  void didStartElement(const std::string& elementName) override;
  void foundCharacters(const std::string& text) override;
  /// @}

 private:
  TSLSession(const std::optional<std::string>& hostName, std::int64_t displayMode);

  bool moveState(std::int64_t from, std::int64_t to);
  void stopChannels();

  struct Fields;
  std::unique_ptr<Fields> fields_;
};

}  // namespace tessel
