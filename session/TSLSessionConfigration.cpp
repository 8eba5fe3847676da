#include "tessel/TSLSessionConfigration.h"

#include <algorithm>
#include <optional>
#include <string_view>
#include <variant>

#include "tessel/VexCfg.h"

namespace tessel {
namespace {

// A string is true when, after white space, a sign and zeros, it goes on with Y, T or a digit.
bool isTrue(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size()));
  if (text.starts_with('+') || text.starts_with('-')) text.remove_prefix(1);
  text.remove_prefix(std::min(text.find_first_not_of('0'), text.size()));
  return !text.empty() && std::string_view{"YyTt123456789"}.find(text[0]) != std::string_view::npos;
}

// The boolean that a value converts to; data, dates, arrays and dictionaries convert to none.
std::optional<bool> boolValue(const PropertyListValue& value) {
  if (const auto* flag = std::get_if<bool>(&value.value)) return *flag;
  if (const auto* integer = std::get_if<std::int64_t>(&value.value)) return *integer != 0;
  if (const auto* real = std::get_if<double>(&value.value)) return *real != 0;
  if (const auto* text = std::get_if<std::string>(&value.value)) return isTrue(*text);
  return std::nullopt;
}

}  // namespace

std::shared_ptr<TSLSessionConfigration> TSLSessionConfigration::initWithDefaultvalue() {
  std::shared_ptr<TSLSessionConfigration> config{new TSLSessionConfigration};
  config->loadSettingFromCfgFile();
  return config;
}

void TSLSessionConfigration::loadSettingFromCfgFile() {
  const auto file = VexCfg::sharedCfgFile();
  file->reLoadCfgFile();
  const auto value = file->getObjectByKey("AutoDisconnectCastingWhenCloseLaptop");
  if (!value) return;
  if (const auto flag = boolValue(*value)) setAutoDisconnectCastingWhenCloseLaptop(*flag ? 1 : 0);
}

double TSLSessionConfigration::HeartBeatTimeout() const {
  const std::lock_guard lock{mutex_};
  return heartBeatTimeout_;
}

void TSLSessionConfigration::setHeartBeatTimeout(double seconds) {
  const std::lock_guard lock{mutex_};
  heartBeatTimeout_ = seconds;
}

std::int64_t TSLSessionConfigration::autoDisconnectCastingWhenCloseLaptop() const {
  const std::lock_guard lock{mutex_};
  return autoDisconnectCastingWhenCloseLaptop_;
}

void TSLSessionConfigration::setAutoDisconnectCastingWhenCloseLaptop(std::int64_t flag) {
  const std::lock_guard lock{mutex_};
  autoDisconnectCastingWhenCloseLaptop_ = flag;
}

Size TSLSessionConfigration::sessionSize() const {
  const std::lock_guard lock{mutex_};
  return sessionSize_;
}

void TSLSessionConfigration::setSessionSize(Size sessionSize) {
  const std::lock_guard lock{mutex_};
  sessionSize_ = sessionSize;
}

}  // namespace tessel
