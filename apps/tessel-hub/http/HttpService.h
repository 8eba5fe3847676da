#pragma once

#include <functional>
#include <future>
#include <memory>
#include <string>
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

/// The hub's HTTP side: its device details on port 55555, and the application service that
/// launches the receiver and tells whether it runs - on the same port, or with TLS on one of its
/// own.
///
/// Made, started and destroyed by one thread; requests are served on threads of its own.
class HttpService {
 public:
  static constexpr int kDetailsPort = 55555;

  struct Settings {
    std::string bind;
    std::string name;
    ProtocolVariant variant;
    int tlsPort = 0;  ///< 0: no TLS
  };

  struct Handlers {
    std::function<void(const std::string& sender, const std::string& application)> launched;
    /// Somebody asked the application to stop.
    std::function<void()> stopped;
  };

  /// `application` and `log` outlive the service.
  HttpService(Settings settings, ReceiverApplication& application, HubLog& log, Handlers handlers);
  ~HttpService();

  HttpService(const HttpService&) = delete;
  HttpService& operator=(const HttpService&) = delete;

  /// Takes the ports. `certificate` is needed for TLS. Throws std::runtime_error with a plain
  /// sentence if a port is not to be had.
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
  std::vector<std::future<bool>> serving_;  // their ends are waited for
};

}  // namespace tessel::hub
