#include "platform/posix/net/NetworkError.h"

#include <cerrno>
#include <system_error>

#include "platform/NetworkConnection.h"

namespace tessel::platform {

Error networkError(int errorNumber) {
  const long code = errorNumber == ECONNREFUSED ? kConnectionRefused : errorNumber;
  return {kNetworkErrorDomain, code, std::generic_category().message(errorNumber)};
}

}  // namespace tessel::platform
