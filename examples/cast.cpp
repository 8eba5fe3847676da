// The smallest host: casts this computer's screen to the hub whose address it is given.
#include <csignal>
#include <cstdio>
#include <tessel/Tessel.h>

struct Host : tessel::TSLSessionDelegate {
  void connectionFailedWithError(const std::shared_ptr<tessel::TSLSession>&,
                                 const tessel::Error& error) override {
    std::puts(error.localizedDescription.c_str());
    tessel::stopMainQueue();
  }
};

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  const auto host = std::make_shared<Host>();
  const auto session = tessel::TSLSession::initWithHostName(argv[1], 0);
  session->setDelegate(host, tessel::OperationQueue::mainQueue());
  for (int end : {SIGINT, SIGTERM}) std::signal(end, [](int) { tessel::stopMainQueue(); });
  session->connect();
  tessel::runMainQueue();
  session->disconnect();  // which also releases what the hub's user holds down
}
