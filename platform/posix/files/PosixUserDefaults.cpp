#include "platform/posix/files/PosixUserDefaults.h"

#include <cstdlib>

#include "platform/posix/files/FileServices.h"

namespace tessel::platform {
namespace {

// As XDG base directories ask for: a relative XDG_CONFIG_HOME is ignored.
std::string settingsFolder(Files& files) {
  const char* folder = std::getenv("XDG_CONFIG_HOME");
  return folder && *folder == '/' ? folder : files.expandTilde("~/.config");
}

}  // namespace

std::optional<std::string> PosixUserDefaults::string(const std::string& key) {
  const auto settings =
      files_->readPropertyList(settingsFolder(*files_) + "/tessel/UserDefaults.plist");
  if (!settings) return std::nullopt;
  const auto found = settings->find(key);
  if (found == settings->end()) return std::nullopt;
  const auto* text = std::get_if<std::string>(&found->second.value);
  return text ? std::optional{*text} : std::nullopt;
}

std::shared_ptr<UserDefaults> makeUserDefaults(std::shared_ptr<Files> files) {
  return std::make_shared<PosixUserDefaults>(std::move(files));
}

}  // namespace tessel::platform
