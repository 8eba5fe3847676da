#include "platform/base/ErrorText.h"

namespace tessel::platform {

std::string describe(const Error& error) {
  const std::string description =
      error.localizedDescription.empty() ? "(null)" : error.localizedDescription;
  return "Error Domain=" + error.domain + " Code=" + std::to_string(error.code) + " \"" +
         description + "\"";
}

}  // namespace tessel::platform
