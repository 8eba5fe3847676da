#include "apps/tessel-hub/http/HttpService.h"

#include <atomic>
#include <chrono>
#include <httplib.h>
#include <stdexcept>
#include <utility>

#include "apps/tessel-hub/http/DeviceDetails.h"
#include "platform/posix/Thread.h"
#include "wire/DetailsURL.h"

namespace tessel::hub {
namespace {

constexpr int kCreated = 201;
constexpr int kNotFound = 404;
constexpr int kUnavailable = 503;
constexpr std::chrono::milliseconds kStartPoll{1};
constexpr const char* kXml = "text/xml; charset=utf-8";
constexpr std::size_t kMaxRequestBytes = std::size_t{64} << 10;

std::chrono::steady_clock::time_point now() { return std::chrono::steady_clock::now(); }

// "/apps/NAME" or "/apps/NAME/INSTANCE"
constexpr const char* kApplicationPath = R"(/apps/([^/]+)(?:/([^/]+))?)";

}  // namespace

HttpService::HttpService(Settings settings, ReceiverApplication& application, HubLog& log,
                         Handlers handlers)
    : settings_{std::move(settings)},
      application_{application},
      log_{log},
      handlers_{std::move(handlers)} {}

HttpService::~HttpService() {
  for (httplib::Server* server : {plain_.get(), tls_.get()}) {
    if (server != nullptr) server->stop();
  }
  for (std::thread& thread : threads_) thread.join();
}

void HttpService::start(const Certificate* certificate) {
  plain_ = std::make_unique<httplib::Server>();
  prepare(*plain_);
  serveDetails(*plain_);
  if (settings_.tlsPort == 0) {
    serveApplication(*plain_);
  } else {
    tls_ = std::make_unique<httplib::SSLServer>([certificate](SSL_CTX& context) {
      certificate->use(&context);
      return true;
    });
    prepare(*tls_);
    serveApplication(*tls_);
    listen(*tls_, settings_.tlsPort);
  }
  listen(*plain_, kDetailsPort.number);
}

void HttpService::prepare(httplib::Server& server) {
  // Without SO_REUSEPORT, the default, with which a second hub could bind the same port.
  server.set_socket_options([](socket_t socket) {
    const int yes = 1;
    setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
  });
  // One request a connection: an idle connection would delay the end of the program.
  server.set_keep_alive_max_count(1);
  server.set_read_timeout(2, 0);
  server.set_write_timeout(2, 0);
  server.set_payload_max_length(kMaxRequestBytes);
}

void HttpService::serveDetails(httplib::Server& server) {
  server.Get(kDetailsPath, [this](const httplib::Request& request, httplib::Response& response) {
    const DeviceDetails details{
        .version = settings_.variant.version,
        .friendlyName = settings_.name,
        .tlsPort = settings_.tlsPort,
        .busy = application_.state(now()) != ReceiverApplication::State::kStopped,
    };
    response.set_header("Application-URL", applicationsURL(request));
    response.set_content(details.xml(), kXml);
  });
}

void HttpService::serveApplication(httplib::Server& server) {
  server.Post(R"(/apps/([^/]+))",
              [this](const httplib::Request& request, httplib::Response& response) {
                launch(request, response);
              });
  server.Get(kApplicationPath,
             [this](const httplib::Request& request, httplib::Response& response) {
               tellState(request, response);
             });
  server.Delete(kApplicationPath, [this](const httplib::Request& request,
                                         httplib::Response& response) { stop(request, response); });
}

void HttpService::listen(httplib::Server& server, int port) {
  if (!server.bind_to_port(settings_.bind, port)) {
    throw std::runtime_error{"Port " + std::to_string(port) + " of " + settings_.bind +
                             " cannot be had: is another hub running there? End it, or choose "
                             "another address of this machine with --bind."};
  }
  const auto ended = std::make_shared<std::atomic<bool>>(false);
  threads_.push_back(platform::startThread("hub.http", [&server, ended] {
    server.listen_after_bind();
    *ended = true;
  }));
  // A stop before the server runs would be lost.
  while (!server.is_running()) {
    std::this_thread::sleep_for(kStartPoll);
    if (*ended) {
      throw std::runtime_error{"Port " + std::to_string(port) + " of " + settings_.bind +
                               " cannot be served."};
    }
  }
}

std::string HttpService::applicationsURL(const httplib::Request& request) const {
  const bool tls = settings_.tlsPort != 0;
  return std::string{tls ? "https" : "http"} + "://" + urlHost(request.local_addr) + ":" +
         std::to_string(tls ? settings_.tlsPort : kDetailsPort.number) + "/apps/";
}

void HttpService::launch(const httplib::Request& request, httplib::Response& response) {
  const std::string name = request.matches[1];
  if (name != settings_.variant.applicationName) {
    log_.line("launch of an unknown application by " + request.remote_addr);
    response.status = kNotFound;
    return;
  }
  const std::optional<ReceiverApplication::Launch> launched =
      application_.launch(request.remote_addr, now());
  if (!launched) {
    log_.line("launch by " + request.remote_addr + " refused: the hub is busy");
    response.status = kUnavailable;
    return;
  }
  log_.line("launch by " + request.remote_addr);
  const std::string instance = settings_.variant.multiToken ? launched->instance : "run";
  response.status = kCreated;
  response.set_header("Location", applicationsURL(request) + name + "/" + instance);
  // In one line: a sender would take white space behind the token for the token.
  response.set_content(R"(<?xml version="1.0" encoding="UTF-8"?><service><token>)" +
                           launched->token + "</token></service>",
                       kXml);
  handlers_.launched(request.remote_addr, name);
}

bool HttpService::isRunning(const std::string& instance) const {
  if (instance.empty() || instance == "run") {
    return application_.state(now()) != ReceiverApplication::State::kStopped;
  }
  return application_.runs(instance, now());
}

void HttpService::tellState(const httplib::Request& request, httplib::Response& response) {
  const std::string name = request.matches[1];
  const std::string instance = request.matches[2];
  if (name != settings_.variant.applicationName) {
    response.status = kNotFound;
    return;
  }
  const std::string state = isRunning(instance) ? "running" : "stopped";
  response.set_content(R"(<?xml version="1.0" encoding="UTF-8"?><service><name>)" + name +
                           "</name><state>" + state + "</state></service>",
                       kXml);
}

void HttpService::stop(const httplib::Request& request, httplib::Response& response) {
  const std::string instance = request.matches[2];
  if (request.matches[1] != settings_.variant.applicationName || instance.empty() ||
      !isRunning(instance) || !application_.belongsTo(request.remote_addr, now())) {
    response.status = kNotFound;
    return;
  }
  log_.line("stopped by " + request.remote_addr);
  handlers_.stopped();
}

}  // namespace tessel::hub
