#include <algorithm>

#include "tessel/URLSession.h"

namespace tessel {

std::optional<std::string> URLResponse::header(const std::string& name) const {
  std::string lower = name;
  std::transform(lower.begin(), lower.end(), lower.begin(), [](char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  });
  const auto found = headers.find(lower);
  return found == headers.end() ? std::nullopt : std::optional{found->second};
}

}  // namespace tessel
