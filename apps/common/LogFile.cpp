#include "apps/common/LogFile.h"

#include <fcntl.h>
#include <iostream>
#include <sys/stat.h>
#include <unistd.h>

#include "tessel/Log.h"

namespace tessel::apps {

namespace {

// Makes the file if there is none, and keeps it from everybody but its owner: what the hub's user
// types stands in it. What is no plain file (/dev/null, a pipe) is left as it is. Its descriptor,
// or -1.
int openPrivate(const std::string& path) {
  constexpr mode_t kOwnerOnly = S_IRUSR | S_IWUSR;
  const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, kOwnerOnly);
  if (file < 0) return -1;
  struct stat found {};
  if (fstat(file, &found) == 0 && (!S_ISREG(found.st_mode) || fchmod(file, kOwnerOnly) == 0)) {
    return file;
  }
  close(file);
  return -1;
}

}  // namespace

LogFile::~LogFile() { setLogSink(nullptr); }

bool LogFile::open(const std::string& path) {
  if (path == "-") {
    setLogSink([](std::string_view line) { writeLine(std::cerr, line); });
    return true;
  }
  const int looked = openPrivate(path);
  if (looked < 0) return false;
  file_.open(path, std::ios::trunc);
  close(looked);  // not before: a pipe's reader would take it for the end
  if (!file_) return false;
  setLogSink([this](std::string_view line) {
    if (const auto admitted = budget_.admit(line)) writeLine(file_, *admitted);
  });
  return true;
}

void LogFile::writeLine(std::ostream& out, std::string_view line) {
  out << line;
  if (!line.ends_with('\n')) out << '\n';
  out << std::flush;
}

}  // namespace tessel::apps
