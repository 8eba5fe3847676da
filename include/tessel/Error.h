#pragma once

#include <string>

#include "tessel/Export.h"

namespace tessel {

/// Domain of the errors that the session and its channels raise themselves. Codes:
///
/// | Code | Meaning                                                                     |
/// |------|-----------------------------------------------------------------------------|
/// | 2    | no host name; also what a mouse connection passes to every stop completion  |
/// | 3    | the session ended by accident (hub silent, display channel lost), or a      |
/// |      | channel could not be opened                                                 |
/// | 5    | connect cancelled; also what a display connection passes to every stop      |
/// | 6    | device details incomplete (no "Application-URL" header, or an empty body)   |
/// | 7    | the hub did not create its decoding context within 5 seconds                |
/// | 9    | the hub is busy                                                             |
TESSEL_EXPORT extern const std::string TSLErrorDomain;

/// Why something failed. Nothing in this library throws across its
/// interface, unless the system has no thread or no memory left.
struct Error {
  /// Who raised it: `TSLErrorDomain`, or the domain of a platform service.
  std::string domain;
  /// A number whose meaning the domain gives.
  long code = 0;
  /// A sentence for a person; may be empty.
  std::string localizedDescription;

  bool operator==(const Error&) const = default;
};

}  // namespace tessel
