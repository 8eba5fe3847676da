#include "display/TSLDisplayConnection.h"
#include "fuzz/Pieces.h"
#include "tessel/TSLSession.h"

// What a hub says on the display channel.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  tessel::test::SimWorld world;
  const auto session = tessel::TSLSession::initWithHostName("10.0.0.7", 0);
  const auto display = tessel::TSLDisplayConnection::initWithHub(session);
  const auto connection =
      world.network.makeConnection({"10.0.0.7", "1494"}, false, display->socketDispatchQueue());
  display->doReceive(connection);
  tessel::fuzz::deliverInPieces(world, *world.network.last(), {data, size});
  return 0;
}
