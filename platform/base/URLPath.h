#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tessel::platform {

/// Whether `text` holds white space or control characters. In a URL they would end the request line
/// and inject header fields.
bool holdsSpaceOrControl(std::string_view text);

/// `text` as a URL; none where it is empty or holds white space or control characters.
std::optional<std::string> urlFromText(std::string_view text);

/// `url` with `component` appended to its path, exactly one "/" between them. A "/" inside the
/// component stays, and a query or fragment of `url` stays behind the path. What a path cannot hold
/// is percent-encoded, escapes that the component already holds are left alone. No URL gives none.
std::optional<std::string> appendingPathComponent(const std::optional<std::string>& url,
                                                  std::string_view component);

}  // namespace tessel::platform
