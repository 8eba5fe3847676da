#include <array>
#include <gtest/gtest.h>
#include <memory>
#include <optional>

#include "apps/tessel-hub/channels/ChannelAcceptor.h"

namespace tessel::hub {
namespace {

constexpr std::chrono::seconds kTimeout{10};

TEST(ChannelAcceptorTest, MayEndBeforeAConnectionWithoutAnOpening) {
  const ChannelAcceptor::Settings settings{.address = asio::ip::make_address("127.18.0.1"),
                                           .port = 1494};
  HubLog log;
  std::optional<asio::io_context> context{std::in_place, 1};
  alignas(ChannelAcceptor) std::array<unsigned char, sizeof(ChannelAcceptor)> memory{};
  auto* const acceptor = reinterpret_cast<ChannelAcceptor*>(memory.data());
  std::construct_at(acceptor, *context, settings, log,
                    [](ChannelKind, const std::shared_ptr<ChannelStream>&) {});
  acceptor->listen();

  asio::io_context own;
  asio::ip::tcp::socket silent{own};
  silent.connect({settings.address, settings.port});
  ASSERT_EQ(context->run_one_for(kTimeout), 1U);  // it is accepted
  ASSERT_EQ(context->run_one_for(kTimeout), 1U);  // and read from: the loop owns it now

  std::destroy_at(acceptor);
  const auto before = memory;
  context.reset();
  EXPECT_EQ(memory, before);  // no write after the destruction
}

}  // namespace
}  // namespace tessel::hub
