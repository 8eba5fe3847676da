#include "tessel/Constants.h"

#include "tessel/Error.h"

namespace tessel {

const std::string TSLErrorDomain = "org.tessel.TSLErrorDomain";

const double TesselVersionNumber = TESSEL_VERSION;
const char* const TesselVersionString =
    "@(#)PROGRAM:Tessel  PROJECT:Tessel-" TESSEL_VERSION_MAJOR "\n";

}  // namespace tessel
