#include "discovery/deviceParser.h"
#include "platform/posix/files/LibxmlParser.h"
#include "session/deviceDetail.h"
#include "tessel/TSLSession.h"
#include "tests/support/SimWorld.h"

// The document in which a hub describes itself, as a session and as the hub directory read it.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const tessel::test::SimWorld world;
  const auto session = tessel::TSLSession::initWithHostName("10.0.0.7", 0);
  const auto details = tessel::deviceDetail::initWithSession(session);
  const auto name = tessel::deviceParser::initWithTarget("friendlyName");
  tessel::platform::LibxmlParser parser;
  const bool wellFormed = parser.parse({data, size}, *details);
  if (parser.parse({data, size}, *name) != wellFormed) __builtin_trap();
  return 0;
}
