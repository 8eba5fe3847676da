#pragma once

#include <string>

namespace tessel {

/// The version number in a report such as "0x6\n": line feeds are left out and a leading
/// hexadecimal number is read, with or without "0x". 0 when there is none; a number too large
/// for an unsigned is the largest one.
unsigned parseLMPVersion(std::string report);

}  // namespace tessel
