#include "tests/display/DisplayTest.h"

namespace tessel::test {

using namespace std::chrono_literals;

DisplayTest::DisplayTest() : session{TSLSession::initWithHostName("10.0.0.7", 0)} {
  session->setApplicationURL("http://10.0.0.7:55555/apps/");
  session->setApplicationName("CasterApp");
  session->setNewProtocol(true);
  display = TSLDisplayConnection::initWithHub(session);
  world.log.clear();
}

void DisplayTest::start() {
  display->startWithCompletionHandler(
      [this, queue = display->socketDispatchQueue()](const std::optional<Error>& error) {
        outcomes.push_back(error);
        outcomeOnSocketQueue = queue->isCurrent();
      });
}

void DisplayTest::answerLaunch(const std::string& body,
                               const std::map<std::string, std::string>& headers) {
  world.http.last()->respond(body, headers);
  world.run();
}

void DisplayTest::startUntilConnecting() {
  start();
  answerLaunch();
  world.advance(2s);
}

void DisplayTest::startUntilNegotiating() {
  startUntilConnecting();
  connection()->becomeReady();
  world.run();
}

void DisplayTest::startUntilCasting() {
  startUntilNegotiating();
  hubSends(kContextResponse);
}

void DisplayTest::hubSends(const Bytes& bytes) {
  connection()->deliver(bytes);
  world.run();
}

void DisplayTest::castFrame() {
  capture()->deliverPicture();
  world.run();
}

bool RecordingSink::sendBuffer(const void* bytes, std::size_t length) {
  if (sends.size() == failing) return false;
  const auto* first = static_cast<const std::uint8_t*>(bytes);
  sends.emplace_back(first, first + length);
  return true;
}

}  // namespace tessel::test
