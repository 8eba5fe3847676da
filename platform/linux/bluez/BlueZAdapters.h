#pragma once

#include <string>

namespace tessel::platform {

/// The adapter that the environment variable TESSEL_ADAPTER chooses, such as "hci1"; empty, as it
/// is when the variable is empty or not set, for any.
std::string adapterOfEnvironment();

/// Whether the adapter at this object path is the one named `only`; any is when that is empty.
bool isAdapter(const std::string& path, const std::string& only);

/// Orders the object paths of adapters: hci2 comes before hci10.
struct ByNumber {
  bool operator()(const std::string& a, const std::string& b) const {
    return a.size() != b.size() ? a.size() < b.size() : a < b;
  }
};

}  // namespace tessel::platform
