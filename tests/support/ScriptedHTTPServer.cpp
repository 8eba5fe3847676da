#include "tests/support/ScriptedHTTPServer.h"

#include <arpa/inet.h>
#include <csignal>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <openssl/ssl.h>
#include <pthread.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

#include "tests/support/TestCertificate.h"

namespace tessel::test {
namespace {

class PlainConnection : public ServerConnection {
 public:
  explicit PlainConnection(int socket) : socket_{socket} {}

  bool send(std::string_view bytes) override {
    while (!bytes.empty()) {
      const ssize_t sent = ::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
      if (sent <= 0) return false;
      bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
    return true;
  }

 protected:
  bool receive(char& byte) override { return ::recv(socket_, &byte, 1, 0) == 1; }

 private:
  const int socket_;
};

class TLSConnection : public ServerConnection {
 public:
  TLSConnection(int socket, SSL_CTX* context) : ssl_{SSL_new(context)} {
    SSL_set_fd(ssl_.get(), socket);
    accepted_ = SSL_accept(ssl_.get()) == 1;
  }
  ~TLSConnection() override {
    if (accepted_) SSL_shutdown(ssl_.get());
  }
  TLSConnection(const TLSConnection&) = delete;
  TLSConnection& operator=(const TLSConnection&) = delete;

  bool send(std::string_view bytes) override {
    return accepted_ && SSL_write(ssl_.get(), bytes.data(), static_cast<int>(bytes.size())) > 0;
  }

 protected:
  bool receive(char& byte) override { return accepted_ && SSL_read(ssl_.get(), &byte, 1) == 1; }

 private:
  struct Free {
    void operator()(SSL* ssl) const { SSL_free(ssl); }
  };
  const std::unique_ptr<SSL, Free> ssl_;
  bool accepted_ = false;
};

// TLS writes to a client that has gone must not end the test.
void ignoreBrokenPipes() {
  sigset_t pipes;
  sigemptyset(&pipes);
  sigaddset(&pipes, SIGPIPE);
  pthread_sigmask(SIG_BLOCK, &pipes, nullptr);
}

}  // namespace

std::string ServerConnection::receiveHead() {
  std::string head;
  char byte = 0;
  while (!head.ends_with("\r\n\r\n") && receive(byte)) head.push_back(byte);
  return head;
}

void ServerConnection::waitForEnd() {
  char byte = 0;
  while (receive(byte)) {
  }
}

ScriptedHTTPServer::ScriptedHTTPServer(Script script, const TestCertificate* certificate)
    : ScriptedHTTPServer{std::move(script), certificate, Place{}} {}

ScriptedHTTPServer::ScriptedHTTPServer(Script script, const TestCertificate* certificate,
                                       Place place)
    : script_{std::move(script)}, certificate_{certificate}, place_{std::move(place)} {
  listener_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const int on = 1;  // a fixed port may have been used a moment ago
  ::setsockopt(listener_, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = ::inet_addr(place_.address.c_str());
  address.sin_port = htons(static_cast<std::uint16_t>(place_.port));
  socklen_t size = sizeof address;
  auto* generic = reinterpret_cast<sockaddr*>(&address);
  if (::bind(listener_, generic, size) != 0 || ::listen(listener_, SOMAXCONN) != 0 ||
      ::getsockname(listener_, generic, &size) != 0)
    throw std::runtime_error{"no loopback port"};
  place_.port = ntohs(address.sin_port);
  acceptor_ = std::thread{[this] { acceptAll(); }};
}

ScriptedHTTPServer::~ScriptedHTTPServer() {
  ::shutdown(listener_, SHUT_RDWR);
  acceptor_.join();
  ::close(listener_);
  for (Client& client : clients_) ::shutdown(client.socket, SHUT_RDWR);
  for (Client& client : clients_) {
    client.thread.join();
    ::close(client.socket);
  }
}

std::string ScriptedHTTPServer::url(const std::string& path) const {
  return (certificate_ ? "https://" : "http://") + place_.address + ":" +
         std::to_string(place_.port) + path;
}

void ScriptedHTTPServer::acceptAll() {
  for (;;) {
    const int socket = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    if (socket < 0) return;
    const int on = 1;  // each piece of a slow answer goes out by itself
    ::setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    connections_.update([](int& count) { ++count; });
    clients_.push_back({socket, std::thread{[this, socket] { serve(socket); }}});
  }
}

// The socket stays open until the server's end, so that its number is not reused meanwhile.
void ScriptedHTTPServer::serve(int socket) {
  ignoreBrokenPipes();
  if (certificate_) {
    TLSConnection connection{socket, certificate_->serverContext()};
    script_(connection);
  } else {
    PlainConnection connection{socket};
    script_(connection);
  }
  ::shutdown(socket, SHUT_RDWR);
}

ScriptedHTTPServer::Script answering(std::string answer) {
  return [answer = std::move(answer)](ServerConnection& connection) {
    connection.receiveHead();
    connection.send(answer);
  };
}

std::string okAnswer(std::string_view body, std::string_view headerLines) {
  return "HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(body.size()) + "\r\n" +
         std::string{headerLines} + "\r\n" + std::string{body};
}

}  // namespace tessel::test
