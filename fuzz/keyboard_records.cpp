#include "fuzz/Pieces.h"
#include "input/TSLKeyBoardConnection.h"
#include "input/TSLKeyBoardSimulator.h"
#include "tessel/TSLSession.h"

// What a hub says on the keyboard channel.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  tessel::test::SimWorld world;
  const auto session = tessel::TSLSession::initWithHostName("10.0.0.7", 0);
  const auto keyboard = tessel::TSLKeyBoardConnection::initWithHub(session);
  keyboard->setKeyBoardSimulator(tessel::TSLKeyBoardSimulator::init());
  const auto connection =
      world.network.makeConnection({"10.0.0.7", "8500"}, false, keyboard->keyboardQueue());
  keyboard->rcvKeyBoardEvent(connection);
  tessel::fuzz::deliverInPieces(world, *world.network.last(), {data, size});
  return 0;
}
