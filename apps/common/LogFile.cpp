#include "apps/common/LogFile.h"

#include <fcntl.h>
#include <iostream>
#include <ostream>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

#include "tessel/Log.h"

namespace tessel::apps {

namespace {

// Makes the file if there is none, and keeps it from everybody but its owner: what the hub's user
// types stands in it. What is no plain file (/dev/null, a pipe) is left as it is.
bool makePrivate(const std::string& path) {
  constexpr mode_t kOwnerOnly = S_IRUSR | S_IWUSR;
  const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, kOwnerOnly);
  if (file < 0) return false;
  struct stat found {};
  const bool done =
      fstat(file, &found) == 0 && (!S_ISREG(found.st_mode) || fchmod(file, kOwnerOnly) == 0);
  close(file);
  return done;
}

}  // namespace

LogFile::~LogFile() { setLogSink(nullptr); }

bool LogFile::open(const std::string& path) {
  std::ostream* out = &std::cerr;
  if (path != "-") {
    if (!makePrivate(path)) return false;
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
