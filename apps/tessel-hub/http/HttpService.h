#pragma once

#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "apps/tessel-hub/http/Certificate.h"
#include "apps/tessel-hub/http/ProtocolVariant.h"
#include "apps/tessel-hub/http/ReceiverApplication.h"
#include "apps/tessel-hub/report/HubLog.h"

namespace httplib {
class Server;
struct Request;
struct Response;
}  // namespace httplib

namespace tessel::hub {

/// The hub's HTTP services: the device details on `kDetailsPort`, and the application service,
/// which launches the receiver and answers whether it runs, on the same port or, with TLS, on a
/// port of its own.
///
/// Made, started and destroyed on one thread; requests are served on threads of its own, on which
/// the handlers are called.
class HttpService {
 public:
  struct Settings {
    std::string bind;
    std::string name;
    ProtocolVariant variant;
    int tlsPort = 0;  ///< 0: no TLS
  };

  struct Handlers {
    std::function<void(const std::string& sender, const std::string& application)> launched;
    /// The sender asked the application to stop.
    std::function<void()> stopped;
  };

  /// `application` and `log` outlive the service.
  HttpService(Settings settings, ReceiverApplication& application, HubLog& log, Handlers handlers);
  ~HttpService();

  HttpService(const HttpService&) = delete;
  HttpService& operator=(const HttpService&) = delete;

  /// Binds the ports and serves. `certificate` is used during the call only, and null without TLS.
  /// Throws std::runtime_error with a plain sentence if a port cannot be bound.
  void start(const Certificate* certificate);

 private:
  void prepare(httplib::Server& server);
  void serveDetails(httplib::Server& server);
  void serveApplication(httplib::Server& server);
  void listen(httplib::Server& server, int port);
  std::string applicationsURL(const httplib::Request& request) const;
  void launch(const httplib::Request& request, httplib::Response& response);
  void tellState(const httplib::Request& request, httplib::Response& response);
  void stop(const httplib::Request& request, httplib::Response& response);
  bool isRunning(const std::string& instance) const;

  const Settings settings_;
  ReceiverApplication& application_;
  HubLog& log_;
  const Handlers handlers_;
  std::unique_ptr<httplib::Server> plain_;
  std::unique_ptr<httplib::Server> tls_;
  std::vector<std::thread> threads_;
};

}  // namespace tessel::hub
