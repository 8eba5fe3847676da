#include "platform/base/URLPath.h"

#include <algorithm>

namespace tessel::platform {
namespace {

constexpr std::string_view kHexDigits = "0123456789ABCDEF";

bool isControlOrSpace(unsigned char c) { return c <= 0x20 || c == 0x7F; }

bool isHexDigit(unsigned char c) {
  return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f');
}

bool standsInPath(unsigned char c) {
  return !isControlOrSpace(c) && c < 0x80 &&
         std::string_view{"\"#%<>?[\\]^`{|}"}.find(static_cast<char>(c)) == std::string_view::npos;
}

bool isEscape(std::string_view text, std::size_t at) {
  return at + 2 < text.size() && text[at] == '%' &&
         isHexDigit(static_cast<unsigned char>(text[at + 1])) &&
         isHexDigit(static_cast<unsigned char>(text[at + 2]));
}

std::string percentEncoded(std::string_view component) {
  std::string encoded;
  encoded.reserve(component.size());
  for (std::size_t i = 0; i < component.size(); ++i) {
    const auto c = static_cast<unsigned char>(component[i]);
    if (standsInPath(c) || isEscape(component, i)) {
      encoded += component[i];
    } else {
      encoded += '%';
      encoded += kHexDigits[c >> 4U];
      encoded += kHexDigits[c & 0x0FU];
    }
  }
  return encoded;
}

}  // namespace

bool holdsSpaceOrControl(std::string_view text) {
  return std::any_of(text.begin(), text.end(), isControlOrSpace);
}

std::optional<std::string> urlFromText(std::string_view text) {
  if (text.empty() || holdsSpaceOrControl(text)) return std::nullopt;
  return std::string{text};
}

std::optional<std::string> appendingPathComponent(const std::optional<std::string>& url,
                                                  std::string_view component) {
  if (!url) return std::nullopt;
  const auto pathEnd = std::min(url->find_first_of("?#"), url->size());
  std::string path = url->substr(0, pathEnd);
  while (path.ends_with('/') && !path.ends_with("://")) path.pop_back();
  while (component.starts_with('/')) component.remove_prefix(1);
  if (!path.ends_with('/')) path += '/';
  return path + percentEncoded(component) + url->substr(pathEnd);
}

}  // namespace tessel::platform
