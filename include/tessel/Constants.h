#pragma once

#include "tessel/Export.h"

namespace tessel {

/// Port of the display channel, as decimal text. Writable: it is read afresh at every start.
/// Set it before a session connects, not while one does. Initially "1494".
TESSEL_EXPORT extern const char* TSLDisplayConnectorDefaultPort;

/// Port of the mouse channel with the new protocol: "1494".
TESSEL_EXPORT extern const char* const TSLMouseConnectorDefaultPort;
/// Port of the mouse channel with the old protocol: "8500".
TESSEL_EXPORT extern const char* const TSLMouseConnectorOldPort;
/// Port of the keyboard channel with the new protocol: "1494".
TESSEL_EXPORT extern const char* const TSLKeyBoardConnectorDefaultPort;
/// Port of the keyboard channel with the old protocol: "8500".
TESSEL_EXPORT extern const char* const TSLKeyBoardConnectorOldPort;

/// Version of the library as a number: 1.0.
TESSEL_EXPORT extern const double TesselVersionNumber;
/// Version of the library as text, a line feed at its end.
TESSEL_EXPORT extern const char* const TesselVersionString;

}  // namespace tessel
