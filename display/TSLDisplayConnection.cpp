#include "display/TSLDisplayConnection.h"

#include <utility>

#include "display/DisplayLaunch.h"
#include "platform/Log.h"
#include "platform/Services.h"
#include "platform/XMLParser.h"
#include "platform/base/ErrorText.h"
#include "platform/base/TextLength.h"
#include "tessel/TSLSession.h"

namespace tessel {
namespace {

constexpr const char* kStart = "-[TSLDisplayConnection startDisplaySocketReturningError:]";

constexpr long kNoHostName = 2;
constexpr long kNotConnected = 3;
constexpr long kStopped = 5;
constexpr long kNoContext = 7;

bool fail(std::optional<Error>& error, long code) {
  error = Error{TSLErrorDomain, code, {}};
  return false;
}

}  // namespace

std::shared_ptr<TSLDisplayConnection> TSLDisplayConnection::initWithHub(
    const std::shared_ptr<TSLSession>& hub) {
  return std::shared_ptr<TSLDisplayConnection>{
      new TSLDisplayConnection{hub, std::make_shared<DisplayChannel>(hub)}};
}

TSLDisplayConnection::TSLDisplayConnection(const std::shared_ptr<TSLSession>& hub,
                                           std::shared_ptr<DisplayChannel> channel)
    : hub_{hub},
      channel_{std::move(channel)},
      pipeline_{std::make_shared<FramePipeline>(channel_)} {
  channel_->setAcknowledgementHandler([weak = std::weak_ptr{pipeline_}] {
    if (const auto pipeline = weak.lock()) pipeline->acknowledged();
  });
}

TSLDisplayConnection::~TSLDisplayConnection() {
  // The last reference may go inside the encoder's callback, where the encoder cannot be ended.
  pipeline_->discardEncoder();
  stopWithCompletionHandler(nullptr);
}

void TSLDisplayConnection::startWithCompletionHandler(CompletionHandler handler) {
  channel_->setAbandoned(false);
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
  socketDispatchQueue()->async([handler, error] { handler(error); });
}

void TSLDisplayConnection::didStartElement(const std::string& elementName) {
  xmlelementname_.set(elementName);
}

// End tags do not clear the name: white space after the token's element, if it is long enough,
// replaces the token. Hubs rely on nothing else, and the channel never sends the token.
void TSLDisplayConnection::foundCharacters(const std::string& text) {
  if (xmlelementname_.get() == "token" && platform::lengthInUTF16(text) >= 2) {
    sessionToken_.set(text);
  }
}

bool TSLDisplayConnection::startDisplaySocketReturningError(std::optional<Error>& error) {
  // The session is not held while this blocks: its host may drop it meanwhile.
  std::optional<std::string> hostName;
  bool tls = false;
  if (const auto session = hub()) {
    hostName = session->hostName();
    tls = session->sslEnabled();
  }
  if (!hostName) {
    platform::log("%s: hostName is NULL!", kStart);
    return fail(error, kNoHostName);
  }
  pipeline_->begin();
  if (!channel_->open(*hostName, tls)) return fail(error, kNotConnected);
  return negotiate(error);
}

bool TSLDisplayConnection::negotiate(std::optional<Error>& error) {
  bool newProtocol = false;
  Size size;
  if (const auto session = hub()) {
    newProtocol = session->newProtocol();
    if (const auto config = session->sessionConfig()) size = config->sessionSize();
  }
  if (!channel_->sendStartCommand(newProtocol)) return fail(error, kNotConnected);
  if (!pipeline_->setUp(size, error)) return false;
  if (!channel_->requestContext(size)) return fail(error, kNotConnected);
  if (!channel_->waitForContext()) return fail(error, kNoContext);
  pipeline_->start();
  return true;
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
  channel_->setAbandoned(true);
  if (channel_->takeDown()) {
    pipeline_->stop();
    channel_->cancel();
  }
  if (handler) handler(Error{TSLErrorDomain, kStopped, {}});
}

TSLSessionStatistics TSLDisplayConnection::statistics() const {
  TSLSessionStatistics statistics = pipeline_->statistics();
  statistics.bytesSent = channel_->bytesSent();
  return statistics;
}

}  // namespace tessel
