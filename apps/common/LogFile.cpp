#include "apps/common/LogFile.h"

#include <fcntl.h>
#include <iostream>
#include <sys/stat.h>
#include <unistd.h>

#include "tessel/Log.h"

namespace tessel::apps {
namespace {

// Creates the file if it is missing, and leaves only its owner access, since it holds what the
// hub's user types. A device or a pipe keeps its permissions. The file's descriptor, or -1.
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
  const int descriptor = openPrivate(path);
  if (descriptor < 0) return false;
  file_.open(path, std::ios::trunc);
  close(descriptor);  // only now: to a pipe's reader it would be the end
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
