#pragma once

#include <array>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/support/TemporaryFolder.h"

namespace tessel::test {

/// A message bus of the test's own (dbus-daemon), which is the system bus of this process from then
/// on. It ends with the test, however that ends.
class PrivateBus {
 public:
  PrivateBus() {
    const std::string address = "unix:path=" + (folder_.path() / "socket").string();
    std::ofstream{folder_.path() / "config"}
        << "<busconfig><keep_umask/><listen>" << address
        << "</listen><auth>EXTERNAL</auth><policy context='default'>"
           "<allow send_destination='*' eavesdrop='true'/><allow eavesdrop='true'/>"
           "<allow own='*'/></policy></busconfig>";
    setenv("DBUS_SYSTEM_BUS_ADDRESS", address.c_str(), 1);
    start();
  }
  ~PrivateBus() { end(); }
  PrivateBus(const PrivateBus&) = delete;
  PrivateBus& operator=(const PrivateBus&) = delete;

  /// Ends the bus, and with it all connections.
  void end() {
    if (pid_ <= 0) return;
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
    pid_ = 0;
  }

 private:
  void start() {
    std::array<int, 2> started{};
    ASSERT_EQ(pipe2(started.data(), O_CLOEXEC), 0);
    const std::string config = "--config-file=" + (folder_.path() / "config").string();
    pid_ = fork();
    if (pid_ == 0) {
      prctl(PR_SET_PDEATHSIG, SIGKILL);
      dup2(started[1], STDOUT_FILENO);
      dup2(open("/dev/null", O_WRONLY), STDERR_FILENO);
      execlp("dbus-daemon", "dbus-daemon", "--nofork", "--nopidfile", "--print-address",
             config.c_str(), nullptr);
      _exit(127);
    }
    close(started[1]);
    char first = 0;
    EXPECT_EQ(read(started[0], &first, 1), 1) << "dbus-daemon does not start";
    close(started[0]);
  }

  const TemporaryFolder folder_;
  pid_t pid_ = 0;
};

}  // namespace tessel::test
