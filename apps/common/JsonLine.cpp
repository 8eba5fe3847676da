#include "apps/common/JsonLine.h"

#include <nlohmann/json.hpp>

namespace tessel::apps {

struct JsonLine::Object {
  nlohmann::ordered_json json = nlohmann::ordered_json::object();
};

JsonLine::JsonLine(const std::string& event) : object_{std::make_unique<Object>()} {
  object_->json["event"] = event;
}

JsonLine::~JsonLine() = default;

JsonLine& JsonLine::add(const std::string& name, const JsonValue& value) {
  std::visit([&member = object_->json[name]](const auto& held) { member = held; }, value);
  return *this;
}

std::string JsonLine::text() const {
  return object_->json.dump(-1, ' ', true, nlohmann::json::error_handler_t::replace);
}

}  // namespace tessel::apps
