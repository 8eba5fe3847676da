#include "apps/common/LogFile.h"

#include <iostream>
#include <ostream>
#include <string_view>

#include "tessel/Log.h"

namespace tessel::apps {

LogFile::~LogFile() { setLogSink(nullptr); }

bool LogFile::open(const std::string& path) {
  std::ostream* out = &std::cerr;
  if (path != "-") {
    file_.open(path, std::ios::trunc);
    if (!file_) return false;
    out = &file_;
  }
  setLogSink([out](std::string_view line) {
    *out << line;
    if (!line.ends_with('\n')) *out << '\n';
    *out << std::flush;
  });
  return true;
}

}  // namespace tessel::apps
