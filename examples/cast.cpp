// The smallest host: casts this computer's screen to the hub whose address it is given.
#include <csignal>
#include <cstdio>
#include <tessel/Tessel.h>

struct Host : tessel::TSLSessionDelegate {
  void didChangeState(const std::shared_ptr<tessel::TSLSession>&, std::int64_t state) override {
    if (state == tessel::TSLSessionStateConnected) std::puts("casting; Ctrl-C ends it");
  }
  void connectionFailedWithError(const std::shared_ptr<tessel::TSLSession>&,
                                 const tessel::Error& error) override {
    std::printf("%s (%ld)\n", error.localizedDescription.c_str(), error.code);
    tessel::stopMainQueue();
  }
};

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  const auto host = std::make_shared<Host>();
  const auto session = tessel::TSLSession::initWithHostName(argv[1], 0);
  session->setDelegate(host, tessel::OperationQueue::mainQueue());
  for (const int ending : {SIGINT, SIGTERM})
    std::signal(ending, [](int) { tessel::stopMainQueue(); });
  session->connect();
  tessel::runMainQueue();
  session->disconnect();  // which also releases what the hub's user holds down
}
