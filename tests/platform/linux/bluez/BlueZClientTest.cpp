#include <cstdlib>
#include <gmock/gmock.h>

#include "platform/linux/bluez/BlueZClient.h"
#include "tests/support/Eventually.h"

namespace tessel::platform {
namespace {

// Calls a method as soon as it is known that there is no bus.
class Caller final : private BlueZClient::Listener {
 public:
  Caller() { client_.start(); }
  ~Caller() override { client_.stop(); }

  test::Eventually<std::vector<std::string>> errors;

 private:
  void serviceChanged(BlueZClient::Service service) override {
    EXPECT_EQ(service, BlueZClient::Service::kNoBus);
    client_.call("/org/bluez/hci0", "org.bluez.Adapter1", "StartDiscovery", nullptr,
                 [this](const char* errorName) {
                   EXPECT_TRUE(client_.thread().isCurrent());
                   EXPECT_TRUE(returned_) << "the reply came before the call returned";
                   errors.update([&](auto& all) {
                     all.emplace_back(errorName != nullptr ? errorName : "none");
                   });
                 });
    returned_ = true;
  }
  void interfaceAdded(const std::string&, const std::string&, const VariantMap&) override {}
  void interfaceRemoved(const std::string&, const std::string&) override {}
  void propertiesChanged(const std::string&, const std::string&, const VariantMap&,
                         const std::vector<std::string>&) override {}
  void settled() override {}

  bool returned_ = false;
  BlueZClient client_{*this, "tessel.test"};
};

TEST(BlueZClientTest, ACallThatCannotBeSentIsAnsweredLaterWithAnError) {
  setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/socket", 1);
  Caller caller;
  EXPECT_TRUE(caller.errors.becomes(
      [](const auto& all) { return all.size() == 1 && all.front() != "none"; }));
}

}  // namespace
}  // namespace tessel::platform
