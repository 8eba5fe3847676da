#pragma once

#include <memory>
#include <optional>
#include <string>

namespace tessel::apps {

/// One JSON object on one line, its members in the order added.
///
/// Everything but printable ASCII is written as an escape, so a line shown on a terminal does
/// nothing to it; bytes that are no UTF-8 become U+FFFD.
class JsonLine {
 public:
  /// An object whose first member is "event".
  explicit JsonLine(const std::string& event);
  ~JsonLine();
  JsonLine(const JsonLine&) = delete;
  JsonLine& operator=(const JsonLine&) = delete;

  /// None is written as null.
  JsonLine& add(const std::string& name, const std::optional<std::string>& value);
  JsonLine& add(const std::string& name, std::optional<int> value);

  /// The line, without a line feed.
  std::string text() const;

 private:
  struct Object;
  const std::unique_ptr<Object> object_;
};

}  // namespace tessel::apps
