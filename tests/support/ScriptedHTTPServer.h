#pragma once

#include <functional>
#include <list>
#include <memory>
#include <string>
#include <string_view>
#include <thread>

#include "tests/support/Eventually.h"

namespace tessel::test {

class TestCertificate;

/// One connection to a scripted server. The script's thread.
class ServerConnection {
 public:
  virtual ~ServerConnection() = default;
  /// The bytes up to and with the next empty line; fewer when the client closes before.
  std::string receiveHead();
  /// Whether the client took the bytes. Whatever they are, nothing is added.
  virtual bool send(std::string_view bytes) = 0;
  /// Returns when the client has gone, or the server is at its end.
  void waitForEnd();

 protected:
  /// One byte; false when there is no more.
  virtual bool receive(char& byte) = 0;
};

/// An HTTP server on a loopback port that says what a script tells it to, byte for byte:
/// slowly, wrongly, without end or not at all. Each connection has a thread that runs the script;
/// the connection is closed when the script returns. Made and destroyed on the test's thread; its
/// end closes all connections and waits for the scripts.
class ScriptedHTTPServer {
 public:
  using Script = std::function<void(ServerConnection&)>;

  /// Where it listens; port 0: any free port.
  struct Place {
    std::string address = "127.0.0.1";
    int port = 0;
  };

  /// With a certificate it speaks TLS.
  explicit ScriptedHTTPServer(Script script, const TestCertificate* certificate = nullptr);
  ScriptedHTTPServer(Script script, const TestCertificate* certificate, Place place);
  ScriptedHTTPServer(const ScriptedHTTPServer&) = delete;
  ScriptedHTTPServer& operator=(const ScriptedHTTPServer&) = delete;
  ~ScriptedHTTPServer();

  int port() const { return place_.port; }
  /// "http://ADDRESS:PORT" and `path`.
  std::string url(const std::string& path = "/") const;
  /// How many connections there have been.
  int connections() const { return connections_.get(); }
  /// Whether there come to be so many.
  bool hasConnections(int count) const { return connections_.becomesEqual(count); }

 private:
  struct Client {
    int socket = -1;
    std::thread thread;
  };

  void acceptAll();
  void serve(int socket);

  const Script script_;
  const TestCertificate* const certificate_;
  int listener_ = -1;
  Place place_;
  Eventually<int> connections_{0};
  std::list<Client> clients_;  // the accepting thread's, then the destructor's
  std::thread acceptor_;
};

/// A script that reads the request and gives `answer`.
ScriptedHTTPServer::Script answering(std::string answer);

/// "HTTP/1.1 200 OK" with `body`, its length and more header lines, each ended by CR LF.
std::string okAnswer(std::string_view body, std::string_view headerLines = "");

}  // namespace tessel::test
