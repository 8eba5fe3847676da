#pragma once

#include <asio/executor_work_guard.hpp>
#include <asio/io_context.hpp>
#include <asio/signal_set.hpp>
#include <asio/ssl/context.hpp>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "apps/tessel-hub/CastSession.h"
#include "apps/tessel-hub/HubOptions.h"
#include "apps/tessel-hub/channels/ChannelAcceptor.h"
#include "apps/tessel-hub/http/Certificate.h"
#include "apps/tessel-hub/http/HttpService.h"
#include "apps/tessel-hub/http/ReceiverApplication.h"
#include "apps/tessel-hub/report/HubLog.h"
#include "apps/tessel-hub/report/HubReporter.h"
#include "apps/tessel-hub/script/Script.h"
#include "apps/tessel-hub/video/HubScreen.h"
#include "apps/tessel-hub/video/StreamRecorder.h"
#include "platform/base/Mutex.h"

namespace tessel::hub {

/// The receiver as a whole: takes one sender at a time.
///
/// Made, started and destroyed on the main thread. Its channels run on a thread of its own.
class Hub {
 public:
  /// The references outlive the hub.
  Hub(const HubOptions& options, HubScreen& screen, HubReporter& reporter, HubLog& log);
  ~Hub();

  Hub(const Hub&) = delete;
  Hub& operator=(const Hub&) = delete;

  /// Opens the files and binds the ports. Throws std::runtime_error with a plain sentence.
  void start(std::optional<Script> script);

  /// Ends the session, if any, and then makes the screen quit. Any thread.
  void quit();

  /// Calls `use` with the running session's input, if any, on the channels' thread. Any thread.
  void withInput(std::function<void(InputSender&)> use);

  /// Writes the last picture if the options ask for it. Main thread.
  void writeSnapshot();

 private:
  void prepareTls();
  void startChannels();
  void listen(const ChannelAcceptor::Settings& settings);
  void startHttp();
  void awaitSignal();
  void opened(ChannelKind kind, const std::shared_ptr<ChannelStream>& stream);
  void openedDisplay(const std::shared_ptr<ChannelStream>& stream);
  void sessionEnded(const HubReporter::Stats& stats, const std::string& problem);
  /// Whether this is the channels' thread.
  bool onChannelsThread();
  void quitOnThread();
  void reportListening();

  const HubOptions& options_;
  HubScreen& screen_;
  HubReporter& reporter_;
  HubLog& log_;
  StreamRecorder recorder_;
  std::optional<Script> script_;
  std::optional<Certificate> certificate_;
  ReceiverApplication application_;

  platform::Mutex pictureMutex_;
  std::optional<Picture> lastPicture_ TESSEL_GUARDED_BY(pictureMutex_);

  asio::io_context context_{1};
  std::optional<asio::executor_work_guard<asio::io_context::executor_type>> work_;
  asio::ssl::context tls_{asio::ssl::context::tls_server};
  asio::signal_set signals_{context_};
  // Used on thread_ only, once that runs.
  std::vector<std::unique_ptr<ChannelAcceptor>> acceptors_;
  std::shared_ptr<CastSession> session_;
  bool quitting_ = false;

  std::thread thread_;
  std::unique_ptr<HttpService> http_;
};

}  // namespace tessel::hub
