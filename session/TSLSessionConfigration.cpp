#include "tessel/TSLSessionConfigration.h"

#include <algorithm>
#include <atomic>
#include <optional>
#include <string_view>
#include <variant>

#include "platform/base/Synchronized.h"
#include "tessel/VexCfg.h"

namespace tessel {
namespace {

// A string is true when, after white space, a sign and zeros, Y, T or a digit follows.
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

// Each field is guarded by itself.
struct TSLSessionConfigration::Fields {
  std::atomic<double> heartBeatTimeout = 20.0;
  std::atomic<std::int64_t> autoDisconnectCastingWhenCloseLaptop = 1;
  platform::Synchronized<Size> sessionSize;
};

TSLSessionConfigration::TSLSessionConfigration() : fields_{std::make_unique<Fields>()} {}

TSLSessionConfigration::~TSLSessionConfigration() = default;

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

double TSLSessionConfigration::HeartBeatTimeout() const { return fields_->heartBeatTimeout; }

void TSLSessionConfigration::setHeartBeatTimeout(double seconds) {
  fields_->heartBeatTimeout = seconds;
}

std::int64_t TSLSessionConfigration::autoDisconnectCastingWhenCloseLaptop() const {
  return fields_->autoDisconnectCastingWhenCloseLaptop;
}

void TSLSessionConfigration::setAutoDisconnectCastingWhenCloseLaptop(std::int64_t flag) {
  fields_->autoDisconnectCastingWhenCloseLaptop = flag;
}

Size TSLSessionConfigration::sessionSize() const { return fields_->sessionSize.get(); }

void TSLSessionConfigration::setSessionSize(Size sessionSize) {
  fields_->sessionSize.set(sessionSize);
}

}  // namespace tessel
