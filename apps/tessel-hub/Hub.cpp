#include "apps/tessel-hub/Hub.h"

#include <asio/post.hpp>
#include <cassert>
#include <csignal>
#include <fstream>
#include <stdexcept>
#include <utility>

#include "apps/tessel-hub/announce/Addresses.h"
#include "apps/tessel-hub/video/Snapshot.h"
#include "platform/posix/Thread.h"
#include "wire/Ports.h"

namespace tessel::hub {
namespace {

std::uint16_t inputPort(bool newProtocol) {
  return newProtocol ? kChannelsPort.number : kOldInputPort.number;
}

// nohup ignores SIGHUP.
bool isIgnored(int signal) {
  struct sigaction action {};
  return sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

}  // namespace

Hub::Hub(const HubOptions& options, HubScreen& screen, HubReporter& reporter, HubLog& log)
    : options_{options}, screen_{screen}, reporter_{reporter}, log_{log} {}

Hub::~Hub() {
  http_.reset();  // its requests use what follows
  work_.reset();
  context_.stop();
  if (thread_.joinable()) thread_.join();
}

void Hub::start(std::optional<Script> script) {
  script_ = std::move(script);
  std::string problem;
  if (!options_.record.empty() && !recorder_.open(options_.record, problem)) {
    throw std::runtime_error{"The recording " + options_.record + " cannot be written: " + problem +
                             "."};
  }
  if (!options_.snapshot.empty() && !canWriteSnapshot(options_.snapshot, problem)) {
    throw std::runtime_error{"The snapshot " + options_.snapshot +
                             " cannot be written: " + problem + "."};
  }
  if (options_.tlsPort != 0) prepareTls();
  startChannels();
  startHttp();
  for (const int number : {SIGINT, SIGTERM, SIGUSR1}) signals_.add(number);
  if (!isIgnored(SIGHUP)) signals_.add(SIGHUP);
  awaitSignal();
  work_.emplace(context_.get_executor());
  thread_ = platform::startThread("hub.channels", [this] { context_.run(); });
  reportListening();
}

void Hub::prepareTls() {
  certificate_ = options_.certificateFile.empty()
                     ? Certificate::selfSigned(servedAddresses(options_.bind), options_.name)
                     : Certificate::load(options_.certificateFile, options_.keyFile);
  certificate_->use(tls_.native_handle());
  if (options_.writeCertificate.empty()) return;
  std::ofstream file{options_.writeCertificate, std::ios::binary};
  file << certificate_->pem();
  if (!file.flush()) {
    throw std::runtime_error{"The certificate cannot be written to " + options_.writeCertificate +
                             "."};
  }
}

void Hub::startChannels() {
  const bool newProtocol = options_.variant.newProtocol;
  ChannelAcceptor::Settings settings{
      .address = asio::ip::make_address(options_.bind),
      .port = kChannelsPort.number,
      .newProtocol = newProtocol,
      .takesDisplay = true,
      .tls = options_.tlsPort != 0 ? &tls_ : nullptr,
  };
  listen(settings);
  if (newProtocol) return;
  settings.port = inputPort(newProtocol);
  settings.takesDisplay = false;
  listen(settings);
}

void Hub::listen(const ChannelAcceptor::Settings& settings) {
  acceptors_.push_back(std::make_unique<ChannelAcceptor>(
      context_, settings, log_,
      [this](ChannelKind kind, const std::shared_ptr<ChannelStream>& stream) {
        opened(kind, stream);
      }));
  try {
    acceptors_.back()->listen();
  } catch (const asio::system_error& error) {
    throw std::runtime_error{"Port " + std::to_string(settings.port) + " of " + options_.bind +
                             " cannot be had (" + error.code().message() +
                             "): is another hub running there? End it, or choose another address "
                             "of this machine with --bind."};
  }
}

void Hub::startHttp() {
  HttpService::Handlers handlers;
  handlers.launched = [this](const std::string& sender, const std::string& application) {
    reporter_.launched(sender, application);
  };
  handlers.stopped = [this] {
    asio::post(context_, [this] { session_ ? session_->end({}) : application_.end(); });
  };
  http_ = std::make_unique<HttpService>(HttpService::Settings{.bind = options_.bind,
                                                              .name = options_.name,
                                                              .variant = options_.variant,
                                                              .tlsPort = options_.tlsPort},
                                        application_, log_, std::move(handlers));
  http_->start(certificate_ ? &*certificate_ : nullptr);
}

void Hub::reportListening() {
  reporter_.listening({.address = options_.bind,
                       .senderAddresses = addressesForSenders(options_.bind),
                       .name = options_.name,
                       .version = options_.variant.version,
                       .detailsPort = kDetailsPort.number,
                       .displayPort = kChannelsPort.number,
                       .inputPort = inputPort(options_.variant.newProtocol),
                       .tlsPort = options_.tlsPort});
}

void Hub::awaitSignal() {
  signals_.async_wait([this](const asio::error_code& error, int number) {
    if (error) return;
    if (number == SIGUSR1) {
      screen_.post([this] { writeSnapshot(); });
    } else {
      quitOnThread();
    }
    awaitSignal();
  });
}

void Hub::opened(ChannelKind kind, const std::shared_ptr<ChannelStream>& stream) {
  assert(onChannelsThread());
  if (kind == ChannelKind::kDisplay) return openedDisplay(stream);
  if (!session_ || session_->address() != stream->address()) {
    log_.line("an input channel from " + stream->address() + ", which does not cast, was closed");
    return stream->close();
  }
  kind == ChannelKind::kMouse ? session_->addMouse(stream) : session_->addKeyboard(stream);
}

void Hub::openedDisplay(const std::shared_ptr<ChannelStream>& stream) {
  if (quitting_ || session_ ||
      !application_.beginCasting(stream->address(), std::chrono::steady_clock::now())) {
    log_.line("a cast from " + stream->address() + " was refused: the hub is busy");
    return stream->close();
  }
  session_ = std::make_shared<CastSession>(
      CastSession::Surroundings{
          .context = context_,
          .screen = screen_,
          .recorder = recorder_,
          .reporter = reporter_,
          .log = log_,
          .script = script_,
          .frameEvents = options_.frameEvents,
          .decoded =
              [this](const Picture& picture) {
                const platform::MutexLock lock{pictureMutex_};
                lastPicture_ = picture;
              },
          .quit = [this] { quit(); },
      },
      stream, [this](const HubReporter::Stats& stats, const std::string& problem) {
        sessionEnded(stats, problem);
      });
  session_->start();
}

void Hub::sessionEnded(const HubReporter::Stats& stats, const std::string& problem) {
  assert(onChannelsThread());
  session_.reset();
  application_.end();
  reporter_.ended(stats, problem);  // last: its reader may cast at once
  if (quitting_) screen_.quit();
}

void Hub::quit() {
  asio::post(context_, [this] { quitOnThread(); });
}

bool Hub::onChannelsThread() { return context_.get_executor().running_in_this_thread(); }

void Hub::quitOnThread() {
  assert(onChannelsThread());
  if (std::exchange(quitting_, true)) return;
  for (const std::unique_ptr<ChannelAcceptor>& acceptor : acceptors_) acceptor->close();
  session_ ? session_->end({}) : screen_.quit();
}

void Hub::withInput(std::function<void(InputSender&)> use) {
  asio::post(context_, [this, use = std::move(use)] {
    if (session_ && session_->input() != nullptr) use(*session_->input());
  });
}

void Hub::writeSnapshot() {
  if (options_.snapshot.empty()) return;
  platform::MutexLock lock{pictureMutex_};
  const std::optional<Picture> picture = lastPicture_;
  lock.unlock();
  if (!picture) return reporter_.notice("There is no picture yet to take a snapshot of.");
  std::string problem;
  if (tessel::hub::writeSnapshot(*picture, options_.snapshot, problem)) {
    reporter_.snapshot(options_.snapshot);
  } else {
    reporter_.notice("The snapshot " + options_.snapshot + " cannot be written: " + problem + ".");
  }
}

}  // namespace tessel::hub
