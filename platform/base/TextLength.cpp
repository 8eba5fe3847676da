#include "platform/base/TextLength.h"

namespace tessel::platform {

std::size_t lengthInUTF16(std::string_view text) {
  std::size_t units = 0;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if ((byte & 0xC0U) == 0x80U) continue;  // within a character
    units += byte >= 0xF0U ? 2 : 1;
  }
  return units;
}

}  // namespace tessel::platform
