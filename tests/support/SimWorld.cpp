#include "tests/support/SimWorld.h"

#include <algorithm>

#include "tessel/Log.h"
#include "tests/support/FakeXMLParser.h"

namespace tessel::platform {

// Logic tests link no real platform: outside a SimWorld there is none.
Services makeServices() { return {}; }

}  // namespace tessel::platform

namespace tessel::test {
namespace {

platform::Services makeFakes() {
  auto scheduler = std::make_shared<SimScheduler>();
  platform::Services fakes;
  fakes.clock = scheduler;
  fakes.network = std::make_shared<SimNetwork>();
  fakes.urlSessions = std::make_shared<SimHTTP>(*scheduler);
  fakes.xml = std::make_shared<FakeXMLParser>();
  fakes.files = std::make_shared<FakeFiles>();
  fakes.userDefaults = std::make_shared<FakeUserDefaults>();
  fakes.localization = std::make_shared<FakeLocalization>();
  fakes.desktops = std::make_shared<FakeDesktops>();
  fakes.videoEncoding = std::make_shared<FakeVideoEncoding>(*scheduler);
  fakes.bluetooth = std::make_shared<FakeBluetooth>();
  fakes.queues = std::move(scheduler);
  return fakes;
}

// The services hold exactly what makeFakes() put there.
template <typename Fake, typename Service>
Fake& as(const std::shared_ptr<Service>& service) {
  return static_cast<Fake&>(*service);
}

}  // namespace

LogRecorder::LogRecorder() {
  setLogSink([this](std::string_view line) {
    const std::lock_guard lock{mutex_};
    lines_.push_back({std::string{line}, SimScheduler::currentQueueLabel()});
  });
}

LogRecorder::~LogRecorder() { setLogSink(nullptr); }

std::vector<std::string> LogRecorder::lines() const { return startingWith(""); }

bool LogRecorder::has(std::string_view line) const { return count(line) > 0; }

int LogRecorder::count(std::string_view line) const {
  const std::lock_guard lock{mutex_};
  return static_cast<int>(std::ranges::count(lines_, line, &Line::text));
}

std::vector<std::string> LogRecorder::startingWith(std::string_view prefix) const {
  const std::lock_guard lock{mutex_};
  std::vector<std::string> found;
  for (const Line& line : lines_) {
    if (line.text.starts_with(prefix)) found.push_back(line.text);
  }
  return found;
}

std::set<std::string> LogRecorder::queuesOf(std::string_view prefix) const {
  const std::lock_guard lock{mutex_};
  std::set<std::string> queues;
  for (const Line& line : lines_) {
    if (line.text.starts_with(prefix)) queues.insert(line.queue);
  }
  return queues;
}

void LogRecorder::clear() {
  const std::lock_guard lock{mutex_};
  lines_.clear();
}

SimWorld::SimWorld() : SimWorld{makeFakes()} {}

SimWorld::~SimWorld() { scheduler.end(); }

SimWorld::SimWorld(platform::Services fakes)
    : scheduler{as<SimScheduler>(fakes.queues)},
      network{as<SimNetwork>(fakes.network)},
      http{as<SimHTTP>(fakes.urlSessions)},
      files{as<FakeFiles>(fakes.files)},
      userDefaults{as<FakeUserDefaults>(fakes.userDefaults)},
      localization{as<FakeLocalization>(fakes.localization)},
      desktop{*as<FakeDesktops>(fakes.desktops).desktop},
      screens{desktop.placed},
      capture{desktop.captures},
      encoding{as<FakeVideoEncoding>(fakes.videoEncoding)},
      poster{desktop.posting},
      bluetooth{as<FakeBluetooth>(fakes.bluetooth)},
      fakes_{std::move(fakes)},
      scope_{fakes_} {}

}  // namespace tessel::test
