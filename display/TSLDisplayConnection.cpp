#include "display/TSLDisplayConnection.h"

#include <utility>

#include "display/DisplayLaunch.h"
#include "platform/Log.h"
#include "platform/Services.h"
#include "platform/XMLParser.h"
#include "platform/base/ErrorText.h"
#include "platform/base/TextLength.h"
#include "tessel/Constants.h"
#include "tessel/TSLSession.h"
#include "wire/Ports.h"

// Life of a display connection: made, launching, stopped. What happens on the channel itself is in
// TSLDisplayConnectionSocket.cpp, what happens to frames in TSLDisplayConnectionVideo.cpp.
namespace tessel {
namespace {

constexpr long kStopped = 5;

}  // namespace

const char* TSLDisplayConnectorDefaultPort = kChannelsPort.text;

std::shared_ptr<TSLDisplayConnection> TSLDisplayConnection::initWithHub(
    const std::shared_ptr<TSLSession>& hub) {
  return std::shared_ptr<TSLDisplayConnection>{new TSLDisplayConnection{hub}};
}

TSLDisplayConnection::TSLDisplayConnection(const std::shared_ptr<TSLSession>& hub)
    : hub_{hub},
      socketDispatchQueue_{
          platform::services().queues->makeSerialQueue("org.tessel.displaySocket")},
      sampleBufferDispatchQueue_{
          platform::services().queues->makeSerialQueue("org.tessel.sampleBuffer")} {}

TSLDisplayConnection::~TSLDisplayConnection() {
  // The last reference may go inside the encoder's callback, where the encoder cannot be ended.
  if (auto encoder = compressionSession_.get()) {
    compressionSession_.set(nullptr);
    socketDispatchQueue_->async([encoder = std::move(encoder)] { encoder->invalidate(); });
  }
  stopWithCompletionHandler(nullptr);
}

void TSLDisplayConnection::startWithCompletionHandler(CompletionHandler handler) {
  abandoned_ = false;
  const auto session = hub();
  const URLRequest request = session ? launchRequest(*session) : URLRequest{"", "POST"};
  URLSession::tsl_sessionWithDefaultConfiguration()->dataTask(
      request,
      [self = shared_from_this(), handler = std::move(handler)](
          const Bytes& body, const URLResponse& response, const std::optional<Error>& error) {
        if (error) {
          platform::log("error: %s", platform::describe(*error).c_str());
          handler(error);
          return;
        }
        self->didLaunch(body, response, handler);
      });
}

void TSLDisplayConnection::didLaunch(const Bytes& body, const URLResponse& response,
                                     const CompletionHandler& handler) {
  if (const auto session = hub()) setStopURL(stopURLAfterLaunch(*session, response));
  platform::services().xml->parse(body, *this);
  std::optional<Error> error;
  startDisplaySocketReturningError(error);
  if (!error) openDebugMovieOutputStream();
  socketDispatchQueue_->async([handler, error] { handler(error); });
}

void TSLDisplayConnection::didStartElement(const std::string& elementName) {
  xmlelementname_.set(elementName);
}

// The name is not cleared at an end tag: white space behind the token's element, when it is long
// enough, replaces the token. Hubs rely on nothing else, and the channel never sends the token.
void TSLDisplayConnection::foundCharacters(const std::string& text) {
  if (xmlelementname_.get() == "token" && platform::lengthInUTF16(text) >= 2) {
    sessionToken_.set(text);
  }
}

void TSLDisplayConnection::openDebugMovieOutputStream() {
  const auto& services = platform::services();
  const auto path = services.userDefaults->string("DebugMovieOutputPath");
  if (!path || path->empty()) return;
  const std::string expanded = services.files->expandTilde(*path);
  const std::shared_ptr<platform::OutputStream> stream = services.files->makeOutputStream(expanded);
  debugMovieOutputStream_.set(stream);
  if (!stream) {
    platform::log("%s: Failed to create debug movie output stream at path: %s",
                  "-[TSLDisplayConnection startWithCompletionHandler:]_block_invoke",
                  expanded.c_str());
    return;
  }
  stream->open();
}

void TSLDisplayConnection::stopWithCompletionHandler(const CompletionHandler& handler) {
  platform::log("%s: ENTER", "-[TSLDisplayConnection stopWithCompletionHandler:]");
  abandoned_ = true;
  if (const auto gate = gate_.get()) gate->abandon();
  const auto connection = HubConnection();
  if (connection && connected_.exchange(false)) {
    stopped_ = true;
    if (const auto capture = captureSession()) capture->stopRunning();
    if (const auto encoder = compressionSession()) encoder->invalidate();
    connection->cancel();
  }
  if (handler) handler(Error{TSLErrorDomain, kStopped, {}});
}

void TSLDisplayConnection::disconnectSessionDueToConnectionError() {
  platform::log("%s: ENTER", "-[TSLDisplayConnection disconnectSessionDueToConnectionError]");
  if (terminateAccidentally_.exchange(true)) return;
  platform::services().queues->mainQueue()->async([hub = hub_] {
    if (const auto session = hub.lock()) session->disconnect();
  });
}

TSLSessionStatistics TSLDisplayConnection::statistics() const {
  TSLSessionStatistics statistics = statistics_.snapshot();
  statistics.credits = ackedSamples();
  return statistics;
}

}  // namespace tessel
