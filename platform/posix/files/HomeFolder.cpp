#include "platform/posix/files/HomeFolder.h"

#include <array>
#include <cstdlib>
#include <pwd.h>
#include <unistd.h>

namespace tessel::platform {
namespace {

constexpr std::size_t kMaxRecordSize = 16384;  // of a user's record with its texts

}  // namespace

std::string homeFolder() {
  const char* home = std::getenv("HOME");
  if (home && *home) return home;
  passwd user{};
  passwd* found = nullptr;
  std::array<char, kMaxRecordSize> texts{};
  ::getpwuid_r(::getuid(), &user, texts.data(), texts.size(), &found);
  return found ? found->pw_dir : "";
}

std::string homeFolderOf(const std::string& name) {
  passwd user{};
  passwd* found = nullptr;
  std::array<char, kMaxRecordSize> texts{};
  ::getpwnam_r(name.c_str(), &user, texts.data(), texts.size(), &found);
  return found ? found->pw_dir : "";
}

}  // namespace tessel::platform
