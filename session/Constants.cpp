#include "tessel/Constants.h"

#include "tessel/Error.h"

namespace tessel {

const std::string TSLErrorDomain = "org.tessel.TSLErrorDomain";

const double TesselVersionNumber = 1.0;
const char* const TesselVersionString = "@(#)PROGRAM:Tessel  PROJECT:Tessel-1\n";

}  // namespace tessel
