#include "discovery/LMPVersion.h"

#include <algorithm>
#include <charconv>
#include <limits>

namespace tessel {

unsigned parseLMPVersion(std::string report) {
  std::erase(report, '\n');
  const auto start = std::min(report.find_first_not_of(" \t\r"), report.size());
  const char* first = report.data() + start;
  const char* const last = report.data() + report.size();
  if (last - first >= 2 && first[0] == '0' && (first[1] == 'x' || first[1] == 'X')) first += 2;
  unsigned version = 0;
  const auto result = std::from_chars(first, last, version, 16);
  if (result.ec == std::errc::result_out_of_range) return std::numeric_limits<unsigned>::max();
  return version;
}

}  // namespace tessel
