#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "tessel/PropertyList.h"

/// Property lists in the XML format. Any thread.
namespace tessel::platform {

/// The value in an XML property list; none when it is damaged or holds more than 4096 containers.
std::optional<PropertyListValue> parseXmlPropertyList(std::span<const std::uint8_t> file);

/// The XML form; none when a text in it holds what XML cannot.
std::optional<std::string> formatXmlPropertyList(const PropertyListDictionary& dictionary);

}  // namespace tessel::platform
