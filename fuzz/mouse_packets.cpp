#include "fuzz/Pieces.h"
#include "input/TSLMouseConnection.h"
#include "input/TSLMouseSimulator.h"
#include "tessel/TSLSession.h"

// What a hub says on the mouse channel once the handshake is done.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  tessel::test::SimWorld world;
  const auto session = tessel::TSLSession::initWithHostName("10.0.0.7", 0);
  const auto mouse = tessel::TSLMouseConnection::initWithHub(session);
  mouse->setMouseSimulator(tessel::TSLMouseSimulator::init(session));
  const auto connection =
      world.network.makeConnection({"10.0.0.7", "8500"}, false, mouse->mouseQueue());
  mouse->rcvMouseEvent(connection);
  tessel::fuzz::deliverInPieces(world, *world.network.last(), {data, size});
  mouse->stopWithCompletionHandler({});
  world.run();
  return 0;
}
