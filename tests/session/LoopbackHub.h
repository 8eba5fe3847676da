#pragma once

#include <string>
#include <utility>

#include "tests/support/Eventually.h"
#include "tests/support/ScriptedHTTPServer.h"

namespace tessel::test {

/// The HTTP side of a hub on port 55555 of a loopback address; its channels' ports refuse.
class LoopbackHub {
 public:
  /// `address`: one that no other test uses, since the port is fixed.
  explicit LoopbackHub(std::string address, std::string details)
      : address_{std::move(address)},
        server_{[this, details = std::move(details)](ServerConnection& connection) {
                  const auto head = connection.receiveHead();
                  connection.send(head.starts_with("POST") ? okAnswer("<launch/>") : details);
                  requests.update([](int& count) { ++count; });
                },
                nullptr,
                {address_, 55555}} {}

  /// Details of a hub that launches on its own port: 1.5, no TLS.
  static std::string plainDetails(const std::string& address) {
    return okAnswer("<device><specVersion>1.5</specVersion></device>",
                    "Application-URL: http://" + address + ":55555/apps/\r\n");
  }

  Eventually<int> requests;  ///< answered so far

 private:
  const std::string address_;
  const ScriptedHTTPServer server_;
};

}  // namespace tessel::test
