#include <cassert>
#include <utility>

#include "display/DisplayChannel.h"
#include "platform/Log.h"
#include "platform/Services.h"
#include "platform/base/ErrorText.h"
#include "tessel/TSLSession.h"
#include "wire/MessageHeader.h"

// The channel's receive loop, and the end of a session whose channel broke.
namespace tessel {
namespace {

using platform::Received;

constexpr const char* kHeader = "-[TSLDisplayConnection doReceive:]_block_invoke";
constexpr const char* kBody = "-[TSLDisplayConnection doReceive:]_block_invoke_2";

// How the log calls the body that could not be skipped.
const char* skipName(std::uint8_t command) {
  switch (command) {
    case VSCH_CMD_CREATE_CONTEXT_RESPONSE:
      return "VSCH_CMD_CREATE_CONTEXT_RESPONSE";
    case VSCH_CMD_CONTROL_C2H:
      return "VSCH_CMD_CONTROL_C2H";
    default:
      return "unknown command";
  }
}

}  // namespace

void DisplayChannel::doReceive(const std::shared_ptr<platform::NetworkConnection>& connection) {
  connection->receive(MessageHeader::kSize,
                      [weak = weak_from_this(),
                       weakConnection = std::weak_ptr{connection}](const Received& received) {
                        const auto self = weak.lock();
                        const auto strong = weakConnection.lock();
                        if (self && strong) self->didReceiveHeader(strong, received);
                      });
}

void DisplayChannel::didReceiveHeader(
    const std::shared_ptr<platform::NetworkConnection>& connection, const Received& received) {
  assert(queue_->isCurrent());
  const auto header = received.content ? MessageHeader::parse(*received.content) : std::nullopt;
  if (!header) return;  // the stream ended between two messages
  if (header->command == VSCH_CMD_CREATE_CONTEXT_RESPONSE) {
    platform::log("%s: VSCH_CMD_CREATE_CONTEXT_RESPONSE received", kHeader);
    if (const auto group = contextGroup()) group->leave();
  } else if (header->command == VSCH_CMD_CONTROL_C2H) {
    if (acknowledged_) acknowledged_();
  } else {
    platform::log("%s: received unknown command: 0x%x", kHeader, header->command);
  }
  // The outcome of the header's read is judged after the body was skipped. That takes no content.
  Received outcome{std::nullopt, received.context, received.isComplete, received.error};
  connection->receive(
      header->bodyLength(),
      [weak = weak_from_this(), weakConnection = std::weak_ptr{connection},
       name = skipName(header->command), outcome = std::move(outcome)](const Received& body) {
        const auto self = weak.lock();
        const auto strong = weakConnection.lock();
        if (self && strong) self->didSkipBody(strong, name, outcome, body);
      });
}

void DisplayChannel::didSkipBody(const std::shared_ptr<platform::NetworkConnection>& connection,
                                 const char* name, const Received& header, const Received& body) {
  assert(queue_->isCurrent());
  const auto skipFailed = [this, name] {
    platform::log("%s: %s skip failed", kBody, name);
    disconnectSessionDueToConnectionError();
  };
  if (body.isFinal()) skipFailed();
  if (body.error) return skipFailed();
  if (header.isFinal()) {
    platform::log("%s: ERROR IN Recieve", kBody);
    connected_ = false;
  } else if (header.error) {
    platform::log("%s: Error: %s", kBody, platform::describe(*header.error).c_str());
  } else {
    doReceive(connection);
  }
}

void DisplayChannel::disconnectSessionDueToConnectionError() {
  platform::log("%s: ENTER", "-[TSLDisplayConnection disconnectSessionDueToConnectionError]");
  if (terminateAccidentally_.exchange(true)) return;
  platform::services().queues->mainQueue()->async([hub = hub_] {
    if (const auto session = hub.lock()) session->disconnect();
  });
}

}  // namespace tessel
