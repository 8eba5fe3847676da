#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <variant>
#include <vector>

#include "tessel/Types.h"

namespace tessel {

struct PropertyListValue;

/// The array and dictionary forms of a property list.
using PropertyListArray = std::vector<PropertyListValue>;
using PropertyListDictionary = std::map<std::string, PropertyListValue>;

/// One value of a property list, the format of configuration files.
struct PropertyListValue {
  std::variant<bool, std::int64_t, double, std::string, Bytes, Date, PropertyListArray,
               PropertyListDictionary>
      value;
  bool operator==(const PropertyListValue&) const = default;
};

}  // namespace tessel
