#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <variant>

namespace tessel::apps {

/// A value of a JSON object's member.
using JsonValue = std::variant<std::nullptr_t, bool, std::int64_t, double, std::string>;

/// One JSON object on one line, its members in the order added.
///
/// Everything but printable ASCII is escaped, so that a line is safe to show on a terminal; bytes
/// that are not UTF-8 become U+FFFD.
class JsonLine {
 public:
  /// An object whose first member is "event".
  explicit JsonLine(const std::string& event);
  ~JsonLine();
  JsonLine(const JsonLine&) = delete;
  JsonLine& operator=(const JsonLine&) = delete;

  JsonLine& add(const std::string& name, const JsonValue& value);

  /// None is written as null.
  template <typename T>
  JsonLine& add(const std::string& name, const std::optional<T>& value) {
    return add(name, value ? JsonValue{*value} : JsonValue{nullptr});
  }

  /// The line, without a line feed.
  std::string text() const;

 private:
  struct Object;
  const std::unique_ptr<Object> object_;
};

}  // namespace tessel::apps
