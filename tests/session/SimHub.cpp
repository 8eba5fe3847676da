#include "tests/session/SimHub.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace tessel::test {
namespace {

using namespace std::chrono_literals;

const Bytes kContextResponse = {0x04, 0x00, 0x81, 0x00};
const Bytes kCursorReply = {0x02, 0, 0, 0, 0x02, 0, 0, 0, 0x02, 0x01};
const Bytes kCaptureReply = {0x02, 0, 0, 0, 0x02, 0, 0, 0, 0x04, 0x01};

bool isDetails(const URLRequest& request) {
  return request.url.ends_with(":55555/device-details.xml");
}

}  // namespace

SimHub::SimHub(SimWorld& world) : world_{world} {
  world_.http.onRequest = [this](SimExchange& exchange) { answer(exchange); };
}

SimHub::~SimHub() { world_.http.onRequest = nullptr; }

void SimHub::answer(SimExchange& exchange) {
  if (exchange.request.method == "POST") {
    if (answersLaunch) exchange.respond("<launch/>", launchHeaders);
  } else if (isDetails(exchange.request)) {
    if (answersDetails) exchange.respond(details, detailsHeaders);
  } else if (answersPolls) {
    exchange.respond(status);
  }
}

void SimHub::takeDisplay() {
  world_.run();
  world_.advance(2s);  // the channel's pause before it opens
  display = world_.network.last();
  ASSERT_TRUE(display && display->started);
  display->becomeReady();
  world_.run();
  display->deliver(kContextResponse);
  world_.run();
}

void SimHub::takeMouse() {
  mouse = world_.network.last();
  ASSERT_TRUE(mouse != display && mouse->started);
  mouse->becomeReady();
  world_.run();
  mouse->deliver(kCursorReply);
  world_.run();
  mouse->deliver(kCaptureReply);
  world_.run();
}

void SimHub::takeKeyBoard() {
  keyBoard = world_.network.last();
  ASSERT_TRUE(keyBoard != mouse && keyBoard->started);
  keyBoard->becomeReady();
  world_.run();
}

void SimHub::takeChannels() {
  ASSERT_NO_FATAL_FAILURE(takeDisplay());
  ASSERT_NO_FATAL_FAILURE(takeMouse());
  ASSERT_NO_FATAL_FAILURE(takeKeyBoard());
}

std::vector<std::shared_ptr<SimExchange>> SimHub::polls() const {
  std::vector<std::shared_ptr<SimExchange>> found;
  std::ranges::copy_if(world_.http.requests, std::back_inserter(found), [](const auto& exchange) {
    return exchange->request.method == "GET" && !isDetails(exchange->request);
  });
  return found;
}

}  // namespace tessel::test
