#include <csignal>
#include <cstdio>
#include <string>
#include <sys/prctl.h>
#include <thread>

#include "input/TSLKeyBoardConnection.h"
#include "input/TSLMouseConnection.h"
#include "tessel/Log.h"
#include "tessel/MainQueue.h"
#include "tessel/TSLSession.h"

/// Opens the mouse and the keyboard channel to the hub at the address given, says "ready", and
/// closes them at SIGTERM. The log goes to standard output.
int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: %s HUB\n", argv[0]);
    return 2;
  }
  // Blocked before any other thread starts, so that only the one below takes it.
  sigset_t terminate;
  sigemptyset(&terminate);
  sigaddset(&terminate, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &terminate, nullptr);
  prctl(PR_SET_PDEATHSIG, SIGTERM);  // a test that is killed leaves nothing behind

  tessel::setLogSink([](std::string_view line) {
    std::printf("%.*s\n", static_cast<int>(line.size()), line.data());
    std::fflush(stdout);
  });
  const auto session = tessel::TSLSession::initWithHostName(argv[1], 0);
  session->setNewProtocol(true);
  const auto mouse = tessel::TSLMouseConnection::initWithHub(session);
  const auto keyBoard = tessel::TSLKeyBoardConnection::initWithHub(session);
  session->setMouseConnection(mouse);
  session->setKeyBoardConnection(keyBoard);
  mouse->startWithCompletionHandler([&keyBoard](const std::optional<tessel::Error>& error) {
    if (error) return;
    keyBoard->startWithCompletionHandler([](const std::optional<tessel::Error>&) {
      std::puts("ready");
      std::fflush(stdout);
    });
  });

  std::thread waiter{[&terminate] {
    int signal = 0;
    sigwait(&terminate, &signal);
    tessel::stopMainQueue();
  }};
  tessel::runMainQueue();
  waiter.join();
  mouse->stopWithCompletionHandler(nullptr);
  keyBoard->stopWithCompletionHandler(nullptr);
  return 0;
}
